#pragma once

#include <cstdint>
#include <string>

enum EErrorSeverity : int
{
    SEVERITY_WARNING = 1,
    SEVERITY_ERROR = 2,
    SEVERITY_FATAL_ERROR = 3,
};

/// One problem found in a document, with its place: counted from 1, and 0 when it has none.
class CDOMError
{
public:
    CDOMError(std::uint64_t line, std::uint64_t column, EErrorSeverity severity, std::string message,
              std::string schemaURI)
        : m_Line(line)
        , m_Column(column)
        , m_Severity(severity)
        , m_Message(std::move(message))
        , m_SchemaURI(std::move(schemaURI))
    {
    }

    std::uint64_t LineNumber() const { return m_Line; }
    std::uint64_t ColumnNumber() const { return m_Column; }
    int Severity() const { return m_Severity; }
    const char* ErrorSeverityStr() const
    {
        switch (m_Severity)
        {
        case SEVERITY_WARNING:
            return "Warning";
        case SEVERITY_ERROR:
            return "Error";
        default:
            return "Fatal Error";
        }
    }
    const std::string& Message() const { return m_Message; }
    const std::string& SchemaURI() const { return m_SchemaURI; }

private:
    std::uint64_t m_Line;
    std::uint64_t m_Column;
    EErrorSeverity m_Severity;
    std::string m_Message;
    std::string m_SchemaURI;
};

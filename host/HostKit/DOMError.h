#pragma once

#include <cstdint>
#include <string>
#include <utility>

/// Where an element begins in its file, counted from 1; line 0 for no place.
struct SElementPlace
{
    std::uint64_t line = 0;
    std::uint64_t column = 0;
};

enum EErrorSeverity : int
{
    SEVERITY_WARNING = 1,
    SEVERITY_ERROR = 2,
    SEVERITY_FATAL_ERROR = 3,
};

/// What a document failed at.
enum class EErrorKind
{
    Unreadable, ///< there is nothing to read
    Xml,        ///< it is not the well-formed, harmless XML that is wanted
    Schema,     ///< it is, but not what the schema allows
};

/// One problem found in a document, with its place: counted from 1, and 0 when it has none.
class CDOMError
{
public:
    CDOMError(EErrorKind kind, EErrorSeverity severity, SElementPlace place, std::string message, std::string schemaURI)
        : m_Kind(kind)
        , m_Severity(severity)
        , m_Place(place)
        , m_Message(std::move(message))
        , m_SchemaURI(std::move(schemaURI))
    {
    }

    EErrorKind Kind() const { return m_Kind; }
    std::uint64_t LineNumber() const { return m_Place.line; }
    std::uint64_t ColumnNumber() const { return m_Place.column; }
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
    EErrorKind m_Kind;
    EErrorSeverity m_Severity;
    SElementPlace m_Place;
    std::string m_Message;
    std::string m_SchemaURI;
};

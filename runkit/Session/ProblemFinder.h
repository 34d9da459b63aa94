#pragma once

#include <Events/Problem.h>

#include <pugixml.hpp>

#include <string>
#include <vector>

class CDocumentSource;

/// The text with line ends as blanks.
std::string OneLine(std::string text);

void SortByPlace(std::vector<SProblem>& problems);

/// Collects the problems that rules find in a document. Reads the document, which outlives it.
class CProblemFinder
{
public:
    explicit CProblemFinder(const CDocumentSource& source)
        : m_Source(source)
    {
    }

    /// The rule that finds what is added from here on.
    void SetRule(const char* rule) { m_Rule = rule; }

    pugi::xml_node Root() const;

    void Error(const pugi::xml_node& element, const std::string& message) { Add(element, ESeverity::Error, message); }
    void Warn(const pugi::xml_node& element, const std::string& message) { Add(element, ESeverity::Warning, message); }
    void Add(const pugi::xml_node& element, ESeverity severity, const std::string& message);

    /// What was found, in the order of the places.
    std::vector<SProblem> Take();

private:
    const CDocumentSource& m_Source;
    std::string m_Rule;
    std::vector<SProblem> m_Problems;
};

#include <Session/ProblemFinder.h>

#include <HostKit/DocumentSource.h>

#include <algorithm>
#include <tuple>
#include <utility>

std::string OneLine(std::string text)
{
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

void SortByPlace(std::vector<SProblem>& problems)
{
    std::stable_sort(problems.begin(), problems.end(),
                     [](const SProblem& left, const SProblem& right)
                     { return std::tie(left.line, left.column) < std::tie(right.line, right.column); });
}

pugi::xml_node CProblemFinder::Root() const
{
    return m_Source.Tree().document_element();
}

void CProblemFinder::Add(const pugi::xml_node& element, ESeverity severity, const std::string& message)
{
    const SElementPlace place = m_Source.Place(element);
    m_Problems.push_back({place.line, place.column, severity, m_Rule, OneLine(message)});
}

std::vector<SProblem> CProblemFinder::Take()
{
    SortByPlace(m_Problems);
    return std::move(m_Problems);
}

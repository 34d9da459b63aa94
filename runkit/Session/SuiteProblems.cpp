#include <Session/SuiteProblems.h>

#include <Session/ProblemFinder.h>
#include <Session/SuiteCheck.h>

#include <HostKit/AppSettings.h>
#include <HostKit/AppState.h>
#include <HostKit/DocumentSource.h>
#include <HostKit/TestSuiteFilters.h>
#include <Orvanta/DOMDocTestSuite.h>
#include <Orvanta/TestSuiteState.h>

namespace
{
/// What the rules find; when it is nothing, the reason that was given otherwise.
std::vector<SProblem> LoadProblems(const CDocumentSource& source, const std::string& reason)
{
    std::vector<SProblem> problems = FindTreeObstacles(source);
    if (problems.empty())
    {
        problems.push_back({0, 0, ESeverity::Error, "tree", OneLine(reason)});
    }
    return problems;
}

const char* RuleOf(EErrorKind kind)
{
    switch (kind)
    {
    case EErrorKind::Unreadable:
        return "unreadable";
    case EErrorKind::Xml:
        return "xml";
    default:
        return "schema";
    }
}

/// The message without the file's name, which every problem is shown with anyway.
std::string WithoutFile(const std::string& message, const std::string& file)
{
    return message.starts_with(file + ": ") ? message.substr(file.size() + 2) : message;
}

std::string ProductRule(const pugi::xml_node& root)
{
    std::string label;
    CAppState::AppSettings().GetAppSetting("TestScriptLabel", label, 0);
    const std::string products = root.attribute("products").value();
    const std::string whose = products.empty() ? "it names no products" : "its products are '" + products + "'";
    return "not for this product: " + whose + ", the product label is '" + label + "'";
}

std::string FilterRule(const pugi::xml_node& root, bool hidden)
{
    const CFilter* filter = CAppState::CustomConfiguration()->TestSuiteFilters().Filter(CAppState::CurrentFilter());
    return "left out by the filter '" + filter->Name().toStdString() + "': its configurations are '" +
        root.attribute("configurations").value() + "', the filter's categories are '" +
        filter->Categories().join(QStringLiteral(", ")).toStdString() + "'" +
        (hidden ? " (the filter hides such suites)" : "");
}
} // namespace

std::vector<SProblem> DecisionProblems(const CDocumentSource& source, std::uint32_t access)
{
    const pugi::xml_node root = source.Tree().document_element();
    if (!root || (access & ACCESS_PASSED_FILTER) != 0)
    {
        return {};
    }
    if ((access & ACCESS_IN_APPLICATION) == 0)
    {
        return {{0, 0, ESeverity::Error, "product", OneLine(ProductRule(root))}};
    }
    return {{0, 0, ESeverity::Error, "filter", OneLine(FilterRule(root, (access & ACCESS_HIDE_UNFILTERED) != 0))}};
}

std::vector<SProblem> DocumentProblems(const TestSuiteState& state, const CDocumentSource& source)
{
    std::vector<SProblem> problems;
    const CDOMDocTestSuite* const document = state.Document();
    const std::string file = source.Path().toStdString();
    for (std::size_t i = 0; document && i < document->ErrorCount(); ++i)
    {
        const CDOMError& error = document->Error(i);
        problems.push_back({error.LineNumber(), error.ColumnNumber(),
                            error.Severity() == SEVERITY_WARNING ? ESeverity::Warning : ESeverity::Error,
                            RuleOf(error.Kind()), WithoutFile(OneLine(error.Message()), file)});
    }
    if (problems.empty())
    {
        return LoadProblems(source, "the suite cannot be read");
    }
    SortByPlace(problems);
    return problems;
}

std::vector<SProblem> TreeProblems(const CDocumentSource& source, const std::string& thrown)
{
    return LoadProblems(source, thrown);
}

#include "SuiteLoader.h"

#include "StartFolder.h"
#include "Terminal.h"

#include <CoreKit/CatchLadder.h>
#include <HostKit/AppSettings.h>
#include <HostKit/AppState.h>
#include <HostKit/TestSuiteFilters.h>
#include <Orvanta/DOMDocTestSuite.h>
#include <Orvanta/Element.h>
#include <Orvanta/MakeNode.h>
#include <Orvanta/VariableList.h>

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <string_view>
#include <tuple>

namespace
{
std::string OneLine(std::string_view text)
{
    std::string line(text);
    std::replace(line.begin(), line.end(), '\n', ' ');
    return line;
}

/// What failed, as one line.
std::string Reason(const std::exception& exception)
{
    const auto* const house = dynamic_cast<const ZKException*>(&exception);
    return OneLine(house ? house->Message() : exception.what());
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

/// The rule that keeps a suite file from being loaded; empty when none does, or when the file has no root element.
std::string RuleAgainst(const std::string& file, ETestSuiteAccessType access)
{
    pugi::xml_document document;
    if (QFileInfo(QFile::decodeName(file.c_str())).isFile())
    {
        document.load_file(file.c_str());
    }
    const pugi::xml_node root = document.document_element();
    if (!root || (access & ACCESS_PASSED_FILTER) != 0)
    {
        return {};
    }
    return (access & ACCESS_IN_APPLICATION) != 0 ? FilterRule(root, (access & ACCESS_HIDE_UNFILTERED) != 0)
                                                 : ProductRule(root);
}

/// Problems of the declarations in a valid document, which keeps no errors for them itself.
std::vector<SProblem> VariableProblems(const QString& file)
{
    CDOMDoc document(CAppState::Orvanta(), CDOMDocTestSuite::GetSchemaNamespaceURI(), file);
    std::vector<SProblem> problems;
    if (!document.ParseDoc())
    {
        return problems;
    }
    CVariableList variables;
    for (const pugi::xml_node& declaration : document.GetRootElement().child("x:Variables").children())
    {
        if (declaration.type() != pugi::node_element)
        {
            continue;
        }
        Guarded([&] { AddDeclaration(variables, declaration); },
                [&](const ZKException& exception)
                {
                    const SElementPlace place = document.Place(declaration);
                    problems.push_back({place.line, place.column, "error", Reason(exception)});
                });
    }
    return problems;
}

/// The message without the file's name, which every problem is shown with anyway.
std::string WithoutFile(const std::string& message, const std::string& file)
{
    return message.starts_with(file + ": ") ? message.substr(file.size() + 2) : message;
}

std::vector<SProblem> DocumentProblems(const TestSuiteState& state, const std::string& file)
{
    std::vector<SProblem> problems;
    const CDOMDocTestSuite* document = state.Document();
    for (std::size_t i = 0; document && i < document->ErrorCount(); ++i)
    {
        const CDOMError& error = document->Error(i);
        problems.push_back({error.LineNumber(), error.ColumnNumber(),
                            error.Severity() == SEVERITY_WARNING ? "warning" : "error",
                            WithoutFile(OneLine(error.Message()), file)});
    }
    std::stable_sort(problems.begin(), problems.end(),
                     [](const SProblem& left, const SProblem& right)
                     { return std::tie(left.line, left.column) < std::tie(right.line, right.column); });
    if (document && problems.empty())
    {
        problems = VariableProblems(document->FileName());
    }
    if (problems.empty())
    {
        problems.push_back({0, 0, "error", "the suite cannot be read"});
    }
    return problems;
}

void FollowMode(CTestSuiteNode& root)
{
    QObject context;
    QObject::connect(&root, &CTestSuiteNode::UpdateTestSuiteMode, &context,
                     [&root](ETestSuiteMode mode)
                     {
                         CAppState::Services().TestSuiteMode = mode;
                         root.SetSelected(true, SELECT_ALL);
                     });
    root.EmitNodeSettings();
}

/// Adds a problem for each innermost element whose node cannot be built. True when the element and everything below it
/// can be built.
bool CollectUnbuildable(const CDOMDocTestSuite& document, const pugi::xml_node& element,
                        std::vector<SProblem>& problems)
{
    bool isFine = true;
    for (const pugi::xml_node& child : element.children())
    {
        isFine = CollectUnbuildable(document, child, problems) && isFine;
    }
    const auto blame = [&](const std::string& reason)
    {
        const SElementPlace place = document.Place(element);
        problems.push_back({place.line, place.column, "error", std::string(element.name()) + ": " + reason});
        return false;
    };
    return isFine &&
        Guarded(
               [&]
               {
                   MakeNode(element, nullptr, 0);
                   return true;
               },
               [&](const std::exception& exception)
               {
                   const bool isUnknownWord = dynamic_cast<const std::out_of_range*>(&exception) != nullptr;
                   return blame(isUnknownWord ? std::string("the operator '") + element.attribute("operator").value() +
                                        "' is not known"
                                              : Reason(exception));
               });
}

void BuildTree(SLoadedSuite& suite, bool keepMode)
{
    Guarded(
        [&]
        {
            suite.root = std::make_unique<CTestSuiteNode>(suite.state->Document()->GetRootElement());
            if (!keepMode)
            {
                FollowMode(*suite.root);
            }
            suite.state->TestSuiteNode(suite.root.get());
        },
        [&](const std::exception& exception)
        {
            suite.root.reset();
            const CDOMDocTestSuite& document = *suite.state->Document();
            if (CollectUnbuildable(document, document.GetRootElement(), suite.problems))
            {
                suite.problems.push_back({0, 0, "error", Reason(exception)});
            }
        },
        [&](SUnknownFailure)
        {
            suite.root.reset();
            suite.problems.push_back({0, 0, "error", "the tree cannot be built"});
        });
}
} // namespace

SLoadedSuite LoadSuite(const std::string& file, bool keepMode)
{
    SLoadedSuite suite;
    suite.file = file;
    const std::string absolute = FromStart(file);
    const QString path = QFile::decodeName(absolute.c_str());
    const ETestSuiteAccessType access = CDOMDocTestSuite::ShouldLoad(path);
    if (const std::string rule = RuleAgainst(absolute, access); !rule.empty())
    {
        suite.problems.push_back({0, 0, "error", rule});
        return suite;
    }
    suite.state = std::make_unique<TestSuiteState>(path, access);
    suite.state->Initialize();
    if (!suite.state->IsValid())
    {
        suite.problems = DocumentProblems(*suite.state, absolute);
        return suite;
    }
    suite.state->Activate(nullptr);
    BuildTree(suite, keepMode);
    return suite;
}

bool SelectNodes(const SLoadedSuite& suite, const std::vector<SDescribedNode>& nodes, const SOptions& options)
{
    const std::vector<std::string> unmatched = ApplySelection(*suite.root, nodes, options.selections);
    std::fflush(stdout);
    for (const std::string& pattern : unmatched)
    {
        ReportError(suite.file + ": no node matches '" + pattern + "'; 'orvanta list' shows the nodes");
    }
    return unmatched.empty();
}

void PrintProblems(const SLoadedSuite& suite)
{
    constexpr std::size_t MAX_SHOWN = 100;
    const std::size_t shown = std::min(suite.problems.size(), MAX_SHOWN);
    for (std::size_t i = 0; i < shown; ++i)
    {
        const SProblem& problem = suite.problems[i];
        std::string place = suite.file;
        if (problem.line != 0)
        {
            place += ':' + std::to_string(problem.line) + ':' + std::to_string(problem.column);
        }
        WriteErrorLine(place + ": " + problem.severity + ": " + problem.message);
    }
    if (shown < suite.problems.size())
    {
        std::fprintf(stderr, "%s: %zu more problems are not shown\n", suite.file.c_str(),
                     suite.problems.size() - shown);
    }
}

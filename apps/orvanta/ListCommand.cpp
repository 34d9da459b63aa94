#include "ListCommand.h"

#include "ProblemJson.h"
#include "SelectedSuite.h"
#include "SetupOf.h"
#include "Terminal.h"
#include "TerminalReport.h"

#include <CoreKit/CatchLadder.h>
#include <CoreKit/PrintableText.h>
#include <Session/Session.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <optional>

using TJson = nlohmann::ordered_json;

namespace
{
constexpr std::size_t LINE_WIDTH = 80;

/// How many columns UTF-8 text takes, near enough for lining up.
std::size_t Columns(const std::string& text)
{
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

std::string Padded(const std::string& text, std::size_t width)
{
    return text + std::string(width - std::min(width, Columns(text)), ' ');
}

TJson JsonOf(const SNodeInfo& node)
{
    return {{"path", node.path},         {"element", node.element}, {"name", node.name},
            {"label", node.label},       {"line", node.line},       {"selectable", node.selectable},
            {"selected", node.selected}, {"test", node.test},       {"tooltip", node.tooltip}};
}

TJson JsonOf(const CSuite& suite)
{
    TJson problems = TJson::array();
    for (const SProblem& problem : suite.Problems())
    {
        problems.push_back(JsonOf(problem));
    }
    TJson nodes = TJson::array();
    for (const SNodeInfo& node : suite.Nodes())
    {
        nodes.push_back(JsonOf(node));
    }
    return {{"file", suite.File()}, {"loaded", suite.Loaded()},   {"problems", problems},
            {"name", suite.Name()}, {"library", suite.Library()}, {"mode", static_cast<std::uint32_t>(suite.Mode())},
            {"nodes", nodes}};
}

void PrintNode(const SNodeInfo& node, std::size_t pathWidth, std::size_t elementWidth)
{
    const char* mark = !node.checkable ? "   " : node.selected ? "[x]" : "[ ]";
    std::string line =
        std::string(mark) + ' ' + Padded(node.path, pathWidth) + ' ' + Padded(node.element, elementWidth);
    const std::size_t column = Columns(line) + 1;
    for (const std::string& raw : {node.name, node.label.empty() ? "" : '"' + node.label + '"'})
    {
        const std::string text = PrintableLine(raw);
        const bool fits = Columns(line) + 1 + Columns(text) <= LINE_WIDTH || Columns(line) < column;
        line += text.empty() ? "" : (fits ? " " : '\n' + std::string(column, ' ')) + text;
    }
    line.erase(line.find_last_not_of(' ') + 1);
    std::printf("%s\n", line.c_str());
}

void PrintTree(const CSuite& suite)
{
    std::size_t pathWidth = 0;
    std::size_t elementWidth = 0;
    const std::vector<SNodeInfo> nodes = suite.Nodes();
    for (const SNodeInfo& node : nodes)
    {
        pathWidth = std::max(pathWidth, node.path.size());
        elementWidth = std::max(elementWidth, node.element.size());
    }
    std::printf("%s\n", PrintableLine(suite.File()).c_str());
    for (const SNodeInfo& node : nodes)
    {
        PrintNode(node, pathWidth, elementWidth);
    }
    std::fflush(stdout); // what is wrong with the next suite comes by another stream, and behind this
}

/// Shows one suite, or adds it to the array.
void ListSuite(const SOptions& options, const CSuite& suite, TJson& array)
{
    if (options.json)
    {
        array.push_back(JsonOf(suite));
    }
    else if (suite.Loaded())
    {
        PrintTree(suite);
    }
}
} // namespace

EExitCode ListSuites(const SOptions& options)
{
    std::optional<CSession> session;
    const EExitCode prepared = Guarded(
        [&]
        {
            session.emplace(ReadingSetupOf(options));
            return EExitCode::Passed;
        },
        [](const ZKException& exception) { return ReportUsage(ECommand::List, exception.what()); });
    if (prepared != EExitCode::Passed)
    {
        return prepared;
    }
    CTerminalReport problems(stdout, stderr, STerminalStyle{.level = LL_ALWAYS});
    std::vector<SSelectedSuite> suites = LoadAhead(*session, options.suites, options.selections);
    const bool isUnmatched = ReportUnmatched(suites, options.selections, ReportError);
    EExitCode code = isUnmatched ? EExitCode::NothingRan : EExitCode::Passed;
    TJson array = TJson::array();
    for (std::size_t i = 0; i < options.suites.size(); ++i)
    {
        const SSelectedSuite selected =
            suites.empty() ? LoadSelected(*session, options.suites[i], {}) : std::move(suites[i]);
        const CSuite& suite = *selected.suite;
        code = suite.Loaded() ? code : EExitCode::NotLoaded;
        if (!options.json)
        {
            problems.Take(
                {std::chrono::system_clock::now(), SSuiteLoadEvent{suite.File(), suite.Loaded(), suite.Problems()}});
        }
        if (!isUnmatched)
        {
            ListSuite(options, suite, array);
        }
    }
    if (options.json)
    {
        std::printf("%s\n", PrintableJson(array.dump(2, ' ', false, TJson::error_handler_t::replace)).c_str());
    }
    return code;
}

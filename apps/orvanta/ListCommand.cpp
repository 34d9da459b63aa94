#include "ListCommand.h"

#include "HostSession.h"
#include "Progress.h"
#include "SuiteLoader.h"
#include "Terminal.h"
#include "TerminalListener.h"

#include <CoreKit/CatchLadder.h>
#include <CoreKit/PrintableText.h>
#include <HostKit/ScriptedUserInput.h>
#include <Orvanta/DOMDocTestSuite.h>
#include <Reports/NodeInfo.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <optional>

using TJson = nlohmann::ordered_json;

namespace
{
constexpr std::size_t LINE_WIDTH = 80;

/// How many columns UTF-8 text takes, near enough for lining up.
std::size_t Width(const std::string& text)
{
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

std::string Padded(const std::string& text, std::size_t width)
{
    return text + std::string(width - std::min(width, Width(text)), ' ');
}

TJson JsonOf(const SLoadedSuite& suite, const std::vector<SDescribedNode>& nodes)
{
    TJson list = TJson::array();
    for (const auto& [node, info] : nodes)
    {
        list.push_back({{"path", info.path},
                        {"element", info.element},
                        {"name", info.name},
                        {"label", info.label},
                        {"line", info.line},
                        {"selectable", node->IsSelectable()},
                        {"selected", node->Selected()}});
    }
    const CDOMDocTestSuite& document = *suite.state->Document();
    return {{"file", suite.file},
            {"name", document.LogName().toStdString()},
            {"library", document.LibFileName().toStdString()},
            {"nodes", std::move(list)}};
}

/// Whether the operator's selection decides if the node runs. It does not below a node without a check mark.
bool SelectionMatters(const CNode& node)
{
    const CNode* parent = node.ParentNode();
    return node.IsSelectable() && (!parent || SelectionMatters(*parent));
}

void PrintNode(const SDescribedNode& described, std::size_t pathWidth, std::size_t elementWidth)
{
    const auto& [node, info] = described;
    const char* mark = !SelectionMatters(*node) ? "   " : node->Selected() ? "[x]" : "[ ]";
    std::string line =
        std::string(mark) + ' ' + Padded(info.path, pathWidth) + ' ' + Padded(info.element, elementWidth);
    const std::size_t column = Width(line) + 1;
    for (const std::string& raw : {info.name, info.label.empty() ? "" : '"' + info.label + '"'})
    {
        const std::string text = PrintableLine(raw);
        const bool fits = Width(line) + 1 + Width(text) <= LINE_WIDTH || Width(line) < column;
        line += text.empty() ? "" : (fits ? " " : '\n' + std::string(column, ' ')) + text;
    }
    line.erase(line.find_last_not_of(' ') + 1);
    std::printf("%s\n", line.c_str());
}

void PrintTree(const SLoadedSuite& suite, const std::vector<SDescribedNode>& nodes)
{
    std::size_t pathWidth = 0;
    std::size_t elementWidth = 0;
    for (const SDescribedNode& described : nodes)
    {
        pathWidth = std::max(pathWidth, described.info.path.size());
        elementWidth = std::max(elementWidth, described.info.element.size());
    }
    std::printf("%s\n", PrintableLine(suite.file).c_str());
    for (const SDescribedNode& described : nodes)
    {
        PrintNode(described, pathWidth, elementWidth);
    }
}

/// Shows one suite, or adds it to the array.
EExitCode ListSuite(const SOptions& options, CHostConfiguration& configuration, const std::string& file, TJson& array)
{
    CProgress progress(false);
    CTerminalListener errors(stderr, LL_FAILURE, false, progress);
    CScriptedUserInput nobody;
    CHostSession session(options, configuration, nobody, file);
    session.Services.Listeners.Add(errors);
    const SLoadedSuite suite = LoadSuite(file, options.debug);
    if (!suite.root)
    {
        std::fflush(stdout);
        PrintProblems(suite);
        return EExitCode::NotLoaded;
    }
    const std::vector<SDescribedNode> nodes = DescribeTree(*suite.root, *suite.state->Document());
    if (!SelectNodes(suite, nodes, options))
    {
        return EExitCode::NothingRan;
    }
    if (options.json)
    {
        array.push_back(JsonOf(suite, nodes));
    }
    else
    {
        PrintTree(suite, nodes);
    }
    return EExitCode::Passed;
}
} // namespace

EExitCode ListSuites(const SOptions& options)
{
    std::optional<CHostConfiguration> configuration;
    const EExitCode prepared = Guarded(
        [&]
        {
            configuration.emplace(options);
            return EExitCode::Passed;
        },
        [](const ZKException& exception) { return ReportUsage(ECommand::List, exception.what()); });
    if (prepared != EExitCode::Passed)
    {
        return prepared;
    }
    EExitCode code = EExitCode::Passed;
    TJson array = TJson::array();
    for (const std::string& file : options.suites)
    {
        code = Graver(code, ListSuite(options, *configuration, file, array));
    }
    if (options.json)
    {
        const std::string json = array.dump(2, ' ', false, TJson::error_handler_t::replace);
        std::printf("%s\n", PrintableJson(json).c_str());
    }
    return code;
}

#include <Reports/PromptJson.h>
#include <Reports/RunRecord.h>

#include <CoreKit/Time.h>
#include <Orvanta/Version.h>

#include <nlohmann/json.hpp>

#include <chrono>
#include <optional>
#include <utility>

using TJson = nlohmann::ordered_json;

namespace
{
constexpr int RECORD_VERSION = 1;

TJson Event(const char* name)
{
    return {{"event", name}, {"time", MakeUtcTimeString(std::chrono::system_clock::now()).c_str()}};
}

void Append(CLineFile& file, const TJson& event)
{
    file.Append(event.dump(-1, ' ', false, TJson::error_handler_t::replace) + '\n');
    file.HandOver();
}

TJson ColorOf(const std::optional<ZKColor>& color)
{
    return color ? TJson::array({color->red, color->green, color->blue, color->alpha}) : TJson();
}

TJson FormatOf(const CFormatInfo* format)
{
    if (!format)
    {
        return nullptr;
    }
    return {{"color", ColorOf(format->Color())},
            {"background", ColorOf(format->BackColor())},
            {"strength", format->Strength()},
            {"italic", format->Italics()},
            {"underline", format->Underline()}};
}

const char* StateName(ERunState state)
{
    switch (state)
    {
    case RS_EXECUTING:
        return "executing";
    case RS_PASSED:
        return "passed";
    case RS_FAILED:
        return "failed";
    default:
        return "not run";
    }
}

std::string EngineVersion()
{
    return std::to_string(GetVersionMajor()) + '.' + std::to_string(GetVersionMinor()) + '.' +
        std::to_string(GetVersionPatch());
}
} // namespace

CRunRecord::CRunRecord(const std::string& path)
    : m_File(path)
{
    TJson event = Event("record");
    event["version"] = RECORD_VERSION;
    event["engine"] = EngineVersion();
    Append(m_File, event);
}

void CRunRecord::SuiteLoaded(const SSuiteLoad& load)
{
    TJson problems = TJson::array();
    for (const SLoadProblem& problem : load.problems)
    {
        const bool hasPlace = problem.line != 0;
        problems.push_back({{"line", hasPlace ? TJson(problem.line) : TJson()},
                            {"column", hasPlace ? TJson(problem.column) : TJson()},
                            {"severity", problem.severity},
                            {"message", problem.message}});
    }
    TJson event = Event("suite-load");
    event["file"] = load.file;
    event["loaded"] = load.loaded;
    event["problems"] = std::move(problems);
    Append(m_File, event);
}

void CRunRecord::RunStarted(const SRunStart& start)
{
    TJson event = Event("run-start");
    event["suite"] = start.suite;
    event["file"] = start.file;
    event["library"] = start.library;
    event["executionType"] = start.executionType;
    event["mode"] = start.mode;
    Append(m_File, event);
}

void CRunRecord::RunEnded(const SRunEnd& end)
{
    TJson event = Event("run-end");
    event["status"] = static_cast<std::uint32_t>(end.status);
    event["result"] = end.result;
    event["reportName"] = end.reportName;
    event["passed"] = end.passed;
    event["executed"] = end.counters.ExecCount;
    event["failedExecutions"] = end.counters.FailedExecCount;
    event["tests"] = end.counters.RunCount;
    event["passes"] = end.counters.PassCount;
    event["warnings"] = end.counters.WarningCount;
    event["aborts"] = end.counters.AbortCount;
    event["failures"] = end.counters.FailCount;
    Append(m_File, event);
}

void CRunRecord::NodeStateChanged(const SNodeInfo& node, ERunState state)
{
    TJson event = Event("state");
    event["path"] = node.path;
    event["element"] = node.element;
    event["name"] = node.name;
    event["label"] = node.label;
    event["line"] = node.line;
    event["state"] = StateName(state);
    Append(m_File, event);
}

void CRunRecord::LogWritten(const SLogEntry& entry)
{
    TJson event = Event("log");
    event["status"] = static_cast<std::uint32_t>(entry.type.status);
    event["second"] = entry.type.second;
    event["level"] = static_cast<std::uint32_t>(entry.level);
    event["format"] = FormatOf(entry.format);
    event["text"] = entry.text;
    Append(m_File, event);
}

void CRunRecord::Printed(ELogLevel level, bool line, std::string_view text)
{
    TJson event = Event("print");
    event["level"] = static_cast<std::uint32_t>(level);
    event["line"] = line;
    event["text"] = text;
    Append(m_File, event);
}

void CRunRecord::TestLogAdded(std::string_view text, bool isTest, bool isSeparator)
{
    TJson event = Event("test-log");
    event["text"] = text;
    event["test"] = isTest;
    event["separator"] = isSeparator;
    Append(m_File, event);
}

void CRunRecord::PromptEnded(std::uint64_t /*id*/, const SPrompt& prompt, const TPromptAnswer& answer)
{
    TJson event = Event("prompt");
    switch (prompt.kind)
    {
    case EPromptKind::Boolean:
        event.update({{"kind", "boolean"}, {"text", prompt.text}, {"yes", prompt.yes}, {"no", prompt.no}});
        break;
    case EPromptKind::Info:
        event.update({{"kind", "info"}, {"text", prompt.text}, {"button", prompt.button}});
        break;
    case EPromptKind::Integer:
        event.update({{"kind", "integer"},
                      {"text", prompt.text},
                      {"label", prompt.label},
                      {"base", prompt.hexadecimal ? 16 : 10},
                      {"initialize", prompt.initialize},
                      {"initial", prompt.initial},
                      {"min", prompt.min},
                      {"max", prompt.max}});
        break;
    }
    event["timeout"] = prompt.timeout ? TJson(*prompt.timeout) : TJson();
    event["answer"] = AnswerJson(answer);
    Append(m_File, event);
}

void CRunRecord::OperatorAborted(std::string_view text)
{
    TJson event = Event("abort");
    event["text"] = text;
    Append(m_File, event);
}

void CRunRecord::HeadlineShown(std::string_view text, std::uint32_t emphasis)
{
    TJson event = Event("headline");
    event["text"] = text;
    event["emphasis"] = emphasis;
    Append(m_File, event);
}

#pragma once

#include <Events/Event.h>

#include <concepts>
#include <type_traits>

// The keys of every event, in the order in which a record has them. One description serves both directions: an archive
// is a `CFieldWriter`, which gets the structures const, or a `CFieldReader`.

template <class T, class Described>
concept Is = std::same_as<std::remove_const_t<T>, Described>;

/// The version of the record's form that is written and read.
inline constexpr std::uint64_t RECORD_VERSION = 2;

void Fields(auto& archive, Is<SRecordEvent> auto& event)
{
    archive.Version("version", RECORD_VERSION);
    archive("engine", event.engine);
    archive("host", event.host);
}

void Fields(auto& archive, Is<SProblem> auto& problem)
{
    archive.Place("line", problem.line);
    archive.Place("column", problem.column);
    archive("severity", problem.severity);
    archive("rule", problem.rule);
    archive("message", problem.message);
}

void Fields(auto& archive, Is<SSuiteLoadEvent> auto& event)
{
    archive("file", event.file);
    archive("loaded", event.loaded);
    archive("problems", event.problems);
}

void Fields(auto& archive, Is<SRunStartEvent> auto& event)
{
    archive("suite", event.suite);
    archive("file", event.file);
    archive("library", event.library);
    archive("executionType", event.executionType);
    archive("mode", event.mode);
    archive("meta", event.meta);
}

void Fields(auto& archive, Is<SNodeEvent> auto& event)
{
    archive("path", event.path);
    archive("element", event.element);
    archive("name", event.name);
    archive("label", event.label);
    archive("line", event.line);
    archive("selectable", event.selectable);
    archive("selected", event.selected);
    archive("test", event.test);
}

void Fields(auto& archive, Is<SLogFormat> auto& format)
{
    archive("color", format.color);
    archive("background", format.background);
    archive("strength", format.strength);
    archive("italic", format.italic);
    archive("underline", format.underline);
}

void Fields(auto& archive, Is<SLogEvent> auto& event)
{
    archive("status", event.status);
    archive("second", event.second);
    archive("level", event.level);
    archive("format", event.format);
    archive("text", event.text);
}

void Fields(auto& archive, Is<SPrintEvent> auto& event)
{
    archive("level", event.level);
    archive("line", event.line);
    archive("text", event.text);
}

void Fields(auto& archive, Is<STestLogEvent> auto& event)
{
    archive("text", event.text);
    archive("test", event.test);
    archive("separator", event.separator);
}

void Fields(auto& archive, Is<SStateEvent> auto& event)
{
    archive("path", event.path);
    archive("element", event.element);
    archive("name", event.name);
    archive("label", event.label);
    archive("line", event.line);
    archive("state", event.state);
}

void Fields(auto& archive, Is<SPassEvent> auto& event)
{
    archive("path", event.path);
    archive("number", event.number);
    archive("iterator", event.iterator);
    archive("variable", event.variable);
}

void Fields(auto& archive, Is<SSkipEvent> auto& event)
{
    archive("path", event.path);
}

void Fields(auto& archive, Is<SMeasurementEvent> auto& event)
{
    archive("path", event.path);
    archive("name", event.name);
    archive("value", event.value);
    archive("unit", event.unit);
    archive("lower", event.lower);
    archive("upper", event.upper);
    archive("passed", event.passed);
}

void Fields(auto& archive, Is<SVerdictEvent> auto& event)
{
    archive("path", event.path);
    archive("test", event.test);
    archive("verdict", event.verdict);
    archive("warnings", event.warnings);
    archive("passes", event.passes);
    archive("ms", event.duration);
    archive("reason", event.reason);
}

/// A prompt's keys depend on its kind.
void Fields(auto& archive, Is<SPrompt> auto& prompt)
{
    archive("kind", prompt.kind);
    archive("text", prompt.text);
    switch (prompt.kind)
    {
    case EPromptKind::Boolean:
        archive("yes", prompt.yes);
        archive("no", prompt.no);
        break;
    case EPromptKind::Info:
        archive("button", prompt.button);
        break;
    case EPromptKind::Integer:
        archive("label", prompt.label);
        archive.Base("base", prompt.hexadecimal);
        archive("initialize", prompt.initialize);
        archive("initial", prompt.initial);
        archive("min", prompt.min);
        archive("max", prompt.max);
        break;
    }
    archive("timeout", prompt.timeout);
}

void Fields(auto& archive, Is<SPromptOpenEvent> auto& event)
{
    Fields(archive, event.prompt);
    archive("id", event.id);
}

void Fields(auto& archive, Is<SPromptEvent> auto& event)
{
    Fields(archive, event.prompt);
    archive("answer", event.answer);
    archive("id", event.id);
}

void Fields(auto& archive, Is<SAbortEvent> auto& event)
{
    archive("text", event.text);
    archive("by", event.by);
}

void Fields(auto& archive, Is<SOutputEvent> auto& event)
{
    archive("path", event.path);
    archive("stream", event.stream);
    archive("text", event.text);
}

void Fields(auto& archive, Is<SLockEvent> auto& event)
{
    archive("state", event.state);
    archive("file", event.file);
    archive("process", event.process);
    archive("host", event.host);
    archive("since", event.since);
}

void Fields(auto& archive, Is<SVanishedEvent> auto& event)
{
    archive("signal", event.signal);
    archive("status", event.status);
    archive("path", event.path);
}

void Fields(auto& archive, Is<SHeadlineEvent> auto& event)
{
    archive("text", event.text);
    archive("emphasis", event.emphasis);
}

void Fields(auto& archive, Is<SNotRunEvent> auto& event)
{
    archive("path", event.path);
    archive("reason", event.reason);
}

void Fields(auto& archive, Is<SVerdictCounts> auto& counts)
{
    archive("passed", counts.passed);
    archive("failed", counts.failed);
    archive("errors", counts.errors);
    archive("aborted", counts.aborted);
    archive("notRun", counts.notRun);
    archive("warned", counts.warned);
}

void Fields(auto& archive, Is<SRunEndEvent> auto& event)
{
    archive("status", event.status);
    archive("result", event.result);
    archive("reportName", event.reportName);
    archive("passed", event.passed);
    archive("executed", event.executed);
    archive("failedExecutions", event.failedExecutions);
    archive("tests", event.tests);
    archive("passes", event.passes);
    archive("warnings", event.warnings);
    archive("aborts", event.aborts);
    archive("failures", event.failures);
    archive("verdicts", event.verdicts);
    archive("seconds", event.duration);
}

void Fields(auto& archive, Is<SRefusedEvent> auto& event)
{
    archive("reason", event.reason);
}

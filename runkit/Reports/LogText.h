#pragma once

#include <Events/Event.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

/// The complete log of runs as plain text, for people: one entry a line with time, level, kind and text as
/// `PrintableText` shows it, further lines of a text indented below it. Nodes are named as the `node` events described
/// them.
class CLogText
{
public:
    /// `write` takes whole lines.
    explicit CLogText(std::function<void(std::string_view lines)> write);

    void Take(const SEvent& event);

private:
    struct SNode
    {
        std::string name; ///< element, and label or name
        std::uint64_t line;
    };

    void Tell(const SSuiteLoadEvent& event);
    void Tell(const SRunStartEvent& event);
    void Tell(const SNodeEvent& event);
    void Tell(const SLogEvent& event);
    void Tell(const SPrintEvent& event);
    void Tell(const STestLogEvent& event);
    void Tell(const SPassEvent& event);
    void Tell(const SSkipEvent& event);
    void Tell(const SVerdictEvent& event);
    void Tell(const SAbortEvent& event);
    void Tell(const SOutputEvent& event);
    void Tell(const SLockEvent& event);
    void Tell(const SVanishedEvent& event);
    void Tell(const SHeadlineEvent& event);
    void Tell(const SNotRunEvent& event);
    void Tell(const SRunEndEvent& event);
    /// States and prompts stand in the engine's own entries; measurements are for records and reports.
    void Tell(const auto&) {}

    /// Path, element, title, the passes of the loops around it, and the place in the suite's file.
    std::string Describe(const std::string& path, const std::vector<std::uint64_t>& passes = {}) const;
    /// An entry of several lines where the text has several.
    void Text(std::uint32_t level, const char* kind, std::string_view text);
    /// An entry of one line, at the level that always shows.
    void Line(const char* kind, std::string_view text);
    /// `text` is printable.
    void Write(std::uint32_t level, const char* kind, std::string_view text);

    std::function<void(std::string_view)> m_Write;
    std::chrono::system_clock::time_point m_Time; ///< of the event that is being told
    std::string m_SuiteFile;
    std::unordered_map<std::string, SNode> m_Nodes; ///< of the current run, by path
};

#include "EventScript.h"

#include <CoreKit/TestStatus.h>
#include <Events/EventJson.h>
#include <Events/Words.h>

#include <chrono>
#include <sstream>
#include <stdexcept>
#include <utility>

using namespace std::chrono_literals;

namespace
{
std::string Rest(std::istream& words)
{
    std::string text;
    std::getline(words >> std::ws, text);
    return text;
}

std::vector<std::uint64_t> Passes(std::istream& words)
{
    std::vector<std::uint64_t> passes;
    if ((words >> std::ws).peek() == '[')
    {
        char separator = 0;
        std::uint64_t pass = 0;
        while (words >> separator && separator != ']' && words >> pass)
        {
            passes.push_back(pass);
        }
    }
    words.clear();
    return passes;
}
} // namespace

CEventScript& CEventScript::operator()(const std::string& lines)
{
    std::istringstream text(lines);
    for (std::string line; std::getline(text >> std::ws, line);)
    {
        Line(line);
    }
    return *this;
}

CEventScript& CEventScript::operator()(TEvent what)
{
    constexpr std::chrono::system_clock::time_point begin(1709210096s);
    m_Events.push_back({begin + m_Events.size() * 1s, std::move(what)});
    return *this;
}

void CEventScript::Line(const std::string& line)
{
    std::istringstream words(line);
    std::string word;
    std::string path;
    words >> word;
    if (word == "record")
    {
        (*this)(SRecordEvent{"5.0.0", "orvanta"});
    }
    else if (word == "run")
    {
        (*this)(SRunStartEvent{Rest(words), "suite.xml", "Lib", 0, 0, {}});
    }
    else if (word == "end" || word == "bad")
    {
        SRunEndEvent end;
        end.passed = word == "end";
        end.duration = 1234ms;
        (*this)(end);
    }
    else if (word.starts_with("log"))
    {
        (*this)(SLogEvent{word == "log"              ? TS_NONE
                              : word == "log:failed" ? TS_FAILED
                                                     : TS_ERROR,
                          0,
                          3,
                          {},
                          Rest(words)});
    }
    else if (words >> path; word == "pass")
    {
        std::uint64_t number = 0;
        words >> number;
        (*this)(SPassEvent{path, number, number, {}});
    }
    else if (word == "begin" || word == "ends" || word == "fails")
    {
        const SNodeEvent& node = Node(path);
        (*this)(SStateEvent{path, node.element, node.name, node.label, node.line,
                            word == "begin"      ? ENodeState::Executing
                                : word == "ends" ? ENodeState::Passed
                                                 : ENodeState::Failed});
    }
    else if (const auto verdict = FromWord<EVerdict>(word))
    {
        std::vector<std::uint64_t> passes = Passes(words);
        if (*verdict != EVerdict::Aborted)
        {
            Line((*verdict == EVerdict::Passed ? "ends " : "fails ") + path);
        }
        (*this)(SVerdictEvent{path, Node(path).test, *verdict, 0, std::move(passes), 12300us, Rest(words)});
    }
    else if (word == "group")
    {
        (*this)(SNodeEvent{path, "x:Group", "", Rest(words), m_Events.size(), true, true, false});
    }
    else if (word == "test" || word == "call" || word == "off")
    {
        (*this)(
            SNodeEvent{path, "x:Function", "Func", Rest(words), m_Events.size(), true, word != "off", word != "call"});
    }
    else
    {
        throw std::invalid_argument(line);
    }
}

const SNodeEvent& CEventScript::Node(const std::string& path) const
{
    for (auto event = m_Events.rbegin(); event != m_Events.rend(); ++event)
    {
        const auto* const node = std::get_if<SNodeEvent>(&event->what);
        if (node && node->path == path)
        {
            return *node;
        }
    }
    throw std::invalid_argument("no node " + path);
}

std::string CEventScript::Json() const
{
    std::string json;
    for (const SEvent& event : m_Events)
    {
        ToJson(event, json);
    }
    return json;
}

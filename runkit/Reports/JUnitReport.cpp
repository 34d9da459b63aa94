#include <Reports/JUnitReport.h>

#include <Reports/EventText.h>
#include <Reports/Spool.h>

#include <CoreKit/PrintableText.h>
#include <CoreKit/TestStatus.h>
#include <CoreKit/Time.h>
#include <Events/Node.h>
#include <Events/Words.h>

#include <pugixml.hpp>

#include <algorithm>
#include <utility>
#include <variant>

namespace
{
/// What is kept of the log of one execution; the reader of a report looks at its beginning, a program at the record.
constexpr std::size_t LONGEST_LOG = std::size_t{1} << 20;

/// A text without what XML has no form for.
std::string XmlText(std::string_view text)
{
    std::string result = PrintableText(text);
    for (const auto& [bytes, shown] : {std::pair("\xEF\xBF\xBE", "\\uFFFE"), std::pair("\xEF\xBF\xBF", "\\uFFFF")})
    {
        for (std::size_t at = result.find(bytes); at != std::string::npos; at = result.find(bytes, at))
        {
            result.replace(at, 3, shown);
        }
    }
    return result;
}

/// A name as readers take it, who see no blanks at the ends of one.
std::string NameText(std::string_view text)
{
    const bool isBlank = text.find_first_not_of(" \t\n") == std::string_view::npos;
    return isBlank ? '"' + std::string(text) + '"' : std::string(text);
}

void SetText(pugi::xml_node node, const char* name, std::string_view value)
{
    node.append_attribute(name).set_value(XmlText(value).c_str());
}

pugi::xml_node AddCase(pugi::xml_document& document, const STestName& name, std::chrono::microseconds duration)
{
    pugi::xml_node testcase = document.append_child("testcase");
    SetText(testcase, "name", NameText(name.name));
    SetText(testcase, "classname", NameText(name.classname));
    SetText(testcase, "time", SecondsText(duration));
    return testcase;
}

void AddTrouble(pugi::xml_node testcase, EVerdict verdict, std::string_view message, std::string_view content)
{
    pugi::xml_node trouble = testcase.append_child(verdict == EVerdict::Failed ? "failure" : "error");
    SetText(trouble, "message", message);
    SetText(trouble, "type", WordOf(verdict));
    std::string text(message);
    text += content.empty() ? "" : "\n\n";
    text += content;
    trouble.append_child(pugi::node_pcdata).set_value(XmlText(text).c_str());
}

class CTextWriter : public pugi::xml_writer
{
public:
    void write(const void* data, std::size_t size) override { text.append(static_cast<const char*>(data), size); }

    std::string text;
};

std::string Written(const pugi::xml_document& document, unsigned int depth)
{
    CTextWriter writer;
    document.first_child().print(writer, "  ", pugi::format_indent, pugi::encoding_utf8, depth);
    return writer.text;
}

/// An element whose text waits in a spool.
void WriteText(CReportFile& file, const char* element, CSpool& spool)
{
    const std::string name(element);
    if (spool.IsEmpty())
    {
        file.Write("    <" + name + " />\n");
        return;
    }
    file.Write("    <" + name + '>');
    spool.Drain([&](std::string_view piece) { file.Write(piece); });
    file.Write("</" + name + ">\n");
}

/// Text as it stands between tags.
std::string Escaped(std::string_view text)
{
    pugi::xml_document document;
    document.append_child(pugi::node_pcdata).set_value(XmlText(text).c_str());
    CTextWriter writer;
    document.print(writer, "", pugi::format_raw | pugi::format_no_declaration, pugi::encoding_utf8);
    return writer.text;
}
} // namespace

CJUnitReport::CJUnitReport(std::string path)
    : m_File(std::move(path))
    , m_Properties(std::make_unique<CSpool>())
    , m_Cases(std::make_unique<CSpool>())
    , m_Output(std::make_unique<CSpool>())
    , m_Errors(std::make_unique<CSpool>())
{
    m_File.Write("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites>\n");
}

CJUnitReport::~CJUnitReport() = default;

void CJUnitReport::Take(const SEvent& event)
{
    m_Time = event.time;
    std::visit([this](const auto& what) { Tell(what); }, event.what);
}

void CJUnitReport::Finish()
{
    EndSuite();
    m_File.Write("</testsuites>\n");
    m_File.Commit();
}

// ---------------------------------------------------------------------------------------------------------- the suites

void CJUnitReport::Tell(const SSuiteLoadEvent& load)
{
    if (load.loaded)
    {
        m_LoadTrouble[load.file] = std::exchange(m_Trouble, {});
        return;
    }
    BeginSuite();
    m_Names.Begin({}, load.file);
    std::string first;
    std::string all;
    for (const SProblem& problem : load.problems)
    {
        const std::string text = ProblemText(load.file, problem);
        first = first.empty() && problem.severity == ESeverity::Error ? problem.message : first;
        all += (all.empty() ? "" : "\n") + text;
    }
    WriteProblem(m_Names.SuiteClass(), "load", first.empty() ? "The suite was not loaded." : first, all);
    WriteSuite(load.file, {});
}

void CJUnitReport::Tell(const SRunStartEvent& start)
{
    BeginSuite();
    m_Names.Begin(start.suite, start.file);
    m_IsInRun = true;
    m_Trouble = m_LoadTrouble[start.file];
    for (const auto& [key, value] : start.meta)
    {
        WriteProperty(key, value);
    }
}

void CJUnitReport::BeginSuite()
{
    EndSuite();
    m_Start = m_Time;
    m_Executions.clear();
    m_NotSelected.clear();
    m_HasSelected = false;
    m_TestCount = m_FailureCount = m_ErrorCount = m_SkippedCount = 0;
    m_Trouble.clear();
    m_Refused.clear();
    m_Log.clear();
    m_LeftOut = 0;
    m_Measured.clear();
}

void CJUnitReport::Tell(const SRunEndEvent& end)
{
    if (!m_Refused.empty())
    {
        m_Cases->Drain([](std::string_view) {});
        m_TestCount = m_FailureCount = m_ErrorCount = m_SkippedCount = 0;
        WriteProblem(m_Names.SuiteClass(), "load", m_Refused, {});
    }
    else
    {
        for (const std::string& path : m_NotSelected)
        {
            WriteSkipped(path, "not selected");
        }
        if (!end.passed && m_FailureCount + m_ErrorCount == 0)
        {
            const std::string text = end.result.empty() ? "The run ended before its time."
                : end.result != "Completed"             ? "Result: " + end.result
                : m_HasSelected                         ? "None of the selected tests was executed."
                                                        : "Nothing was selected.";
            WriteProblem(m_Names.SuiteClass(), "run", m_Trouble.empty() ? text : m_Trouble, {});
        }
    }
    WriteSuite(m_Names.Suite(), end.duration);
    m_IsInRun = false;
    m_Trouble.clear();
}

void CJUnitReport::WriteSuite(const std::string& name, std::chrono::milliseconds duration)
{
    pugi::xml_document document;
    pugi::xml_node suite = document.append_child("testsuite");
    SetText(suite, "name", NameText(name));
    SetText(suite, "package", NameText(name));
    suite.append_attribute("id").set_value(static_cast<unsigned long long>(m_Suites++));
    SetText(suite, "timestamp", std::string_view(MakeUtcTimeString(m_Start)).substr(0, 19));
    SetText(suite, "hostname", "localhost");
    suite.append_attribute("tests").set_value(static_cast<unsigned long long>(m_TestCount));
    suite.append_attribute("failures").set_value(static_cast<unsigned long long>(m_FailureCount));
    suite.append_attribute("errors").set_value(static_cast<unsigned long long>(m_ErrorCount));
    suite.append_attribute("skipped").set_value(static_cast<unsigned long long>(m_SkippedCount));
    SetText(suite, "time", SecondsText(duration));
    std::string tag = Written(document, 1);
    tag.replace(tag.rfind(" />"), std::string::npos, ">\n");
    m_File.Write(tag);
    const auto copy = [this](std::string_view piece) { m_File.Write(piece); };
    m_File.Write("    <properties>\n");
    m_Properties->Drain(copy);
    m_File.Write("    </properties>\n");
    m_Cases->Drain(copy);
    m_IsSuiteOpen = true;
}

/// What was written until the next suite began is part of this one.
void CJUnitReport::EndSuite()
{
    if (m_IsSuiteOpen)
    {
        WriteText(m_File, "system-out", *m_Output);
        WriteText(m_File, "system-err", *m_Errors);
        m_File.Write("  </testsuite>\n");
        m_IsSuiteOpen = false;
    }
}

// ----------------------------------------------------------------------------------------------------------- the cases

void CJUnitReport::Tell(const SNodeEvent& node)
{
    m_Names.Add(node);
    m_Executions[node.path] = IsExecution(node.element);
    m_HasSelected = m_HasSelected || (node.test && node.selected);
    if (node.test && !node.selected)
    {
        m_NotSelected.push_back(node.path);
    }
}

void CJUnitReport::Tell(const SStateEvent& state)
{
    if (state.state == ENodeState::Executing)
    {
        m_Log.clear();
        m_LeftOut = 0;
        m_Measured.clear();
    }
}

void CJUnitReport::Tell(const SLogEvent& entry)
{
    if ((entry.status & (TS_FAILED | TS_ERROR)) != 0)
    {
        Remember(entry.text);
    }
    constexpr std::uint32_t GOES_ON = 4;
    AppendLog(entry.text);
    AppendLog(entry.second == GOES_ON || entry.text.ends_with('\n') ? "" : "\n");
}

void CJUnitReport::Tell(const SOutputEvent& output)
{
    (output.stream == EOutputStream::StdErr ? m_Errors : m_Output)->Append(Escaped(output.text));
    AppendLog(output.text);
}

void CJUnitReport::AppendLog(std::string_view text)
{
    const std::size_t taken = std::min(text.size(), LONGEST_LOG - m_Log.size());
    m_Log += text.substr(0, taken);
    m_LeftOut += text.size() - taken;
}

void CJUnitReport::Tell(const SMeasurementEvent& measurement)
{
    m_Measured.push_back(measurement);
}

void CJUnitReport::Tell(const SVerdictEvent& verdict)
{
    const bool isPassed = verdict.verdict == EVerdict::Passed;
    if (!isPassed)
    {
        Remember(verdict.reason);
    }
    const auto node = m_Executions.find(verdict.path);
    const bool isExecution = node != m_Executions.end() && node->second;
    const STestName name = m_Names.Name(verdict.path, verdict.passes);
    WriteMeasurements(name);
    if (!verdict.test && (isPassed || !isExecution))
    {
        return;
    }
    pugi::xml_document document;
    pugi::xml_node testcase = AddCase(document, name, verdict.duration);
    if (!isPassed)
    {
        const std::string more =
            m_LeftOut == 0 ? "" : "\n(" + std::to_string(m_LeftOut) + " further bytes stand in the record)";
        AddTrouble(testcase, verdict.verdict, verdict.reason, m_Log + more);
        ++(verdict.verdict == EVerdict::Failed ? m_FailureCount : m_ErrorCount);
    }
    WriteCase(document);
}

void CJUnitReport::Tell(const SNotRunEvent& notRun)
{
    WriteSkipped(notRun.path, std::string(WordOf(notRun.reason)));
}

void CJUnitReport::Tell(const SAbortEvent& abort)
{
    Remember(abort.text);
}

void CJUnitReport::Tell(const SLockEvent& lock)
{
    if (lock.state == ELockState::Refused)
    {
        m_Refused = LockText(lock);
    }
}

void CJUnitReport::Tell(const SVanishedEvent& vanished)
{
    if (m_IsInRun)
    {
        Remember(VanishedText(vanished));
        return;
    }
    BeginSuite();
    m_Names.Begin({}, "load");
    WriteProblem(m_Names.SuiteClass(), "load", VanishedText(vanished) + ", outside of a run", {});
    WriteSuite(m_Names.Suite(), {});
}

void CJUnitReport::Remember(std::string_view trouble)
{
    if (m_Trouble.empty())
    {
        m_Trouble = trouble;
    }
}

void CJUnitReport::WriteProblem(const std::string& classname, const char* name, std::string_view message,
                                std::string_view content)
{
    pugi::xml_document document;
    AddTrouble(AddCase(document, {classname, name}, {}), EVerdict::Error, message, content);
    ++m_ErrorCount;
    WriteCase(document);
}

void CJUnitReport::WriteSkipped(const std::string& path, const std::string& reason)
{
    pugi::xml_document document;
    SetText(AddCase(document, m_Names.Name(path, {}), {}).append_child("skipped"), "message", reason);
    ++m_SkippedCount;
    WriteCase(document);
}

void CJUnitReport::WriteCase(const pugi::xml_document& document)
{
    ++m_TestCount;
    m_Cases->Append(Written(document, 2));
}

void CJUnitReport::WriteProperty(const std::string& name, const std::string& value)
{
    pugi::xml_document document;
    pugi::xml_node property = document.append_child("property");
    SetText(property, "name", NameText(name));
    SetText(property, "value", value);
    m_Properties->Append(Written(document, 3));
}

void CJUnitReport::WriteMeasurements(const STestName& name)
{
    for (const SMeasurementEvent& measured : m_Measured)
    {
        WriteProperty(name.classname + '.' + name.name + ": " + measured.name, MeasurementText(measured));
    }
    m_Measured.clear();
}

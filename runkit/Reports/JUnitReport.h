#pragma once

#include <Reports/Report.h>
#include <Reports/ReportFile.h>
#include <Reports/ReportsExport.h>
#include <Reports/TestNames.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

class CSpool;

namespace pugi
{
class xml_document;
class xml_node;
} // namespace pugi

/// JUnit XML, in the form that strict readers take: a suite of test cases for each run, a case for each execution of a
/// test, for each other execution that did not pass, and for each test that did not run. In memory is never more than
/// the nodes of one run and the log of one execution. The constructor and `Finish` throw `ZKRunTimeException` when the
/// file cannot be written.
class REPORTS_EXPORT CJUnitReport : public CReport
{
public:
    explicit CJUnitReport(std::string path);
    ~CJUnitReport() override;

    void Take(const SEvent& event) override;
    void Finish() override;

private:
    void Tell(const SSuiteLoadEvent& load);
    void Tell(const SRunStartEvent& start);
    void Tell(const SNodeEvent& node);
    void Tell(const SLogEvent& entry);
    void Tell(const SStateEvent& state);
    void Tell(const SMeasurementEvent& measurement);
    void Tell(const SVerdictEvent& verdict);
    void Tell(const SAbortEvent& abort);
    void Tell(const SOutputEvent& output);
    void Tell(const SLockEvent& lock);
    void Tell(const SVanishedEvent& vanished);
    void Tell(const SNotRunEvent& notRun);
    void Tell(const SRunEndEvent& end);
    void Tell(const auto&) {}

    void BeginSuite();
    void EndSuite();
    void WriteSuite(const std::string& name, std::chrono::milliseconds duration);
    void WriteProperty(const std::string& name, const std::string& value);
    void WriteMeasurements(const STestName& name);
    /// A case of its own without a time.
    void WriteProblem(const std::string& classname, const char* name, std::string_view message,
                      std::string_view content);
    void WriteSkipped(const std::string& path, const std::string& reason);
    void WriteCase(const pugi::xml_document& document);
    void Remember(std::string_view trouble);
    void AppendLog(std::string_view text);

    CReportFile m_File;
    CTestNames m_Names;
    std::unordered_map<std::string, bool> m_Executions; ///< by path of a node of the run, whether cases are about it
    std::vector<std::string> m_NotSelected;             ///< tests, by path
    std::chrono::system_clock::time_point m_Time;       ///< of the event that is being told
    std::chrono::system_clock::time_point m_Start;
    std::unique_ptr<CSpool> m_Properties;
    std::unique_ptr<CSpool> m_Cases;
    std::unique_ptr<CSpool> m_Output;
    std::unique_ptr<CSpool> m_Errors;
    std::uint64_t m_Suites = 0;
    std::uint64_t m_TestCount = 0;
    std::uint64_t m_FailureCount = 0;
    std::uint64_t m_ErrorCount = 0;
    std::uint64_t m_SkippedCount = 0;
    std::string m_Trouble; ///< the first text of the run that says that something went wrong
    std::unordered_map<std::string, std::string> m_LoadTrouble; ///< the same of loading a suite, by its file
    bool m_IsSuiteOpen = false;
    bool m_HasSelected = false; ///< a test
    std::string m_Refused;      ///< why the run did not get the execution lock
    bool m_IsInRun = false;
    std::string m_Log;                         ///< of the execution under way
    std::uint64_t m_LeftOut = 0;               ///< bytes of that log that were too many
    std::vector<SMeasurementEvent> m_Measured; ///< by the execution under way
};

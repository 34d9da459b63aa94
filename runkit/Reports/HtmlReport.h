#pragma once

#include <Reports/Report.h>
#include <Reports/ReportFile.h>
#include <Reports/ReportsExport.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

class CSuiteOutcomes;

/// A page for people, in one file that opens from disk and fetches nothing. The events become rows of one JSON block,
/// written as they come; the script of the page makes views of them. In memory are the paths of one run's nodes. Owned
/// by the host. The constructor throws `ZKRunTimeException` when the file cannot be written.
class REPORTS_EXPORT CHtmlReport : public CReport
{
public:
    explicit CHtmlReport(const std::string& path);
    ~CHtmlReport() override;

    void Take(const SEvent& event) override;
    void Finish() override;

private:
    void Tell(const SRecordEvent& event);
    void Tell(const SSuiteLoadEvent& event);
    void Tell(const SRunStartEvent& event);
    void Tell(const SNodeEvent& event);
    void Tell(const SLogEvent& event);
    void Tell(const SPrintEvent& event);
    void Tell(const STestLogEvent& event);
    void Tell(const SStateEvent& event);
    void Tell(const SPassEvent& event);
    void Tell(const SSkipEvent& event);
    void Tell(const SMeasurementEvent& event);
    void Tell(const SVerdictEvent& event);
    void Tell(const SPromptOpenEvent& event);
    void Tell(const SPromptEvent& event);
    void Tell(const SAbortEvent& event);
    void Tell(const SOutputEvent& event);
    void Tell(const SLockEvent& event);
    void Tell(const SVanishedEvent& event);
    void Tell(const SHeadlineEvent& event);
    void Tell(const SNotRunEvent& event);
    void Tell(const SRunEndEvent& event);
    /// Part of the protocol only.
    void Tell(const SRefusedEvent&) {}

    /// A row: its kind, the time of the event, then what is told.
    template <class... T>
    void Row(const char* kind, const T&... values);
    /// The number of a node in its run. One that was not announced gets a row of its own.
    std::uint64_t Node(const std::string& path);
    /// None where no node was running.
    std::optional<std::uint64_t> NodeOrNone(const std::string& path);

    CReportFile m_File;
    std::string m_Rest; ///< of the page, behind the data
    std::unique_ptr<CSuiteOutcomes> m_Outcomes;
    std::optional<std::chrono::system_clock::time_point> m_Begin; ///< of the first event
    std::int64_t m_Time = 0;                                      ///< milliseconds since then
    std::unordered_map<std::string, std::uint64_t> m_Nodes;       ///< of the current run, by path
};

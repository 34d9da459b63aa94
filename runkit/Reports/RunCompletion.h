#pragma once

#include <Events/EventSink.h>
#include <Reports/ReportsExport.h>

#include <chrono>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

/// Passes the events of records on, one record after the other, and gives a run that was cut off the end it lacks: an
/// error on the execution that was running ("ended inside FUNCTION"), the tests that never executed, and the run's end,
/// which is none that passed.
class REPORTS_EXPORT CRunCompletion : public CEventSink
{
public:
    /// `next` outlives it.
    explicit CRunCompletion(CEventSink& next);

    void Take(const SEvent& event) override;
    /// The record ended here, by itself or cut off. Whether a run was under way.
    bool EndRecord();

private:
    struct SNode
    {
        SNodeEvent told;
        std::uint64_t begun = 0;
        std::uint64_t passed = 0; ///< as its state says
        std::uint64_t skipped = 0;
        std::uint64_t passes = 0;
        std::uint64_t verdicts = 0;
    };

    /// A node that is executing.
    struct SRunning
    {
        std::string path;
        std::uint64_t pass = 0; ///< 0: not in a loop's pass
        std::chrono::system_clock::time_point begin;
        bool hasEnded = false; ///< and waits for its verdict
    };

    void On(const SRunStartEvent& start);
    void On(const SNodeEvent& node);
    void On(const SStateEvent& state);
    void On(const SPassEvent& pass);
    void On(const SSkipEvent& skip);
    void On(const SVerdictEvent& verdict);
    void On(const SNotRunEvent& notRun);
    void On(const SRunEndEvent& end);
    void On(const auto&) {}

    SNode& Have(const std::string& path);
    void Complete(const std::string& running);
    void Judge(const std::string& path);
    ENotRunReason WhyNotRun(const std::string& path) const;
    std::chrono::microseconds Since(std::chrono::system_clock::time_point begin) const;
    void Emit(TEvent what);

    CEventSink& m_Next;
    std::optional<std::chrono::system_clock::time_point> m_RunStart; ///< of the run under way
    std::chrono::system_clock::time_point m_Time;                    ///< of the last event
    std::uint32_t m_ExecutionType = 0;
    bool m_InitializationFailed = false;
    std::unordered_map<std::string, SNode> m_Nodes; ///< by path
    std::vector<std::string> m_Order;               ///< their paths as they were told
    std::vector<SRunning> m_Running;                ///< from the root inwards
    SVerdictCounts m_Counts;
};

#pragma once

#include <Session/RunNode.h>
#include <Session/RunTally.h>

#include <Events/EventSink.h>
#include <HostKit/HostListener.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Turns what the services and the engine report of one run into events for the sinks, and judges each execution. Lives
/// as long as the suite's services; told of the tree once it is selected.
class CRunCollector : public CHostListener
{
public:
    explicit CRunCollector(CEventSink& sink);

    /// The suite is loaded: what went wrong so far stays with each of its runs.
    void LoadEnds() { m_LoadTally = m_Tally; }
    /// From here on nodes may run. `rows` gives the row of each node by its id, `nodes` the rows in document order. A
    /// diagnostic run is not judged.
    void RunBegins(std::vector<SRunNode> nodes, std::vector<std::size_t> rows, bool isJudged);
    const CRunTally& Tally() const { return m_Tally; }
    /// Reports and counts the tests that were selected and never executed.
    void ReportNotRun();

    void Emit(TEvent what);

    void LogWritten(const SLogEntry& entry) override;
    void Printed(ELogLevel level, bool line, std::string_view text) override;
    void TestLogAdded(std::string_view text, bool isTest, bool isSeparator) override;
    void OutputFlushed(bool complete) override;
    void HeadlineShown(std::string_view text, std::uint32_t emphasis) override;
    void PromptOpened(std::uint64_t id, const SPrompt& prompt) override;
    void PromptEnded(std::uint64_t id, const SPrompt& prompt, const TPromptAnswer& answer) override;
    void Aborted(EAbortCause cause, std::string_view text) override;
    void HandOver() override;

    void NodeStateChanged(TNodeId id, ERunState state) override;
    void NodeLeftByException(TNodeId id, std::string_view what) override;
    void NodeLeftByAbort(TNodeId id, std::string_view text) override;
    void NodeSkipped(TNodeId id) override;
    void FailureCaught(TNodeId id, std::string_view what) override;
    void PassBegan(TNodeId id, std::uint64_t number, std::uint64_t iterator, std::string_view variable) override;
    void CallLeftOut(TNodeId id) override;
    void Measured(const SMeasurement& measurement) override;
    void LibraryNotOpened() override;
    void LockAwaited() override;

private:
    /// A node that is executing.
    struct SFrame
    {
        std::size_t row = 0;
        std::chrono::steady_clock::time_point begin;
        bool failedBelow = false;
        bool hasError = false;
        bool hasFailure = false;
        bool leftOut = false;
        std::uint64_t warnings = 0;
        std::uint64_t pass = 0;
        std::optional<EPromptEnd> promptEnd;
        std::optional<std::string> thrown; ///< what an exception that left the node, or was caught by it, said
        std::string firstBadEntry;
    };

    SRunNode& Node(TNodeId id) { return m_Nodes.at(m_Rows.at(id)); }
    void NodeEnds(bool failed);
    void Judge(const SFrame& frame, EVerdict verdict, std::string reason);
    std::vector<std::uint64_t> EnclosingPasses() const;
    static EVerdict VerdictOn(const SFrame& frame, bool failed);
    static std::string ReasonFor(const SFrame& frame, ENodeKind kind);

    CEventSink& m_Sink;
    SEvent m_Event; ///< kept, so that texts need no new memory
    std::vector<SRunNode> m_Nodes;
    std::vector<std::size_t> m_Rows;
    std::vector<SFrame> m_Frames; ///< from the root inwards
    CRunTally m_LoadTally;        ///< what a run begins with
    CRunTally m_Tally;
    bool m_IsJudged = true;
};

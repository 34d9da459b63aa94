#pragma once

#include <Session/RunNode.h>

#include <Events/Event.h>

#include <optional>
#include <string_view>
#include <vector>

/// What a run has come to so far: the verdicts on tests, and what keeps a run from counting as passed.
class CRunTally
{
public:
    void Count(const SVerdictEvent& verdict);
    void InitializationFailed() { m_InitializationFailed = true; }
    void LibraryNotOpened() { m_LibraryNotOpened = true; }
    /// An entry was logged that says that something failed.
    void HasLoggedFailure() { m_LoggedFailure = true; }
    void Aborted(EAbortCause cause, std::string_view text);

    bool HasLibrary() const { return !m_LibraryNotOpened; }
    /// Whether the run cannot count as passed, whatever the engine's own counts say.
    bool HasFailed() const { return m_LoggedFailure || m_BadVerdict || m_Abort.has_value(); }
    /// Why the run was stopped; none when it was not.
    const std::optional<SAbortEvent>& Abort() const { return m_Abort; }
    /// The crash or time limit that stopped the run; none when there was none.
    const std::optional<SAbortEvent>& Breakdown() const { return m_Breakdown; }
    const SVerdictCounts& Counts() const { return m_Counts; }
    /// Of tests, whatever they came to.
    std::uint64_t Executions() const { return m_Counts.passed + m_Counts.failed + m_Counts.errors + m_Counts.aborted; }

    /// The selected tests that never executed, in document order. Counts them.
    std::vector<SNotRunEvent> FindNotRun(const std::vector<SRunNode>& nodes);

private:
    ENotRunReason ReasonFor(const SRunNode& test, const std::vector<SRunNode>& nodes) const;

    SVerdictCounts m_Counts;
    std::optional<SAbortEvent> m_Abort;
    std::optional<SAbortEvent> m_Breakdown;
    bool m_InitializationFailed = false;
    bool m_LibraryNotOpened = false;
    bool m_LoggedFailure = false;
    bool m_BadVerdict = false;
};

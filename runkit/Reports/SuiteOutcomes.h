#pragma once

#include <Events/Event.h>
#include <Events/Words.h>

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// What came of a suite, from good to bad, in the order in which the exit codes of several suites prevail.
enum class ESuiteOutcome
{
    Passed,
    Completed, ///< a run that only lists the calls
    NothingRan,
    Failed,
    NotLoaded,
    Refused, ///< by the execution lock
    Aborted,
    Error, ///< it ended the run: an exception, a crash, a limit, a process that vanished, a record that was cut off
};

template <>
inline constexpr auto WORDS<ESuiteOutcome> = std::to_array<std::pair<ESuiteOutcome, std::string_view>>({
    {ESuiteOutcome::Passed, "passed"},
    {ESuiteOutcome::Completed, "completed"},
    {ESuiteOutcome::NothingRan, "nothing ran"},
    {ESuiteOutcome::Failed, "failed"},
    {ESuiteOutcome::NotLoaded, "not loaded"},
    {ESuiteOutcome::Refused, "refused"},
    {ESuiteOutcome::Aborted, "aborted"},
    {ESuiteOutcome::Error, "error"},
});

/// What came of each suite of one or more records, and of all together: never better than anything that an event of its
/// run has told. Has to see every event.
class CSuiteOutcomes
{
public:
    void Take(const SEvent& event);

    /// Where the suite of the last `suite-load` or `run-start` event stands among all.
    std::size_t Current() const { return m_Current; }
    /// A suite that was loaded and had no run counts as one of which nothing ran.
    std::vector<std::string_view> Words() const;
    /// The worst; suites without a run count when no other had one.
    ESuiteOutcome Overall() const;

private:
    struct SSuite
    {
        std::string file;
        std::optional<ESuiteOutcome> outcome; ///< none: loaded, no run as yet
        std::size_t record = 0;
        bool hasRun = false;
        bool isOpen = false; ///< the run has not ended
    };

    void On(const SRecordEvent& record);
    void On(const SSuiteLoadEvent& load);
    void On(const SRunStartEvent& start);
    void On(const SLogEvent& entry);
    void On(const SVerdictEvent& verdict);
    void On(const SAbortEvent& abort);
    void On(const SLockEvent& lock);
    void On(const SVanishedEvent& vanished);
    void On(const SNotRunEvent& notRun);
    void On(const SRunEndEvent& end);

    void Begin(const std::string& file);
    void AtLeast(ESuiteOutcome outcome);
    static void AtLeast(ESuiteOutcome outcome, std::optional<ESuiteOutcome>& worst);
    ESuiteOutcome OutcomeOf(const SRunEndEvent& end) const;
    static ESuiteOutcome OutcomeOf(const SSuite& suite);

    std::vector<SSuite> m_Suites;
    std::size_t m_Current = 0;
    std::size_t m_Record = 0;
    bool m_IsDiagnostic = false;            ///< the run that started last
    std::optional<ESuiteOutcome> m_Outside; ///< of what no suite is to blame for
};

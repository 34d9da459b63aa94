#include "SuiteOutcomes.h"

#include <CoreKit/TestStatus.h>

#include <algorithm>
#include <variant>

void CSuiteOutcomes::Take(const SEvent& event)
{
    std::visit(
        [this](const auto& what)
        {
            if constexpr (requires { this->On(what); })
            {
                this->On(what);
            }
        },
        event.what);
}

void CSuiteOutcomes::On(const SRecordEvent& /*record*/)
{
    ++m_Record;
}

void CSuiteOutcomes::On(const SSuiteLoadEvent& load)
{
    Begin(load.file);
    if (!load.loaded)
    {
        AtLeast(ESuiteOutcome::NotLoaded);
    }
}

void CSuiteOutcomes::On(const SRunStartEvent& start)
{
    // With a selection, all suites are loaded before the first one runs.
    const auto waiting =
        std::find_if(m_Suites.begin(), m_Suites.end(),
                     [&](const SSuite& suite) {
                         return suite.record == m_Record && suite.file == start.file && !suite.hasRun && !suite.outcome;
                     });
    if (waiting == m_Suites.end())
    {
        Begin(start.file);
    }
    else
    {
        m_Current = static_cast<std::size_t>(waiting - m_Suites.begin());
    }
    m_Suites[m_Current].hasRun = true;
    m_Suites[m_Current].isOpen = true;
    m_IsDiagnostic = start.executionType == 1;
}

void CSuiteOutcomes::On(const SLogEvent& entry)
{
    if (!m_Suites.empty() && m_Suites[m_Current].isOpen && entry.status != TS_NONE)
    {
        AtLeast(ESuiteOutcome::Failed);
    }
}

void CSuiteOutcomes::On(const SVerdictEvent& verdict)
{
    // An error inside of a suite does not end the run: its result is that of a failure.
    if (verdict.verdict != EVerdict::Passed)
    {
        AtLeast(verdict.verdict == EVerdict::Aborted ? ESuiteOutcome::Aborted : ESuiteOutcome::Failed);
    }
}

void CSuiteOutcomes::On(const SAbortEvent& abort)
{
    const bool isBreakdown = abort.by == EAbortCause::Crash || abort.by == EAbortCause::Limit;
    AtLeast(isBreakdown ? ESuiteOutcome::Error : ESuiteOutcome::Aborted);
}

void CSuiteOutcomes::On(const SLockEvent& lock)
{
    if (lock.state == ELockState::Refused)
    {
        AtLeast(ESuiteOutcome::Refused);
    }
}

void CSuiteOutcomes::On(const SVanishedEvent& /*vanished*/)
{
    const bool isInRun = !m_Suites.empty() && m_Suites[m_Current].isOpen;
    AtLeast(ESuiteOutcome::Error, isInRun ? m_Suites[m_Current].outcome : m_Outside);
}

void CSuiteOutcomes::On(const SNotRunEvent& notRun)
{
    if (notRun.reason == ENotRunReason::Library)
    {
        AtLeast(ESuiteOutcome::NotLoaded);
    }
}

void CSuiteOutcomes::On(const SRunEndEvent& end)
{
    if (m_Suites.empty())
    {
        Begin({});
    }
    m_Suites[m_Current].isOpen = false;
    AtLeast(OutcomeOf(end));
}

/// What a run's end tells, after all the rest.
ESuiteOutcome CSuiteOutcomes::OutcomeOf(const SRunEndEvent& end) const
{
    if (end.passed)
    {
        return m_IsDiagnostic ? ESuiteOutcome::Completed : ESuiteOutcome::Passed;
    }
    const std::optional<ESuiteOutcome>& worst = m_Suites[m_Current].outcome;
    // Without a result, the run was left by an exception or an abort; without a status too, it was cut off.
    const bool wasStopped = worst == ESuiteOutcome::Aborted && end.status != TS_NONE;
    if (end.result.empty() && worst != ESuiteOutcome::Refused && !wasStopped)
    {
        return ESuiteOutcome::Error;
    }
    const bool isGood = end.result == "Passed" || end.result == "Completed";
    return isGood && !worst ? ESuiteOutcome::NothingRan : ESuiteOutcome::Failed;
}

void CSuiteOutcomes::Begin(const std::string& file)
{
    m_Current = m_Suites.size();
    m_Suites.push_back({file, {}, m_Record});
}

void CSuiteOutcomes::AtLeast(ESuiteOutcome outcome)
{
    AtLeast(outcome, m_Suites.empty() ? m_Outside : m_Suites[m_Current].outcome);
}

void CSuiteOutcomes::AtLeast(ESuiteOutcome outcome, std::optional<ESuiteOutcome>& worst)
{
    worst = std::max(worst.value_or(outcome), outcome);
}

/// A run without an end was cut off.
ESuiteOutcome CSuiteOutcomes::OutcomeOf(const SSuite& suite)
{
    return suite.isOpen ? ESuiteOutcome::Error : suite.outcome.value_or(ESuiteOutcome::NothingRan);
}

std::vector<std::string_view> CSuiteOutcomes::Words() const
{
    std::vector<std::string_view> words;
    for (const SSuite& suite : m_Suites)
    {
        words.push_back(WordOf(OutcomeOf(suite)));
    }
    return words;
}

ESuiteOutcome CSuiteOutcomes::Overall() const
{
    std::optional<ESuiteOutcome> worst = m_Outside;
    for (const SSuite& suite : m_Suites)
    {
        if (suite.hasRun || suite.outcome)
        {
            worst = std::max(worst.value_or(ESuiteOutcome::Passed), OutcomeOf(suite));
        }
    }
    return worst.value_or(ESuiteOutcome::NothingRan);
}

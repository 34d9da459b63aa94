#include <Reports/Comparison.h>

#include <Reports/EventText.h>

#include <Events/Words.h>

#include <cmath>
#include <cstdio>

namespace
{
using namespace std::chrono_literals;

/// So much of its limits' span, or of its value where it has none, is what a measurement may move without a word.
constexpr double STEADY = 0.1;

const SRecordedTest* Find(const SRecordedRuns& runs, const std::string& key)
{
    const auto test = runs.tests.find(key);
    return test == runs.tests.end() ? nullptr : &test->second;
}

std::string Seconds(std::chrono::microseconds duration)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.3f s", std::chrono::duration<double>(duration).count());
    return text;
}

bool HasMoved(const SMeasurementEvent& before, const SMeasurementEvent& after)
{
    if (before.passed != after.passed || std::isnan(before.value) != std::isnan(after.value))
    {
        return true;
    }
    const double span = before.lower && before.upper ? *before.upper - *before.lower : std::abs(before.value);
    return std::abs(after.value - before.value) > STEADY * span;
}

/// Gathers the lines.
class CComparer
{
public:
    CComparer(const SRecordedRuns& before, const SRecordedRuns& after)
        : m_Before(before)
        , m_After(after)
    {
    }

    SComparison Compare();

private:
    void CompareTest(const std::string& key, const SRecordedTest& before, const SRecordedTest& after);
    void CompareMeasurements(const std::string& key, const SRecordedTest& before, const SRecordedTest& after);
    void Add(std::uint64_t& count, const std::string& kind, const std::string& key, const std::string& text = {});
    std::string WhyGone(const SRecordedTest& before) const;

    const SRecordedRuns& m_Before;
    const SRecordedRuns& m_After;
    SComparison m_Result;
};

SComparison CComparer::Compare()
{
    for (const std::string& key : m_Before.order)
    {
        const SRecordedTest* const before = Find(m_Before, key);
        const SRecordedTest* const after = Find(m_After, key);
        if (before && after)
        {
            CompareTest(key, *before, *after);
        }
        else if (before)
        {
            Add(m_Result.gone, "gone", key, WhyGone(*before));
        }
    }
    for (const std::string& key : m_After.order)
    {
        const SRecordedTest* const after = Find(m_After, key);
        if (after && !Find(m_Before, key))
        {
            Add(m_Result.added, "new", key, after->reason);
        }
    }
    return std::move(m_Result);
}

void CComparer::CompareTest(const std::string& key, const SRecordedTest& before, const SRecordedTest& after)
{
    if (before.Passed() && !after.Passed())
    {
        Add(m_Result.broken, "broken", key, after.reason);
    }
    else if (!before.Passed() && after.Passed())
    {
        Add(m_Result.fixed, "fixed", key);
    }
    if (after.duration >= 2 * before.duration && after.duration >= before.duration + 100ms)
    {
        Add(m_Result.slower, "slower", key, Seconds(after.duration) + ", was " + Seconds(before.duration));
    }
    CompareMeasurements(key, before, after);
}

void CComparer::CompareMeasurements(const std::string& key, const SRecordedTest& before, const SRecordedTest& after)
{
    for (const auto& [name, now] : after.measurements)
    {
        const auto then = before.measurements.find(name);
        if (then != before.measurements.end() && HasMoved(then->second, now))
        {
            Add(m_Result.moved, "moved", key,
                name + ' ' + MeasurementText(now) + ", was " + MeasurementText(then->second));
        }
    }
}

void CComparer::Add(std::uint64_t& count, const std::string& kind, const std::string& key, const std::string& text)
{
    ++count;
    m_Result.lines.push_back(kind + ": " + key + (text.empty() ? "" : ": " + text));
}

std::string CComparer::WhyGone(const SRecordedTest& before) const
{
    const auto notRun = m_After.notRun.find(before.node);
    return notRun == m_After.notRun.end() ? "" : "not run: " + std::string(WordOf(notRun->second));
}
} // namespace

std::string SComparison::Counts() const
{
    return std::to_string(broken) + " broken, " + std::to_string(fixed) + " fixed, " + std::to_string(added) +
        " new, " + std::to_string(gone) + " gone, " + std::to_string(slower) + " slower" +
        (moved == 0 ? "" : ", " + std::to_string(moved) + (moved == 1 ? " measurement moved" : " measurements moved"));
}

SComparison Compare(const SRecordedRuns& before, const SRecordedRuns& after)
{
    return CComparer(before, after).Compare();
}

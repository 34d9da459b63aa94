#include <Reports/Comparison.h>

#include <Reports/EventText.h>

#include <Events/Words.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace
{
using namespace std::chrono_literals;

/// So much of its limits' span, or of its value where it has none, is what a measurement may move without a word.
constexpr double STEADY = 0.1;

const SRecordedTest* Find(const SRecordedSuite& suite, const std::string& key)
{
    const auto test = suite.tests.find(key);
    return test == suite.tests.end() ? nullptr : &test->second;
}

bool HasMoved(const SMeasurementEvent& before, const SMeasurementEvent& after)
{
    if (before.passed != after.passed || std::isnan(before.value) != std::isnan(after.value))
    {
        return true;
    }
    const double span = std::abs(before.lower && before.upper ? *before.upper - *before.lower : before.value);
    return std::abs(after.value - before.value) > STEADY * span;
}

/// The suites of two records that are the same: by name and file, else by name, in their order.
std::vector<std::pair<const SRecordedSuite*, const SRecordedSuite*>> Pair(const SRecordedRuns& before,
                                                                          const SRecordedRuns& after)
{
    std::vector<std::pair<const SRecordedSuite*, const SRecordedSuite*>> pairs;
    for (const SRecordedSuite& suite : before.suites)
    {
        pairs.emplace_back(&suite, nullptr);
    }
    std::vector<const SRecordedSuite*> left;
    for (const SRecordedSuite& suite : after.suites)
    {
        left.push_back(&suite);
    }
    for (const bool byFile : {true, false})
    {
        for (auto& [then, now] : pairs)
        {
            const auto found = now
                ? left.end()
                : std::find_if(left.begin(), left.end(),
                               [&, suite = then](const SRecordedSuite* other)
                               { return other->name == suite->name && (!byFile || other->file == suite->file); });
            if (found != left.end())
            {
                now = *found;
                left.erase(found);
            }
        }
    }
    for (const SRecordedSuite* const suite : left)
    {
        pairs.emplace_back(nullptr, suite);
    }
    return pairs;
}

/// Gathers the lines.
class CComparer
{
public:
    void Compare(const SRecordedSuite& before, const SRecordedSuite& after);
    SComparison Take() { return std::move(m_Result); }

private:
    void CompareTest(const std::string& key, const SRecordedTest& before, const SRecordedTest& after);
    void CompareMeasurements(const std::string& key, const SRecordedTest& before, const SRecordedTest& after);
    void Add(std::uint64_t& count, const std::string& kind, const std::string& key, const std::string& text = {});
    static std::string WhyGone(const SRecordedTest& before, const SRecordedSuite& after);

    SComparison m_Result;
};

void CComparer::Compare(const SRecordedSuite& before, const SRecordedSuite& after)
{
    for (const std::string& key : before.order)
    {
        const SRecordedTest& then = *Find(before, key);
        const SRecordedTest* const now = Find(after, key);
        if (now)
        {
            CompareTest(key, then, *now);
        }
        else if (then.test)
        {
            Add(m_Result.gone, "gone", key, WhyGone(then, after));
        }
    }
    for (const std::string& key : after.order)
    {
        const SRecordedTest& now = *Find(after, key);
        if (now.test && !Find(before, key))
        {
            Add(m_Result.added, "new", key, now.reason);
        }
    }
}

void CComparer::CompareTest(const std::string& key, const SRecordedTest& before, const SRecordedTest& after)
{
    const bool isTest = before.test && after.test;
    if (isTest && before.Passed() && !after.Passed())
    {
        Add(m_Result.broken, "broken", key, after.reason);
    }
    else if (isTest && !before.Passed() && after.Passed())
    {
        Add(m_Result.fixed, "fixed", key);
    }
    if (isTest && after.duration >= 2 * before.duration && after.duration >= before.duration + 100ms)
    {
        Add(m_Result.slower, "slower", key,
            SecondsText(after.duration) + " s, was " + SecondsText(before.duration) + " s");
    }
    CompareMeasurements(key, before, after);
}

void CComparer::CompareMeasurements(const std::string& key, const SRecordedTest& before, const SRecordedTest& after)
{
    for (const auto& [place, now] : after.measurements)
    {
        const auto then = before.measurements.find(place);
        if (then != before.measurements.end() && HasMoved(then->second, now))
        {
            Add(m_Result.moved, "moved", key,
                now.name + ' ' + MeasurementText(now) + ", was " + MeasurementText(then->second));
        }
    }
}

void CComparer::Add(std::uint64_t& count, const std::string& kind, const std::string& key, const std::string& text)
{
    ++count;
    m_Result.lines.push_back(kind + ": " + TextOf(key) + (text.empty() ? "" : ": " + text));
}

std::string CComparer::WhyGone(const SRecordedTest& before, const SRecordedSuite& after)
{
    const auto notRun = after.notRun.find(before.node);
    return notRun == after.notRun.end() ? "" : "not run: " + std::string(WordOf(notRun->second));
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
    const SRecordedSuite none;
    CComparer comparer;
    for (const auto& [then, now] : Pair(before, after))
    {
        comparer.Compare(then ? *then : none, now ? *now : none);
    }
    return comparer.Take();
}

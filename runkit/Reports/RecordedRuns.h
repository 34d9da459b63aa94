#pragma once

#include <Events/Event.h>
#include <Reports/ReportsExport.h>
#include <Reports/TestNames.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

/// What became of all executions under one name.
struct SRecordedTest
{
    bool test = false;                    ///< of a test; others are here for what they measured
    EVerdict verdict = EVerdict::Passed;  ///< the worst
    std::string reason;                   ///< of the first that was not passed
    std::chrono::microseconds duration{}; ///< the longest
    std::string node;                     ///< `KeyOf` the name without passes
    /// The last execution's, by name and which of that name it was.
    std::map<std::pair<std::string, std::size_t>, SMeasurementEvent> measurements;

    bool Passed() const { return verdict == EVerdict::Passed; }
};

struct SRecordedNode
{
    bool test = false;
    bool selected = false;
    std::uint64_t executions = 0;
    std::uint64_t passed = 0;

    bool HasPassed() const { return executions > 0 && passed == executions; }
};

/// The runs of one suite file, without regard to how many there were.
struct SRecordedSuite
{
    std::string name;
    std::string file;
    bool passed = true;                                    ///< all runs
    std::unordered_map<std::string, SRecordedNode> nodes;  ///< by `KeyOf` their names without passes
    std::unordered_map<std::string, SRecordedTest> tests;  ///< by `KeyOf` their names
    std::vector<std::string> order;                        ///< the tests' keys, as they were first met
    std::unordered_map<std::string, ENotRunReason> notRun; ///< tests that never executed, by `KeyOf` their names
};

/// What a record says of each test, to compare it with another one, or to run it again.
struct REPORTS_EXPORT SRecordedRuns
{
    std::vector<SRecordedSuite> suites; ///< as they were first met
    std::set<std::string> leftOut;      ///< files that were loaded and not run, although nothing stopped the runs

    /// The suite of that name: of several, the one of that file, else the first. Null for none.
    const SRecordedSuite* Find(const std::string& name, const std::string& file) const;
};

/// Tells two names of a suite apart.
REPORTS_EXPORT std::string KeyOf(const STestName& name);
/// "CLASSNAME/NAME", for people.
std::string TextOf(const std::string& key);

/// Reads what a record says of its tests; a run that was cut off counts up to there. Throws like `ReadRecord`.
REPORTS_EXPORT SRecordedRuns ReadRuns(const std::string& record);

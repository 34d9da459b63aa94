#pragma once

#include <Events/EventSink.h>
#include <Reports/ReportsExport.h>
#include <Reports/RunCompletion.h>
#include <Reports/TestNames.h>

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

/// What became of one test: of all its executions under one name.
struct SRecordedTest
{
    EVerdict verdict = EVerdict::Passed;                   ///< the worst
    std::string reason;                                    ///< of the first that was not passed
    std::chrono::microseconds duration{};                  ///< the longest
    std::string node;                                      ///< `KeyOf` the name without passes
    std::map<std::string, SMeasurementEvent> measurements; ///< the last, by name

    bool Passed() const { return verdict == EVerdict::Passed; }
};

/// A node that the operator's selection had to decide about.
struct SRecordedNode
{
    bool test = false;
    bool selected = false;
    std::uint64_t executions = 0;
    std::uint64_t passed = 0;
};

/// The runs of one suite, without regard to how many there were.
struct SRecordedSuite
{
    bool passed = true;                                   ///< all its runs
    std::unordered_map<std::string, SRecordedNode> nodes; ///< by `KeyOf` their names without passes
};

/// What a record says of each test, for comparison with another one.
struct SRecordedRuns
{
    std::map<std::string, SRecordedSuite> suites;          ///< by name
    std::unordered_map<std::string, SRecordedTest> tests;  ///< by `KeyOf` their names
    std::vector<std::string> order;                        ///< the tests' keys, as they were first met
    std::unordered_map<std::string, ENotRunReason> notRun; ///< tests that never executed, by `KeyOf` their names
};

/// "CLASSNAME/NAME".
REPORTS_EXPORT std::string KeyOf(const STestName& name);

/// Reads what a record says of its tests; a run that was cut off counts up to there. Throws like `ReadRecord`.
REPORTS_EXPORT SRecordedRuns ReadRuns(const std::string& record);

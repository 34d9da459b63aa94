#pragma once

#include <Events/Problem.h>

#include <CoreKit/AbortCause.h>
#include <CoreKit/Prompt.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

// What a run is made of, one structure for each thing that can happen. Texts are UTF-8. A path names a node by the
// child indices from the root: "/" is the root, "/1/0" the first child of its second child. Statuses are `TEST_STATUS`
// values.

/// The first event of a record: who wrote it.
struct SRecordEvent
{
    std::string engine; ///< its version: "5.0.0"
    std::string host;   ///< the program's name
};

/// A suite was reached.
struct SSuiteLoadEvent
{
    std::string file;
    bool loaded = false;
    std::vector<SProblem> problems;
};

struct SRunStartEvent
{
    std::string suite;
    std::string file;
    std::string library;
    std::uint32_t executionType = 0;                       ///< 0 normal, 1 diagnostic, 2 validation
    std::uint32_t mode = 0;                                ///< 0 normal, 1 debug
    std::vector<std::pair<std::string, std::string>> meta; ///< what the reports should say of this run; no key twice
};

/// A node of the tree that is about to run; a parent comes before its children.
struct SNodeEvent
{
    std::string path;
    std::string element;
    std::string name;
    std::string label;
    std::uint64_t line = 0; ///< in the suite's file
    bool selectable = false;
    bool selected = false; ///< the selection lets it run: by its own mark, or as part of an init or exit group
    bool test = false;
};

/// Red, green, blue, opacity: 0 to 255 each.
using TLogColor = std::array<std::uint32_t, 4>;

struct SLogFormat
{
    std::optional<TLogColor> color;
    std::optional<TLogColor> background;
    std::uint32_t strength = 400; ///< 400 is normal, 700 bold
    bool italic = false;
    bool underline = false;
};

/// An entry of the engine's log.
struct SLogEvent
{
    std::uint32_t status = 0;
    std::uint32_t second = 0; ///< second field of the log type; 4: the next entry goes on in the same line
    std::uint32_t level = 0;
    std::optional<SLogFormat> format; ///< none: the default of the status
    std::string text;
};

/// Text that is shown and not logged.
struct SPrintEvent
{
    std::uint32_t level = 0;
    bool line = false; ///< the text ends a line
    std::string text;
};

/// An entry of the suite's test log.
struct STestLogEvent
{
    std::string text;
    bool test = false;
    bool separator = false;
};

enum class ENodeState
{
    NotRun,
    Executing,
    Passed,
    Failed,
};

/// A node's run state has changed.
struct SStateEvent
{
    std::string path;
    std::string element;
    std::string name;
    std::string label;
    std::uint64_t line = 0; ///< in the suite's file
    ENodeState state = ENodeState::NotRun;
};

/// A loop begins a pass.
struct SPassEvent
{
    std::string path;
    std::uint64_t number = 0;   ///< from 1
    std::uint64_t iterator = 0; ///< its value
    std::optional<std::string> variable;
};

/// A node was left out because its condition did not hold.
struct SSkipEvent
{
    std::string path;
};

/// A value that a test measured. A value that is not finite stands in the record as null and comes back as NaN; a limit
/// that is not finite is none.
struct SMeasurementEvent
{
    std::string path;
    std::string name;
    double value = 0;
    std::string unit;
    std::optional<double> lower;
    std::optional<double> upper;
    bool passed = false;
};

enum class EVerdict
{
    Passed,
    Failed,
    Error,
    Aborted,
};

/// An execution of a function, prompt or assignment has ended, or another node ended failed and nothing below it did.
struct SVerdictEvent
{
    std::string path;
    bool test = false;
    EVerdict verdict = EVerdict::Passed;
    std::uint64_t warnings = 0;
    std::vector<std::uint64_t> passes; ///< the numbers of the enclosing loops' passes, outermost first
    std::chrono::microseconds duration{};
    std::string reason; ///< empty when passed
};

/// A prompt is about to be asked.
struct SPromptOpenEvent
{
    SPrompt prompt;
    std::uint64_t id = 0; ///< from 1, counted over the whole record
};

/// A prompt has ended, by whatever way.
struct SPromptEvent
{
    SPrompt prompt;
    TPromptAnswer answer;
    std::uint64_t id = 0; ///< that of its `SPromptOpenEvent`
};

/// The run is being stopped.
struct SAbortEvent
{
    std::string text;
    EAbortCause by = EAbortCause::Operator;
};

enum class EOutputStream
{
    StdOut,
    StdErr,
};

/// What test code wrote itself.
struct SOutputEvent
{
    std::string path; ///< empty: no node was running
    EOutputStream stream = EOutputStream::StdOut;
    std::string text;
};

enum class ELockState
{
    Waiting,
    Refused, ///< the run does not wait, or no longer
};

/// Another run holds the execution lock.
struct SLockEvent
{
    ELockState state = ELockState::Refused;
    std::string file;
    std::optional<std::uint64_t> process; ///< the holder's id; none: not known, and so `since`
    std::string host;                     ///< where the holder runs; empty: not known
    std::optional<std::chrono::system_clock::time_point> since;
};

/// The process that ran the suite ended without its last word.
struct SVanishedEvent
{
    std::optional<std::uint32_t> signal;
    std::optional<std::uint32_t> status; ///< of its exit
    std::string path;                    ///< of the node that was running; empty: none
};

/// The closing word to the operator.
struct SHeadlineEvent
{
    std::string text;
    std::uint32_t emphasis = 0;
};

enum class ENotRunReason
{
    Condition,      ///< it or an ancestor was only ever skipped
    NoPass,         ///< its loop made none
    Initialization, ///< the init group failed
    Stopped,        ///< an abort, an exception, a time limit or a failure that stops came first
    Library,        ///< there is no test library
    LeftOut,        ///< a validation run skips it
};

/// A selected test that never executed.
struct SNotRunEvent
{
    std::string path;
    ENotRunReason reason = ENotRunReason::Stopped;
};

/// Executions of tests, counted by verdict.
struct SVerdictCounts
{
    std::uint64_t passed = 0;
    std::uint64_t failed = 0;
    std::uint64_t errors = 0;
    std::uint64_t aborted = 0;
    std::uint64_t notRun = 0; ///< tests that never executed
    std::uint64_t warned = 0; ///< with warnings, whatever the verdict

    /// Counts the verdict on an execution of a test.
    void Count(const SVerdictEvent& verdict)
    {
        warned += verdict.warnings > 0 ? 1U : 0U;
        switch (verdict.verdict)
        {
        case EVerdict::Passed:
            ++passed;
            break;
        case EVerdict::Failed:
            ++failed;
            break;
        case EVerdict::Error:
            ++errors;
            break;
        case EVerdict::Aborted:
            ++aborted;
            break;
        }
    }
};

struct SRunEndEvent
{
    std::uint32_t status = 0;
    std::string result;
    std::string reportName;
    bool passed = false;

    std::uint64_t executed = 0; ///< the root's counters, up to `failures`
    std::uint64_t failedExecutions = 0;
    std::uint64_t tests = 0;
    std::uint64_t passes = 0;
    std::uint64_t warnings = 0;
    std::uint64_t aborts = 0;
    std::uint64_t failures = 0;

    SVerdictCounts verdicts;
    std::chrono::milliseconds duration{};
};

/// An answer that came over the protocol was not taken. Part of the protocol only, never of a record.
struct SRefusedEvent
{
    std::string reason;
};

using TEvent = std::variant<SRecordEvent, SSuiteLoadEvent, SRunStartEvent, SNodeEvent, SLogEvent, SPrintEvent,
                            STestLogEvent, SStateEvent, SPassEvent, SSkipEvent, SMeasurementEvent, SVerdictEvent,
                            SPromptOpenEvent, SPromptEvent, SAbortEvent, SOutputEvent, SLockEvent, SVanishedEvent,
                            SHeadlineEvent, SNotRunEvent, SRunEndEvent, SRefusedEvent>;

struct SEvent
{
    std::chrono::system_clock::time_point time; ///< milliseconds are kept in the record
    TEvent what;
};

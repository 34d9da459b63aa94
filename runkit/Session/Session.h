#pragma once

#include <Session/SessionExport.h>
#include <Session/Setup.h>
#include <Session/Suite.h>

#include <Events/EventSink.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>

/// What became of a run, or of an attempt at one.
enum class EOutcome
{
    Passed,         ///< passed, or completed without a test
    Failed,         ///< a test failed, a node ended failed, or the run reported a failure
    NothingRan,     ///< nothing was selected, or the suite had selected tests and none of them ran
    NotLoaded,      ///< the suite was not loaded, or its test library could not be opened
    LockRefused,    ///< another run holds the execution lock
    LockUnwritable, ///< nobody could take the execution lock
    Aborted,        ///< by the operator, a stop request, the test library, or for want of an answer
    Unexpected,     ///< an exception left the run, or test code crashed or outlived its limit
};

struct SOutcome
{
    EOutcome outcome = EOutcome::Passed;
    std::string reason;             ///< for people, when it is neither passed nor failed
    std::string result;             ///< the run's own word: "Passed", "Completed", ...; empty when it did not start
    SVerdictCounts verdicts;        ///< over tests
    std::optional<SLockEvent> lock; ///< who held the lock that was refused
    std::chrono::milliseconds duration{};
};

/// The door to the engine. A host makes one from a setup, adds the sinks that want to know what happens, loads suites
/// and runs them, all on one thread; `RequestStop` may be called from any. One session at a time in a process.
class SESSION_EXPORT CSession
{
public:
    /// Throws `ZKRunTimeException`, naming what is wrong, when the settings cannot be read or lack the filter.
    explicit CSession(SSetup setup);
    ~CSession();
    CSession(const CSession&) = delete;
    CSession& operator=(const CSession&) = delete;

    /// The XML schema of suite files, for editors.
    static std::string SuiteSchema();

    const SSetup& Setup() const;
    /// Lines of the settings file that mean nothing, as warnings with their places.
    const std::vector<SProblem>& SettingsProblems() const;

    /// Sinks are told in the order in which they were added. Not owned; they outlive the session's loads and runs.
    void Add(CEventSink& sink);

    /// Never null: what is wrong with the file is in the suite's problems. Only exhausted memory leaves as an
    /// exception.
    std::unique_ptr<CSuite> LoadSuite(const std::string& file);

    /// Runs a suite that was loaded. What leaves the run becomes the outcome.
    SOutcome Run(CSuite& suite);

    /// Stops the run before its next node; the exit group still runs, until a second request cuts it short too. From
    /// any thread or a signal handler, also before a run. Stays in force for the session's later runs.
    void RequestStop() noexcept;
    int StopRequests() const noexcept;

    /// Where the execution lock is. Throws `ZKRunTimeException`, naming the path, when it could not be taken by
    /// anybody: no place for it, no permission, or something that is no file. The lock is not taken.
    std::string CheckLock() const;

private:
    struct SState;
    class CRun;

    std::unique_ptr<SState> m_State;
};

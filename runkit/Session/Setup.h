#pragma once

#include <HostKit/AppState.h>
#include <HostKit/LogTypes.h>

#include <atomic>
#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

class CTestCallGuard;
class CUserInput;

/// One step of the operator's selection: a pattern that selects or deselects the nodes it matches.
struct SSelection
{
    bool select = true;
    std::string pattern; ///< a node's path ("/1/0"), or labels or names from the top down ("Group/Function", * and **)
};

/// What a session is told before it loads a suite. Texts are UTF-8, paths as the host has them.
struct SSetup
{
    std::vector<std::string> libraryPath; ///< where test libraries are looked for, after the suite's own folder
    std::string settings;                 ///< INI file with settings and filters, only ever read; empty: none
    std::optional<std::string> product;   ///< stands for the settings' product label
    std::optional<std::string> filter;    ///< name of a filter, stands for the settings' current one
    ETestSuiteExecutionType executionType = EXECUTION_NORMAL;
    bool debug = false;         ///< debug mode whatever the suite asks for: nothing is selected to begin with
    bool readOnly = false;      ///< suites are only looked at: no test library is opened, and no suite can be run
    bool stopOnFailure = false; ///< stop at the first node whose result is false; the exit group runs all the same
    /// How long to wait for the execution lock; none: not at all. `std::chrono::milliseconds::max()`: for ever.
    std::optional<std::chrono::milliseconds> lockWait;
    std::vector<std::pair<std::string, std::string>> meta; ///< what the reports should say of the runs
    ELogLevel logLevel = LL_WARNING;                       ///< which level the log says that the host shows
    CUserInput* dialogs = nullptr; ///< who answers prompts, not owned, outlives the session; null: a prompt aborts
    std::string whyNobodyAnswers = "the host has no dialogs"; ///< what such an abort says
    CTestCallGuard* guard = nullptr; ///< makes the calls of test functions, not owned; null: they are called straight
    /// Where stop requests are counted, not owned, when others than the session make them too; null: in the session.
    std::atomic<int>* stopRequests = nullptr;
};

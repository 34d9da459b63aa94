#pragma once

#include <HostKit/DOMParser.h>
#include <HostKit/HostKitExport.h>
#include <HostKit/HostListener.h>
#include <HostKit/LogTypes.h>
#include <HostKit/QtSignaler.h>
#include <HostKit/UIUpdate.h>

#include <atomic>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class CAppSettings;
class CDocumentSource;
class CLibWrapper;
class CSafeString;
class CStopControl;
class CTestCallGuard;
class CTestLog;
class CTestSuiteLog;
class CUserInput;
class ZKCustomConfiguration;
class ZKLogger;

/// 0 runs the suite, 1 lets its nodes list themselves, every other value validates it.
enum ETestSuiteExecutionType : std::uint32_t
{
    EXECUTION_NORMAL = 0,
    EXECUTION_DIAGNOSTIC = 1,
    EXECUTION_VALIDATION = 2,
};

enum ETestSuiteMode : std::uint32_t
{
    MODE_NORMAL = 0,
    MODE_DEBUG = 1,
};

/// Where a run is: 0 initialisation group, 1 test groups, 2 exit group.
class CSuiteRuntimeState
{
public:
    int CurrentPhase = 0;
};

/// Cleans up what a test library left behind when a suite forgets to.
class HOSTKIT_EXPORT CHelper
{
public:
    virtual ~CHelper();
};

/// How the host wants suites to be run.
struct SHostSettings
{
    int CurrentFilter = -1;
    ETestSuiteExecutionType ExecutionType = EXECUTION_NORMAL;
    ETestSuiteMode TestSuiteMode = MODE_NORMAL;
    ELogLevel LogVerbosity = LL_WARNING;
    std::vector<std::string> LibraryPath; ///< folders in which test libraries are looked for, in order
};

/// How far the run under way, or the last one, has come.
struct SRunState
{
    std::string ReportName;
    CSuiteRuntimeState* RuntimeState = nullptr;
    std::unique_ptr<CHelper> Helper;
    std::atomic<bool> FunctionIsExecuting = false;
    std::atomic<bool> TestSuiteExecuting = false;
    bool ClosingHeadline = false; ///< set through `CClosingHeadline`
    bool InExitGroup = false;
    bool Aborted = false; ///< an abort was reported since the suite began to execute
};

/// One set of host services. What is a pointer belongs to the host and outlives the set's installation; a null where a
/// service is needed throws `ZKRunTimeException` that names it.
struct HOSTKIT_EXPORT SHostServices
{
    SHostServices();
    ~SHostServices();
    SHostServices(const SHostServices&) = delete;
    SHostServices& operator=(const SHostServices&) = delete;

    ZKLogger* Log = nullptr;
    CUserInput* UserInput = nullptr;
    CTestSuiteLog* TestSuiteLog = nullptr;
    CAppSettings* AppSettings = nullptr;
    ZKCustomConfiguration* CustomConfiguration = nullptr; ///< may stay null: no filters
    CHostListeners Listeners;
    CUIUpdate UIUpdate;
    CStopControl* Stop = nullptr;    ///< may stay null: nothing but aborts stops a run
    CTestCallGuard* Guard = nullptr; ///< may stay null: test functions are called straight
    /// Makes the wrapper of a test library by its name; null: one that the platform's loader opens.
    std::unique_ptr<CLibWrapper> (*MakeLibrary)(const CSafeString& name) = nullptr;
    CQtSignaler* QtSignaler = nullptr; ///< null: one of the set's own
    std::shared_ptr<CDOMParser> Parser;
    std::shared_ptr<const CDocumentSource> Document; ///< a file read already, for documents of that path; may be null

    SHostSettings Settings;
    SRunState Run;

    CQtSignaler OwnSignaler;
};

/// The application's state, as static accessors over the installed services.
class HOSTKIT_EXPORT CAppState
{
public:
    /// Makes a set current and returns the one before, null for none.
    static SHostServices* Install(SHostServices* services);
    /// The current set; throws `ZKRunTimeException` when none is installed.
    static SHostServices& Services();

    static ZKLogger& Log();
    static CUserInput& UserInput();
    static CTestSuiteLog* TestSuiteLog();
    static CTestLog* CurrentTestLog();
    static CAppSettings& AppSettings();
    static ZKCustomConfiguration* CustomConfiguration();
    static int CurrentFilter();

    /// The schema parser that all suites share, null before the first document.
    static CDOMParser* Orvanta();
    static void Orvanta(std::shared_ptr<CDOMParser> parser);

    static ETestSuiteExecutionType ExecutionType();
    static ETestSuiteMode TestSuiteMode();
    static ELogLevel ZKLogVerbosityLevel();

    static void FunctionIsExecuting(bool executing);
    static void TestSuiteExecuting(bool executing);
    static CSuiteRuntimeState* SuiteRuntimeState();
    static void SuiteRuntimeState(CSuiteRuntimeState* state);

    /// Whether a test library's helper is still around, and its removal.
    static bool HelperCreated();
    static void RemoveHelper();

    static void ReportNamePart(std::string_view name);
    static void AppendReportNamePart(std::string_view part);
    static CQtSignaler& QtSignaler();
    static const std::vector<std::string>& LibraryPath();
    /// The wrapper for a test library, not opened yet.
    static std::unique_ptr<CLibWrapper> MakeLibrary(const CSafeString& name);
};

/// Installs a set of services for as long as the object lives and puts the previous one back.
class HOSTKIT_EXPORT CScopedServices
{
public:
    explicit CScopedServices(SHostServices& services);
    ~CScopedServices();
    CScopedServices(const CScopedServices&) = delete;
    CScopedServices& operator=(const CScopedServices&) = delete;

private:
    SHostServices* m_Previous;
};

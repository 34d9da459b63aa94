#include <HostKit/AppState.h>
#include <HostKit/LibWrapper.h>
#include <HostKit/ServiceThread.h>
#include <HostKit/TestSuiteLog.h>

#include <CoreKit/Exceptions.h>

#include <utility>

namespace
{
SHostServices* g_Services = nullptr;

template <class Service>
Service& Needed(Service* service, const char* name)
{
    if (!service)
    {
        ThrowFormatted<ZKRunTimeException>("The host has not installed its service \"%s\".", name);
    }
    return *service;
}
} // namespace

CHelper::~CHelper() = default;

SHostServices::SHostServices() = default;

SHostServices::~SHostServices() = default;

SHostServices* CAppState::Install(SHostServices* services)
{
    OwnServices();
    return std::exchange(g_Services, services);
}

SHostServices& CAppState::Services()
{
    if (!g_Services)
    {
        throw ZKRunTimeException("No host services are installed.");
    }
    return *g_Services;
}

ZKLogger& CAppState::Log()
{
    return Needed(Services().Log, "Log");
}

CUserInput& CAppState::UserInput()
{
    return Needed(Services().UserInput, "UserInput");
}

CTestSuiteLog* CAppState::TestSuiteLog()
{
    return Services().TestSuiteLog;
}

CTestLog* CAppState::CurrentTestLog()
{
    CTestSuiteLog* log = TestSuiteLog();
    return log ? log->CurrentTestLog() : nullptr;
}

CAppSettings& CAppState::AppSettings()
{
    return Needed(Services().AppSettings, "AppSettings");
}

ZKCustomConfiguration* CAppState::CustomConfiguration()
{
    return Services().CustomConfiguration;
}

int CAppState::CurrentFilter()
{
    return Services().Settings.CurrentFilter;
}

CDOMParser* CAppState::Orvanta()
{
    return Services().Parser.get();
}

void CAppState::Orvanta(std::shared_ptr<CDOMParser> parser)
{
    Services().Parser = std::move(parser);
}

ETestSuiteExecutionType CAppState::ExecutionType()
{
    return Services().Settings.ExecutionType;
}

ETestSuiteMode CAppState::TestSuiteMode()
{
    return Services().Settings.TestSuiteMode;
}

ELogLevel CAppState::ZKLogVerbosityLevel()
{
    return Services().Settings.LogVerbosity;
}

void CAppState::FunctionIsExecuting(bool executing)
{
    Services().Run.FunctionIsExecuting = executing;
}

void CAppState::TestSuiteExecuting(bool executing)
{
    Services().Run.TestSuiteExecuting = executing;
}

CSuiteRuntimeState* CAppState::SuiteRuntimeState()
{
    return Services().Run.RuntimeState;
}

void CAppState::SuiteRuntimeState(CSuiteRuntimeState* state)
{
    Services().Run.RuntimeState = state;
}

bool CAppState::HelperCreated()
{
    return Services().Run.Helper != nullptr;
}

void CAppState::RemoveHelper()
{
    Services().Run.Helper.reset();
}

void CAppState::ReportNamePart(std::string_view name)
{
    Services().Run.ReportName = name;
}

void CAppState::AppendReportNamePart(std::string_view part)
{
    Services().Run.ReportName += part;
}

CQtSignaler& CAppState::QtSignaler()
{
    SHostServices& services = Services();
    return services.QtSignaler ? *services.QtSignaler : services.OwnSignaler;
}

const std::vector<std::string>& CAppState::LibraryPath()
{
    return Services().Settings.LibraryPath;
}

std::unique_ptr<CLibWrapper> CAppState::MakeLibrary(const CSafeString& name)
{
    const auto make = Services().MakeLibrary;
    return make ? make(name) : std::make_unique<CLibWrapper>(name, true);
}

CScopedServices::CScopedServices(SHostServices& services)
    : m_Previous(CAppState::Install(&services))
{
}

CScopedServices::~CScopedServices()
{
    CAppState::Install(m_Previous);
}

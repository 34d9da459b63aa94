#pragma once

#include "Options.h"

#include <HostKit/AppSettings.h>
#include <HostKit/AppState.h>
#include <HostKit/Logger.h>
#include <HostKit/TestSuiteFilters.h>
#include <HostKit/TestSuiteLog.h>
#include <HostKit/UserInput.h>

#include <memory>
#include <string>

/// What the suites of one call share: settings, filters and the schema parser. Owned by the command. The constructor
/// throws `ZKRunTimeException` when the settings cannot be read or name no such filter.
class CHostConfiguration
{
public:
    explicit CHostConfiguration(const SOptions& options);

    /// Where the execution lock is, which holds for this call from then on; settings without one are given it. Throws
    /// `ZKRunTimeException` when they cannot be written.
    std::string LockFile();

    CAppSettings Settings;
    ZKCustomConfiguration Filters;
    int CurrentFilter;
    std::shared_ptr<CDOMParser> Parser;
};

/// The services for one suite, fresh for each and installed while the object lives. Owned by the command; configuration
/// and dialogs outlive it.
class CHostSession
{
public:
    CHostSession(const SOptions& options, CHostConfiguration& configuration, CUserInput& input,
                 const std::string& suite);
    ~CHostSession();
    CHostSession(const CHostSession&) = delete;
    CHostSession& operator=(const CHostSession&) = delete;

    ZKLogger Log;
    CTestSuiteLog SuiteLog;
    SHostServices Services;

private:
    CHostConfiguration& m_Configuration;
    CScopedServices m_Installed;
};

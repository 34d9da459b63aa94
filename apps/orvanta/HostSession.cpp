#include "HostSession.h"

#include "StartFolder.h"

#include <CoreKit/Exceptions.h>
#include <Orvanta/CallTree.h>

#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

#include <filesystem>

namespace
{
/// Where the settings are kept. The user's own are made when they are first written; a file that was named has to be
/// there, or a mistyped name would change the product, the filter and the lock without a word.
std::string SettingsPath(const SOptions& options)
{
    if (!options.settings)
    {
        return (QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
                QStringLiteral("/orvanta/settings.ini"))
            .toStdString();
    }
    if (!QFileInfo::exists(QFile::decodeName(options.settings->c_str())))
    {
        ThrowFormatted<ZKRunTimeException>("%s: the settings cannot be read: no such file", options.settings->c_str());
    }
    return *options.settings;
}

std::string KnownFilters(const CTestSuiteFilters& filters)
{
    std::string names;
    for (int i = 0; const CFilter* filter = filters.Filter(i); ++i)
    {
        names += (names.empty() ? "" : ", ") + filter->Name().toStdString();
    }
    return names.empty() ? "the settings declare no filters" : "known filters: " + names;
}

int FindFilter(const SOptions& options, const CAppSettings& settings, const CTestSuiteFilters& filters)
{
    const std::string name = options.filter ? *options.filter : settings.SectionValue("filters", "current");
    const int index = filters.IndexOf(QString::fromStdString(name));
    if (index < 0 && (options.filter || !name.empty()))
    {
        ThrowFormatted<ZKRunTimeException>("unknown filter '%s'%s; %s", name.c_str(),
                                           options.filter ? "" : " (the current one of the settings)",
                                           KnownFilters(filters).c_str());
    }
    return index;
}

} // namespace

CHostConfiguration::CHostConfiguration(const SOptions& options)
    : Settings(SettingsPath(options))
{
    Filters.ReadFilters(Settings);
    CurrentFilter = FindFilter(options, Settings, Filters.TestSuiteFilters());
    if (options.product)
    {
        Settings.Override("TestScriptLabel", *options.product, 0);
    }
}

std::string CHostConfiguration::LockFile()
{
    SHostServices services;
    services.AppSettings = &Settings;
    const CScopedServices installed(services);
    std::string path = GetLockFilePath();
    Settings.Override("runtime/LockFileName", FromStart(path), 1);
    return path;
}

CHostSession::CHostSession(const SOptions& options, CHostConfiguration& configuration, CUserInput& input,
                           const std::string& suite)
    : m_Configuration(configuration)
    , m_Installed(Services)
{
    Services.Log = &Log;
    Services.UserInput = &input;
    Services.TestSuiteLog = &SuiteLog;
    Services.AppSettings = &configuration.Settings;
    Services.CustomConfiguration = &configuration.Filters;
    Services.Parser = configuration.Parser;
    Services.CurrentFilter = configuration.CurrentFilter;
    Services.ExecutionType = options.executionType;
    Services.TestSuiteMode = options.debug ? MODE_DEBUG : MODE_NORMAL;
    Services.LogVerbosity = options.logLevel;
    Services.LibraryPath.push_back(std::filesystem::path(FromStart(suite)).parent_path().string());
    for (const std::string& folder : options.libraryPath)
    {
        Services.LibraryPath.push_back(FromStart(folder));
    }
}

CHostSession::~CHostSession()
{
    m_Configuration.Parser = Services.Parser;
}

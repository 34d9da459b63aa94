#pragma once

#include "ExitCode.h"

#include <HostKit/AppState.h>
#include <HostKit/CrashGuard.h>
#include <HostKit/LogTypes.h>
#include <Reports/MakeReports.h>
#include <Session/Setup.h>

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

enum class ECommand
{
    None,
    Run,
    List,
    Check,
    Schema,
    Report,
    Diff,
};

enum class EWhen
{
    Auto,
    Always,
    Never,
};

/// What the command line asks for. Texts are as given, in the local encoding.
struct SOptions
{
    ECommand command = ECommand::None;
    std::vector<std::string> suites;
    std::vector<std::string> libraryPath;
    std::optional<std::string> settings;
    std::optional<std::string> product;
    std::optional<std::string> filter;
    bool debug = false;
    bool stopOnFailure = false;
    std::optional<std::chrono::milliseconds> lockWait; ///< none: not at all
    std::vector<std::pair<std::string, std::string>> meta;
    std::vector<SSelection> selections;

    ETestSuiteExecutionType executionType = EXECUTION_NORMAL;
    std::optional<std::string> answers;
    std::optional<std::string> saveAnswers;
    bool unattended = false;
    bool protocol = false;
    bool inProcess = false;
    STimeLimits limits;
    std::chrono::milliseconds exitTimeout{std::chrono::seconds(60)};
    std::optional<std::string> rerun; ///< the record of the run whose tests are to run again
    std::optional<std::string> record;
    SReportNames reports;
    ELogLevel logLevel = LL_WARNING;
    EWhen color = EWhen::Auto;
    EWhen progress = EWhen::Auto;

    bool json = false;
    bool strict = false;

    std::vector<std::string> records; ///< that a report or a comparison is made of
};

/// Reads the command line. A result means that there is nothing left to do: help was asked for and is printed, or the
/// command line is wrong and the usage is.
std::optional<EExitCode> ParseOptions(int argc, const char* const* argv, SOptions& options);

/// Says on stderr what is wrong with the command line and how the command is used; gives the code to exit with.
EExitCode ReportUsage(ECommand command, std::string_view message);

#include "ReportCommand.h"

#include "OutputNames.h"
#include "Terminal.h"

#include <CoreKit/CatchLadder.h>
#include <Reports/MakeReports.h>

EExitCode ReportRecords(const SOptions& options)
{
    if (!options.reports.Any())
    {
        return ReportUsage(ECommand::Report, "no report is asked for: name one with --junit, --html or --log");
    }
    EExitCode code = EExitCode::Passed;
    const auto failed = [&code](const std::string& error)
    {
        ReportError(error);
        code = EExitCode::Usage;
    };
    Guarded(
        [&]
        {
            CheckReportNames(options);
            MakeReports(options.records, options.reports, failed);
        },
        [&](const ZKException& exception) { failed(std::string(exception.Message())); });
    return code;
}

#include "RunPlan.h"

#include "LineDialog.h"
#include "OutputNames.h"
#include "SetupOf.h"
#include "StartFolder.h"
#include "Terminal.h"

#include <Session/Session.h>

#include <filesystem>

namespace
{
EAnswerer AnswererOf(const SOptions& options)
{
    if (options.answers)
    {
        return EAnswerer::List;
    }
    if (options.protocol)
    {
        return EAnswerer::Protocol;
    }
    return !options.unattended && CLineDialog::IsPossible() ? EAnswerer::Terminal : EAnswerer::Nobody;
}
} // namespace

std::vector<CEventSink*> SRunFiles::Sinks()
{
    std::vector<CEventSink*> sinks;
    if (log)
    {
        sinks.push_back(&*log);
    }
    if (savedAnswers)
    {
        sinks.push_back(&*savedAnswers);
    }
    return sinks;
}

std::vector<std::string> SRunFiles::Errors() const
{
    std::vector<std::string> errors{record ? record->WriteError() : "", log ? log->WriteError() : "",
                                    savedAnswers ? savedAnswers->WriteError() : ""};
    std::erase(errors, "");
    for (std::string& error : errors)
    {
        error += " (the file is not complete)";
    }
    return errors;
}

SRunPlan::SRunPlan(const SOptions& runOptions)
    : options(runOptions)
    , setup(SetupOf(runOptions))
    , answerer(AnswererOf(runOptions))
{
    if (options.answers)
    {
        answers = ReadAnswers(*options.answers);
    }
    if (options.rerun)
    {
        again = ReadRuns(*options.rerun);
    }
    {
        const CSession trial(setup);
        for (const SProblem& problem : trial.SettingsProblems())
        {
            WriteErrorLine(ProblemLine(setup.settings, problem));
        }
        CheckOutputNames(options, trial.CheckLock());
    }
    if (options.record)
    {
        files.record.emplace(*options.record, "orvanta");
    }
    else if (options.reports.NeedRecord())
    {
        files.record.emplace("orvanta");
    }
    if (options.reports.log)
    {
        files.log.emplace(*options.reports.log);
    }
    if (options.saveAnswers)
    {
        files.savedAnswers.emplace(*options.saveAnswers);
    }
}

void SRunPlan::MakeReports(bool isBreakdown, const std::function<void(const std::string& error)>& failed) const
{
    // Under --in-process, test code may have changed to another folder.
    const auto fromStart = [](const std::optional<std::string>& name)
    { return name ? std::optional(FromStart(*name)) : std::nullopt; };
    SReportNames names{fromStart(options.reports.junit), fromStart(options.reports.html),
                       fromStart(options.reports.log)};
    const auto isFile = [](const std::string& name)
    {
        std::error_code error;
        return std::filesystem::is_regular_file(name, error);
    };
    if (!isBreakdown || !names.log || !isFile(*names.log) || !files.record || !isFile(files.record->ReadPath()))
    {
        names.log.reset(); // it was written as the runs went on
    }
    if (names.Any())
    {
        ::MakeReports({files.record->ReadPath()}, names, failed);
    }
}

std::vector<std::string> SRunPlan::Left() const
{
    std::vector<std::string> left;
    const auto add = [&left](const char* what, const std::optional<std::string>& name)
    {
        if (name)
        {
            left.push_back(what + *name);
        }
    };
    add("record: ", options.record);
    add("log: ", options.reports.log);
    add("JUnit report: ", options.reports.junit);
    add("HTML report: ", options.reports.html);
    return left;
}

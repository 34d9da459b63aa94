#include "RunPlan.h"

#include "LineDialog.h"
#include "OutputNames.h"
#include "SetupOf.h"
#include "Terminal.h"

#include <Session/Session.h>

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
    if (options.log)
    {
        files.log.emplace(*options.log);
    }
    if (options.saveAnswers)
    {
        files.savedAnswers.emplace(*options.saveAnswers);
    }
}

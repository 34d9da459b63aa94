#pragma once

#include "Answers.h"
#include "Options.h"

#include <Reports/LogFile.h>
#include <Reports/RecordFile.h>
#include <Reports/RecordedRuns.h>
#include <Session/Setup.h>

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

/// Who answers prompts.
enum class EAnswerer
{
    Nobody,
    List,
    Terminal,
    Protocol,
};

/// What one call of `run` leaves behind.
struct SRunFiles
{
    /// Those but the record, which a running process of its own writes itself.
    std::vector<CEventSink*> Sinks();
    /// What kept a file from being complete, for each that is not, as people are told.
    std::vector<std::string> Errors() const;

    std::optional<CRecordFile> record; ///< a temporary one when only reports are wanted
    std::optional<CLogFile> log;
    std::optional<CSavedAnswers> savedAnswers;
};

/// All that one call of `run` needs, read and checked. The constructor reads everything before it opens anything for
/// writing, and throws `ZKRunTimeException` for what is wrong with the files that the options name. The options outlive
/// it.
struct SRunPlan
{
    explicit SRunPlan(const SOptions& runOptions);

    /// Makes the reports from the record, once the runs are over. After a breakdown the log is made anew, since the
    /// last events may not have reached it. `failed` is told of each that cannot be written.
    void MakeReports(bool isBreakdown, const std::function<void(const std::string& error)>& failed) const;
    /// What the runs have left behind, "record: FILE" and the like, for the operator.
    std::vector<std::string> Left() const;

    const SOptions& options;
    SSetup setup;
    std::optional<SRecordedRuns> again; ///< the runs whose tests are to run again
    EAnswerer answerer;
    std::deque<SScriptedAnswer> answers;
    SRunFiles files;
};

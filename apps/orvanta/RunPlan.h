#pragma once

#include "Answers.h"
#include "Options.h"

#include <Reports/LogFile.h>
#include <Reports/RecordFile.h>
#include <Session/Setup.h>

#include <deque>
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

    std::optional<CRecordFile> record;
    std::optional<CLogFile> log;
    std::optional<CSavedAnswers> savedAnswers;
};

/// All that one call of `run` needs, read and checked. The constructor reads everything before it opens anything for
/// writing, and throws `ZKRunTimeException` for what is wrong with the files that the options name. The options outlive
/// it.
struct SRunPlan
{
    explicit SRunPlan(const SOptions& runOptions);

    const SOptions& options;
    SSetup setup;
    EAnswerer answerer;
    std::deque<SScriptedAnswer> answers;
    SRunFiles files;
};

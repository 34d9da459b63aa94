#include "CheckCommand.h"

#include "Answers.h"
#include "ProblemJson.h"
#include "SelectedSuite.h"
#include "SetupOf.h"
#include "Terminal.h"

#include <CoreKit/CatchLadder.h>
#include <CoreKit/PrintableText.h>
#include <Session/Session.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <optional>
#include <utility>

using TJson = nlohmann::ordered_json;

namespace
{
/// What is wrong, each with the file that it is wrong with.
using TFound = std::vector<std::pair<std::string, SProblem>>;

void Add(const std::string& file, std::vector<SProblem> problems, TFound& found)
{
    for (SProblem& problem : problems)
    {
        found.emplace_back(file, std::move(problem));
    }
}

/// Checks suites one after the other, and a list of answers on its way through them.
class CSuiteChecker
{
public:
    CSuiteChecker(const SOptions& options, SSetup setup)
        : m_Options(options)
        , m_Session(std::move(setup))
    {
        for (const SProblem& problem : m_Session.SettingsProblems())
        {
            WriteErrorLine(ProblemLine(m_Session.Setup().settings, problem));
        }
        if (options.answers)
        {
            m_Answers.emplace();
            m_Answers->entries = ReadAnswers(*options.answers);
        }
    }

    /// What was found; none when a pattern matches nowhere.
    std::optional<TFound> Go()
    {
        std::vector<SSelectedSuite> suites = LoadAhead(m_Session, m_Options.suites, m_Options.selections);
        if (ReportUnmatched(suites, m_Options.selections, ReportError))
        {
            return std::nullopt;
        }
        for (std::size_t i = 0; i < m_Options.suites.size(); ++i)
        {
            Check(suites.empty() ? LoadSelected(m_Session, m_Options.suites[i], {}) : std::move(suites[i]));
        }
        if (m_Answers && m_Answers->isCertain && !m_Answers->entries.empty())
        {
            const std::size_t left = m_Answers->entries.size();
            m_Found.emplace_back(
                *m_Options.answers,
                SProblem{0, 0, ESeverity::Error, "answers",
                         "no prompt asks for the last " + (left == 1 ? "entry" : std::to_string(left) + " entries")});
        }
        return std::move(m_Found);
    }

private:
    void Check(const SSelectedSuite& selected)
    {
        std::vector<SProblem> problems = selected.suite->Check();
        if (m_Answers && !IsLeftOut(selected, m_Options.selections))
        {
            for (SProblem& problem : selected.suite->CheckAnswers(*m_Answers))
            {
                problems.push_back(std::move(problem));
            }
            std::stable_sort(problems.begin(), problems.end(),
                             [](const SProblem& left, const SProblem& right)
                             { return std::pair(left.line, left.column) < std::pair(right.line, right.column); });
        }
        Add(selected.suite->File(), std::move(problems), m_Found);
    }

    const SOptions& m_Options;
    CSession m_Session;
    std::optional<SAnswersAhead> m_Answers;
    TFound m_Found;
};

void Show(const TFound& found, bool asJson)
{
    TJson array = TJson::array();
    for (const auto& [file, problem] : found)
    {
        if (asJson)
        {
            TJson& row = array.emplace_back(TJson{{"file", file}});
            row.update(JsonOf(problem));
        }
        else
        {
            std::printf("%s\n", ProblemLine(file, problem).c_str());
        }
    }
    if (asJson)
    {
        std::printf("%s\n", PrintableJson(array.dump(2, ' ', false, TJson::error_handler_t::replace)).c_str());
    }
}
} // namespace

EExitCode CheckSuites(const SOptions& options)
{
    std::optional<CSuiteChecker> checker;
    const EExitCode prepared = Guarded(
        [&]
        {
            checker.emplace(options, ReadingSetupOf(options));
            return EExitCode::Passed;
        },
        [](const ZKException& exception) { return ReportUsage(ECommand::Check, exception.what()); });
    if (prepared != EExitCode::Passed)
    {
        return prepared;
    }
    const std::optional<TFound> found = checker->Go();
    if (!found)
    {
        return EExitCode::Usage;
    }
    Show(*found, options.json);
    const bool isGood = std::none_of(found->begin(), found->end(),
                                     [&options](const auto& entry)
                                     { return options.strict || entry.second.severity == ESeverity::Error; });
    return isGood ? EExitCode::Passed : EExitCode::Failed;
}

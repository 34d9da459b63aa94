#pragma once

#include "ExitCode.h"
#include "RunPlan.h"
#include "RunVoice.h"
#include "SelectedSuite.h"

#include <Session/Session.h>

#include <cstddef>
#include <vector>

class CScriptedUserInput;

/// "2 further suites were not run after that", for what came too late.
std::string NotRunText(std::size_t suites);

/// Runs the suites of one command, one after the other. Everything it is given outlives it.
class CSuiteRunner
{
public:
    /// `answers`: the list that prompts are answered from, null for none.
    CSuiteRunner(const SRunPlan& plan, CSession& session, CRunVoice& voice, const CScriptedUserInput* answers);

    EExitCode Run();

private:
    const SRecordedRuns* Again() const { return m_Plan.again ? &*m_Plan.again : nullptr; }
    EExitCode RunAll(std::vector<SSelectedSuite> suites);
    EExitCode RunSuite(const SSelectedSuite& selected);
    EExitCode RunLoaded(CSuite& suite);
    EExitCode CheckAnswers(EExitCode code);

    const SRunPlan& m_Plan;
    const SOptions& m_Options;
    CSession& m_Session;
    CRunVoice& m_Voice;
    const CScriptedUserInput* m_Answers;
    std::size_t m_NotAgain = 0; ///< suites that need not run again
};

#include <HostKit/AppState.h>
#include <HostKit/Logger.h>
#include <HostKit/RunFacts.h>
#include <HostKit/StopControl.h>
#include <HostKit/TestSuiteLog.h>

#include <CoreKit/Exceptions.h>

namespace
{
template <class Operation, class... Arguments>
void Tell(Operation operation, const Arguments&... arguments)
{
    CAppState::Services().Listeners.ForEach([&](CHostListener& listener) { (listener.*operation)(arguments...); });
}

void FailRun()
{
    if (CTestSuiteLog* const log = CAppState::TestSuiteLog())
    {
        log->RunFailed();
    }
}
} // namespace

void ReportNodeState(TNodeId node, ERunState state)
{
    if (state == RS_FAILED)
    {
        FailRun();
    }
    Tell(&CHostListener::NodeStateChanged, node, state);
}

void ReportNodeLeftByException(TNodeId node, const char* what)
{
    Tell(&CHostListener::NodeLeftByException, node, std::string_view(what ? what : ""));
}

void ReportNodeLeftByAbort(TNodeId node, std::string_view text)
{
    ReportAbortSeen(text);
    Tell(&CHostListener::NodeLeftByAbort, node, text);
}

void ReportNodeSkipped(TNodeId node)
{
    Tell(&CHostListener::NodeSkipped, node);
}

void ReportFailureCaught(TNodeId node, std::string_view what)
{
    Tell(&CHostListener::FailureCaught, node, what);
}

void ReportPass(TNodeId node, std::uint64_t number, std::uint64_t iterator, std::string_view variable)
{
    Tell(&CHostListener::PassBegan, node, number, iterator, variable);
}

void ReportCallLeftOut(TNodeId node)
{
    Tell(&CHostListener::CallLeftOut, node);
}

void ReportMeasurement(const SMeasurement& measurement)
{
    Tell(&CHostListener::Measured, measurement);
}

void ReportLibraryNotOpened()
{
    Tell(&CHostListener::LibraryNotOpened);
}

void ReportLockAwaited()
{
    Tell(&CHostListener::LockAwaited);
}

void ReportLockTaken()
{
    Tell(&CHostListener::LockTaken);
}

void ReportRunLeft()
{
    FailRun();
}

void ReportAbort(EAbortCause cause, std::string_view text)
{
    SHostServices& services = CAppState::Services();
    services.Run.Aborted = true;
    if (services.TestSuiteLog)
    {
        services.TestSuiteLog->OperatorAborted();
    }
    Tell(&CHostListener::Aborted, cause, text);
}

void ReportAbortSeen(std::string_view text)
{
    if (!CAppState::Services().Run.Aborted)
    {
        ReportAbort(EAbortCause::Library, text);
    }
}

void HandOver()
{
    Tell(&CHostListener::HandOver);
}

void RaiseUserAbort(std::string_view text, EAbortCause cause)
{
    ReportAbort(cause, text);
    throw ZKUserAbort(text);
}

void RaiseUnanswered(const SPrompt& prompt, std::string_view reason)
{
    RaiseUserAbort("The prompt \"" + prompt.text + "\" cannot be answered: " + std::string(reason) + '.',
                   EAbortCause::Unanswered);
}

std::string InterruptedAt(const SPrompt& prompt)
{
    return "Interrupted at the prompt \"" + prompt.text + "\".";
}

void BeginStep()
{
    FlushOutput(false);
    const SHostServices& services = CAppState::Services();
    if (services.Stop && services.Run.TestSuiteExecuting)
    {
        services.Stop->RaiseIfDue(services.Run.InExitGroup, "Interrupted by the operator.");
    }
}

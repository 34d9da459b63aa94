#pragma once

#include <HostKit/FormatInfo.h>
#include <HostKit/HostKitExport.h>
#include <HostKit/LogTypes.h>
#include <HostKit/RunFacts.h>

#include <CoreKit/Prompt.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// One log entry as it was written; views are valid during the call that hands it over.
struct SLogEntry
{
    LOG_TYPE type;
    ELogLevel level;
    const CFormatInfo* format; ///< null: the default format of the entry's status
    std::string_view text;
};

/// Whether an entry is a warning: one of the level and the look of warnings, without a status.
HOSTKIT_EXPORT bool IsWarning(const SLogEntry& entry);

/// Receives what passes through the host services, on the thread that runs the suite: terminal, run record, tests.
/// Every operation does nothing unless overridden. Not owned by the services; remove it before it dies.
class HOSTKIT_EXPORT CHostListener
{
public:
    virtual ~CHostListener();

    virtual void LogWritten(const SLogEntry& entry);
    /// `line` is true when the text ends a line.
    virtual void Printed(ELogLevel level, bool line, std::string_view text);
    virtual void TestLogAdded(std::string_view text, bool isTest, bool isSeparator);
    virtual void OutputFlushed(bool complete);
    virtual void HeadlineShown(std::string_view text, std::uint32_t emphasis);
    /// A prompt is about to be asked; the numbers of a dialog service's prompts are 1, 2, ...
    virtual void PromptOpened(std::uint64_t id, const SPrompt& prompt);
    /// The prompt with that number has ended: answered, timed out, closed or aborted. After an abort, called before it
    /// leaves the dialog.
    virtual void PromptEnded(std::uint64_t id, const SPrompt& prompt, const TPromptAnswer& answer);
    /// The run is being stopped; called before `ZKUserAbort` is thrown.
    virtual void Aborted(EAbortCause cause, std::string_view text);

    // What the engine reports of a run, see RunFacts.h.
    virtual void NodeStateChanged(TNodeId node, ERunState state);
    virtual void NodeLeftByException(TNodeId node, std::string_view what);
    virtual void NodeLeftByAbort(TNodeId node, std::string_view text);
    virtual void NodeSkipped(TNodeId node);
    virtual void FailureCaught(TNodeId node, std::string_view what);
    virtual void PassBegan(TNodeId node, std::uint64_t number, std::uint64_t iterator, std::string_view variable);
    virtual void CallLeftOut(TNodeId node);
    virtual void Measured(const SMeasurement& measurement);
    virtual void LibraryNotOpened();
    virtual void LockAwaited();
    virtual void LockTaken();

    /// Whatever the listener has gathered has to reach the system now.
    virtual void HandOver();
};

/// The listeners of one set of services, told in the order in which they were added.
class HOSTKIT_EXPORT CHostListeners
{
public:
    void Add(CHostListener& listener);
    void Remove(CHostListener& listener);

    void ForEach(const std::function<void(CHostListener&)>& tell) const;

private:
    std::vector<CHostListener*> m_Listeners;
};

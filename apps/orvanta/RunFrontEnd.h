#pragma once

#include "DialogWatch.h"
#include "Interrupt.h"
#include "RunView.h"
#include "RunVoice.h"

#include <Events/EventSink.h>
#include <HostKit/UserInput.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What a front end tells the process that waits.
class CFrontEndHost : public CDialogWatch
{
public:
    /// The answer to the open prompt.
    virtual void Answer(const TPromptAnswer& answer) = 0;
    /// The open prompt cannot be answered by anybody, and why.
    virtual void NobodyAnswers(std::string_view why) = 0;
    /// The prompt that waits for an answer; null for none.
    virtual const SPromptOpenEvent* OpenPrompt() const = 0;
    virtual void RequestStop() = 0;
    /// The clock goes on while a front end waits for whoever it writes to.
    virtual void Tick() = 0;
    /// The run was ended by force: nobody needs to be waited for any more.
    virtual bool IsEnded() const = 0;
};

/// What shows a run and asks for answers, in the process that waits. Sees the events in order; the lines are those of
/// the record. Its host outlives it.
class CRunFrontEnd : public CRunVoice
{
public:
    virtual void Take(const SEvent& event, std::string_view line) = 0;
    /// The prompt has to be answered, now or later.
    virtual void Ask(const SPrompt& prompt) = 0;
    /// Waits until the host has something to serve, or for so long.
    virtual void Wait(std::chrono::milliseconds longest) = 0;
    /// All suites are through; `left` says what they have left behind, a line each.
    virtual void Finish(const std::vector<std::string>& left) = 0;
};

#pragma once

#include <Events/EventSink.h>

/// Who is told of the user's signals; safe in signal handlers.
class CStopReceiver
{
public:
    virtual ~CStopReceiver() = default;

    /// Counts a request to stop; gives how many there are now.
    virtual int CountStop() noexcept = 0;
    /// The user wants the end at once.
    virtual void EndAtOnce(int signal) noexcept = 0;
};

/// Gives a receiver a request, as one Ctrl-C does, and tells the operator what it leads to.
void RequestStopOf(CStopReceiver& receiver, int signal) noexcept;

/// What the user's signals did when the program was started. Owned by the command, made before any test code runs; puts
/// them back when it dies.
class CUserSignals
{
public:
    CUserSignals();
    ~CUserSignals();
    CUserSignals(const CUserSignals&) = delete;
    CUserSignals& operator=(const CUserSignals&) = delete;
};

/// Ctrl-C, SIGTERM and SIGHUP while it lives: each is a request to stop; the third, or a SIGQUIT, wants the end at
/// once. As a sink of a run in this process it takes back a signal that test code ignores, blocks or handles itself
/// when its node ends; one that the user had ignored stays so. The receiver and the user's signals outlive it.
class CInterrupt : public CEventSink
{
public:
    explicit CInterrupt(CStopReceiver& receiver);
    ~CInterrupt() override;
    CInterrupt(const CInterrupt&) = delete;
    CInterrupt& operator=(const CInterrupt&) = delete;

    void Take(const SEvent& event) override;
};

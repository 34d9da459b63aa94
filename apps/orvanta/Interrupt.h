#pragma once

#include <Events/EventSink.h>

class CSession;

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

/// Ctrl-C, SIGTERM and SIGHUP while it lives: each asks the session to stop, and the third ends the process. A signal
/// that test code ignores, blocks or handles itself is taken back when its node ends; one that the user had ignored
/// stays so. The session and the user's signals outlive it.
class CInterrupt : public CEventSink
{
public:
    explicit CInterrupt(CSession& session);
    ~CInterrupt() override;
    CInterrupt(const CInterrupt&) = delete;
    CInterrupt& operator=(const CInterrupt&) = delete;

    void Take(const SEvent& event) override;
};

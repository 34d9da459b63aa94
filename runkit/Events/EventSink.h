#pragma once

#include <Events/Event.h>
#include <Events/EventsExport.h>

/// Takes the stream of a run's events: a terminal, a record, a host's own view. Called on the thread that runs the
/// suite. Not owned by whoever tells it.
class EVENTS_EXPORT CEventSink
{
public:
    virtual ~CEventSink();

    /// Each event once, in order.
    virtual void Take(const SEvent& event) = 0;

    /// Whatever was taken so far must now reach the system, because test code or a prompt gets control next and may not
    /// give it back. Does nothing unless overridden.
    virtual void HandOver();
};

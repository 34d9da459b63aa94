#pragma once

#include <Events/Event.h>
#include <Events/EventsExport.h>

#include <optional>
#include <string>
#include <string_view>

// The one place that knows the form of records and of the protocol: a JSON object a line.

/// Appends the event's line, with its line feed, to `lines`; nothing else is allocated. Texts may be any bytes: what is
/// not UTF-8 becomes U+FFFD. When memory ends, `lines` is as it was.
EVENTS_EXPORT void ToJson(const SEvent& event, std::string& lines);

/// What a line of a record or of the protocol turned out to be: an event; or `error` says why it is none; or, with
/// neither, an event that this version does not know, which readers pass over.
struct SEventLine
{
    std::optional<SEvent> event;
    std::string error; ///< for people; the place in the file is for the caller to add
};

/// Reads one line, with or without its line feed. Keys that are not known are passed over; a record of another version
/// than the one that is written is an error in its first line. A record that was cut off ends in a line without line
/// feed, which is then an error too and no reason to doubt the lines before it.
EVENTS_EXPORT SEventLine FromJson(std::string_view line);

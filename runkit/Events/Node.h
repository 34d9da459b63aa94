#pragma once

#include <Events/EventsExport.h>

#include <string>
#include <string_view>

// What the elements and paths of nodes say.

/// Whether an element is a group of one of the three kinds.
EVENTS_EXPORT bool IsGroup(std::string_view element);

/// Whether verdicts are about the element's executions: a function, a prompt or an assignment.
EVENTS_EXPORT bool IsExecution(std::string_view element);

/// Whether a node is somewhere below another one, by their paths.
EVENTS_EXPORT bool IsBelow(std::string_view path, std::string_view ancestor);

/// The path of a node's parent; for the root, which has none, a text that is no path.
EVENTS_EXPORT std::string ParentPath(std::string_view path);

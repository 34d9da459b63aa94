#pragma once

#include <Events/Event.h>

/// Who holds the execution lock of the installed services' settings, as far as that can be told.
SLockEvent ExecutionLock(ELockState state);

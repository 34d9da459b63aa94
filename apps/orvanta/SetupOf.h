#pragma once

#include "Options.h"

#include <Session/Setup.h>

/// What the options mean for a session. Throws `ZKRunTimeException` when a settings file that was named is not there.
SSetup SetupOf(const SOptions& options);

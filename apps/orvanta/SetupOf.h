#pragma once

#include "Options.h"
#include "TerminalReport.h"

#include <Session/Setup.h>

/// What the options mean for a session. Throws `ZKRunTimeException` when a settings file that was named is not there.
SSetup SetupOf(const SOptions& options);

/// The same for suites that are only looked at.
SSetup ReadingSetupOf(const SOptions& options);

/// How the terminal shows the runs, as the options have it.
STerminalStyle StyleOf(const SOptions& options, bool asksAtTerminal);

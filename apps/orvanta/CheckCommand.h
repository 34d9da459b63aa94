#pragma once

#include "ExitCode.h"
#include "Options.h"

/// `orvanta check`: shows what can be known to be wrong with suites without running them, for people or as JSON. Only
/// exhausted memory leaves as an exception.
EExitCode CheckSuites(const SOptions& options);

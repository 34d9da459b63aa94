#pragma once

#include "ExitCode.h"
#include "Options.h"

/// `orvanta run`: runs the suites one after the other. Only exhausted memory leaves as an exception.
EExitCode RunSuites(const SOptions& options);

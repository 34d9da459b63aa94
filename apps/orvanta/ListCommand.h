#pragma once

#include "ExitCode.h"
#include "Options.h"

/// `orvanta list`: shows the trees of the suites, for people or as JSON. Only exhausted memory leaves as an exception.
EExitCode ListSuites(const SOptions& options);

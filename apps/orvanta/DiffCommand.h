#pragma once

#include "ExitCode.h"
#include "Options.h"

/// Tells what changed from one record to another; failed when a test broke or is gone.
EExitCode CompareRecords(const SOptions& options);

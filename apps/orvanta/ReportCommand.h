#pragma once

#include "ExitCode.h"
#include "Options.h"

/// Makes reports from records.
EExitCode ReportRecords(const SOptions& options);

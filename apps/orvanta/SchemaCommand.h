#pragma once

#include "ExitCode.h"

/// `orvanta schema`: prints the schema of suite files.
EExitCode PrintSchema();

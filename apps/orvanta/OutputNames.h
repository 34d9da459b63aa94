#pragma once

#include "Options.h"

#include <string>

/// Refuses an output that is also an input, the execution lock, where the program writes to, or another output, and one
/// that would replace a program or a library. To be called before anything is opened for writing. Files are the same
/// when the system says so, whatever their names. Only the answers may be saved in the file they are read from. An
/// output that cannot be written is refused too, as far as that can be told without a trace. Throws
/// `ZKRunTimeException` that names the file and what is wrong with it.
void CheckOutputNames(const SOptions& options, const std::string& lockFile);

/// The same for reports that are made from records.
void CheckReportNames(const SOptions& options);

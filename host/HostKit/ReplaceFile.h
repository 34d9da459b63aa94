#pragma once

#include <HostKit/HostKitExport.h>

#include <string>
#include <string_view>

/// Gives the file at `path` this content, whole or not at all: after a failure, such as a full disk, it is as it was
/// before, or still not there. A replaced file keeps its permissions; behind a symbolic link, the file it names is
/// replaced. Returns the reason of a failure, empty after success.
HOSTKIT_EXPORT std::string ReplaceFile(const std::string& path, std::string_view text);

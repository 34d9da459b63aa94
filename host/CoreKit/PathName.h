#pragma once

#include <CoreKit/CoreKitExport.h>

#include <string_view>

/// What stands behind the last separator of a path, `/` or `\`: the name of its file, empty behind a separator. A view
/// into `path`.
COREKIT_EXPORT std::string_view LastComponent(std::string_view path);

#pragma once

#include <CoreKit/CoreKitExport.h>

#include <string>
#include <string_view>
#include <vector>

/// Of some names the one nearest to a misspelt one, letter case and a prefix "x:" aside; empty when none is near.
COREKIT_EXPORT std::string NearestName(std::string_view word, const std::vector<std::string>& names);

/// The same, with all the names that are equally near.
COREKIT_EXPORT std::vector<std::string> NearestNames(std::string_view word, const std::vector<std::string>& names);

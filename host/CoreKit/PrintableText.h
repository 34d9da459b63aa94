#pragma once

#include <CoreKit/CoreKitExport.h>

#include <string>
#include <string_view>

/// Texts from elsewhere as they may reach a terminal or a text file. What would steer a terminal or turn the direction
/// of writing (control characters but tab and line end, DEL, U+0080 to U+009F, bidirectional controls) and what is no
/// UTF-8 is shown by its number instead: \x1B for a byte, \u202E for a character beyond ASCII. Backslashes right in
/// front of such a form are doubled, also where the text itself has one, so that no two texts look the same.
COREKIT_EXPORT std::string PrintableText(std::string_view text);

/// The same for what has to stay one line: a line end is shown as \n.
COREKIT_EXPORT std::string PrintableLine(std::string_view text);

/// JSON text in UTF-8 with all of that escaped as \uXXXX: safe to show, and still the same value.
COREKIT_EXPORT std::string PrintableJson(std::string_view json);

#pragma once

#include <string>

/// Keeps the folder that the program was started in. To be called before any test code runs.
void RememberStartFolder();

/// The absolute path of what was named when the program was started, whatever folder test code has changed to since.
std::string FromStart(const std::string& path);

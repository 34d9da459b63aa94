#pragma once

#include <Events/Problem.h>

#include <string>
#include <vector>

/// The lines of a settings file that mean nothing: neither blank, comment, section nor a known key of a known section.
/// Empty for a file that is not there.
std::vector<SProblem> FindSettingsProblems(const std::string& path);

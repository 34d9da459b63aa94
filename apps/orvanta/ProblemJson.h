#pragma once

#include <Events/Problem.h>

#include <nlohmann/json.hpp>

/// A problem as `list --json` and `check --json` write it; without a place, line and column are null.
nlohmann::ordered_json JsonOf(const SProblem& problem);

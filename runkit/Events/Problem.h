#pragma once

#include <cstdint>
#include <string>

/// An error is something that would make the run fail, abort, crash or use another value than the one written; a
/// warning runs as written, but hardly as meant.
enum class ESeverity
{
    Error,
    Warning,
};

/// What is wrong with a suite. Loading, checking and the record share it.
struct SProblem
{
    std::uint64_t line = 0;   ///< from 1, in the suite's file; 0: the problem has no place
    std::uint64_t column = 0; ///< from 1; 0: the problem has no place
    ESeverity severity = ESeverity::Error;
    std::string rule; ///< its short name, such as "schema"
    std::string message;
};

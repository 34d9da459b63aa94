#pragma once

#include "Options.h"

#include <cstdio>
#include <string>
#include <string_view>

class CFormatInfo;
struct SProblem;

/// Keeps the process sound when a standard stream is closed: a closed one is replaced by nothing, so that no file takes
/// its place, and a reader that goes away does not end the process.
void PrepareStandardStreams();

/// Whether an option that depends on the stream being a terminal is in force.
bool InForce(EWhen when, std::FILE* stream);

/// How many columns the terminal behind a stream has; 80 when it doesn't say.
std::size_t TerminalWidth(std::FILE* stream);

/// The escape sequence that makes a terminal's text look like the format, as far as its own colours go; empty for
/// plain.
std::string EscapeSequence(const CFormatInfo& format);

inline constexpr const char* ESCAPE_RESET = "\033[0m";

/// A problem of a suite as people are told of it: "file:line:column: error: message [rule]".
std::string ProblemLine(std::string_view file, const SProblem& problem);

/// Writes one line to stderr, whatever the text holds.
void WriteErrorLine(std::string_view line);

/// Writes "orvanta: message" to stderr, as one line.
void ReportError(std::string_view message);

#pragma once

#include <Session/Session.h>

/// What the process tells its caller.
enum class EExitCode : int
{
    Passed = 0,
    Failed = 1,      ///< a test failed, a node ended failed, or the run reported a failure
    Aborted = 2,     ///< by the operator, a signal, the test library, or for want of an answer
    Unexpected = 3,  ///< an exception left a run
    Usage = 4,       ///< the command line, or a file that it names beside the suites
    NothingRan = 5,  ///< no pattern matched, or a suite had selected tests and none of them ran
    NotLoaded = 6,   ///< unreadable, invalid, not for this product or filter, or without its test library
    LockRefused = 7, ///< another run holds the execution lock
};

/// The one of two suites' codes that the process ends with. Wrong usage never stands for a worse code.
EExitCode Graver(EExitCode left, EExitCode right);

EExitCode ExitCodeOf(EOutcome outcome);

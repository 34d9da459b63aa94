#pragma once

/// What the process tells its caller.
enum class EExitCode : int
{
    Passed = 0,
    Failed = 1,      ///< a test failed, a node ended failed, or the run reported a failure
    Aborted = 2,     ///< the operator aborted
    Unexpected = 3,  ///< an exception left a run
    Usage = 4,       ///< the command line, or a file that it names beside the suites
    NothingRan = 5,  ///< the selection matched no node
    NotLoaded = 6,   ///< unreadable, invalid, not for this product or filter
    LockRefused = 7, ///< another run holds the execution lock
};

/// The one of two suites' codes that the process ends with.
EExitCode Graver(EExitCode left, EExitCode right);

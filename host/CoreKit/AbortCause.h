#pragma once

/// Who or what stops a run.
enum class EAbortCause
{
    Operator,
    Library,    ///< test code asked for it
    Unanswered, ///< nobody could answer a prompt
    Limit,      ///< a time limit
    Crash,
};

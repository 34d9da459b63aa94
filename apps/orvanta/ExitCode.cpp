#include "ExitCode.h"

#include <algorithm>
#include <array>

EExitCode Graver(EExitCode left, EExitCode right)
{
    static constexpr std::array ORDER{EExitCode::Unexpected, EExitCode::Aborted, EExitCode::LockRefused,
                                      EExitCode::NotLoaded,  EExitCode::Failed,  EExitCode::NothingRan,
                                      EExitCode::Usage,      EExitCode::Passed};
    return *std::find_if(ORDER.begin(), ORDER.end(), [&](EExitCode code) { return code == left || code == right; });
}

EExitCode ExitCodeOf(EOutcome outcome)
{
    switch (outcome)
    {
    case EOutcome::Passed:
        return EExitCode::Passed;
    case EOutcome::Failed:
        return EExitCode::Failed;
    case EOutcome::NothingRan:
        return EExitCode::NothingRan;
    case EOutcome::NotLoaded:
        return EExitCode::NotLoaded;
    case EOutcome::LockRefused:
        return EExitCode::LockRefused;
    case EOutcome::LockUnwritable:
        return EExitCode::Usage;
    case EOutcome::Aborted:
        return EExitCode::Aborted;
    case EOutcome::Unexpected:
        break;
    }
    return EExitCode::Unexpected;
}

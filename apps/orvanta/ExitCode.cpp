#include "ExitCode.h"

#include <algorithm>
#include <array>

EExitCode Graver(EExitCode left, EExitCode right)
{
    static constexpr std::array ORDER{EExitCode::Usage,       EExitCode::Unexpected, EExitCode::Aborted,
                                      EExitCode::LockRefused, EExitCode::NotLoaded,  EExitCode::NothingRan,
                                      EExitCode::Failed,      EExitCode::Passed};
    return *std::find_if(ORDER.begin(), ORDER.end(), [&](EExitCode code) { return code == left || code == right; });
}

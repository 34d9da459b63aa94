#pragma once

#include <Reports/RecordedRuns.h>
#include <Reports/ReportsExport.h>

#include <cstdint>
#include <string>
#include <vector>

/// What changed from one record to another, test by test.
struct REPORTS_EXPORT SComparison
{
    std::vector<std::string> lines; ///< one for each change, "broken: CLASSNAME/NAME: REASON"; not fit to be shown yet
    std::uint64_t broken = 0;       ///< passed before, and does not now
    std::uint64_t fixed = 0;        ///< did not pass before, and does now
    std::uint64_t added = 0;        ///< executed now only
    std::uint64_t gone = 0;         ///< executed before only
    std::uint64_t slower = 0;       ///< at least twice the time, and 100 ms more
    std::uint64_t moved = 0;        ///< measurements that are not what they were, by a tenth or more

    /// Whether something is worse that a build must not pass over.
    bool IsWorse() const { return broken + gone > 0; }
    /// "1 broken, 0 fixed, 0 new, 2 gone, 0 slower".
    std::string Counts() const;
};

REPORTS_EXPORT SComparison Compare(const SRecordedRuns& before, const SRecordedRuns& after);

#pragma once

#include "Rerun.h"

#include <Session/Session.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

/// A suite of the command line with the operator's selection applied.
struct SSelectedSuite
{
    std::unique_ptr<CSuite> suite;
    ERerun rerun = ERerun::All;
    std::vector<std::string> unmatched; ///< the patterns that match none of its nodes
};

/// The suites that have to be loaded before the first one is used, since a pattern may match in any of them: all, or
/// none without a selection. Then `LoadSelected` loads one at a time. Patterns apply to what is left to run of the runs
/// `again`, when there are such.
std::vector<SSelectedSuite> LoadAhead(CSession& session, const std::vector<std::string>& files,
                                      const std::vector<SSelection>& selections, const SRecordedRuns* again = nullptr);
SSelectedSuite LoadSelected(CSession& session, const std::string& file, const std::vector<SSelection>& selections,
                            const SRecordedRuns* again = nullptr);

/// Whether the selection says nothing of a suite: something is to be selected, and it is all in other suites.
bool IsLeftOut(const SSelectedSuite& suite, const std::vector<SSelection>& selections);

/// Reports the patterns that match in none of the suites; false when there is none, or when no suite was loaded.
bool ReportUnmatched(const std::vector<SSelectedSuite>& suites, const std::vector<SSelection>& selections,
                     const std::function<void(const std::string&)>& report);

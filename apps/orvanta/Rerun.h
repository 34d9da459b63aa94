#pragma once

#include <Reports/RecordedRuns.h>
#include <Session/Suite.h>

/// What there is to do in a suite when its runs in a record are repeated.
enum class ERerun
{
    Some,    ///< the nodes that are selected now
    All,     ///< the record does not know the suite, which stays as it is
    Passed,  ///< nothing, since all of it passed
    LeftOut, ///< nothing, since nothing of it was selected
};

/// Selects in a suite what was selected in its recorded runs, less the tests that passed in them each time. Nodes are
/// the same when reports call them the same; one that is new was not passed, and is selected when it was by itself.
ERerun SelectAgain(CSuite& suite, const SRecordedRuns& runs);

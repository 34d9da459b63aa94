#pragma once

#include <Events/Event.h>
#include <Reports/ReportsExport.h>

#include <cstdint>
#include <functional>
#include <string>

/// How a record ends.
struct SRecordEnd
{
    std::uint64_t lines = 0; ///< whole ones
    bool isCutOff = false;   ///< a piece of a line follows them: the run was killed, or its disk was full
};

/// Reads a record from its beginning and passes on the events, one after the other, as far as this version knows them;
/// in memory is never more than a line. Throws `ZKRunTimeException`, naming file and line, when the file cannot be
/// read, is no record or one of another version, or has a line that is none of a record; what `take` throws passes on.
REPORTS_EXPORT SRecordEnd ReadRecord(const std::string& path, const std::function<void(const SEvent& event)>& take);

#pragma once

#include <Reports/ReportsExport.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

/// Which reports to make, and where.
struct SReportNames
{
    std::optional<std::string> junit;
    std::optional<std::string> html;
    std::optional<std::string> log;

    /// Whether there are any that can only be made when the runs are over.
    bool NeedRecord() const { return junit || html; }
    bool Any() const { return NeedRecord() || log; }
};

/// Makes reports from records, one after the other; a record that was cut off yields what stands in it. `failed` is
/// told of each record that cannot be read to its end and of each report that cannot be written, and why; the others
/// are made all the same, of what could be read. When that is nothing, there is no report.
REPORTS_EXPORT void MakeReports(const std::vector<std::string>& records, const SReportNames& names,
                                const std::function<void(const std::string& error)>& failed);

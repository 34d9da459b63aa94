#pragma once

#include <Events/Event.h>
#include <Reports/ReportsExport.h>

#include <chrono>
#include <string>

// Events as people read them in reports; not yet fit to be shown, see CoreKit/PrintableText.h.

/// "FILE:LINE:COLUMN: error: MESSAGE [RULE]".
REPORTS_EXPORT std::string ProblemText(const std::string& file, const SProblem& problem);

/// A duration in seconds with three decimals: "0.012".
REPORTS_EXPORT std::string SecondsText(std::chrono::microseconds duration);

/// Who holds the execution lock, and since when.
REPORTS_EXPORT std::string LockText(const SLockEvent& lock);

/// How the process that ran the suite ended.
REPORTS_EXPORT std::string VanishedText(const SVanishedEvent& vanished);

/// "4.95 V (from 4.75 to 5.25)", and what is wrong with it.
REPORTS_EXPORT std::string MeasurementText(const SMeasurementEvent& measurement);

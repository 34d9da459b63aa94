#pragma once

#include <Events/EventSink.h>
#include <Reports/ReportsExport.h>

/// A report on the runs of one or more records, whose events it takes one record after the other. Every run that is
/// told also ends: `CRunCompletion` gives one that was cut off what it lacks.
class REPORTS_EXPORT CReport : public CEventSink
{
public:
    ~CReport() override;

    /// All was told: puts the file in its place, whole or not at all. Throws `ZKRunTimeException`, naming path and
    /// reason, when it cannot be written.
    virtual void Finish() = 0;
};

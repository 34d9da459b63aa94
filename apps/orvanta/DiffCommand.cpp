#include "DiffCommand.h"

#include "Terminal.h"

#include <CoreKit/CatchLadder.h>
#include <CoreKit/PrintableText.h>
#include <Reports/Comparison.h>

#include <cstdio>

EExitCode CompareRecords(const SOptions& options)
{
    return Guarded(
        [&]
        {
            const SRecordedRuns before = ReadRuns(options.records.at(0));
            const SComparison comparison = Compare(before, ReadRuns(options.records.at(1)));
            for (const std::string& line : comparison.lines)
            {
                std::printf("%s\n", PrintableLine(line).c_str());
            }
            std::printf("%s\n", comparison.Counts().c_str());
            return comparison.IsWorse() ? EExitCode::Failed : EExitCode::Passed;
        },
        [](const ZKException& exception)
        {
            ReportError(std::string(exception.Message()));
            return EExitCode::Usage;
        });
}

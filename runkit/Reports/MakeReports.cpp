#include <Reports/MakeReports.h>

#include <Reports/HtmlReport.h>
#include <Reports/JUnitReport.h>
#include <Reports/LogFile.h>
#include <Reports/RecordReader.h>
#include <Reports/RunCompletion.h>

#include <CoreKit/CatchLadder.h>

#include <memory>

namespace
{
/// The reports that are under way. One that cannot be written is told of and left out from then on.
class CReports : public CEventSink
{
public:
    explicit CReports(const std::function<void(const std::string& error)>& failed)
        : m_Failed(failed)
    {
    }

    template <class Report>
    void Add(const std::optional<std::string>& path)
    {
        if (path)
        {
            Try([&] { m_Reports.push_back(std::make_unique<Report>(*path)); });
        }
    }

    void Take(const SEvent& event) override
    {
        std::erase_if(m_Reports,
                      [&](const std::unique_ptr<CReport>& report) { return !Try([&] { report->Take(event); }); });
    }

    void Finish()
    {
        for (const std::unique_ptr<CReport>& report : m_Reports)
        {
            Try([&] { report->Finish(); });
        }
    }

private:
    bool Try(const std::function<void()>& step)
    {
        return Guarded(
            [&]
            {
                step();
                return true;
            },
            [this](const ZKException& exception)
            {
                m_Failed(std::string(exception.Message()));
                return false;
            });
    }

    const std::function<void(const std::string& error)>& m_Failed;
    std::vector<std::unique_ptr<CReport>> m_Reports;
};
} // namespace

void MakeReports(const std::vector<std::string>& records, const SReportNames& names,
                 const std::function<void(const std::string& error)>& failed)
{
    CReports reports(failed);
    reports.Add<CJUnitReport>(names.junit);
    reports.Add<CHtmlReport>(names.html);
    reports.Add<CLogReport>(names.log);
    CRunCompletion completion(reports);
    bool hasEvents = false;
    const auto take = [&](const SEvent& event)
    {
        hasEvents = true;
        completion.Take(event);
    };
    for (const std::string& record : records)
    {
        Guarded([&] { ReadRecord(record, take); },
                [&](const ZKException& exception) { failed(std::string(exception.Message())); });
        completion.EndRecord();
    }
    if (hasEvents)
    {
        reports.Finish();
    }
}

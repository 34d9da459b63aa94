#include <Reports/RecordFile.h>

#include <CoreKit/Version.h>
#include <Events/EventJson.h>

#include <chrono>
#include <variant>

CRecordFile::CRecordFile(const std::string& path, const std::string& host)
    : m_File(path)
{
    Begin(host);
}

CRecordFile::CRecordFile(const std::string& host)
    : m_File(CLineFile::SUnnamed{})
{
    Begin(host);
}

void CRecordFile::Begin(const std::string& host)
{
    Take({std::chrono::system_clock::now(), SRecordEvent{ORVANTA_VERSION, host}});
    HandOver();
}

void CRecordFile::Take(const SEvent& event)
{
    m_Line.clear();
    ToJson(event, m_Line);
    m_File.Append(m_Line);
    if (std::holds_alternative<SRunEndEvent>(event.what))
    {
        HandOver();
    }
}

void CRecordFile::HandOver()
{
    m_File.HandOver();
}

#include <Reports/LogFile.h>

#include <Reports/LogText.h>

#include <utility>
#include <variant>

CLogFile::CLogFile(const std::string& path)
    : m_File(path)
    , m_Text(std::make_unique<CLogText>([this](std::string_view lines) { m_File.Append(lines); }))
{
}

CLogFile::~CLogFile() = default;

void CLogFile::Take(const SEvent& event)
{
    m_Text->Take(event);
    if (std::holds_alternative<SRunEndEvent>(event.what))
    {
        HandOver();
    }
}

void CLogFile::HandOver()
{
    m_File.HandOver();
}

CLogReport::CLogReport(std::string path)
    : m_File(std::move(path))
    , m_Text(std::make_unique<CLogText>([this](std::string_view lines) { m_File.Write(lines); }))
{
}

CLogReport::~CLogReport() = default;

void CLogReport::Take(const SEvent& event)
{
    m_Text->Take(event);
}

void CLogReport::Finish()
{
    m_File.Commit();
}

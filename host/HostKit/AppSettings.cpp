#include <HostKit/AppSettings.h>
#include <HostKit/ReplaceFile.h>

#include <CoreKit/Exceptions.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

// Text is UTF-8 in the file and here; the header's own definitions are used, no library beside it.
#define SI_NO_CONVERSION
#define SI_IMPLEMENTATION
#include <SimpleIni.h>

#include <algorithm>
#include <new>
#include <utility>

struct CAppSettings::SFile
{
    CSimpleIniA ini{true, false, false};
    std::string trailer; ///< the comments after the last setting, which the INI object does not keep
};

namespace
{
constexpr std::string_view DEFAULT_SECTION = "application";

struct SPlace
{
    std::string section;
    std::string key;

    std::string Id() const { return section + '\n' + key; }
};

SPlace PlaceOf(std::string_view key, int scope)
{
    const std::size_t slash = scope == 0 ? std::string_view::npos : key.find('/');
    if (slash == std::string_view::npos)
    {
        return {std::string(DEFAULT_SECTION), std::string(key)};
    }
    return {std::string(key.substr(0, slash)), std::string(key.substr(slash + 1))};
}

QString ToQString(const std::string& text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

/// Where the comments and empty lines at the end of a file begin.
std::size_t TrailerStart(std::string_view text)
{
    std::size_t start = 0;
    for (std::size_t line = 0; line < text.size();)
    {
        const std::size_t end = std::min(text.find('\n', line), text.size() - 1) + 1;
        const std::size_t first = text.find_first_not_of(" \t\r\n", line);
        const bool isSetting = first < end && text[first] != ';' && text[first] != '#';
        start = isSetting ? end : start;
        line = end;
    }
    return start;
}

[[noreturn]] void Fail(const char* verb, const std::string& path, const QString& reason)
{
    ThrowFormatted<ZKRunTimeException>("Cannot %s the settings file \"%s\": %s.", verb, path.c_str(),
                                       reason.toUtf8().constData());
}

std::string ReadAll(const std::string& path)
{
    if (QFileInfo(ToQString(path)).isDir())
    {
        Fail("read", path, QStringLiteral("it is a folder"));
    }
    QFile file(ToQString(path));
    if (!file.open(QIODevice::ReadOnly))
    {
        Fail("read", path, file.errorString());
    }
    const QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError)
    {
        Fail("read", path, file.errorString());
    }
    if (!bytes.isValidUtf8())
    {
        Fail("read", path, QStringLiteral("it is not UTF-8"));
    }
    return bytes.toStdString();
}

/// `path` is how the file was named, `target` where it is.
void WriteAll(const std::string& path, const std::string& target, const std::string& text)
{
    const QString folder = QFileInfo(ToQString(target)).absolutePath();
    if (!QDir().mkpath(folder))
    {
        Fail("write", path, QStringLiteral("its folder cannot be made"));
    }
    if (const std::string reason = ReplaceFile(target, text); !reason.empty())
    {
        Fail("write", path, ToQString(reason));
    }
}
} // namespace

CAppSettings::CAppSettings()
    : m_File(std::make_unique<SFile>())
{
}

CAppSettings::CAppSettings(const std::string& path)
    : m_File(std::make_unique<SFile>())
    , m_Path(path)
    , m_Target(QFileInfo(ToQString(path)).absoluteFilePath().toStdString())
{
    if (!QFileInfo::exists(ToQString(path)))
    {
        return;
    }
    const std::string text = ReadAll(path);
    const std::size_t settingsEnd = TrailerStart(text);
    m_File->trailer = text.substr(settingsEnd);
    if (m_File->ini.LoadData(text.substr(0, settingsEnd)) < 0)
    {
        throw std::bad_alloc();
    }
}

CAppSettings::~CAppSettings() = default;

void CAppSettings::GetAppSetting(std::string_view key, std::string& value, int scope) const
{
    const SPlace place = PlaceOf(key, scope);
    value = SectionValue(place.section, place.key);
}

void CAppSettings::UpdateAppSetting(std::string_view key, std::string_view value, int scope)
{
    const SPlace place = PlaceOf(key, scope);
    const std::string text(value);
    if (text.find_first_of(std::string_view("\r\n\0", 3)) != std::string::npos)
    {
        ThrowFormatted<ZKRunTimeException>("The setting %s/%s must be a single line.", place.section.c_str(),
                                           place.key.c_str());
    }
    const char* before = m_File->ini.GetValue(place.section.c_str(), place.key.c_str());
    if (before && text == before)
    {
        return;
    }
    if (m_File->ini.SetValue(place.section.c_str(), place.key.c_str(), text.c_str()) < 0)
    {
        throw std::bad_alloc();
    }
    m_Changed = true;
}

void CAppSettings::SyncSettings()
{
    if (m_Path.empty() || !m_Changed)
    {
        return;
    }
    std::string text;
    if (m_File->ini.Save(text) < 0)
    {
        throw std::bad_alloc();
    }
    WriteAll(m_Path, m_Target, text + m_File->trailer);
    m_Changed = false;
}

void CAppSettings::Override(std::string_view key, std::string_view value, int scope)
{
    m_Overrides[PlaceOf(key, scope).Id()] = value;
}

std::string CAppSettings::SectionValue(std::string_view section, std::string_view key) const
{
    const SPlace place{std::string(section), std::string(key)};
    if (const auto found = m_Overrides.find(place.Id()); found != m_Overrides.end())
    {
        return found->second;
    }
    return m_File->ini.GetValue(place.section.c_str(), place.key.c_str(), "");
}

std::vector<std::string> CAppSettings::Sections(std::string_view prefix) const
{
    CSimpleIniA::TNamesDepend names;
    m_File->ini.GetAllSections(names);
    names.sort(CSimpleIniA::Entry::LoadOrder());
    std::vector<std::string> sections;
    for (const CSimpleIniA::Entry& name : names)
    {
        if (std::string_view(name.pItem).starts_with(prefix))
        {
            sections.emplace_back(name.pItem);
        }
    }
    return sections;
}

#include <HostKit/AppSettings.h>
#include <HostKit/TestSuiteFilters.h>

#include <CoreKit/Exceptions.h>

#include <string>

namespace
{
constexpr std::string_view SECTION_PREFIX = "filter:";

QString ToQString(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QStringList Categories(const CAppSettings& settings, const std::string& section)
{
    QStringList categories;
    for (const QString& part : ToQString(settings.SectionValue(section, "categories")).split(QLatin1Char(',')))
    {
        if (const QString category = part.trimmed(); !category.isEmpty())
        {
            categories.push_back(category);
        }
    }
    return categories;
}

bool Flag(const CAppSettings& settings, const std::string& section, const char* key)
{
    const std::string value = settings.SectionValue(section, key);
    const CSafeString lower = ToLower(value);
    if (!value.empty() && lower != "true" && lower != "false")
    {
        ThrowFormatted<ZKRunTimeException>("Settings section [%s]: %s must be \"true\" or \"false\", not \"%s\".",
                                           section.c_str(), key, value.c_str());
    }
    return lower == "true";
}
} // namespace

CFilter::CFilter(const QString& name, const QStringList& categories, bool hideUnfiltered, bool unrestricted)
    : m_Name(name)
    , m_Categories(categories)
    , m_HideUnfiltered(hideUnfiltered)
    , m_Unrestricted(unrestricted)
{
}

const CFilter* CTestSuiteFilters::Filter(int index) const
{
    const bool exists = index >= 0 && static_cast<std::size_t>(index) < m_Filters.size();
    return exists ? &m_Filters[static_cast<std::size_t>(index)] : nullptr;
}

int CTestSuiteFilters::IndexOf(const QString& name) const
{
    for (std::size_t i = 0; i < m_Filters.size(); ++i)
    {
        if (m_Filters[i].Name() == name)
        {
            return static_cast<int>(i);
        }
    }
    return -1;
}

void ZKCustomConfiguration::ReadFilters(const CAppSettings& settings)
{
    for (const std::string& section : settings.Sections(SECTION_PREFIX))
    {
        const QString name = ToQString(std::string_view(section).substr(SECTION_PREFIX.size())).trimmed();
        m_Filters.Add(CFilter(name, Categories(settings, section), Flag(settings, section, "hideUnfiltered"),
                              Flag(settings, section, "unrestricted")));
    }
}

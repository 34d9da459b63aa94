#include <HostKit/Logger.h>
#include <HostKit/VersionInfo.h>

#include <CoreKit/Format.h>
#include <CoreKit/Version.h>

#include <QByteArray>
#include <QString>
#include <QSysInfo>

namespace
{
void WriteLine(const CFormatInfo& format, const CSafeString& text)
{
    WriteLog(TS_NONE, ZKLogger::GetDefaultLogVerbosity(TS_NONE), format, text);
}
} // namespace

void Common_DisplayOSVersionInfo(const CFormatInfo& format, const CFormatInfo& errorFormat)
{
    if (QSysInfo::productType() == QStringLiteral("unknown"))
    {
        WriteLine(errorFormat, "The operating system's version cannot be told.");
        return;
    }
    const QByteArray name = QSysInfo::prettyProductName().toUtf8();
    const QByteArray kernel = QSysInfo::kernelVersion().toUtf8();
    WriteLine(format, FormatText("Operating system: %s, kernel %s", name.constData(), kernel.constData()));
}

void Common_DisplayEngineFileVersions()
{
    LogDefault(TS_NONE, "Orvanta version: %s", ORVANTA_VERSION);
}

const char* CProductSheetFile::AppSupportedPSFVersionString()
{
    return "1.0";
}

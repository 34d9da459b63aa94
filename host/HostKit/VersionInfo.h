#pragma once

#include <HostKit/FormatInfo.h>
#include <HostKit/HostKitExport.h>

/// Write the operating system and the versions of the engine's files to the log, for the banner of a run.
HOSTKIT_EXPORT void Common_DisplayOSVersionInfo(const CFormatInfo& format, const CFormatInfo& errorFormat);
HOSTKIT_EXPORT void Common_DisplayEngineFileVersions();

/// Files in which products describe themselves.
class HOSTKIT_EXPORT CProductSheetFile
{
public:
    /// The newest version of such a file that the application reads. Never null.
    static const char* AppSupportedPSFVersionString();
};

#pragma once

#include <HostKit/HostKitExport.h>

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// The application's settings, kept in an INI file. Scope 0 is the section "application"; scope 1 holds the key's own
/// section before a slash ("runtime/LockFileName"). Comments and order of the file survive a write.
class HOSTKIT_EXPORT CAppSettings
{
public:
    /// In memory only: nothing is read or written.
    CAppSettings();
    /// Kept in the file at `path` (UTF-8), made on the first write. Throws `ZKRunTimeException`, naming path and
    /// reason, when the file exists but cannot be read.
    explicit CAppSettings(const std::string& path);
    virtual ~CAppSettings();
    CAppSettings(const CAppSettings&) = delete;
    CAppSettings& operator=(const CAppSettings&) = delete;

    /// The setting's text; empty when it is not set.
    virtual void GetAppSetting(std::string_view key, std::string& value, int scope) const;
    virtual void UpdateAppSetting(std::string_view key, std::string_view value, int scope);
    /// Writes changes to the file, with its folder if need be. Throws `ZKRunTimeException` when that fails.
    virtual void SyncSettings();

    /// Stands for one setting until the object dies, without being written: a command-line option.
    void Override(std::string_view key, std::string_view value, int scope);

    /// The value of a key in any section, empty when not set; the sections whose names begin with `prefix`.
    std::string SectionValue(std::string_view section, std::string_view key) const;
    std::vector<std::string> Sections(std::string_view prefix) const;

private:
    struct SFile;
    std::unique_ptr<SFile> m_File;
    std::string m_Path;   ///< as it was named; empty: in memory only
    std::string m_Target; ///< absolute
    std::map<std::string, std::string> m_Overrides;
    bool m_Changed = false;
};

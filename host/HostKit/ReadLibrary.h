#pragma once

#include <HostKit/LibWrapper.h>

#include <memory>
#include <set>
#include <string>

/// A test library of which only the table of exported functions is read: nothing of it is loaded and none of its code
/// runs. It is looked for as every test library is. What stands in for its functions throws `ZKRunTimeException`, so
/// that a tree built with it can be looked at and not be run.
class HOSTKIT_EXPORT CReadLibrary : public CLibWrapper
{
public:
    explicit CReadLibrary(const CSafeString& name);

    bool IsLoaded() const override;
    TFunction GetFunction(std::string_view name) const override;

    /// Whether the library has a table to read. The loader needs none; without it every function counts as exported.
    bool HasTable() const { return m_HasTable; }
    /// The exported functions' names; empty until the library was read.
    const std::set<std::string, std::less<>>& Functions() const { return m_Functions; }

protected:
    bool OpenFile(const std::string& path, std::string& reason) override;

private:
    std::set<std::string, std::less<>> m_Functions;
    bool m_IsRead = false;
    bool m_HasTable = false;
};

/// The library service of hosts that look at suites and run none.
HOSTKIT_EXPORT std::unique_ptr<CLibWrapper> MakeReadLibrary(const CSafeString& name);

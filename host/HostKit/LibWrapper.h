#pragma once

#include <HostKit/HostKitExport.h>

#include <CoreKit/SafeString.h>

#include <string>
#include <string_view>

/// A test library, opened with the platform's loader. It is looked for in the folders of `CAppState::LibraryPath`, in
/// order, and nowhere else. Once open it stays loaded for the life of the process.
class HOSTKIT_EXPORT CLibWrapper
{
public:
    /// `name` is what the suite calls the library; `bindNow` resolves all of its symbols when it is opened, so that a
    /// missing one is an opening error and not a crash in a test.
    CLibWrapper(const CSafeString& name, bool bindNow);
    virtual ~CLibWrapper();
    CLibWrapper(const CLibWrapper&) = delete;
    CLibWrapper& operator=(const CLibWrapper&) = delete;

    /// Tries to open the library; true when it is open afterwards. Harmless when it is already.
    virtual bool OpenLibrary();
    virtual bool IsLoaded() const;

    using TFunction = void (*)();
    /// The exported function of that name, null when there is none or the library is not open.
    virtual TFunction GetFunction(std::string_view name) const;

    /// What was tried and what the loader answered, a line for each; empty after success.
    virtual CSafeString GetDiagnostic() const;

protected:
    /// Opens a file that is there; false, with the reason, when that fails.
    virtual bool OpenFile(const std::string& path, std::string& reason);

private:
    CSafeString m_Name;
    CSafeString m_Diagnostic;
    void* m_Handle = nullptr;
    bool m_BindNow;
};

/// File name of a library: a name that ends in ".so" or has ".so." in it stays; the endings ".dll" and ".dylib" are
/// dropped; the rest becomes "libNAME.so".
HOSTKIT_EXPORT CSafeString MakeLibraryName(std::string_view name);

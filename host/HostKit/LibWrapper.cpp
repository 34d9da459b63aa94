#include <HostKit/AppState.h>
#include <HostKit/LibWrapper.h>

#include <CoreKit/Format.h>

#include <dlfcn.h>
#include <elf.h>
#include <link.h>

#include <filesystem>
#include <string>

namespace
{
/// What is wrong with a library's name; empty when it can be looked for.
CSafeString NameProblem(const CSafeString& name)
{
    if (name.empty())
    {
        return "The test library has no name.";
    }
    if (std::string_view(name).find_first_of("/\\") != std::string_view::npos)
    {
        return FormatText(
            "The library name \"%s\" contains a path separator; name the library alone and put its folder "
            "on the library path.",
            name.c_str());
    }
    return {};
}

/// Why a path cannot be opened at all; empty when a file stands there. The loader would wait for a pipe's other end.
std::string FileProblem(const std::filesystem::path& path)
{
    std::error_code ignored;
    const std::filesystem::file_status status = std::filesystem::status(path, ignored);
    const bool isThere = std::filesystem::exists(status);
    return !isThere ? "no such file" : std::filesystem::is_regular_file(status) ? "" : "not a regular file";
}

/// What the loader answered, without the path in front that the caller's line already has.
std::string LoaderAnswer(const std::string& path)
{
    const char* answer = dlerror();
    const std::string text = answer ? answer : "the loader gave no reason";
    const std::string prefix = path + ": ";
    return text.starts_with(prefix) ? text.substr(prefix.size()) : text;
}

/// Whether an address belongs to the opened library itself, not to one that it depends on, and is no data.
bool IsFunctionOf(void* handle, void* address)
{
    link_map* library = nullptr;
    Dl_info place{};
    void* entry = nullptr;
    if (dlinfo(handle, RTLD_DI_LINKMAP, &library) != 0 || dladdr1(address, &place, &entry, RTLD_DL_SYMENT) == 0)
    {
        return false;
    }
    const auto* symbol = static_cast<const ElfW(Sym)*>(entry);
    const bool isData = symbol && ELF64_ST_TYPE(symbol->st_info) == STT_OBJECT;
    return !isData && std::string_view(place.dli_fname) == library->l_name;
}
} // namespace

CSafeString MakeLibraryName(std::string_view name)
{
    if (name.ends_with(".so") || name.find(".so.") != std::string_view::npos)
    {
        return name;
    }
    for (const std::string_view ending : {".dll", ".dylib"})
    {
        if (name.ends_with(ending))
        {
            name.remove_suffix(ending.size());
            break;
        }
    }
    return CSafeString("lib" + std::string(name) + ".so");
}

CLibWrapper::CLibWrapper(const CSafeString& name, bool bindNow)
    : m_Name(name)
    , m_BindNow(bindNow)
{
}

// The handle stays open: functions of the library, or objects that they left behind, may still be in use.
CLibWrapper::~CLibWrapper() = default;

bool CLibWrapper::OpenLibrary()
{
    if (IsLoaded())
    {
        return true;
    }
    m_Diagnostic = NameProblem(m_Name);
    if (!m_Diagnostic.empty())
    {
        return false;
    }
    const CSafeString file = MakeLibraryName(m_Name);
    std::string tried;
    for (const std::string& folder : CAppState::LibraryPath())
    {
        // Absolute, since the loader looks through the system's own folders for a bare name.
        const std::filesystem::path inFolder = std::filesystem::path(folder) / file.c_str();
        const std::filesystem::path path =
            inFolder.is_absolute() ? inFolder : std::filesystem::current_path() / inFolder;
        std::string reason = FileProblem(path);
        if (reason.empty() && OpenFile(path.string(), reason))
        {
            return true;
        }
        tried += (tried.empty() ? "" : "\n") + path.string() + ": " + reason;
    }
    m_Diagnostic = tried.empty() ? FormatText("%s: no folder is set in which to look for it.", file.c_str())
                                 : CSafeString(std::move(tried));
    return false;
}

bool CLibWrapper::OpenFile(const std::string& path, std::string& reason)
{
    m_Handle = dlopen(path.c_str(), RTLD_LOCAL | (m_BindNow ? RTLD_NOW : RTLD_LAZY));
    if (!m_Handle)
    {
        reason = LoaderAnswer(path);
    }
    return m_Handle != nullptr;
}

bool CLibWrapper::IsLoaded() const
{
    return m_Handle != nullptr;
}

CLibWrapper::TFunction CLibWrapper::GetFunction(std::string_view name) const
{
    void* const address = m_Handle ? dlsym(m_Handle, std::string(name).c_str()) : nullptr;
    return address && IsFunctionOf(m_Handle, address) ? reinterpret_cast<TFunction>(address) : nullptr;
}

CSafeString CLibWrapper::GetDiagnostic() const
{
    return m_Diagnostic;
}

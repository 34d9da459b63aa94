#include "Scratch.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

#include <unistd.h>

namespace
{

std::string ErrorText(int error)
{
    return std::generic_category().message(error);
}

// One run at a time, so one folder at a time. A handle is compared with it and never followed blindly: the word in the
// suite's variable may be anything.
std::unique_ptr<Scratch>& Current()
{
    static std::unique_ptr<Scratch> current;
    return current;
}

std::string ParentFolder()
{
    for (const char* variable : {"ORVANTA_SCRATCH", "TMPDIR"})
    {
        const char* folder = std::getenv(variable);
        if (folder != nullptr && *folder != '\0')
        {
            return folder;
        }
    }
    return "/tmp";
}

// What says nothing about the promises of a file system: the test lacked the means to ask.
bool IsLackOfMeans(int error)
{
    constexpr int lacks[] = {ENOSPC, EDQUOT, ENOMEM, EMFILE, ENFILE, EROFS};
    return std::find(std::begin(lacks), std::end(lacks), error) != std::end(lacks);
}

} // namespace

File::File(int descriptor)
    : m_Descriptor(descriptor)
{
}

File::File(File&& other) noexcept
    : m_Descriptor(std::exchange(other.m_Descriptor, -1))
{
}

File& File::operator=(File&& other) noexcept
{
    std::swap(m_Descriptor, other.m_Descriptor);
    return *this;
}

File::~File()
{
    if (m_Descriptor >= 0)
    {
        // A failed close must not hide the error of the call whose outcome is looked at next.
        const int error = errno;
        ::close(m_Descriptor);
        errno = error;
    }
}

Scratch::Scratch(std::string path)
    : m_Path(std::move(path))
{
}

Scratch::~Scratch()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_Path, ignored);
}

Scratch* Scratch::Create()
{
    std::error_code error;
    const std::filesystem::path parent = std::filesystem::absolute(ParentFolder(), error);
    std::string path = (parent / "orvanta-filesystem-XXXXXX").string();
    if (error || ::mkdtemp(path.data()) == nullptr)
    {
        const std::string text = error ? error.message() : ErrorText(errno);
        zk_error("No scratch folder under %s: %s. Name a writable folder in ORVANTA_SCRATCH.", ParentFolder().c_str(),
                 text.c_str());
        return nullptr;
    }
    Current() = std::make_unique<Scratch>(std::move(path));
    return Current().get();
}

Scratch* Scratch::Find(const void* handle)
{
    if (handle == nullptr || handle != Current().get())
    {
        zk_error("No scratch folder: CreateScratchFolder has not run, or this is not its handle.");
        return nullptr;
    }
    return Current().get();
}

bool Scratch::Remove(const Scratch* scratch, std::uint32_t& removedEntries)
{
    std::error_code error;
    const std::uintmax_t removed = std::filesystem::remove_all(scratch->Path(), error);
    removedEntries = error ? 0 : static_cast<std::uint32_t>(removed);
    if (error)
    {
        zk_error("%s could not be removed: %s. Remove it by hand.", scratch->Path().c_str(), error.message().c_str());
    }
    Current().reset();
    return !error;
}

TestFolder::TestFolder(const void* scratch, std::string_view name)
{
    const Scratch* parent = Scratch::Find(scratch);
    if (parent == nullptr)
    {
        return;
    }
    m_Path = parent->Path() + '/';
    m_Path += name;
    if (::mkdir(m_Path.c_str(), 0700) == 0)
    {
        m_Folder = File(::open(m_Path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    }
    if (!m_Folder)
    {
        zk_error("The folder %s could not be made: %s", m_Path.c_str(), ErrorText(errno).c_str());
    }
}

TestFolder::~TestFolder()
{
    if (m_Folder)
    {
        // What stays behind goes, and is reported, with the scratch folder.
        std::error_code ignored;
        std::filesystem::remove_all(m_Path, ignored);
    }
}

File TestFolder::TryOpen(const std::string& name, int flags, mode_t mode) const
{
    return File(::openat(Get(), name.c_str(), flags | O_CLOEXEC, mode));
}

File TestFolder::Open(const std::string& name, int flags, mode_t mode) const
{
    File file = TryOpen(name, flags, mode);
    if (!file)
    {
        Succeeded(-1, ("open of " + m_Path + '/' + name).c_str(), __FILE__, __LINE__);
    }
    return file;
}

bool TestFolder::Write(const std::string& name, std::string_view text) const
{
    const File file = Open(name, O_WRONLY | O_CREAT | O_TRUNC);
    return file && WriteNext(file, BytesOf(text));
}

bool TestFolder::Exists(const std::string& name) const
{
    struct stat status
    {
    };
    return ::fstatat(Get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
}

Bytes Pattern(std::size_t size, std::uint64_t seed)
{
    Bytes bytes(size);
    std::uint64_t state = seed * 0x9E3779B97F4A7C15U + 1;
    for (std::uint8_t& byte : bytes)
    {
        state = state * 6364136223846793005U + 1442695040888963407U;
        byte = static_cast<std::uint8_t>(state >> 56);
    }
    return bytes;
}

Bytes BytesOf(std::string_view text)
{
    return Bytes(text.begin(), text.end());
}

bool WriteNext(const File& file, const Bytes& bytes)
{
    for (std::size_t done = 0; done < bytes.size();)
    {
        const ssize_t written = ::write(file.Get(), bytes.data() + done, bytes.size() - done);
        if (written < 0 && errno == EINTR)
        {
            continue;
        }
        if (!Succeeded(written, "write", __FILE__, __LINE__))
        {
            return false;
        }
        done += static_cast<std::size_t>(written);
    }
    return true;
}

bool WriteAt(const File& file, const Bytes& bytes, off_t offset)
{
    const ssize_t written = ::pwrite(file.Get(), bytes.data(), bytes.size(), offset);
    return Succeeded(written, "pwrite", __FILE__, __LINE__) && ZK_CHECK_EQ(written, bytes.size());
}

std::optional<Bytes> ReadAt(const File& file, std::size_t size, off_t offset)
{
    Bytes bytes(size);
    std::size_t done = 0;
    while (done < size)
    {
        const ssize_t got = ::pread(file.Get(), bytes.data() + done, size - done, offset + static_cast<off_t>(done));
        if (!Succeeded(got, "pread", __FILE__, __LINE__))
        {
            return std::nullopt;
        }
        if (got == 0)
        {
            break;
        }
        done += static_cast<std::size_t>(got);
    }
    bytes.resize(done);
    return bytes;
}

bool ContentIs(const File& file, const Bytes& expected, const char* what)
{
    // One byte more than expected, so that a file that is too long is noticed.
    const std::optional<Bytes> actual = ReadAt(file, expected.size() + 1, 0);
    if (!actual)
    {
        return false;
    }
    if (actual->size() != expected.size())
    {
        zk_failure("%s: %s than the %zu bytes written (%zu read)", what,
                   actual->size() < expected.size() ? "shorter" : "longer", expected.size(), actual->size());
        return false;
    }
    const auto [found, wanted] = std::mismatch(actual->begin(), actual->end(), expected.begin());
    if (found != actual->end())
    {
        zk_failure("%s: offset %td holds 0x%02X instead of 0x%02X", what, found - actual->begin(),
                   static_cast<unsigned>(*found), static_cast<unsigned>(*wanted));
        return false;
    }
    return true;
}

std::optional<struct stat> StatusOf(const File& file)
{
    struct stat status
    {
    };
    return CALL_SUCCEEDS(::fstat(file.Get(), &status)) ? std::optional(status) : std::nullopt;
}

bool IsMissingFeature(int error)
{
    return error == EPERM || error == EOPNOTSUPP || error == ENOSYS || error == EINVAL || error == ENODEV;
}

bool Succeeded(std::intmax_t result, const char* call, const char* file, int line)
{
    if (result >= 0)
    {
        return true;
    }
    const int error = errno;
    const auto report = IsLackOfMeans(error) ? &zk_error : &zk_failure;
    report("%s: %s (%s:%d)", call, ErrorText(error).c_str(), file, line);
    return false;
}

bool Refused(std::intmax_t result, int expected, const char* expectedName, const char* call, const char* file, int line)
{
    const int error = errno;
    if (result >= 0)
    {
        zk_failure("%s succeeded, but had to be refused with %s (%s:%d)", call, expectedName, file, line);
        return false;
    }
    if (error != expected)
    {
        zk_failure("%s: refused with \"%s\" instead of %s (%s:%d)", call, ErrorText(error).c_str(), expectedName, file,
                   line);
        return false;
    }
    return true;
}

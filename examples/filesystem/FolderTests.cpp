// What a file system promises about folders, permissions and times.

#include "Scratch.h"

#include <algorithm>
#include <cerrno>
#include <memory>

#include <dirent.h>
#include <unistd.h>

namespace
{

struct FolderCloser
{
    void operator()(DIR* folder) const { ::closedir(folder); }
};

// Adds the names that a folder lists from where it stands, in its own order.
bool ReadNames(DIR* listing, std::vector<std::string>& names)
{
    errno = 0;
    while (const dirent* entry = ::readdir(listing))
    {
        const std::string name = entry->d_name;
        if (name != "." && name != "..")
        {
            names.push_back(name);
        }
        errno = 0;
    }
    return Succeeded(errno == 0 ? 0 : -1, "readdir", __FILE__, __LINE__);
}

// Says which names are missing, strange or doubled, rather than that two lists of a thousand differ.
bool SameNames(std::vector<std::string> seen, const std::vector<std::string>& expected)
{
    std::sort(seen.begin(), seen.end());
    if (seen == expected)
    {
        return true;
    }
    const auto [found, wanted] = std::mismatch(seen.begin(), seen.end(), expected.begin(), expected.end());
    zk_failure("The folder lists %zu names instead of %zu; in order, the first difference is %s where %s should be",
               seen.size(), expected.size(), found == seen.end() ? "the end" : found->c_str(),
               wanted == expected.end() ? "the end" : wanted->c_str());
    return false;
}

} // namespace

ZK_TEST(ListFolder, void* scratch, uint16_t entries, uint16_t* seen)
{
    const TestFolder folder(scratch, "listing");
    std::vector<std::string> expected;
    for (unsigned index = 0; folder && index < entries; ++index)
    {
        expected.push_back("entry-" + std::to_string(index));
        if (!folder.Open(expected.back()))
        {
            return false;
        }
    }
    std::sort(expected.begin(), expected.end());
    const std::unique_ptr<DIR, FolderCloser> listing(folder ? ::opendir(folder.Path().c_str()) : nullptr);
    std::vector<std::string> names;
    if (!folder || !Succeeded(listing ? 0 : -1, "opendir", __FILE__, __LINE__) || !ReadNames(listing.get(), names))
    {
        return false;
    }
    *seen = static_cast<uint16_t>(std::min<std::size_t>(names.size(), UINT16_MAX));
    zk_log(3, "Made %u files in one folder, it lists %u", static_cast<unsigned>(entries), static_cast<unsigned>(*seen));
    if (!SameNames(names, expected) || (!expected.empty() && !CALL_SUCCEEDS(::unlinkat(folder.Get(), "entry-0", 0))))
    {
        return false;
    }
    std::erase(expected, "entry-0");
    names.clear();
    ::rewinddir(listing.get());
    return ReadNames(listing.get(), names) && SameNames(names, expected);
}

ZK_TEST(FileIsNoFolder, void* scratch)
{
    const TestFolder folder(scratch, "no-folder");
    if (!folder || !folder.Write("file", "text") || !CALL_SUCCEEDS(::mkdirat(folder.Get(), "folder", 0700)))
    {
        return false;
    }
    zk_log(5, "A file used as a folder, and a folder used as a file");
    return CALL_REFUSED(ENOTDIR, folder.TryOpen("file", O_RDONLY | O_DIRECTORY).Get()) &&
        CALL_REFUSED(ENOTDIR, folder.TryOpen("file/below", O_WRONLY | O_CREAT).Get()) &&
        CALL_REFUSED(ENOTDIR, ::unlinkat(folder.Get(), "file", AT_REMOVEDIR)) &&
        CALL_REFUSED(EISDIR, folder.TryOpen("folder", O_WRONLY).Get()) &&
        CALL_REFUSED(EISDIR, ::renameat(folder.Get(), "file", folder.Get(), "folder")) &&
        CALL_REFUSED(ENOTDIR, ::renameat(folder.Get(), "folder", folder.Get(), "file")) &&
        CALL_REFUSED(EINVAL, ::renameat(folder.Get(), "folder", folder.Get(), "folder/itself"));
}

ZK_TEST(RemoveFullFolder, void* scratch)
{
    const TestFolder folder(scratch, "full-folder");
    if (!folder || !CALL_SUCCEEDS(::mkdirat(folder.Get(), "full", 0700)) ||
        !CALL_SUCCEEDS(::mkdirat(folder.Get(), "empty", 0700)) || !folder.Write("full/file", "text"))
    {
        return false;
    }
    // Two errors are allowed for a folder that is not empty.
    const bool removed = ::unlinkat(folder.Get(), "full", AT_REMOVEDIR) == 0;
    if (!ZK_CHECK(!removed) || !ZK_CHECK(errno == ENOTEMPTY || errno == EEXIST) ||
        !ZK_CHECK(folder.Exists("full/file")))
    {
        return false;
    }
    zk_log(5, "A folder that holds a file was not removed");
    return CALL_SUCCEEDS(::renameat(folder.Get(), "full", folder.Get(), "empty")) &&
        ZK_CHECK(folder.Exists("empty/file")) && CALL_SUCCEEDS(::unlinkat(folder.Get(), "empty/file", 0)) &&
        CALL_SUCCEEDS(::unlinkat(folder.Get(), "empty", AT_REMOVEDIR)) && ZK_CHECK(!folder.Exists("empty"));
}

ZK_TEST(PermissionBits, void* scratch, uint16_t mode)
{
    const TestFolder folder(scratch, "permissions");
    const File file = folder ? folder.Open("file") : File();
    if (!file || !CALL_SUCCEEDS(::fchmod(file.Get(), mode)))
    {
        return false;
    }
    const auto status = StatusOf(file);
    zk_log(5, "Asked for mode 0%o, got 0%o", static_cast<unsigned>(mode), status ? status->st_mode & 07777U : 0U);
    return status && ZK_CHECK_EQ(status->st_mode & 07777U, mode) && ZK_CHECK(S_ISREG(status->st_mode));
}

namespace
{

// The umask belongs to the whole process: put back whatever happens.
class ScopedUmask
{
public:
    explicit ScopedUmask(mode_t mask)
        : m_Old(::umask(mask))
    {
    }
    ScopedUmask(const ScopedUmask&) = delete;
    ScopedUmask& operator=(const ScopedUmask&) = delete;
    ~ScopedUmask() { ::umask(m_Old); }

private:
    mode_t m_Old;
};

} // namespace

ZK_TEST(UmaskApplies, void* scratch, uint16_t mask)
{
    const TestFolder folder(scratch, "umask");
    if (!folder)
    {
        return false;
    }
    const ScopedUmask scope(mask);
    const File file = folder.Open("file", O_RDWR | O_CREAT, 0666);
    const auto status = file ? StatusOf(file) : std::nullopt;
    struct stat made
    {
    };
    if (!status || !CALL_SUCCEEDS(::mkdirat(folder.Get(), "folder", 0777)) ||
        !CALL_SUCCEEDS(::fstatat(folder.Get(), "folder", &made, 0)))
    {
        return false;
    }
    zk_log(5, "Umask 0%o: file 0%o, folder 0%o", static_cast<unsigned>(mask), status->st_mode & 0777U,
           made.st_mode & 0777U);
    return ZK_CHECK_EQ(status->st_mode & 0777U, 0666U & ~mask) && ZK_CHECK_EQ(made.st_mode & 0777U, 0777U & ~mask);
}

ZK_TEST(PermissionsAreEnforced, void* scratch, bool* enforced)
{
    *enforced = false;
    const TestFolder folder(scratch, "enforced");
    if (!folder || !folder.Write("file", "text") || !CALL_SUCCEEDS(::fchmodat(folder.Get(), "file", 0, 0)))
    {
        return false;
    }
    if (::geteuid() == 0)
    {
        *enforced = !folder.TryOpen("file", O_RDONLY);
        zk_log(3, "Running as root, who %s: not checked. Run as another user to check it.",
               *enforced ? "is refused here as well" : "may open every file");
        return true;
    }
    *enforced = CALL_REFUSED(EACCES, folder.TryOpen("file", O_RDONLY).Get()) &&
        CALL_SUCCEEDS(::fchmodat(folder.Get(), "file", 0400, 0)) &&
        ContentIs(folder.Open("file", O_RDONLY), BytesOf("text"), "readable file") &&
        CALL_REFUSED(EACCES, folder.TryOpen("file", O_WRONLY).Get());
    zk_log(5, "Files without permission %s", *enforced ? "stay closed" : "can be opened");
    return *enforced;
}

namespace
{

// A time may be stored rounded down, never up. Times after January 2038 need more than the 32 bits that some file
// systems give them; those may be cut, with a warning.
bool TimeIsKept(const char* which, const timespec& stored, const timespec& asked, uint32_t& lostNanoseconds)
{
    constexpr std::int64_t coarsest = 2'000'000'000;
    const std::int64_t lost = (asked.tv_sec - stored.tv_sec) * 1'000'000'000 + (asked.tv_nsec - stored.tv_nsec);
    zk_log(5, "%s: asked for %lld.%09ld, stored %lld.%09ld", which, static_cast<long long>(asked.tv_sec), asked.tv_nsec,
           static_cast<long long>(stored.tv_sec), stored.tv_nsec);
    if (lost >= coarsest && asked.tv_sec > INT32_MAX)
    {
        zk_warning("%s: this file system cannot store times as late as %lld seconds after 1970", which,
                   static_cast<long long>(asked.tv_sec));
        return true;
    }
    if (lost < 0 || lost >= coarsest)
    {
        zk_failure("%s: off by %lld ns from what was asked for", which, static_cast<long long>(-lost));
        return false;
    }
    lostNanoseconds = std::max(lostNanoseconds, static_cast<uint32_t>(lost));
    return true;
}

} // namespace

ZK_TEST(Timestamps, void* scratch, uint64_t seconds, uint32_t* lostNanoseconds)
{
    *lostNanoseconds = 0;
    const TestFolder folder(scratch, "timestamps");
    const File file = folder ? folder.Open("file") : File();
    const auto start = static_cast<time_t>(seconds);
    const timespec asked[2] = {{start, 123456789}, {start + 5, 987654321}};
    if (!file || !CALL_SUCCEEDS(::utimensat(folder.Get(), "file", asked, 0)))
    {
        return false;
    }
    const auto set = StatusOf(file);
    if (!set || !TimeIsKept("access time", set->st_atim, asked[0], *lostNanoseconds) ||
        !TimeIsKept("modification time", set->st_mtim, asked[1], *lostNanoseconds))
    {
        return false;
    }
    const timespec omitted[2] = {{0, UTIME_OMIT}, {start + 60, 0}};
    if (!CALL_SUCCEEDS(::futimens(file.Get(), omitted)))
    {
        return false;
    }
    const auto half = StatusOf(file);
    if (!half || !ZK_CHECK_EQ(half->st_atim.tv_sec, set->st_atim.tv_sec) ||
        !TimeIsKept("modification time, set alone", half->st_mtim, omitted[1], *lostNanoseconds) ||
        !WriteNext(file, BytesOf("x")))
    {
        return false;
    }
    const auto written = StatusOf(file);
    return written && ZK_CHECK(written->st_mtim.tv_sec != half->st_mtim.tv_sec);
}

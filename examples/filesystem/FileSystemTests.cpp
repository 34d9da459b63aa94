// Set-up, and what a file system promises about names: creating, replacing, linking and removing files.

#include "Scratch.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <stop_token>
#include <thread>

#include <sys/statvfs.h>
#include <unistd.h>

ZK_TEST(CreateScratchFolder, void** scratch)
{
    Scratch* made = Scratch::Create();
    *scratch = made;
    if (made == nullptr)
    {
        return false;
    }
    zk_log(3, "Testing the file system under %s", made->Path().c_str());
    return true;
}

ZK_TEST(RemoveScratchFolder, void** scratch, uint32_t* removedEntries)
{
    const Scratch* folder = Scratch::Find(*scratch);
    *scratch = nullptr;
    if (folder == nullptr)
    {
        return false;
    }
    const std::string path = folder->Path();
    if (!Scratch::Remove(folder, *removedEntries))
    {
        return false;
    }
    zk_log(5, "Removed %s with %u entries", path.c_str(), *removedEntries);
    return CALL_REFUSED(ENOENT, ::access(path.c_str(), F_OK));
}

ZK_TEST(DescribeFileSystem, void* scratch, uint32_t* blockSize, uint64_t* freeBytes, uint16_t* nameMax)
{
    const Scratch* folder = Scratch::Find(scratch);
    struct statvfs status
    {
    };
    if (folder == nullptr || !CALL_SUCCEEDS(::statvfs(folder->Path().c_str(), &status)))
    {
        return false;
    }
    *blockSize = static_cast<uint32_t>(status.f_frsize);
    *freeBytes = static_cast<uint64_t>(status.f_bavail) * status.f_frsize;
    *nameMax = static_cast<uint16_t>(std::min<unsigned long>(status.f_namemax, UINT16_MAX));
    zk_log(3, "Block size %u, %llu MiB free, names of up to %u bytes", *blockSize,
           static_cast<unsigned long long>(*freeBytes >> 20), static_cast<unsigned>(*nameMax));
    if ((status.f_flag & ST_RDONLY) != 0)
    {
        zk_error("%s is mounted read-only", folder->Path().c_str());
        return false;
    }
    return ZK_CHECK(status.f_frsize > 0) && ZK_CHECK(status.f_namemax > 0);
}

namespace
{

// Interprets the outcome of making a link: a file system may have no such links, which is worth a warning only.
bool Probe(int result, const char* feature, bool* supported)
{
    *supported = result == 0;
    if (result != 0 && IsMissingFeature(errno))
    {
        zk_warning("This file system has no %s; what concerns them is left out.", feature);
        return true;
    }
    return Succeeded(result, feature, __FILE__, __LINE__);
}

} // namespace

ZK_TEST(ProbeLinks, void* scratch, bool* hardLinks, bool* symbolicLinks)
{
    *hardLinks = false;
    *symbolicLinks = false;
    const TestFolder folder(scratch, "probe-links");
    if (!folder || !folder.Write("file", "text"))
    {
        return false;
    }
    const bool hardProbed = Probe(::linkat(folder.Get(), "file", folder.Get(), "hard", 0), "hard links", hardLinks);
    const bool symbolicProbed = Probe(::symlinkat("file", folder.Get(), "symbolic"), "symbolic links", symbolicLinks);
    zk_log(5, "Hard links: %s, symbolic links: %s", *hardLinks ? "yes" : "no", *symbolicLinks ? "yes" : "no");
    return hardProbed && symbolicProbed;
}

ZK_TEST(CreateNewFile, void* scratch)
{
    const TestFolder folder(scratch, "create");
    if (!folder || !ZK_CHECK(!folder.Exists("new")) || !CALL_REFUSED(ENOENT, folder.TryOpen("new", O_RDWR).Get()))
    {
        return false;
    }
    const File file = folder.Open("new", O_RDWR | O_CREAT);
    const auto status = file ? StatusOf(file) : std::nullopt;
    if (!status)
    {
        return false;
    }
    zk_log(5, "New file: inode %llu, %lld bytes", static_cast<unsigned long long>(status->st_ino),
           static_cast<long long>(status->st_size));
    return ZK_CHECK(S_ISREG(status->st_mode)) && ZK_CHECK_EQ(status->st_size, 0) && ZK_CHECK_EQ(status->st_nlink, 1) &&
        ZK_CHECK_EQ(status->st_uid, ::geteuid()) && ZK_CHECK(folder.Exists("new"));
}

ZK_TEST(ExclusiveCreate, void* scratch)
{
    const TestFolder folder(scratch, "exclusive");
    if (!folder || !ZK_CHECK(folder.Open("lock", O_WRONLY | O_CREAT | O_EXCL)) || !folder.Write("lock", "mine"))
    {
        return false;
    }
    // O_TRUNC as well: a refused open must not have emptied the file first.
    if (!CALL_REFUSED(EEXIST, folder.TryOpen("lock", O_WRONLY | O_CREAT | O_EXCL | O_TRUNC).Get()) ||
        !CALL_REFUSED(EEXIST, ::mkdirat(folder.Get(), "lock", 0700)))
    {
        return false;
    }
    zk_log(5, "The second exclusive create was refused");
    return ContentIs(folder.Open("lock", O_RDONLY), BytesOf("mine"), "lock");
}

ZK_TEST(RenameReplacesFile, void* scratch)
{
    const TestFolder folder(scratch, "rename");
    if (!folder || !folder.Write("target", "old") || !folder.Write("source", "new text"))
    {
        return false;
    }
    const File old = folder.Open("target", O_RDONLY);
    if (!old || !CALL_SUCCEEDS(::renameat(folder.Get(), "source", folder.Get(), "target")))
    {
        return false;
    }
    const auto status = StatusOf(old);
    if (!status || !ZK_CHECK(!folder.Exists("source")) ||
        !ContentIs(folder.Open("target", O_RDONLY), BytesOf("new text"), "target after the rename"))
    {
        return false;
    }
    zk_log(5, "The replaced file has %llu names left", static_cast<unsigned long long>(status->st_nlink));
    return ContentIs(old, BytesOf("old"), "replaced file, still open") && ZK_CHECK_EQ(status->st_nlink, 0) &&
        CALL_REFUSED(ENOENT, ::renameat(folder.Get(), "source", folder.Get(), "target"));
}

namespace
{

constexpr std::size_t RecordSize = 4096;

// Looks at the file "target" from another thread while it is being replaced. Logs nothing: that is for the test's own
// thread.
struct Observer
{
    const TestFolder& folder;
    std::atomic<uint32_t> looks = 0;
    std::atomic<uint32_t> missing = 0;
    std::atomic<uint32_t> torn = 0;

    void Look()
    {
        std::array<uint8_t, RecordSize + 1> record{};
        const File file = folder.TryOpen("target", O_RDONLY);
        if (!file)
        {
            ++missing;
        }
        else
        {
            // Every version is one value repeated, so any mixture of two shows.
            const ssize_t size = ::pread(file.Get(), record.data(), record.size(), 0);
            const auto differs = [&](uint8_t byte) { return byte != record[0]; };
            if (size != static_cast<ssize_t>(RecordSize) ||
                std::any_of(record.begin(), record.begin() + RecordSize, differs))
            {
                ++torn;
            }
        }
        ++looks;
        looks.notify_one();
    }
};

bool ReplaceTarget(const TestFolder& folder, unsigned version)
{
    const File next = folder.Open("next", O_WRONLY | O_CREAT | O_TRUNC);
    return next && WriteNext(next, Bytes(RecordSize, static_cast<uint8_t>(version))) &&
        CALL_SUCCEEDS(::renameat(folder.Get(), "next", folder.Get(), "target"));
}

} // namespace

ZK_TEST(AtomicReplace, void* scratch, uint16_t rounds, uint32_t* observations)
{
    const TestFolder folder(scratch, "atomic");
    if (!folder || !ReplaceTarget(folder, 0))
    {
        return false;
    }
    Observer observer{folder};
    bool replaced = true;
    {
        const std::jthread thread(
            [&](const std::stop_token& stop)
            {
                do
                {
                    observer.Look();
                } while (!stop.stop_requested());
            });
        // Without this the replacing might be over before the thread looks for the first time.
        observer.looks.wait(0);
        for (unsigned round = 1; round <= rounds && replaced; ++round)
        {
            replaced = ReplaceTarget(folder, round);
        }
    }
    *observations = observer.looks;
    zk_log(3, "Replaced a file %u times, looked at it %u times meanwhile", static_cast<unsigned>(rounds),
           *observations);
    return replaced && ZK_CHECK_EQ(observer.missing.load(), 0) && ZK_CHECK_EQ(observer.torn.load(), 0);
}

ZK_TEST(UnlinkWhileOpen, void* scratch)
{
    const TestFolder folder(scratch, "unlink");
    if (!folder || !folder.Write("file", "kept"))
    {
        return false;
    }
    const File open = folder.Open("file", O_RDWR);
    if (!open || !CALL_SUCCEEDS(::unlinkat(folder.Get(), "file", 0)) || !ZK_CHECK(!folder.Exists("file")) ||
        !folder.Write("file", "another"))
    {
        return false;
    }
    const auto status = StatusOf(open);
    if (!status || !ZK_CHECK_EQ(status->st_nlink, 0) || !ContentIs(open, BytesOf("kept"), "unlinked file"))
    {
        return false;
    }
    zk_log(5, "The unlinked file still reads, and a new one took its name");
    return WriteAt(open, BytesOf("+more"), 4) && ContentIs(open, BytesOf("kept+more"), "unlinked file, written to") &&
        ContentIs(folder.Open("file", O_RDONLY), BytesOf("another"), "new file of the same name");
}

ZK_TEST(HardLinks, void* scratch, uint8_t count)
{
    const TestFolder folder(scratch, "hard-links");
    if (!folder || !folder.Write("original", "shared"))
    {
        return false;
    }
    const auto before = StatusOf(folder.Open("original", O_RDONLY));
    for (unsigned index = 0; index < count; ++index)
    {
        const std::string name = "link-" + std::to_string(index);
        if (!CALL_SUCCEEDS(::linkat(folder.Get(), "original", folder.Get(), name.c_str(), 0)))
        {
            return false;
        }
        const auto status = StatusOf(folder.Open(name, O_RDONLY));
        if (!before || !status || !ZK_CHECK_EQ(status->st_ino, before->st_ino) ||
            !ZK_CHECK_EQ(status->st_nlink, index + 2))
        {
            return false;
        }
    }
    zk_log(5, "%u links share inode %llu", static_cast<unsigned>(count),
           static_cast<unsigned long long>(before ? before->st_ino : 0));
    if (count == 0)
    {
        return true;
    }
    return CALL_REFUSED(EEXIST, ::linkat(folder.Get(), "original", folder.Get(), "link-0", 0)) &&
        WriteAt(folder.Open("link-0", O_WRONLY), BytesOf("SH"), 0) &&
        CALL_SUCCEEDS(::unlinkat(folder.Get(), "original", 0)) &&
        ContentIs(folder.Open("link-0", O_RDONLY), BytesOf("SHared"), "link without its original");
}

ZK_TEST(SymbolicLinks, void* scratch)
{
    const TestFolder folder(scratch, "symbolic-links");
    if (!folder || !folder.Write("file", "behind the link") ||
        !CALL_SUCCEEDS(::symlinkat("file", folder.Get(), "link")) ||
        !CALL_SUCCEEDS(::symlinkat("nowhere", folder.Get(), "dangling")) ||
        !CALL_SUCCEEDS(::symlinkat("pong", folder.Get(), "ping")) ||
        !CALL_SUCCEEDS(::symlinkat("ping", folder.Get(), "pong")))
    {
        return false;
    }
    std::array<char, 64> target{};
    const ssize_t size = ::readlinkat(folder.Get(), "link", target.data(), target.size());
    if (!Succeeded(size, "readlink", __FILE__, __LINE__) ||
        !ZK_CHECK_EQ(std::string_view(target.data(), static_cast<std::size_t>(size)), "file") ||
        !ContentIs(folder.Open("link", O_RDONLY), BytesOf("behind the link"), "file behind the link"))
    {
        return false;
    }
    zk_log(5, "The link reads as \"%.*s\" and opens its file", static_cast<int>(size), target.data());
    // An exclusive create must not follow a dangling link either: that is how files in shared folders are hijacked.
    return CALL_REFUSED(ENOENT, folder.TryOpen("dangling", O_RDONLY).Get()) &&
        CALL_REFUSED(EEXIST, folder.TryOpen("dangling", O_WRONLY | O_CREAT | O_EXCL).Get()) &&
        ZK_CHECK(!folder.Exists("nowhere")) && CALL_REFUSED(ELOOP, folder.TryOpen("ping", O_RDONLY).Get()) &&
        CALL_REFUSED(ELOOP, folder.TryOpen("link", O_RDONLY | O_NOFOLLOW).Get()) &&
        CALL_REFUSED(EINVAL, ::readlinkat(folder.Get(), "file", target.data(), target.size()));
}

ZK_TEST(HardLinkToSymbolicLink, void* scratch)
{
    const TestFolder folder(scratch, "both-links");
    if (!folder || !folder.Write("file", "text") || !CALL_SUCCEEDS(::symlinkat("file", folder.Get(), "symbolic")) ||
        !CALL_SUCCEEDS(::linkat(folder.Get(), "symbolic", folder.Get(), "second", 0)) ||
        !CALL_SUCCEEDS(::linkat(folder.Get(), "symbolic", folder.Get(), "followed", AT_SYMLINK_FOLLOW)))
    {
        return false;
    }
    struct stat second
    {
    };
    const auto followed = StatusOf(folder.Open("followed", O_RDONLY | O_NOFOLLOW));
    if (!followed || !CALL_SUCCEEDS(::fstatat(folder.Get(), "second", &second, AT_SYMLINK_NOFOLLOW)))
    {
        return false;
    }
    zk_log(5, "The symbolic link has %llu names, the file behind it %llu",
           static_cast<unsigned long long>(second.st_nlink), static_cast<unsigned long long>(followed->st_nlink));
    return ZK_CHECK(S_ISLNK(second.st_mode)) && ZK_CHECK_EQ(second.st_nlink, 2) && ZK_CHECK_EQ(followed->st_nlink, 2) &&
        CALL_SUCCEEDS(::unlinkat(folder.Get(), "symbolic", 0)) &&
        ContentIs(folder.Open("second", O_RDONLY), BytesOf("text"), "file behind the link's second name");
}

ZK_TEST(NameLimits, void* scratch, uint16_t nameMax)
{
    const TestFolder folder(scratch, "names");
    const std::string longest(nameMax, 'n');
    if (!folder || !folder.Write(longest, "longest name"))
    {
        return false;
    }
    zk_log(5, "A name of %u bytes was accepted", static_cast<unsigned>(nameMax));
    // One byte short of the limit is another name, unless names are cut without a word.
    return ZK_CHECK(folder.Exists(longest)) && ZK_CHECK(!folder.Exists(longest.substr(1))) &&
        CALL_REFUSED(ENAMETOOLONG, folder.TryOpen(longest + 'n', O_WRONLY | O_CREAT).Get()) &&
        CALL_REFUSED(ENAMETOOLONG, ::mkdirat(folder.Get(), (longest + 'n').c_str(), 0700)) &&
        CALL_REFUSED(ENOENT, folder.TryOpen("", O_WRONLY | O_CREAT).Get());
}

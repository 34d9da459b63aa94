// What a file system promises about the bytes in a file.

#include "Scratch.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>

#include <sys/mman.h>
#include <unistd.h>

using namespace std::string_view_literals;

ZK_TEST(ReadBack, void* scratch, uint32_t blockSize, uint8_t blocks, uint64_t* bytesVerified)
{
    const TestFolder folder(scratch, "read-back");
    const File file = folder ? folder.Open("data") : File();
    if (!file)
    {
        return false;
    }
    Bytes written;
    for (unsigned block = 0; block < blocks; ++block)
    {
        const Bytes bytes = Pattern(blockSize, block);
        if (!WriteNext(file, bytes))
        {
            return false;
        }
        written.insert(written.end(), bytes.begin(), bytes.end());
    }
    // Through a second descriptor, as another program would see it.
    if (!ContentIs(folder.Open("data", O_RDONLY), written, "data"))
    {
        return false;
    }
    *bytesVerified += written.size();
    zk_log(5, "Blocks of %u bytes: %zu bytes read back, %llu so far", blockSize, written.size(),
           static_cast<unsigned long long>(*bytesVerified));
    return true;
}

ZK_TEST(WriteManyFiles, void* scratch, uint16_t blockSize, uint8_t fileCount, uint64_t* bytesVerified)
{
    const TestFolder folder(scratch, "many-files");
    if (!folder)
    {
        return false;
    }
    // All are written before the first is read: files that share a block would show.
    for (unsigned index = 0; index < fileCount; ++index)
    {
        const File file = folder.Open("file-" + std::to_string(index));
        if (!file || !WriteNext(file, Pattern(blockSize, index)))
        {
            return false;
        }
    }
    for (unsigned index = 0; index < fileCount; ++index)
    {
        const std::string name = "file-" + std::to_string(index);
        const File file = folder.Open(name, O_RDONLY);
        if (!file || !ContentIs(file, Pattern(blockSize, index), name.c_str()))
        {
            return false;
        }
        *bytesVerified += blockSize;
    }
    zk_log(5, "%u files of %u bytes read back", static_cast<unsigned>(fileCount), static_cast<unsigned>(blockSize));
    return true;
}

ZK_TEST(AppendThroughTwoDescriptors, void* scratch, uint16_t rounds)
{
    const TestFolder folder(scratch, "append");
    const File first = folder ? folder.Open("log", O_RDWR | O_CREAT | O_APPEND) : File();
    const File second = folder ? folder.Open("log", O_WRONLY | O_APPEND) : File();
    if (!first || !second)
    {
        return false;
    }
    Bytes expected;
    for (unsigned round = 0; round < rounds; ++round)
    {
        const Bytes record = BytesOf("record " + std::to_string(round) + '\n');
        const File& file = round % 2 == 0 ? first : second;
        // Appending must not care where the descriptor stands.
        if (!CALL_SUCCEEDS(::lseek(file.Get(), 0, SEEK_SET)) || !WriteNext(file, record))
        {
            return false;
        }
        expected.insert(expected.end(), record.begin(), record.end());
    }
    zk_log(5, "%u records appended in turn through two descriptors", static_cast<unsigned>(rounds));
    return ContentIs(first, expected, "log");
}

ZK_TEST(TruncateAndExtend, void* scratch, uint32_t size)
{
    const TestFolder folder(scratch, "truncate");
    const File file = folder ? folder.Open("data") : File();
    Bytes expected = Pattern(size, 1);
    if (!file || !WriteNext(file, expected) || !CALL_SUCCEEDS(::ftruncate(file.Get(), size / 2)))
    {
        return false;
    }
    expected.resize(size / 2);
    if (!ContentIs(file, expected, "shortened file") ||
        !CALL_SUCCEEDS(::ftruncate(file.Get(), static_cast<off_t>(size) * 2)))
    {
        return false;
    }
    // Were the cut-off bytes to come back, a file could show what its owner had removed from it.
    expected.resize(std::size_t{size} * 2, 0);
    const auto status = StatusOf(file);
    zk_log(5, "Shortened from %u to %u bytes, extended to %llu", size, size / 2, 2ULL * size);
    return status && ZK_CHECK_EQ(status->st_size, expected.size()) && ContentIs(file, expected, "extended file") &&
        CALL_REFUSED(EINVAL, ::ftruncate(file.Get(), -1));
}

ZK_TEST(SparseFile, void* scratch, uint32_t holeSize, bool* sparse, uint64_t* allocatedBytes)
{
    const TestFolder folder(scratch, "sparse");
    const File file = folder ? folder.Open("data") : File();
    if (!file || !CALL_SUCCEEDS(::lseek(file.Get(), holeSize, SEEK_SET)) || !WriteNext(file, BytesOf("end")))
    {
        return false;
    }
    Bytes expected(holeSize, 0);
    for (const char character : {'e', 'n', 'd'})
    {
        expected.push_back(static_cast<uint8_t>(character));
    }
    // Some file systems allocate only when they flush, and some cannot flush: then the count is what it is.
    static_cast<void>(::fsync(file.Get()));
    const auto status = StatusOf(file);
    if (!status || !ContentIs(file, expected, "file with a hole"))
    {
        return false;
    }
    // st_blocks counts in units of 512 bytes whatever the block size.
    *allocatedBytes = static_cast<uint64_t>(status->st_blocks) * 512;
    *sparse = *allocatedBytes < expected.size();
    zk_log(3, "A file of %zu bytes with a hole occupies %llu bytes", expected.size(),
           static_cast<unsigned long long>(*allocatedBytes));
    if (!*sparse)
    {
        zk_warning("This file system stores holes: sparse files take their full size.");
    }
    return true;
}

ZK_TEST(FarOffset, void* scratch, uint32_t offset)
{
    constexpr std::size_t size = 0x1000;
    const TestFolder folder(scratch, "far-offset");
    const File file = folder ? folder.Open("data") : File();
    const Bytes bytes = Pattern(size, offset);
    if (!file || !WriteAt(file, bytes, offset))
    {
        return false;
    }
    const auto status = StatusOf(file);
    const auto start = ReadAt(file, size, 0);
    const auto before = ReadAt(file, size, static_cast<off_t>(offset) - static_cast<off_t>(size));
    const auto there = ReadAt(file, 2 * size, offset);
    zk_log(5, "Wrote %zu bytes at offset %u", size, offset);
    return status && start && before && there && ZK_CHECK_EQ(status->st_size, std::uint64_t{offset} + size) &&
        ZK_CHECK(*start == Bytes(size, 0)) && ZK_CHECK(*before == Bytes(size, 0)) && ZK_CHECK(*there == bytes);
}

ZK_TEST(PositionedReadAndWrite, void* scratch)
{
    const TestFolder folder(scratch, "positioned");
    const File file = folder ? folder.Open("data") : File();
    if (!file || !WriteNext(file, BytesOf("0123456789")) || !CALL_SUCCEEDS(::lseek(file.Get(), 3, SEEK_SET)) ||
        !WriteAt(file, BytesOf("AB"), 8) || !WriteAt(file, BytesOf("CD"), 12))
    {
        return false;
    }
    const auto middle = ReadAt(file, 4, 7);
    const auto beyond = ReadAt(file, 4, 100);
    if (!middle || !beyond)
    {
        return false;
    }
    zk_log(5, "pread and pwrite left the descriptor at offset %lld",
           static_cast<long long>(::lseek(file.Get(), 0, SEEK_CUR)));
    return ZK_CHECK(*middle == BytesOf("7AB\0"sv)) && ZK_CHECK(beyond->empty()) &&
        ZK_CHECK_EQ(::lseek(file.Get(), 0, SEEK_CUR), 3) && WriteNext(file, BytesOf("x")) &&
        ContentIs(file, BytesOf("012x4567AB\0\0CD"sv), "data");
}

namespace
{

// A shared view of the first bytes of a file.
class Mapping
{
public:
    Mapping(const File& file, std::size_t size)
        : m_Size(size)
        , m_Address(::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file.Get(), 0))
    {
    }
    Mapping(const Mapping&) = delete;
    Mapping& operator=(const Mapping&) = delete;
    ~Mapping()
    {
        if (*this)
        {
            ::munmap(m_Address, m_Size);
        }
    }

    explicit operator bool() const { return m_Address != MAP_FAILED; }
    uint8_t* begin() const { return static_cast<uint8_t*>(m_Address); }
    uint8_t* end() const { return begin() + m_Size; }
    bool Synchronise() const { return CALL_SUCCEEDS(::msync(m_Address, m_Size, MS_SYNC | MS_INVALIDATE)); }

private:
    std::size_t m_Size;
    void* m_Address;
};

} // namespace

ZK_TEST(SharedMapping, void* scratch, uint32_t size, bool* supported)
{
    *supported = false;
    const TestFolder folder(scratch, "mapping");
    const File file = folder ? folder.Open("data") : File();
    const File other = folder ? folder.Open("data") : File();
    if (!file || !other || !WriteNext(file, Pattern(size, 1)))
    {
        return false;
    }
    const Mapping writer(file, size);
    if (!writer && IsMissingFeature(errno))
    {
        zk_warning("Not checked: this file system has no shared mappings.");
        return true;
    }
    const Mapping reader(other, size);
    if (!Succeeded(writer && reader ? 0 : -1, "mmap", __FILE__, __LINE__))
    {
        return false;
    }
    *supported = true;
    Bytes expected = Pattern(size, 1);
    if (!ZK_CHECK(std::equal(reader.begin(), reader.end(), expected.begin())))
    {
        return false;
    }
    expected = Pattern(size, 2);
    std::copy(expected.begin(), expected.end(), writer.begin());
    zk_log(5, "Wrote %u bytes through one mapping, looked through another and with pread", size);
    if (!ZK_CHECK(std::equal(reader.begin(), reader.end(), expected.begin())) || !writer.Synchronise() ||
        !ContentIs(other, expected, "file written through a mapping"))
    {
        return false;
    }
    expected = Pattern(size, 3);
    return WriteAt(file, expected, 0) && reader.Synchronise() &&
        ZK_CHECK(std::equal(reader.begin(), reader.end(), expected.begin()));
}

// Grows one file over many calls: all it needs to know is in the file itself. Says that the limit is reached as soon as
// the next step would pass it; from then on a call leaves the file alone. A step that fails, perhaps on a full disk,
// says so as well: there is no use in another.
ZK_TEST(GrowFile, void* scratch, uint32_t step, uint64_t limit, uint64_t* size, bool* limitReached)
{
    *limitReached = true;
    const Scratch* folder = Scratch::Find(scratch);
    if (folder == nullptr)
    {
        return false;
    }
    const std::string path = folder->Path() + "/growing";
    const File file(::open(path.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
    const auto before = Succeeded(file.Get(), "open of growing", __FILE__, __LINE__) ? StatusOf(file) : std::nullopt;
    if (!before)
    {
        return false;
    }
    const auto oldSize = static_cast<uint64_t>(before->st_size);
    const auto fits = [&](uint64_t current) { return current <= limit && limit - current >= step; };
    if (fits(oldSize))
    {
        const Bytes bytes = Pattern(step, oldSize);
        if (!WriteNext(file, bytes) || !ZK_CHECK(ReadAt(file, step, before->st_size) == bytes))
        {
            return false;
        }
    }
    const auto after = StatusOf(file);
    if (!after)
    {
        return false;
    }
    *size = static_cast<uint64_t>(after->st_size);
    *limitReached = !fits(*size);
    zk_log(5, "Grew from %llu to %llu bytes%s", static_cast<unsigned long long>(oldSize),
           static_cast<unsigned long long>(*size), *limitReached ? ", the limit is reached" : "");
    return ZK_CHECK_EQ(*size, fits(oldSize) ? oldSize + step : oldSize);
}

namespace
{

bool Flushed(int result, const char* call)
{
    if (result != 0 && IsMissingFeature(errno))
    {
        zk_warning("This file system does not offer %s.", call);
        return true;
    }
    return Succeeded(result, call, __FILE__, __LINE__);
}

} // namespace

// How long a flush may take is for the suite to say: a memory file system and a network mount differ.
ZK_TEST(FlushToDisk, void* scratch, uint32_t longestMs)
{
    const TestFolder folder(scratch, "flush");
    const File file = folder ? folder.Open("data") : File();
    if (!file)
    {
        return false;
    }
    const Bytes bytes = Pattern(10000, 7);
    const auto begin = std::chrono::steady_clock::now();
    const bool flushed = WriteNext(file, bytes) && Flushed(::fdatasync(file.Get()), "fdatasync of a file") &&
        Flushed(::fsync(file.Get()), "fsync of a file") && Flushed(::fsync(folder.Get()), "fsync of a folder");
    const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - begin;
    zk_log(5, "Flushed a file and its folder");
    return flushed && zk_measure("time to flush", time.count(), "ms", NAN, longestMs) &&
        ContentIs(folder.Open("data", O_RDONLY), bytes, "flushed file") && CALL_REFUSED(EBADF, ::fsync(-1));
}

#pragma once

#include <zk/test.hpp>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>

/// An open file descriptor, closed with the object. -1 when the file could not be opened.
class File
{
public:
    File() = default;
    explicit File(int descriptor);
    File(File&& other) noexcept;
    File& operator=(File&& other) noexcept;
    ~File();

    int Get() const { return m_Descriptor; }
    explicit operator bool() const { return m_Descriptor >= 0; }

private:
    int m_Descriptor = -1;
};

/// The folder under which everything of a run lives. The library owns the one there is; suites hold a view of it in a
/// PVOID variable. Destroying it removes the folder with all that is left in it, also when the exit group never ran.
class Scratch
{
public:
    explicit Scratch(std::string path);
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
    ~Scratch();

    /// Makes the folder under $ORVANTA_SCRATCH, $TMPDIR or /tmp. Null after it has logged why it could not.
    static Scratch* Create();
    /// The folder behind a suite's variable. Null after it has logged that there is none.
    static Scratch* Find(const void* handle);
    /// Destroys the folder behind the handle, which must be one that `Find` knows. False when something stayed behind,
    /// and logs what.
    static bool Remove(const Scratch* scratch, std::uint32_t& removedEntries);

    const std::string& Path() const { return m_Path; }

private:
    std::string m_Path;
};

/// A folder of one test's own inside the scratch folder, so that no test sees what another left. Removed with the
/// object. Converts to false, and has logged why, when it could not be made.
class TestFolder
{
public:
    TestFolder(const void* scratch, std::string_view name);
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;
    ~TestFolder();

    explicit operator bool() const { return static_cast<bool>(m_Folder); }
    int Get() const { return m_Folder.Get(); }
    const std::string& Path() const { return m_Path; }

    /// Opens a file in the folder; logs the failure.
    File Open(const std::string& name, int flags = O_RDWR | O_CREAT, mode_t mode = 0600) const;
    /// The same without a word, for opens that should be refused.
    File TryOpen(const std::string& name, int flags, mode_t mode = 0600) const;
    /// Makes a file with this text; logs the failure.
    bool Write(const std::string& name, std::string_view text) const;
    bool Exists(const std::string& name) const;

private:
    std::string m_Path;
    File m_Folder;
};

using Bytes = std::vector<std::uint8_t>;

/// Bytes that differ from offset to offset and from seed to seed, so that a block at the wrong place is noticed.
Bytes Pattern(std::size_t size, std::uint64_t seed);
Bytes BytesOf(std::string_view text);

/// These log what went wrong. `what` names the file in that line.
bool WriteNext(const File& file, const Bytes& bytes);
bool WriteAt(const File& file, const Bytes& bytes, off_t offset);
std::optional<Bytes> ReadAt(const File& file, std::size_t size, off_t offset);
bool ContentIs(const File& file, const Bytes& expected, const char* what);
std::optional<struct stat> StatusOf(const File& file);

/// Whether the error means that the file system has no such feature, rather than that the call failed.
bool IsMissingFeature(int error);

bool Succeeded(std::intmax_t result, const char* call, const char* file, int line);
bool Refused(std::intmax_t result, int expected, const char* expectedName, const char* call, const char* file,
             int line);

/// True when a system call succeeded; otherwise logs the call, its error and the line. The arguments of both macros are
/// evaluated once.
#define CALL_SUCCEEDS(...) (Succeeded((__VA_ARGS__), #__VA_ARGS__, __FILE__, __LINE__))
/// True when a system call failed with exactly this error.
#define CALL_REFUSED(error, ...) (Refused((__VA_ARGS__), (error), #error, #__VA_ARGS__, __FILE__, __LINE__))

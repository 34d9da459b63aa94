#include <Reports/RecordReader.h>

#include <CoreKit/Exceptions.h>
#include <Events/EventJson.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <string_view>
#include <variant>

#include <fcntl.h>
#include <unistd.h>

namespace
{
/// A text file, line by line.
class CLineReader
{
public:
    explicit CLineReader(const std::string& path)
        : m_Path(path)
        , m_File(open(path.c_str(), O_RDONLY | O_CLOEXEC))
    {
        if (m_File < 0)
        {
            ThrowUnreadable();
        }
    }
    ~CLineReader() { close(m_File); }
    CLineReader(const CLineReader&) = delete;
    CLineReader& operator=(const CLineReader&) = delete;

    /// With its line feed, which the last line may lack; empty at the end. Good until the next call.
    std::string_view Next();
    /// The number of the line that `Next` gave, or failed to give.
    std::uint64_t Number() const { return m_Number; }

private:
    std::string_view PassOn(std::size_t length);
    /// False at the end of the file.
    bool ReadOn();
    [[noreturn]] void ThrowUnreadable() const;

    std::string m_Path;
    int m_File;
    std::string m_Text;
    std::size_t m_Begin = 0; ///< what stands before was passed on
    std::uint64_t m_Number = 0;
};

std::string_view CLineReader::Next()
{
    constexpr std::size_t LONGEST = std::size_t{256} * 1024 * 1024;
    ++m_Number;
    std::size_t searched = m_Begin;
    for (;;)
    {
        if (const std::size_t end = m_Text.find('\n', searched); end != std::string::npos)
        {
            return PassOn(end + 1 - m_Begin);
        }
        m_Text.erase(0, m_Begin);
        m_Begin = 0;
        searched = m_Text.size();
        if (searched > LONGEST)
        {
            ThrowFormatted<ZKRunTimeException>(
                "%s:%llu: cannot be read as the record of a run: the line is longer than 256 MiB", m_Path.c_str(),
                static_cast<unsigned long long>(m_Number));
        }
        if (!ReadOn())
        {
            return PassOn(m_Text.size());
        }
    }
}

std::string_view CLineReader::PassOn(std::size_t length)
{
    const std::string_view line = std::string_view(m_Text).substr(m_Begin, length);
    m_Begin += length;
    return line;
}

bool CLineReader::ReadOn()
{
    constexpr std::size_t CHUNK = std::size_t{64} * 1024;
    const std::size_t size = m_Text.size();
    m_Text.resize(size + CHUNK);
    ssize_t count = 0;
    do
    {
        count = read(m_File, m_Text.data() + size, CHUNK);
    } while (count < 0 && errno == EINTR);
    if (count < 0)
    {
        ThrowUnreadable();
    }
    m_Text.resize(size + static_cast<std::size_t>(count));
    return count > 0;
}

void CLineReader::ThrowUnreadable() const
{
    ThrowFormatted<ZKRunTimeException>("cannot read %s: %s", m_Path.c_str(), std::strerror(errno));
}

/// Why a line is none of a record; empty when it is one.
std::string ErrorOf(const SEventLine& line, bool isFirst)
{
    const bool isRecord = line.event && std::holds_alternative<SRecordEvent>(line.event->what);
    return isFirst && !isRecord && line.error.empty() ? "it does not begin with a \"record\" event" : line.error;
}
} // namespace

SRecordEnd ReadRecord(const std::string& path, const std::function<void(const SEvent& event)>& take)
{
    CLineReader lines(path);
    std::string_view line = lines.Next();
    do
    {
        const SEventLine read = FromJson(line);
        const std::string error = ErrorOf(read, lines.Number() == 1);
        if (!error.empty())
        {
            if (lines.Number() > 1 && !line.ends_with('\n'))
            {
                return {lines.Number() - 1, true};
            }
            ThrowFormatted<ZKRunTimeException>("%s:%llu: cannot be read as the record of a run: %s", path.c_str(),
                                               static_cast<unsigned long long>(lines.Number()), error.c_str());
        }
        if (read.event)
        {
            take(*read.event);
        }
        line = lines.Next();
    } while (!line.empty());
    return {lines.Number() - 1, false};
}

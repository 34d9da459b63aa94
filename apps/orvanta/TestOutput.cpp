#include "TestOutput.h"

#include <array>
#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

namespace
{
/// How many bytes at the end begin a character in UTF-8 that needs more of them.
std::size_t Unfinished(const std::string& text)
{
    constexpr std::size_t LONGEST = 4;
    for (std::size_t back = 1; back < LONGEST && back <= text.size(); ++back)
    {
        const auto byte = static_cast<unsigned char>(text[text.size() - back]);
        const std::size_t length = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : byte >= 0xC0 ? 2 : 1;
        if (byte < 0x80 || byte >= 0xC0)
        {
            return length > back ? back : 0;
        }
    }
    return 0;
}
} // namespace

CTestOutput::CTestOutput(int pipe, EOutputStream stream)
    : m_Pipe(pipe)
    , m_Stream(stream)
{
    fcntl(m_Pipe, F_SETFL, fcntl(m_Pipe, F_GETFL) | O_NONBLOCK);
}

bool CTestOutput::Read()
{
    const std::size_t before = m_Text.size();
    constexpr std::size_t MOST = std::size_t{1024} * 1024; // no pipe holds more: whoever goes on writing has to wait
    std::array<char, 65536> bytes{};
    ssize_t count = 0;
    do
    {
        count = read(m_Pipe, bytes.data(), bytes.size());
        m_Text.append(bytes.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
    } while ((count > 0 && m_Text.size() < MOST) || (count < 0 && errno == EINTR));
    return m_Text.size() > before;
}

std::string CTestOutput::Give(bool all)
{
    const std::size_t given = m_Text.size() - (all ? 0 : Unfinished(m_Text));
    std::string text = m_Text.substr(0, given);
    m_Text.erase(0, given);
    return text;
}

#include "Pty.h"

#include <QByteArray>

#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <vector>

#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

namespace
{
constexpr int TIMEOUT = 10000; ///< milliseconds without a word from the program

/// Texts as the null-terminated list that `execve` takes.
class CTexts
{
public:
    explicit CTexts(const QStringList& texts)
    {
        for (const QString& text : texts)
        {
            m_Bytes.push_back(text.toLocal8Bit());
        }
        for (QByteArray& bytes : m_Bytes)
        {
            m_Pointers.push_back(bytes.data());
        }
        m_Pointers.push_back(nullptr);
    }
    char** Pointers() { return m_Pointers.data(); }

private:
    std::vector<QByteArray> m_Bytes;
    std::vector<char*> m_Pointers;
};
} // namespace

CPty::CPty(const QString& folder, const QStringList& environment, const QStringList& command)
{
    CTexts arguments(command);
    CTexts variables(environment);
    const QByteArray workingFolder = folder.toLocal8Bit();
    winsize size{};
    size.ws_row = 24;
    size.ws_col = 80;
    m_Process = forkpty(&m_Terminal, nullptr, nullptr, &size);
    if (m_Process == 0)
    {
        if (chdir(workingFolder.constData()) == 0)
        {
            execve(arguments.Pointers()[0], arguments.Pointers(), variables.Pointers());
        }
        _exit(127);
    }
    if (m_Process < 0)
    {
        Fail("there is no terminal");
    }
}

CPty::~CPty()
{
    if (m_Process > 0)
    {
        kill(m_Process, SIGKILL);
        waitpid(m_Process, nullptr, 0);
    }
    if (m_Terminal >= 0)
    {
        close(m_Terminal);
    }
}

void CPty::Expect(const std::string& text)
{
    for (;;)
    {
        if (const std::size_t found = m_Output.find(text, m_Seen); found != std::string::npos)
        {
            m_Seen = found + text.size();
            return;
        }
        if (m_Failed || !ReadMore())
        {
            Fail("the terminal does not show \"" + text + '"');
            return;
        }
    }
}

void CPty::Send(const std::string& keys)
{
    if (!m_Failed && write(m_Terminal, keys.data(), keys.size()) != static_cast<ssize_t>(keys.size()))
    {
        Fail("the terminal takes no keys");
    }
}

int CPty::Wait()
{
    while (!m_Failed && ReadMore())
    {
    }
    if (m_Failed || m_Process < 0)
    {
        return -1;
    }
    int status = 0;
    waitpid(m_Process, &status, 0);
    m_Process = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

bool CPty::IsRestored() const
{
    termios settings{};
    return tcgetattr(m_Terminal, &settings) == 0 && (settings.c_lflag & ICANON) != 0 && (settings.c_lflag & ECHO) != 0;
}

bool CPty::ReadMore()
{
    pollfd terminal{m_Terminal, POLLIN, 0};
    if (poll(&terminal, 1, TIMEOUT) <= 0)
    {
        Fail("the program says and does nothing");
        return false;
    }
    std::array<char, 4096> buffer{};
    const ssize_t count = read(m_Terminal, buffer.data(), buffer.size());
    if (count > 0)
    {
        m_Output.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return count > 0;
}

void CPty::Fail(const std::string& what)
{
    if (!m_Failed)
    {
        m_Failed = true;
        ADD_FAILURE() << what << " behind:\n" << m_Output.substr(0, m_Seen) << "\n-----\n" << m_Output.substr(m_Seen);
    }
}

#include <HostKit/ProcessState.h>

#include <cstring>
#include <filesystem>
#include <utility>

#include <unistd.h>

namespace
{
bool IsSame(const struct stat& left, const struct stat& right)
{
    return left.st_dev == right.st_dev && left.st_ino == right.st_ino;
}

bool IsSame(const struct sigaction& left, const struct sigaction& right)
{
    // The handler and the one with more arguments share their place.
    constexpr int RESTORER = 0x04000000; // the C library's own, in whatever it has set once
    return left.sa_sigaction == right.sa_sigaction && (left.sa_flags | RESTORER) == (right.sa_flags | RESTORER);
}
/// How the processor computes; which exceptions it has seen does not count.
bool IsSame(const std::fenv_t& left, const std::fenv_t& right)
{
#if defined(__x86_64__)
    constexpr unsigned SEEN = 0x3F;
    return left.__control_word == right.__control_word && (left.__mxcsr | SEEN) == (right.__mxcsr | SEEN);
#else
    return std::memcmp(&left, &right, sizeof left) == 0;
#endif
}
} // namespace

CProcessState::CProcessState(std::vector<int> signals)
    : m_Signals(std::move(signals))
    , m_Handlers(m_Signals.size())
{
}

void CProcessState::Remember()
{
    std::error_code ignored; // a folder that was removed cannot be returned to
    m_Folder = std::filesystem::current_path(ignored).string();
    m_FolderState = {};
    stat(".", &m_FolderState);
    m_LocaleName = std::setlocale(LC_ALL, nullptr);
    m_Locale = std::locale();
    m_ThreadLocale = uselocale(locale_t{});
    pthread_sigmask(SIG_SETMASK, nullptr, &m_Mask);
    for (std::size_t i = 0; i < m_Signals.size(); ++i)
    {
        sigaction(m_Signals[i], nullptr, &m_Handlers[i]);
    }
    sigaltstack(nullptr, &m_Stack);
    std::fegetenv(&m_Environment);
    m_Umask = umask(0);
    umask(m_Umask);
}

std::string CProcessState::PutBack()
{
    std::string what;
    const auto note = [&what](bool isChanged, const char* name)
    {
        if (isChanged)
        {
            what += (what.empty() ? "" : ", ") + std::string(name);
        }
    };
    note(PutBackFolder(), "the current folder");
    note(PutBackLocale(), "the locale");
    note(PutBackHandlers(), "the handlers of signals");
    note(PutBackSignals(), "the signal mask");
    note(PutBackArithmetic(), "the floating-point environment");
    note(umask(m_Umask) != m_Umask, "the umask");
    return what;
}

bool CProcessState::PutBackFolder()
{
    struct stat now
    {
    };
    const bool isChanged = stat(".", &now) != 0 || !IsSame(now, m_FolderState);
    return isChanged && chdir(m_Folder.c_str()) == 0;
}

bool CProcessState::PutBackLocale()
{
    bool isChanged = false;
    if (std::locale() != m_Locale)
    {
        std::locale::global(m_Locale);
        isChanged = true;
    }
    if (m_LocaleName != std::setlocale(LC_ALL, nullptr))
    {
        std::setlocale(LC_ALL, m_LocaleName.c_str());
        isChanged = true;
    }
    return uselocale(m_ThreadLocale) != m_ThreadLocale || isChanged;
}

bool CProcessState::PutBackHandlers()
{
    bool isChanged = false;
    for (std::size_t i = 0; i < m_Signals.size(); ++i)
    {
        struct sigaction now
        {
        };
        sigaction(m_Signals[i], nullptr, &now);
        if (!IsSame(now, m_Handlers[i]))
        {
            sigaction(m_Signals[i], &m_Handlers[i], nullptr);
            isChanged = true;
        }
    }
    stack_t stack{};
    sigaltstack(nullptr, &stack);
    if (stack.ss_sp != m_Stack.ss_sp || stack.ss_size != m_Stack.ss_size)
    {
        sigaltstack(&m_Stack, nullptr);
        isChanged = true;
    }
    return isChanged;
}

bool CProcessState::PutBackSignals()
{
    sigset_t now;
    pthread_sigmask(SIG_SETMASK, &m_Mask, &now);
    return std::memcmp(&now, &m_Mask, sizeof(unsigned long)) != 0; // as many as the system knows
}

bool CProcessState::PutBackArithmetic()
{
    std::fenv_t now;
    std::fegetenv(&now);
    const bool isChanged = !IsSame(now, m_Environment);
    if (isChanged)
    {
        std::fesetenv(&m_Environment);
    }
    return isChanged;
}

#pragma once

#include <cfenv>
#include <clocale>
#include <csignal>
#include <locale>
#include <string>
#include <vector>

#include <sys/stat.h>

/// What test code can change in the process that the engine and the outputs rely on: folder, locale, signal mask,
/// handlers of the signals that the host handles itself, floating-point environment, umask, alternate signal stack.
/// Belongs to one thread.
class CProcessState
{
public:
    /// `signals`: those whose handlers are looked after.
    explicit CProcessState(std::vector<int> signals);

    /// From now on things are to be as they are.
    void Remember();
    /// Puts back what has changed since; says what that was, for people: empty when it was nothing.
    std::string PutBack();
    /// The signal mask alone; false when it has not changed.
    bool PutBackSignals();

private:
    bool PutBackFolder();
    bool PutBackLocale();
    bool PutBackHandlers();
    bool PutBackArithmetic();

    std::string m_Folder; ///< a path: a descriptor may be closed by test code
    struct stat m_FolderState
    {
    };
    std::string m_LocaleName;
    std::locale m_Locale;
    locale_t m_ThreadLocale{};
    sigset_t m_Mask{};
    std::vector<int> m_Signals;
    std::vector<struct sigaction> m_Handlers; ///< of each of the signals
    stack_t m_Stack{};
    std::fenv_t m_Environment{};
    mode_t m_Umask = 0;
};

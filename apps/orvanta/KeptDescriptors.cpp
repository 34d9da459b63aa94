#include "KeptDescriptors.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

CKeptDescriptors::CKeptDescriptors(pid_t waiting)
    : m_Waiting(waiting)
{
}

void CKeptDescriptors::Keep(int ours, int theirs, int flags, std::function<void(int)> moved)
{
    SKept& kept = m_Kept.emplace_back();
    kept.number = ours;
    kept.source = "/proc/" + std::to_string(m_Waiting) + "/fd/" + std::to_string(theirs);
    kept.flags = flags | O_CLOEXEC | O_NOCTTY;
    kept.moved = std::move(moved);
    Identify(kept);
}

bool CKeptDescriptors::PutBack(bool withStandardStreams)
{
    bool isPutBack = false;
    for (SKept& kept : m_Kept)
    {
        if ((withStandardStreams || kept.number > STDERR_FILENO) && !IsThere(kept))
        {
            isPutBack = Reopen(kept) || isPutBack;
        }
    }
    return isPutBack;
}

bool CKeptDescriptors::IsThere(const SKept& kept)
{
    struct stat state
    {
    };
    return fstat(kept.number, &state) == 0 && state.st_dev == kept.device && state.st_ino == kept.node;
}

bool CKeptDescriptors::Reopen(SKept& kept)
{
    constexpr int FIRST_OWN = 100; // out of the way of loops that close what is open
    const bool isStandard = kept.number <= STDERR_FILENO;
    int opened = open(kept.source.c_str(), kept.flags);
    if (opened < 0 && isStandard)
    {
        opened = open("/dev/null", O_RDWR | O_CLOEXEC); // a socket, for one, cannot be opened
    }
    if (opened < 0)
    {
        return false;
    }
    if (isStandard && opened == kept.number)
    {
        fcntl(opened, F_SETFD, 0);
    }
    else if (isStandard)
    {
        dup2(opened, kept.number);
        close(opened);
    }
    else
    {
        // The old number is test code's now.
        kept.number = fcntl(opened, F_DUPFD_CLOEXEC, FIRST_OWN);
        close(opened);
        kept.moved(kept.number);
    }
    Identify(kept);
    return true;
}

void CKeptDescriptors::Identify(SKept& kept)
{
    struct stat state
    {
    };
    fstat(kept.number, &state);
    kept.device = state.st_dev;
    kept.node = state.st_ino;
}

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
    struct stat state
    {
    };
    if (fstat(ours, &state) == 0)
    {
        m_Kept.push_back({ours, "/proc/" + std::to_string(m_Waiting) + "/fd/" + std::to_string(theirs),
                          flags | O_CLOEXEC | O_NOCTTY, std::move(moved), state.st_dev, state.st_ino});
    }
}

bool CKeptDescriptors::PutBack(bool withStandardStreams)
{
    bool wasMissing = false;
    for (SKept& kept : m_Kept)
    {
        if ((withStandardStreams || kept.number > STDERR_FILENO) && !IsThere(kept))
        {
            Reopen(kept);
            wasMissing = true;
        }
    }
    return wasMissing;
}

bool CKeptDescriptors::IsThere(const SKept& kept)
{
    struct stat state
    {
    };
    return fstat(kept.number, &state) == 0 && state.st_dev == kept.device && state.st_ino == kept.node;
}

void CKeptDescriptors::Reopen(SKept& kept)
{
    constexpr int FIRST_OWN = 100; // out of the way of loops that close what is open
    const int opened = open(kept.source.c_str(), kept.flags);
    if (opened < 0)
    {
        return;
    }
    if (opened == kept.number)
    {
        fcntl(opened, F_SETFD, 0); // a standard stream: no other has so low a number
        return;
    }
    if (kept.number <= STDERR_FILENO)
    {
        dup2(opened, kept.number);
    }
    else
    {
        // The old number is test code's now.
        kept.number = fcntl(opened, F_DUPFD_CLOEXEC, FIRST_OWN);
        kept.moved(kept.number);
    }
    close(opened);
}

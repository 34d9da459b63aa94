#pragma once

#include <functional>
#include <string>
#include <vector>

#include <sys/types.h>

/// Descriptors that the running process relies on. Where test code has closed or replaced one, it is opened anew from
/// the process that waits, which keeps them all. Belongs to the running process.
class CKeptDescriptors
{
public:
    explicit CKeptDescriptors(pid_t waiting);

    /// `theirs` is the number that the waiting process has for it; `flags` are those of `open`. One that is opened anew
    /// gets a number of its own, which `moved` is told, unless it is a standard stream.
    void Keep(int ours, int theirs, int flags, std::function<void(int)> moved = {});

    /// False when there was nothing to put back. A standard stream that cannot be had back becomes /dev/null.
    bool PutBack(bool withStandardStreams);

private:
    struct SKept
    {
        int number = -1;
        std::string source;
        int flags = 0;
        std::function<void(int)> moved;
        dev_t device = 0;
        ino_t node = 0;
    };

    static bool IsThere(const SKept& kept);
    /// False when it cannot be had back.
    static bool Reopen(SKept& kept);
    static void Identify(SKept& kept);

    pid_t m_Waiting;
    std::vector<SKept> m_Kept;
};

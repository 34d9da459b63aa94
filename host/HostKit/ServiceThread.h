#pragma once

#include <cstdint>

// Services work on one thread of one process: the one on which they were installed.

/// The calling thread becomes the one that services work on.
void OwnServices() noexcept;

/// Who calls a service.
enum class ECaller
{
    Own,     ///< may go on
    Thread,  ///< another thread, which is counted
    Process, ///< a process that test code forked
};

ECaller IdentifyCaller() noexcept;

/// How many calls came from other threads since the last call of this.
std::uint64_t TakeForeignCalls() noexcept;

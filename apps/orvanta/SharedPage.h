#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// A text that one process writes and another may read at any moment, also when the writer was killed within a write.
class CSharedText
{
public:
    /// What is longer than the room is cut.
    void Set(std::string_view text) noexcept;
    std::string Get() const;

private:
    static constexpr std::size_t ROOM = 1000;
    struct SSlot
    {
        std::uint32_t length = 0;
        std::array<char, ROOM> text{};
    };

    std::array<SSlot, 2> m_Slots;
    std::atomic<std::uint32_t> m_Current = 0;
};

/// Memory that the process which waits and the one which runs share.
struct SSharedPage
{
    std::atomic<int> stopRequests = 0;
    /// Odd while the waiting process takes what test code wrote, until that is recorded.
    std::atomic<std::uint32_t> outputRounds = 0;
    std::atomic<bool> isBreakingDown = false;   ///< a call was left: the rest of the run has little time
    std::atomic<std::int64_t> limitEndsAt = 0;  ///< nanoseconds on the monotonic clock; 0: no limit is in force
    std::atomic<std::int64_t> activeTime = 0;   ///< nanoseconds that the waiting process was not stopped so far
    std::atomic<std::uint32_t> suitesBegun = 0; ///< of the command line
    CSharedText running;                        ///< node that runs: path, line and name, a line each; empty: none
    CSharedText lastError;                      ///< why the running process ended itself; empty: it did not
};

#pragma once

#include <cstdint>

/// Bit set that labels every log entry and every exception.
enum TEST_STATUS : std::uint32_t
{
    TS_NONE = 0,
    TS_FAILED = 0x20000000, ///< something under test did not do what it should
    TS_ERROR = 0x40000000,  ///< the test itself could not be carried out
};

constexpr TEST_STATUS operator|(TEST_STATUS left, TEST_STATUS right)
{
    return static_cast<TEST_STATUS>(static_cast<std::uint32_t>(left) | static_cast<std::uint32_t>(right));
}

constexpr TEST_STATUS& operator|=(TEST_STATUS& left, TEST_STATUS right)
{
    return left = left | right;
}

#pragma once

#include <CoreKit/Exceptions.h>

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>

/// The arguments of one call: exactly as many 64-bit words as the call has parameters, on the stack.
template <std::size_t N>
struct StackBuffer
{
    /// Stores a value of 8, 16, 32 or 64 bits, zero-extended. `CTestSuiteException` for an index beyond the last slot.
    template <std::unsigned_integral Value>
    void Set(std::uint64_t index, Value value)
    {
        if (index >= N)
        {
            throw CTestSuiteException("ERROR:  bad index into StackBuffer.");
        }
        m_Slots[index] = value;
    }

    std::array<std::uint64_t, N> m_Slots{};
};

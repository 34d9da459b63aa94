#pragma once

#include <CoreKit/Exceptions.h>

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>

/// What fits a slot as it is.
template <class T>
concept TSlotValue = std::same_as<T, std::uint8_t> || std::same_as<T, std::uint16_t> ||
    std::same_as<T, std::uint32_t> || std::same_as<T, std::uint64_t>;

/// The arguments of one call: exactly as many 64-bit words as the call has parameters, on the stack.
template <std::size_t N>
struct StackBuffer
{
    static_assert(N >= 1 && N <= 20);

    /// Stores a value of 8, 16, 32 or 64 bits, zero-extended. `CTestSuiteException` for an index beyond the last slot.
    template <TSlotValue Value>
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

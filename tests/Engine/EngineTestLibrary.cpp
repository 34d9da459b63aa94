// The test library of the engine's tests: its functions record how they were called, report, fail and throw. What they
// recorded is read through the exported accessors at the end.
#include <zk/test.h>

#include <CoreKit/Exceptions.h>

#include <xercesc/util/OutOfMemoryException.hpp>

#include <cstddef>
#include <cstdint>
#include <ios>
#include <new>
#include <stdexcept>
#include <vector>

namespace
{
std::vector<std::uint64_t> g_Arguments;
std::uint64_t g_CallCount = 0;

template <class... Values>
bool Record(Values... values)
{
    ++g_CallCount;
    g_Arguments = {static_cast<std::uint64_t>(values)...};
    return true;
}

template <class T>
std::uint64_t Address(T* pointer)
{
    return reinterpret_cast<std::uint64_t>(pointer);
}
} // namespace

extern "C"
{
    // What a test function can return.

    ZK_EXPORT bool Succeed()
    {
        return true;
    }
    ZK_EXPORT bool Fail()
    {
        return false;
    }
    ZK_EXPORT std::uint32_t ReturnTwo()
    {
        return 2;
    }
    ZK_EXPORT std::uint32_t ReturnLowByteZero()
    {
        return 0x100;
    }
    ZK_EXPORT bool CountCall()
    {
        ++g_CallCount;
        return true;
    }

    // What it can report.

    ZK_EXPORT bool ReportFailure()
    {
        zk_failure("%s", "a failure");
        return true;
    }
    ZK_EXPORT bool Warn()
    {
        zk_warning("%s", "a warning");
        return true;
    }
    ZK_EXPORT bool Error()
    {
        zk_error("%s", "an error");
        return true;
    }
    ZK_EXPORT bool Log()
    {
        zk_log(3, "%s", "a line");
        return true;
    }

    // How it can end otherwise.

    ZK_EXPORT bool ThrowRuntimeError()
    {
        throw std::runtime_error("x");
    }
    ZK_EXPORT bool ThrowStreamFailure()
    {
        throw std::ios_base::failure("stream");
    }
    ZK_EXPORT bool ThrowZK()
    {
        throw ZKRunTimeException("T");
    }
    ZK_EXPORT bool ThrowUnknown()
    {
        throw 1;
    }
    ZK_EXPORT bool ThrowBadAlloc()
    {
        throw std::bad_alloc();
    }
    ZK_EXPORT bool ThrowXercesOutOfMemory()
    {
        throw xercesc::OutOfMemoryException();
    }
    ZK_EXPORT bool Abort()
    {
        zk_abort("stop");
    }

    // By number of parameters.

    ZK_EXPORT bool Take0()
    {
        return Record();
    }
    ZK_EXPORT bool Take1(std::uint64_t a)
    {
        return Record(a);
    }
    ZK_EXPORT bool Take9(std::uint64_t a, std::uint64_t b, std::uint64_t c, std::uint64_t d, std::uint64_t e,
                         std::uint64_t f, std::uint64_t g, std::uint64_t h, std::uint64_t i)
    {
        return Record(a, b, c, d, e, f, g, h, i);
    }
    ZK_EXPORT bool Take10(std::uint64_t a, std::uint64_t b, std::uint64_t c, std::uint64_t d, std::uint64_t e,
                          std::uint64_t f, std::uint64_t g, std::uint64_t h, std::uint64_t i, std::uint64_t j)
    {
        return Record(a, b, c, d, e, f, g, h, i, j);
    }
    ZK_EXPORT bool Take20(std::uint64_t a, std::uint64_t b, std::uint64_t c, std::uint64_t d, std::uint64_t e,
                          std::uint64_t f, std::uint64_t g, std::uint64_t h, std::uint64_t i, std::uint64_t j,
                          std::uint64_t k, std::uint64_t l, std::uint64_t m, std::uint64_t n, std::uint64_t o,
                          std::uint64_t p, std::uint64_t q, std::uint64_t r, std::uint64_t s, std::uint64_t t)
    {
        return Record(a, b, c, d, e, f, g, h, i, j, k, l, m, n, o, p, q, r, s, t);
    }
    ZK_EXPORT bool Take21(std::uint64_t a, std::uint64_t b, std::uint64_t c, std::uint64_t d, std::uint64_t e,
                          std::uint64_t f, std::uint64_t g, std::uint64_t h, std::uint64_t i, std::uint64_t j,
                          std::uint64_t k, std::uint64_t l, std::uint64_t m, std::uint64_t n, std::uint64_t o,
                          std::uint64_t p, std::uint64_t q, std::uint64_t r, std::uint64_t s, std::uint64_t t,
                          std::uint64_t u)
    {
        return Record(a, b, c, d, e, f, g, h, i, j, k, l, m, n, o, p, q, r, s, t, u);
    }

    // By type: declared as narrow as the type is.

    ZK_EXPORT bool TakeEveryType(void* a, bool b, std::uint8_t c, std::uint16_t d, std::uint32_t e, std::uint64_t f)
    {
        return Record(Address(a), b, c, d, e, f);
    }
    /// Records what it finds, then fills every variable with all ones; the bool becomes true.
    ZK_EXPORT bool FillEveryType(void** a, bool* b, std::uint8_t* c, std::uint16_t* d, std::uint32_t* e,
                                 std::uint64_t* f)
    {
        Record(Address(*a), *b, *c, *d, *e, *f);
        *a = reinterpret_cast<void*>(~std::uintptr_t{0});
        *b = true;
        *c = 0xFF;
        *d = 0xFFFF;
        *e = 0xFFFFFFFF;
        *f = ~std::uint64_t{0};
        return true;
    }
    ZK_EXPORT bool FillLong(std::uint32_t* value)
    {
        Record(*value);
        *value = 0xFFFFFFFF;
        return true;
    }
    /// What a C library may do with its idea of a bool.
    ZK_EXPORT bool StoreTwoInBool(std::uint8_t* value)
    {
        Record(*value);
        *value = 2;
        return true;
    }

    // What was recorded: the arguments of the call before, and the number of calls.

    ZK_EXPORT const std::uint64_t* RecordedArguments(std::size_t* count)
    {
        *count = g_Arguments.size();
        return g_Arguments.data();
    }
    ZK_EXPORT std::uint64_t CallCount()
    {
        return g_CallCount;
    }
    ZK_EXPORT void ForgetCalls()
    {
        g_CallCount = 0;
        g_Arguments.clear();
    }
}

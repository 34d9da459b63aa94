// The test library of the engine's tests: its functions record how they were called, report, fail and throw.
#include <zk/test.h>

#include <CoreKit/Exceptions.h>

#include <xercesc/util/OutOfMemoryException.hpp>

#include <cstdint>
#include <ios>
#include <new>
#include <stdexcept>
#include <vector>

namespace
{
using TWord = std::uint64_t;
std::vector<std::vector<TWord>> g_Calls;

template <class... Values>
bool Record(Values... values)
{
    g_Calls.push_back(std::vector<TWord>{static_cast<TWord>(values)...});
    return true;
}
} // namespace

extern "C"
{
    /// The arguments of every recorded call, oldest first; the tests read and clear them.
    ZK_EXPORT std::vector<std::vector<TWord>>* RecordedCalls()
    {
        return &g_Calls;
    }

    // clang-format off

    // What a test function can return.
    ZK_EXPORT bool Succeed() { return true; }
    ZK_EXPORT bool Fail() { return false; }
    ZK_EXPORT std::uint32_t ReturnTwo() { return 2; }
    ZK_EXPORT std::uint32_t ReturnLowByteZero() { return 0x100; }

    // What it can report.
    ZK_EXPORT bool ReportFailure() { zk_failure("%s", "a failure"); return true; }
    ZK_EXPORT bool Warn() { zk_warning("%s", "a warning"); return true; }
    ZK_EXPORT bool Error() { zk_error("%s", "an error"); return true; }

    // How it can end otherwise.
    ZK_EXPORT bool ThrowRuntimeError() { throw std::runtime_error("x"); }
    ZK_EXPORT bool ThrowStreamFailure() { throw std::ios_base::failure("stream"); }
    ZK_EXPORT bool ThrowZK() { throw ZKRunTimeException("T"); }
    ZK_EXPORT bool ThrowUnknown() { throw 1; }
    ZK_EXPORT bool ThrowBadAlloc() { throw std::bad_alloc(); }
    ZK_EXPORT bool ThrowXercesOutOfMemory() { throw xercesc::OutOfMemoryException(); }
    ZK_EXPORT bool Abort() { zk_abort("stop"); }

    // By number of parameters.
    ZK_EXPORT bool Take0() { return Record(); }
    ZK_EXPORT bool Take1(TWord a) { return Record(a); }
    ZK_EXPORT bool Take9(TWord a, TWord b, TWord c, TWord d, TWord e, TWord f, TWord g, TWord h, TWord i)
    { return Record(a, b, c, d, e, f, g, h, i); }
    ZK_EXPORT bool Take10(TWord a, TWord b, TWord c, TWord d, TWord e, TWord f, TWord g, TWord h, TWord i, TWord j)
    { return Record(a, b, c, d, e, f, g, h, i, j); }
    ZK_EXPORT bool Take20(TWord a, TWord b, TWord c, TWord d, TWord e, TWord f, TWord g, TWord h, TWord i, TWord j,
                          TWord k, TWord l, TWord m, TWord n, TWord o, TWord p, TWord q, TWord r, TWord s, TWord t)
    { return Record(a, b, c, d, e, f, g, h, i, j, k, l, m, n, o, p, q, r, s, t); }

    // By type: declared as narrow as the type is.
    ZK_EXPORT bool TakeEveryType(void* a, bool b, std::uint8_t c, std::uint16_t d, std::uint32_t e, std::uint64_t f)
    { return Record(reinterpret_cast<TWord>(a), b, c, d, e, f); }

    /// Records what it finds, then fills every variable with all ones; the bool becomes true.
    ZK_EXPORT bool FillEveryType(void** a, bool* b, std::uint8_t* c, std::uint16_t* d, std::uint32_t* e,
                                 std::uint64_t* f)
    {
        Record(reinterpret_cast<TWord>(*a), *b, *c, *d, *e, *f);
        *a = reinterpret_cast<void*>(~std::uintptr_t{0}); *b = true;
        *c = 0xFF; *d = 0xFFFF; *e = 0xFFFFFFFF; *f = ~std::uint64_t{0};
        return true;
    }
    ZK_EXPORT bool FillLong(std::uint32_t* value) { Record(*value); *value = 0xFFFFFFFF; return true; }
    /// What a C library may do with its idea of a bool.
    ZK_EXPORT bool StoreTwoInBool(std::uint8_t* value) { *value = 2; return true; }
    // clang-format on
}

/**
 * What the author of a test library includes. Clean C11 and C++; C++ authors usually include <zk/test.hpp> instead.
 *
 * A test library is a shared library; a suite names it, and says which of its functions to call with which
 * parameters. A test function is an exported C function that returns an 8-bit boolean, true when it passed:
 *
 *     #include <zk/test.h>
 *
 *     ZK_EXPORT bool ReadSerialNumber(uint32_t port, uint64_t* serial)
 *     {
 *         if (!device_read(port, serial))
 *         {
 *             zk_failure("port %u gave no serial number", (unsigned)port);
 *             return false;
 *         }
 *         zk_log(3, "serial number %llu", (unsigned long long)*serial);
 *         return true;
 *     }
 *
 * The calling contract:
 *
 *   - A function takes up to 20 parameters. The engine passes each as a 64-bit word, zero-extended, so a parameter may
 *     be declared as any unsigned integer that its suite type fits into, or as a pointer. Never float or double.
 *   - Passed by value ("byVal" in the suite): the value itself.
 *   - Passed by reference: a pointer to the variable's own storage, a slot of 8 bytes aligned to 8 bytes. Write the
 *     width of the variable's type and no more; later nodes of the suite read what was written. The pointer is valid
 *     until the function returns: do not keep it.
 *
 *       type in the suite | by value | by reference
 *       ------------------|----------|-------------
 *       PVOID             | void*    | void**
 *       BOOL              | bool     | bool*
 *       BYTE              | uint8_t  | uint8_t*
 *       SHORT             | uint16_t | uint16_t*
 *       LONG              | uint32_t | uint32_t*
 *       LONGLONG          | uint64_t | uint64_t*
 *
 *     The engine cannot see a C signature: a suite whose types differ from the function's goes unnoticed.
 *   - Functions are called one after the other, on one thread. Call the zk_ functions below on that thread only, and
 *     only while a test function runs: on another thread they write nothing, and an error says how often that was.
 *   - Only the low 8 bits of the result count; anything but 0 means passed.
 *   - A call that crashes or outlives its time limit is left in the middle: no destructor of its frames runs, and what
 *     it had locked stays locked. The run then stops, and its exit group runs in the same process: let that rely on as
 *     little as it can.
 *   - What a call changes in the process (folder, locale, signal mask and handlers, floating-point environment, umask,
 *     descriptors of the host) is put back when it ends, with a warning.
 *
 * The functions below are optional: any shared library with such functions can be tested with. They come from the host
 * (libHostKit), which the test library links. Formats are those of printf; a null for %s is an error of the caller.
 */
#ifndef ZK_TEST_H
#define ZK_TEST_H

#include <stdbool.h>
#include <stdint.h>

/** Makes a test function visible to the engine. In C++ it also needs extern "C"; ZK_TEST of <zk/test.hpp> does both. */
#define ZK_EXPORT __attribute__((visibility("default")))

/** Marks what the host provides. */
#define ZK_API __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C"
{
#endif

    /**
     * Writes a line to the log; the outcome of the test stays as it is. The run record holds every line, the terminal
     * shows those whose level is at most the log level, 4 unless the operator says otherwise:
     *
     *   0 always   1 errors   2 failures   3 normal   4 warnings   5 trace   6 detail
     *
     * Use 3 for what the operator wants to read in every run, 5 for the steps on the way, 6 for dumps.
     */
    ZK_API void zk_log(uint32_t level, const char* format, ...) __attribute__((format(printf, 2, 3)));

    /** Raises the current test's warning count: worth a look, but the test may still pass. */
    ZK_API void zk_warning(const char* format, ...) __attribute__((format(printf, 1, 2)));

    /**
     * What is being tested did not do what it should (status TS_FAILED). The test counts as failed whatever the
     * function returns; return false all the same, so that a suite that stops at the first failure stops here.
     */
    ZK_API void zk_failure(const char* format, ...) __attribute__((format(printf, 1, 2)));

    /**
     * The test itself could not be carried out (status TS_ERROR): no memory, no device, a wrong parameter. Says nothing
     * about what is being tested, but a run with an error has not passed.
     */
    ZK_API void zk_error(const char* format, ...) __attribute__((format(printf, 1, 2)));

    /**
     * Records a value with its unit and the limits that it has to keep, both included; NaN stands for no limit. A value
     * outside of them, or one that is not finite, is a failure as `zk_failure` writes it, any other a line of level 3.
     * Record and reports keep value and limits. Limits that a suite is to set come as parameters by value, in a unit
     * that makes them whole numbers:
     *
     *     ZK_EXPORT bool SupplyVoltage(uint32_t lowest_mV, uint32_t highest_mV)
     *     {
     *         return zk_measure("supply voltage", read_volts(), "V", lowest_mV / 1000.0, highest_mV / 1000.0);
     *     }
     *
     * Returns whether the value is within its limits.
     */
    ZK_API bool zk_measure(const char* name, double value, const char* unit, double lower, double upper);

    /**
     * The operator aborts: the run ends after its exit group. `text` says why; null stands for no reason.
     *
     * Never returns, neither here nor in the function that called it: it unwinds the stack up to the engine as a C++
     * exception does. For C++ that means that destructors run, and that neither a noexcept function nor a catch (...)
     * that does not rethrow may stand in between. For C code it means:
     *
     *   - compile it with -fexceptions; without that the process may be terminated instead;
     *   - nothing after the call runs, in this function or in its callers: free memory, close files and release locks
     *     before the call, or hang them on __attribute__((cleanup)).
     */
    ZK_API void zk_abort(const char* text) __attribute__((noreturn));

#ifdef __cplusplus
}
#endif

#endif

/**
 * <zk/test.h> for C++17 and later: declares test functions and checks what they find.
 *
 *     #include <zk/test.hpp>
 *
 *     ZK_TEST(ReadSerialNumber, uint32_t port, uint64_t* serial)
 *     {
 *         return ZK_CHECK(device_read(port, serial)) && ZK_CHECK_EQ(*serial >> 56, 0x5A);
 *     }
 *
 * A check that does not hold writes one failure line and is false, one that holds writes nothing and is true:
 *
 *     Check failed: *serial >> 56 == 0x5A: got 17 (0x11), expected 90 (0x5A) (serial.cpp:5)
 */
#ifndef ZK_TEST_HPP
#define ZK_TEST_HPP

#include <zk/test.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <locale>
#include <ostream>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

/**
 * ZK_TEST(name, parameters...) opens the definition of the exported test function `name`, which returns bool; its body
 * follows. Use it outside of any namespace. Refuses to compile when a parameter cannot be passed by the engine.
 */
#define ZK_TEST(...)                                                                                            \
    ZK_DETAIL_PICK_(__VA_ARGS__, ZK_DETAIL_PARAMETERS_, ZK_DETAIL_PARAMETERS_, ZK_DETAIL_PARAMETERS_,           \
                    ZK_DETAIL_PARAMETERS_, ZK_DETAIL_PARAMETERS_, ZK_DETAIL_PARAMETERS_, ZK_DETAIL_PARAMETERS_, \
                    ZK_DETAIL_PARAMETERS_, ZK_DETAIL_PARAMETERS_, ZK_DETAIL_PARAMETERS_, ZK_DETAIL_PARAMETERS_, \
                    ZK_DETAIL_PARAMETERS_, ZK_DETAIL_PARAMETERS_, ZK_DETAIL_PARAMETERS_, ZK_DETAIL_PARAMETERS_, \
                    ZK_DETAIL_PARAMETERS_, ZK_DETAIL_PARAMETERS_, ZK_DETAIL_PARAMETERS_, ZK_DETAIL_PARAMETERS_, \
                    ZK_DETAIL_PARAMETERS_, ZK_DETAIL_PARAMETERS_, ZK_DETAIL_PARAMETERS_, ZK_DETAIL_PARAMETERS_, \
                    ZK_DETAIL_PARAMETERS_, ZK_DETAIL_NO_PARAMETERS_, ~)                                         \
    (__VA_ARGS__)

/**
 * ZK_CHECK(expression): true when the expression is; otherwise a failure line says which expression, and where.
 *
 * Neither check warns when its result is dropped: a check that failed has already counted as a failure, so the run
 * cannot pass. Returning it as well marks the node itself as failed, which is what stops a suite at the first failure.
 */
#define ZK_CHECK(...) (::zk::detail::Check(static_cast<bool>(__VA_ARGS__), #__VA_ARGS__, __FILE__, __LINE__))

/**
 * ZK_CHECK_EQ(actual, expected): true when both are equal; otherwise a failure line shows both values. Integers of any
 * width and sign are compared by their mathematical value, C strings by their text. Values are shown through their
 * operator<<, integers, characters and enumerators in decimal and hexadecimal. Each argument is evaluated once.
 */
#define ZK_CHECK_EQ(actual, expected) \
    (::zk::detail::CheckEqual((actual), (expected), #actual, #expected, __FILE__, __LINE__))

// Not for use outside of this file from here on.

// Told apart by count, since before C++20 a macro's "..." must not be left empty.
#define ZK_DETAIL_PICK_(p0, p1, p2, p3, p4, p5, p6, p7, p8, p9, p10, p11, p12, p13, p14, p15, p16, p17, p18, p19, p20, \
                        p21, p22, p23, p24, pick, ...)                                                                 \
    pick
#define ZK_DETAIL_NO_PARAMETERS_(name) \
    extern "C" ZK_EXPORT bool name();  \
    extern "C" ZK_EXPORT bool name()
#define ZK_DETAIL_PARAMETERS_(name, ...)                                                             \
    extern "C" ZK_EXPORT bool name(__VA_ARGS__);                                                     \
    static_assert(::zk::detail::FewEnoughParameters(&name), #name " takes more than 20 parameters"); \
    static_assert(::zk::detail::PassableParameters(&name),                                           \
                  #name " takes a parameter that is neither an integer, nor bool, nor a pointer");   \
    extern "C" ZK_EXPORT bool name(__VA_ARGS__)

namespace zk::detail
{

template <typename... Parameters>
constexpr bool FewEnoughParameters(bool (*)(Parameters...))
{
    return sizeof...(Parameters) <= 20;
}

template <typename... Parameters>
constexpr bool PassableParameters(bool (*)(Parameters...))
{
    return ((std::is_pointer_v<Parameters> || std::is_integral_v<Parameters>)&&...);
}

template <typename T, typename = void>
struct IsStreamable : std::false_type
{
};

template <typename T>
struct IsStreamable<T, std::void_t<decltype(std::declval<std::ostream&>() << std::declval<const T&>())>>
    : std::true_type
{
};

template <typename T>
inline constexpr bool IsNumber = std::is_integral_v<T> && !std::is_same_v<T, bool>;

template <typename T>
inline constexpr bool IsText =
    std::is_convertible_v<const T&, std::string_view> && !std::is_same_v<std::remove_cv_t<T>, std::nullptr_t>;

// A null C string is a value like any other here: it equals only another one, and never reaches a formatter.
template <typename T>
bool IsNullText(const T& text)
{
    if constexpr (std::is_pointer_v<T>)
    {
        return text == nullptr;
    }
    else
    {
        return static_cast<void>(text), false;
    }
}

template <typename Actual, typename Expected>
bool Equal(const Actual& actual, const Expected& expected)
{
    if constexpr (IsNumber<Actual> && IsNumber<Expected>)
    {
        const bool actualIsNegative = actual < Actual{};
        const bool expectedIsNegative = expected < Expected{};
        return actualIsNegative == expectedIsNegative &&
            static_cast<std::uintmax_t>(actual) == static_cast<std::uintmax_t>(expected);
    }
    else if constexpr (IsText<Actual> && IsText<Expected>)
    {
        if (IsNullText(actual) || IsNullText(expected))
        {
            return IsNullText(actual) && IsNullText(expected);
        }
        return std::string_view(actual) == std::string_view(expected);
    }
    else
    {
        return static_cast<bool>(actual == expected);
    }
}

template <typename Number>
void PrintNumber(std::ostream& out, Number value)
{
    // Unary plus widens characters and 8-bit integers, which a stream would show as letters.
    out << +value << " (0x" << std::hex << std::uppercase << +static_cast<std::make_unsigned_t<Number>>(value)
        << std::dec << std::nouppercase << ')';
}

template <typename T>
void Print(std::ostream& out, const T& value)
{
    if constexpr (std::is_same_v<T, bool>)
    {
        out << (value ? "true" : "false");
    }
    else if constexpr (std::is_integral_v<T>)
    {
        PrintNumber(out, value);
    }
    else if constexpr (IsText<T>)
    {
        if (IsNullText(value))
        {
            out << "null";
        }
        else
        {
            out << '"' << std::string_view(value) << '"';
        }
    }
    else if constexpr (std::is_pointer_v<T> || std::is_null_pointer_v<T>)
    {
        const auto address = reinterpret_cast<std::uintptr_t>(value);
        address == 0 ? out << "null" : out << "0x" << std::hex << std::uppercase << address;
    }
    else if constexpr (IsStreamable<T>::value)
    {
        out << value;
    }
    else if constexpr (std::is_enum_v<T>)
    {
        Print(out, static_cast<std::underlying_type_t<T>>(value));
    }
    else
    {
        out << "(a value without operator<<)";
    }
}

template <typename T>
std::string Shown(const T& value)
{
    std::ostringstream out;
    out.imbue(std::locale::classic());
    if constexpr (std::is_floating_point_v<T>)
    {
        // Enough digits to tell two neighbours apart.
        out.precision(std::numeric_limits<T>::max_digits10);
    }
    Print(out, value);
    return out.str();
}

inline bool Check(bool holds, const char* expression, const char* file, int line)
{
    if (!holds)
    {
        zk_failure("Check failed: %s is false (%s:%d)", expression, file, line);
    }
    return holds;
}

template <typename Actual, typename Expected>
bool CheckEqual(const Actual& actual, const Expected& expected, const char* actualText, const char* expectedText,
                const char* file, int line)
{
    const bool equal = Equal(actual, expected);
    if (!equal)
    {
        zk_failure("Check failed: %s == %s: got %s, expected %s (%s:%d)", actualText, expectedText,
                   Shown(actual).c_str(), Shown(expected).c_str(), file, line);
    }
    return equal;
}

} // namespace zk::detail

#endif

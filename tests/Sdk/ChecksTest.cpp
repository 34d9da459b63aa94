#include <zk/test.hpp>

#include <HostKit/TestServices.h>

#include <QTemporaryDir>

#include <array>
#include <cstdio>
#include <fstream>
#include <vector>

namespace
{
using CChecksTest = CServicesTest;

enum class EColor : std::uint8_t
{
    Red = 7,
};

struct SOpaque
{
    int value = 0;
    bool operator==(const SOpaque& other) const { return value == other.value; }
};

const char* const NONE = nullptr;
int* const NOWHERE = nullptr;
int* const SOMEWHERE = reinterpret_cast<int*>(0x10);

/// What the compiler says to a source in one of the SDK's languages; empty when it is content.
std::string Compile(const char* language, const std::string& source)
{
    const QTemporaryDir folder;
    const std::string file = folder.filePath(QStringLiteral("source")).toStdString();
    std::ofstream(file) << source << std::flush;
    const std::string options = " -Wall -Wextra -Wpedantic -Werror -fsyntax-only -I '" SDK_FOLDER "' -x ";
    std::FILE* output = popen(("'" COMPILER "'" + options + language + " '" + file + "' 2>&1").c_str(), "r");
    std::string said;
    std::array<char, 4096> buffer{};
    while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), output))
    {
        said.append(buffer.data(), count);
    }
    const int status = pclose(output);
    EXPECT_EQ(status == 0, said.empty());
    return said;
}
} // namespace

TEST_F(CChecksTest, ACheckThatDoesNotHoldSaysWhatWasFoundAndWhere)
{
#define ROW(check, text)                     \
    {                                        \
        [] { return check; }, text, __LINE__ \
    }
    const struct
    {
        bool (*check)();
        const char* text;
        int line;
    } rows[] = {
        // clang-format off
        ROW(ZK_CHECK(7 % 3 == 0), "7 % 3 == 0 is false"),
        ROW(ZK_CHECK(std::is_same_v<int, long>), "std::is_same_v<int, long> is false"),
        ROW(ZK_CHECK_EQ(std::uint8_t{200}, 'A'), "std::uint8_t{200} == 'A': got 200 (0xC8), expected 65 (0x41)"),
        ROW(ZK_CHECK_EQ(-1, 0xFFFFFFFFU), "-1 == 0xFFFFFFFFU: got -1 (0xFFFFFFFF), expected 4294967295 (0xFFFFFFFF)"),
        ROW(ZK_CHECK_EQ(std::int8_t{-2}, 0), "std::int8_t{-2} == 0: got -2 (0xFE), expected 0 (0x0)"),
        ROW(ZK_CHECK_EQ(true, false), "true == false: got true, expected false"),
        ROW(ZK_CHECK_EQ(0.1 + 0.2, 0.3), "0.1 + 0.2 == 0.3: got 0.30000000000000004, expected 0.29999999999999999"),
        ROW(ZK_CHECK_EQ("a", std::string("100%s")), "\"a\" == std::string(\"100%s\"): got \"a\", expected \"100%s\""),
        ROW(ZK_CHECK_EQ(NONE, ""), "NONE == \"\": got null, expected \"\""),
        ROW(ZK_CHECK_EQ(NOWHERE, SOMEWHERE), "NOWHERE == SOMEWHERE: got null, expected 0x10"),
        ROW(ZK_CHECK_EQ(EColor::Red, EColor{10}), "EColor::Red == EColor{10}: got 7 (0x7), expected 10 (0xA)"),
        ROW(ZK_CHECK_EQ(SOpaque{}, SOpaque{1}), "SOpaque{} == SOpaque{1}: got (a value without operator<<), expected (a value without operator<<)"),
        // clang-format on
    };
#undef ROW
    for (const auto& [check, text, line] : rows)
    {
        EXPECT_FALSE(check());
        EXPECT_EQ(transcript.Take(),
                  TLines{"log 20000000/0 level 2 default: Check failed: " + std::string(text) + " (" + __FILE__ + ":" +
                         std::to_string(line) + ")"});
    }
}

TEST_F(CChecksTest, ACheckThatHoldsIsTrueAndSilent)
{
    const std::array<char, 2> text{'x', '\0'};
    EXPECT_TRUE(ZK_CHECK(text[0] == 'x'));
    EXPECT_TRUE(ZK_CHECK_EQ(static_cast<const char*>(text.data()), "x"));
    EXPECT_TRUE(ZK_CHECK_EQ(std::string("x"), text.data()));
    EXPECT_TRUE(ZK_CHECK_EQ(NONE, NONE));
    EXPECT_TRUE(ZK_CHECK_EQ(-1, -1LL));
    EXPECT_TRUE(ZK_CHECK_EQ(std::uint8_t{200}, 200));
    EXPECT_TRUE(ZK_CHECK_EQ(NOWHERE, nullptr));
    int evaluated = 0;
    EXPECT_TRUE(ZK_CHECK_EQ(++evaluated, 1));
    EXPECT_TRUE(ZK_CHECK(++evaluated == 2));
    EXPECT_EQ(transcript.Take(), TLines{});
}

TEST(SdkHeaders, WhatCannotBePassedDoesNotCompile)
{
    const std::string cpp = "#include <zk/test.hpp>\n";
    const std::string c = "#include <zk/test.h>\n";
    std::string nineteen;
    for (int i = 1; i < 20; ++i)
    {
        nineteen += ", int a" + std::to_string(i);
    }
    const char* const refused = "T takes a parameter that is neither an integer, nor bool, nor a pointer";
    const struct
    {
        const char* language;
        std::string source;
        const char* said; ///< null when it compiles
    } rows[] = {
        // clang-format off
        {"c++ -std=c++17", cpp + "ZK_TEST(A) { return ZK_CHECK_EQ(1, 1); }\nZK_TEST(B, bool, std::uint64_t*, const char*) { return true; }\n"
                                 "ZK_TEST(C" + nineteen + ", void** a20) { return ZK_CHECK(a1 + a2 + a3 + a4 + a5 + a6 + a7 + a8 + a9 + a10 + a11 + a12 + a13 + a14 + a15 + a16 + a17 + a18 + a19 && a20); }\n", nullptr},
        {"c++ -std=c++17", cpp + "ZK_TEST(T" + nineteen + ", int, int) { return true; }\n", "T takes more than 20 parameters"},
        {"c++ -std=c++20", cpp + "ZK_TEST(T, int, double) { return true; }\n", refused},
        {"c++ -std=c++20", cpp + "ZK_TEST(T, int&) { return true; }\n", refused},
        {"c++ -std=c++20", cpp + "bool F() { zk_failure(\"%s\", 1); return true; }\n", "format"},
        {"c -std=c11", c + "ZK_EXPORT bool T(uint32_t a); ZK_EXPORT bool T(uint32_t a) { zk_log(3, \"%u\", (unsigned)a); zk_abort(\"a\"); }\n", nullptr},
        // clang-format on
    };
    for (const auto& [language, source, said] : rows)
    {
        const std::string output = Compile(language, source);
        EXPECT_EQ(output.empty(), !said) << output;
        EXPECT_NE(output.find(said ? said : ""), std::string::npos) << output;
    }
}

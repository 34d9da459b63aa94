#include <CoreKit/Exceptions.h>
#include <CoreKit/NearestName.h>
#include <CoreKit/PrintableText.h>
#include <CoreKit/SimpleBuffer.h>
#include <CoreKit/Time.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cwchar>
#include <string>

namespace
{
/// Throws one class of the family and catches it as callers outside of the family do.
template <class Exception>
std::string TextOf(const char* text, TEST_STATUS expectedStatus = TS_ERROR)
{
    try
    {
        throw Exception(text);
    }
    catch (const std::runtime_error& exception)
    {
        const auto* house = dynamic_cast<const ZKException*>(&exception);
        EXPECT_TRUE(house && house->Status() == expectedStatus);
        return exception.what();
    }
}
} // namespace

TEST(Format, AnyLengthAroundTheFirstBuffer)
{
    for (const std::size_t length : {0U, 1U, 510U, 511U, 512U, 513U, 100000U, 511U})
    {
        const std::string text(length, 'x');
        EXPECT_EQ(std::string_view(FormatText("%s|%d", text.c_str(), 42)), text + "|42") << length;
        EXPECT_EQ(std::string_view(FormatFilled('.', length, "%s", text.c_str())), std::string(length, '.') + text);
    }
}

TEST(Format, ResultSurvivesTheNextCall)
{
    const CSafeString first = FormatText("%s", "first");
    const CSafeString nested = FormatText("%s-%s", FormatText("%d", 1).c_str(), FormatText("%d", 2).c_str());
    EXPECT_EQ(first, "first");
    EXPECT_EQ(nested, "1-2");
}

TEST(Format, FailureThrowsAndLeavesTheFormatterUsable)
{
    try
    {
        static_cast<void>(FormatText("%lc", static_cast<std::wint_t>(0x7FFFFFFF)));
        FAIL() << "nothing thrown";
    }
    catch (const std::runtime_error& exception)
    {
        EXPECT_STREQ(exception.what(), "INTERNAL ERROR - std::vsprintf() failed.");
    }
    EXPECT_EQ(FormatText("%s", "again"), "again");
}

TEST(PrintableText, ShowsWhatWouldSteerATerminalAndNoTwoTextsAlike)
{
    const std::pair<std::string, const char*> rows[] = {
        {"", ""},
        {"tab\tstays, \xC3\xA4 \xE2\x82\xAC \xF0\x9F\x98\x80 too",
         "tab\tstays, \xC3\xA4 \xE2\x82\xAC \xF0\x9F\x98\x80 too"},
        {"\x1B[31m\r\x7F" + std::string(1, '\0'), R"(\x1B[31m\x0D\x7F\x00)"},
        {"\u0080\u009B\u009F\u00A0", "\\u0080\\u009B\\u009F\u00A0"},
        {"\u061C\u200D\u200E\u200F\u2010", "\\u061C\u200D\\u200E\\u200F\u2010"},
        {"\u2029\u202A\u202E\u202F", "\u2029\\u202A\\u202E\u202F"},
        {"\u2065\u2066\u2069\u206A", "\u2065\\u2066\\u2069\u206A"},
        {"\x85\xFF\xC0\x80\xC1\xBF", R"(\x85\xFF\xC0\x80\xC1\xBF)"},
        {"cut \xE2\x82", R"(cut \xE2\x82)"},
        {"cut \xE2\x82-", R"(cut \xE2\x82-)"},
        {"\xE0\x9F\xBF\xED\xA0\x80", R"(\xE0\x9F\xBF\xED\xA0\x80)"},            // overlong; a surrogate
        {"\xF4\x8F\xBF\xBF\xF4\x90\x80\x80", "\U0010FFFF\\xF4\\x90\\x80\\x80"}, // the last one; beyond
        {R"(C:\temp \\server \x1b \u12 \)", R"(C:\temp \\server \x1b \u12 \)"},
        {R"(\x1B \\x1B \u202E)", R"(\\x1B \\\\x1B \\u202E)"},
        {"\\\x1B", R"(\\\x1B)"},
    };
    for (const auto& [text, shown] : rows)
    {
        EXPECT_EQ(PrintableText(text), shown);
    }
    EXPECT_EQ(PrintableText("two\n\\new"), "two\n\\new");
    EXPECT_EQ(PrintableLine("two\n\\new \\x"), R"(two\n\\new \x)");
    EXPECT_EQ(PrintableJson("[\n\"\x7F\u0085\u202E\\\\ \u00E4\"]"), "[\n\"\\u007F\\u0085\\u202E\\\\ \u00E4\"]");
}

TEST(Exceptions, TextsAndStatus)
{
    EXPECT_EQ(TextOf<ZKException>(""), ZK_EXCEPTION_MSG);
    EXPECT_EQ(TextOf<ZKParseTreeException>(""), PARSE_TREE_EXCEPTION_DEFAULT_MSG);
    EXPECT_EQ(TextOf<ZKRunTimeException>(""), RUN_TIME_EXCEPTION_DEFAULT_MSG);
    EXPECT_EQ(TextOf<ZKDOMDocException>(""), DOM_DOC_EXCEPTION_DEFAULT_MSG);
    EXPECT_EQ(TextOf<CTestSuiteException>(""), TEST_SUITE_EXCEPTION_DEFAULT_MSG);
    EXPECT_EQ(TextOf<CTestSuiteException>("own text"), "own text");
    EXPECT_THROW(throw CTestSuiteException("x"), ZKDOMDocException);
    EXPECT_FALSE((std::is_base_of_v<std::exception, ZKUserAbort>));
    try
    {
        ThrowFormatted<ZKRunTimeException>("%s %d", "answer", 42);
    }
    catch (const ZKRunTimeException& exception)
    {
        EXPECT_STREQ(exception.what(), "answer 42");
        EXPECT_STREQ(exception.Message(), "answer 42");
    }
    try
    {
        ThrowAt<CTestSuiteException>({"Room/Source", 7, "CClass::Check"}, "%s\n%d", "answer", 42);
    }
    catch (const ZKException& exception)
    {
        EXPECT_STREQ(exception.what(), "\nRoom/Source(7): CClass::Check:\nanswer\n42");
        EXPECT_STREQ(exception.Message(), "answer\n42");
    }
}

TEST(SafeString, NullCountsAsEmpty)
{
    const char* none = nullptr;
    EXPECT_TRUE(CSafeString(none).empty());
    EXPECT_STREQ(CSafeString(none).c_str(), "");
    EXPECT_EQ(CSafeString("a") + none, "a");
    EXPECT_EQ(CSafeString("a") + "b", "ab");
    EXPECT_TRUE(CSafeString() == none);
}

TEST(SafeString, LowerCaseIsAsciiOnly)
{
    EXPECT_EQ(ToLower("AzZ[@`{ 9 \xC3\x84"), "azz[@`{ 9 \xC3\x84");
}

TEST(SimpleBuffer, GrowingKeepsTheTextAndNeverShrinks)
{
    CSimpleBuffer buffer;
    EXPECT_STREQ(buffer.Contents(), "");
    std::string("abc").copy(buffer.Get(4), 3);
    EXPECT_STREQ(buffer.Contents(), "abc");
    buffer.Get(100000);
    EXPECT_STREQ(buffer.Contents(), "abc");
    buffer.Get(1);
    EXPECT_GE(buffer.Size(), 100000U);
}

TEST(Time, UtcKeepsMilliseconds)
{
    using namespace std::chrono;
    const auto at = [](std::int64_t ms) { return system_clock::time_point(milliseconds(ms)); };
    EXPECT_EQ(MakeUtcTimeString(at(0)), "1970-01-01T00:00:00.000Z");
    EXPECT_EQ(MakeUtcTimeString(at(-1)), "1969-12-31T23:59:59.999Z");
    EXPECT_EQ(MakeUtcTimeString(at(1709210096007)), "2024-02-29T12:34:56.007Z");
    EXPECT_EQ(MakeUtcTimeString(at(1709210096007) + microseconds(999)), "2024-02-29T12:34:56.007Z");
}

TEST(Time, LocalTimeFollowsTheZone)
{
    const auto when = std::chrono::system_clock::from_time_t(1709210096);
    setenv("TZ", "XXX-2", 1);
    tzset();
    EXPECT_EQ(MakeTimeString("%b %d, %Y - %H:%M:%S", when), "Feb 29, 2024 - 14:34:56");
    unsetenv("TZ");
    tzset();
}

TEST(NearestName, AllThatAreEquallyNearAndNoneThatIsFar)
{
    const struct
    {
        const char* word;
        std::vector<std::string> names;
        std::vector<std::string> nearest;
    } rows[] = {
        {"le", {"eq", "lt", "lte", "ne", "gte"}, {"lt", "lte", "ne"}},
        {"grop", {"x:Drop", "x:Group", "x:Set"}, {"x:Drop", "x:Group"}},
        {"Connect", {"Conect", "connect", "Connct"}, {"connect"}},
        {"ReadLinkz", {"WriteLinks", "HeadLinks", "ReadLink"}, {"ReadLink"}},
        {"abcdefghi", {"defghi"}, {"defghi"}},
        {"abcdefghi", {"efghi"}, {}},
        {"abcdefgh", {"badcfeghx"}, {}},
        {"abcdefghx", {"badcfeghx"}, {"badcfeghx"}},
        {"", {"a", ""}, {""}},
    };
    for (const auto& [word, names, nearest] : rows)
    {
        EXPECT_EQ(NearestNames(word, names), nearest) << word;
        EXPECT_EQ(NearestName(word, names), nearest.empty() ? "" : nearest.front()) << word;
    }
}

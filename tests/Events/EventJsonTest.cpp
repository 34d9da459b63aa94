#include <Events/Answer.h>
#include <Events/EventJson.h>
#include <Events/Words.h>

#include <gtest/gtest.h>

#include <cfloat>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <new>
#include <string>
#include <utility>
#include <vector>

namespace
{
std::size_t allocations = 0;
bool isMemoryExhausted = false;
} // namespace

void* operator new(std::size_t size)
{
    ++allocations;
    void* const memory = isMemoryExhausted ? nullptr : std::malloc(size);
    return memory ? memory : throw std::bad_alloc();
}
void operator delete(void* memory) noexcept
{
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

namespace
{
using namespace std::chrono_literals;

constexpr std::uint64_t MOST = std::numeric_limits<std::uint64_t>::max();
constexpr double INFINITE = std::numeric_limits<double>::infinity();
const std::string TIME = R"("time":"2024-02-29T12:34:56.007Z")";

std::string LineOf(TEvent what, std::chrono::system_clock::duration sinceEpoch = 1709210096007999us)
{
    std::string line;
    ToJson({std::chrono::system_clock::time_point(sinceEpoch), std::move(what)}, line);
    return line;
}

SPrompt Prompt(EPromptKind kind, std::optional<std::uint32_t> timeout)
{
    return {.kind = kind,
            .text = "Close\nthe cover?",
            .timeout = timeout,
            .yes = "&Left",
            .no = "",
            .button = "Done",
            .label = "Voltage",
            .hexadecimal = true,
            .initialize = false,
            .initial = 7,
            .min = 1,
            .max = MOST};
}

/// An event, and what stands in its line after the time.
struct SRow
{
    TEvent event;
    std::string keys;
};

std::vector<SRow> Rows()
{
    const std::string node = R"("path":"/1/0","element":"x:Group","name":"n","label":"l","line":17)";
    SPrompt decimal;
    decimal.kind = EPromptKind::Integer;
    decimal.label = "#";
    decimal.initial = MOST;
    return {
        // clang-format off
        {SRecordEvent{"5.0.0", "orvanta"}, R"("event":"record",@,"version":2,"engine":"5.0.0","host":"orvanta")"},
        {SSuiteLoadEvent{"a.xml", true, {}}, R"("event":"suite-load",@,"file":"a.xml","loaded":true,"problems":[])"},
        {SSuiteLoadEvent{"b.xml", false, {{MOST, 2, ESeverity::Error, "xml", "m"}, {0, 0, ESeverity::Warning, "r", "no place"}}},
         R"("event":"suite-load",@,"file":"b.xml","loaded":false,"problems":[)"
         R"({"line":18446744073709551615,"column":2,"severity":"error","rule":"xml","message":"m"},)"
         R"({"line":null,"column":null,"severity":"warning","rule":"r","message":"no place"}])"},
        {SRunStartEvent{"Bench", "a.xml", "lib", 2, 1, {{"serial\n", "A\t1"}, {"", ""}}},
         R"("event":"run-start",@,"suite":"Bench","file":"a.xml","library":"lib","executionType":2,"mode":1,)"
         R"("meta":{"serial\n":"A\t1","":""})"},
        {SNodeEvent{"/1/0", "x:Group", "n", "l", 17, true, false, true},
         R"("event":"node",@,)" + node + R"(,"selectable":true,"selected":false,"test":true)"},
        {SLogEvent{0x40000000, 4, 5, {}, "no device"},
         R"("event":"log",@,"status":1073741824,"second":4,"level":5,"format":null,"text":"no device")"},
        {SLogEvent{0xFFFFFFFF, 0, 0, SLogFormat{TLogColor{0, 1, 254, 255}, {}, 700, true, false}, ""},
         R"("event":"log",@,"status":4294967295,"second":0,"level":0,"format":{"color":[0,1,254,255],"background":null,)"
         R"("strength":700,"italic":true,"underline":false},"text":"")"},
        {SPrintEvent{3, true, "shown"}, R"("event":"print",@,"level":3,"line":true,"text":"shown")"},
        {STestLogEvent{"step", false, true}, R"("event":"test-log",@,"text":"step","test":false,"separator":true)"},
        {SStateEvent{"/1/0", "x:Group", "n", "l", 17, ENodeState::NotRun}, R"("event":"state",@,)" + node + R"(,"state":"not run")"},
        {SStateEvent{"/", "", "", "", 0, ENodeState::Executing},
         R"("event":"state",@,"path":"/","element":"","name":"","label":"","line":0,"state":"executing")"},
        {SPassEvent{"/1", 1, MOST, "$i"}, R"("event":"pass",@,"path":"/1","number":1,"iterator":18446744073709551615,"variable":"$i")"},
        {SPassEvent{"/1", 2, 0, {}}, R"("event":"pass",@,"path":"/1","number":2,"iterator":0,"variable":null)"},
        {SSkipEvent{"/2"}, R"("event":"skip",@,"path":"/2")"},
        {SMeasurementEvent{"/2", "U", 0.1, "V", -0.0, DBL_MAX, true},
         R"("event":"measurement",@,"path":"/2","name":"U","value":0.1,"unit":"V","lower":-0.0,"upper":1.7976931348623157e308,"passed":true)"},
        {SMeasurementEvent{"/2", "U", NAN, "V", {}, INFINITE, false},
         R"("event":"measurement",@,"path":"/2","name":"U","value":null,"unit":"V","lower":null,"upper":null,"passed":false)"},
        {SMeasurementEvent{"/2", "U", 5e-324, "V", -2.2250738585072011e-308, 9007199254740993.0, false},
         R"("event":"measurement",@,"path":"/2","name":"U","value":5e-324,"unit":"V","lower":-2.225073858507201e-308,)"
         R"("upper":9007199254740992.0,"passed":false)"},
        {SVerdictEvent{"/2", true, EVerdict::Error, 3, {2, MOST}, 1234567us, "crashed"},
         R"("event":"verdict",@,"path":"/2","test":true,"verdict":"error","warnings":3,"passes":[2,18446744073709551615],)"
         R"("ms":1234.567,"reason":"crashed")"},
        {SVerdictEvent{"/2", false, EVerdict::Passed, 0, {}, 9us, ""},
         R"("event":"verdict",@,"path":"/2","test":false,"verdict":"passed","warnings":0,"passes":[],"ms":0.009,"reason":"")"},
        {SPromptOpenEvent{Prompt(EPromptKind::Boolean, 0), 1},
         R"("event":"prompt-open",@,"kind":"boolean","text":"Close\nthe cover?","yes":"&Left","no":"","timeout":0,"id":1)"},
        {SPromptEvent{Prompt(EPromptKind::Info, {}), EPromptEnd::Ok, 2},
         R"("event":"prompt",@,"kind":"info","text":"Close\nthe cover?","button":"Done","timeout":null,"answer":"ok","id":2)"},
        {SPromptEvent{Prompt(EPromptKind::Integer, 4294967295), MOST, 3},
         R"("event":"prompt",@,"kind":"integer","text":"Close\nthe cover?","label":"Voltage","base":16,"initialize":false,)"
         R"("initial":7,"min":1,"max":18446744073709551615,"timeout":4294967295,"answer":18446744073709551615,"id":3)"},
        {SPromptEvent{decimal, false, 4},
         R"("event":"prompt",@,"kind":"integer","text":"","label":"#","base":10,"initialize":true,)"
         R"("initial":18446744073709551615,"min":0,"max":0,"timeout":null,"answer":false,"id":4)"},
        {SAbortEvent{"by hand", EAbortCause::Unanswered}, R"("event":"abort",@,"text":"by hand","by":"unanswered")"},
        {SOutputEvent{"", EOutputStream::StdErr, "x\n"}, R"("event":"output",@,"path":"","stream":"stderr","text":"x\n")"},
        {SLockEvent{ELockState::Waiting, "/l", 4711, "bench", std::chrono::system_clock::time_point(-1ms)},
         R"("event":"lock",@,"state":"waiting","file":"/l","process":4711,"host":"bench","since":"1969-12-31T23:59:59.999Z")"},
        {SLockEvent{ELockState::Refused, "/l", {}, "", {}},
         R"("event":"lock",@,"state":"refused","file":"/l","process":null,"host":"","since":null)"},
        {SVanishedEvent{11, {}, "/1"}, R"("event":"vanished",@,"signal":11,"status":null,"path":"/1")"},
        {SHeadlineEvent{"Passed!", 1}, R"("event":"headline",@,"text":"Passed!","emphasis":1)"},
        {SNotRunEvent{"/1", ENotRunReason::NoPass}, R"("event":"not-run",@,"path":"/1","reason":"no pass")"},
        {SRunEndEvent{0x20000000, "Failed", "rep", true, 1, 2, 3, 4, 5, 6, 7, {8, 9, 10, 11, 12, 13}, 61500ms},
         R"("event":"run-end",@,"status":536870912,"result":"Failed","reportName":"rep","passed":true,"executed":1,)"
         R"("failedExecutions":2,"tests":3,"passes":4,"warnings":5,"aborts":6,"failures":7,"verdicts":{"passed":8,)"
         R"("failed":9,"errors":10,"aborted":11,"notRun":12,"warned":13},"seconds":61.500)"},
        {SRefusedEvent{"no prompt is open"}, R"("event":"refused",@,"reason":"no prompt is open")"},
        // clang-format on
    };
}

template <class Enum>
std::string WordsOf()
{
    std::string words;
    for (int i = 0; !WordOf(static_cast<Enum>(i)).empty(); ++i)
    {
        words.append(i > 0 ? ", " : "").append(WordOf(static_cast<Enum>(i)));
    }
    return words;
}

std::string ErrorOf(std::string_view line)
{
    const SEventLine read = FromJson(line);
    return read.event ? "an event" : read.error.empty() ? "not known" : read.error;
}
} // namespace

TEST(EventJson, EveryEventHasItsLineAndComesBack)
{
    std::vector<bool> isSeen(std::variant_size_v<TEvent>);
    for (const auto& [event, keys] : Rows())
    {
        std::string expected = '{' + keys + "}\n";
        expected.replace(expected.find('@'), 1, TIME);
        EXPECT_EQ(LineOf(event), expected);
        const SEventLine read = FromJson(expected);
        ASSERT_TRUE(read.event) << read.error << expected;
        std::string again = "earlier lines stay\n";
        ToJson(*read.event, again);
        EXPECT_EQ(again, "earlier lines stay\n" + expected);
        isSeen[event.index()] = true;
    }
    EXPECT_EQ(std::find(isSeen.begin(), isSeen.end(), false), isSeen.end()) << "an event has no row";
}

TEST(EventJson, TextsDoNoHarmAndComeBackAsUtf8)
{
    const std::string bad = "\uFFFD";
    const struct
    {
        std::string text;
        std::string json;
        std::string read;
    } rows[] = {
        {std::string("\0\x01\x1F", 3), "\\u0000\\u0001\\u001f", std::string("\0\x01\x1F", 3)},
        {"\"\\/\b\f\n\r\t", R"(\"\\/\b\f\n\r\t)", "\"\\/\b\f\n\r\t"},
        {"\x1B[2J \x7F~", "\\u001b[2J \\u007f~", "\x1B[2J \x7F~"},
        {"\u0080\u009F\u00A0", "\\u0080\\u009f\u00A0", "\u0080\u009F\u00A0"},
        {"\u061B\u061C\u061D", "\u061B\\u061c\u061D", "\u061B\u061C\u061D"},
        {"\u200D\u200E\u200F\u2010", "\u200D\\u200e\\u200f\u2010", "\u200D\u200E\u200F\u2010"},
        {"\u2027\u2028\u202E\u202F", "\u2027\\u2028\\u202e\u202F", "\u2027\u2028\u202E\u202F"},
        {"\u2065\u2066\u2069\u206A", "\u2065\\u2066\\u2069\u206A", "\u2065\u2066\u2069\u206A"},
        {"\u07FF\u0800\uD7FF\uE000\uFFFD\uFFFF\U00010000\U0010FFFF",
         "\u07FF\u0800\uD7FF\uE000\uFFFD\uFFFF\U00010000\U0010FFFF",
         "\u07FF\u0800\uD7FF\uE000\uFFFD\uFFFF\U00010000\U0010FFFF"},
        // Not UTF-8: bytes that begin nothing, overlong forms, surrogates, beyond the last character, cut off.
        {"a\x80z\xFFq", "a" + bad + "z" + bad + "q", ""},
        {"\xC0\xAF\xC1\xBF\xF5", bad + bad + bad + bad + bad, ""},
        {"\xE0\x9F\xBF\xF0\x8F\xBF\xBF", bad + bad + bad + bad + bad + bad + bad, ""},
        {"\xED\xA0\x80", bad + bad + bad, ""},
        {"\xF4\x90\x80\x80", bad + bad + bad + bad, ""},
        {"\xE4\xBD\"\xF0\x9F\x98", bad + "\\\"" + bad, bad + "\"" + bad},
    };
    for (const auto& [text, json, read] : rows)
    {
        // At every place of the eight bytes that are looked at together.
        for (std::size_t before = 0; before < 9; ++before)
        {
            const std::string around(before, 'x');
            const std::string line = LineOf(SSkipEvent{around + text + "12345678" + around});
            EXPECT_EQ(line,
                      R"({"event":"skip",)" + TIME + R"(,"path":")" + around + json + "12345678" + around + "\"}\n");
            const SEventLine back = FromJson(line);
            ASSERT_TRUE(back.event) << back.error << line;
            EXPECT_EQ(std::get<SSkipEvent>(back.event->what).path,
                      around + (read.empty() ? json : read) + "12345678" + around);
        }
    }
}

TEST(EventJson, TimesKeepMillisecondsOverTheTurnOfASecond)
{
    const std::pair<std::chrono::system_clock::duration, const char*> rows[] = {{0ms, "1970-01-01T00:00:00.000Z"},
                                                                                {999999us, "1970-01-01T00:00:00.999Z"},
                                                                                {1000ms, "1970-01-01T00:00:01.000Z"},
                                                                                {999ms, "1970-01-01T00:00:00.999Z"},
                                                                                {-1us, "1969-12-31T23:59:59.999Z"}};
    for (const auto& [time, text] : rows)
    {
        const std::string line = LineOf(SSkipEvent{}, time);
        EXPECT_EQ(line,
                  std::string(R"({"event":"skip","time":")") + text +
                      R"(","path":""})"
                      "\n");
        EXPECT_EQ(FromJson(line).event->time,
                  std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::time_point(time)));
    }
}

TEST(EventJson, ALineThatIsNoEventSaysWhy)
{
    const std::string skip = R"({"event":"skip",)" + TIME;
    const std::string log = R"({"event":"log",)" + TIME + R"(,"status":0,"second":0,)";
    const std::string load = R"({"event":"suite-load",)" + TIME + R"(,"file":"","loaded":false,"problems":[)";
    const std::string problem = R"({"line":1,"column":1,"severity":"error","rule":"","message":""})";
    const std::string verdict =
        R"({"event":"verdict",)" + TIME + R"(,"path":"","test":true,"verdict":"passed","warnings":0,)";
    const std::string prompt =
        R"({"event":"prompt-open",)" + TIME + R"(,"kind":"integer","text":"","label":"","base":)";
    const std::string time = " must be a time such as \"2026-11-22T05:13:04.250Z\"";
    const std::string version = "this is a record of version ";
    const std::pair<std::string, std::string> rows[] = {
        // clang-format off
        {skip + R"(,"path":"/"})", "an event"},
        {R"( { "path" : "\u002f", "new":{"deep":[null]}, "time":"2024-02-29T12:34:56.007Z","event":"skip"})" "\r\n", "an event"},
        {R"({"event":"sandwich"})", "not known"},
        {skip + "}", "\"skip.path\" is missing"},
        {skip + R"(,"path":null})", "\"skip.path\" must be a text"},
        {R"({"event":"skip","path":"/"})", "\"skip.time\" is missing"},
        {R"({"event":"skip","time":"2024-02-30T12:34:56.007Z","path":"/"})", "\"skip.time\"" + time},
        {R"({"event":"skip","time":"2024-02-29T24:34:56.007Z","path":"/"})", "\"skip.time\"" + time},
        {R"({"event":"skip","time":"2024-02-29 12:34:56.007Z","path":"/"})", "\"skip.time\"" + time},
        {R"({"event":"skip","time":"9999-02-28T12:34:56.007Z","path":"/"})", "\"skip.time\"" + time},
        {R"({"time":"2024-02-29T12:34:56.007Z"})", "\"event\" is missing"},
        {R"({"event":7})", "\"event\" must be a text"},
        {"[]", "not a JSON object"},
        {log + R"("level":4294967296})", "\"log.level\" must be a whole number from 0 to 2^32 - 1"},
        {log + R"("level":1.0})", "\"log.level\" must be a whole number from 0 to 2^32 - 1"},
        {log + R"("level":1,"format":[]})", "\"log.format\" must be an object"},
        {log + R"("level":1,"format":{"color":[0,0,0]}})", "\"log.format.color\" must be an array of four numbers"},
        {load + "7]}", "\"suite-load.problems[0]\" must be an object"},
        {load + problem + R"(,{"line":1,"column":1,"severity":"fatal"}]})",
         "\"suite-load.problems[1].severity\" must be \"error\" or \"warning\""},
        {R"({"event":"run-start",)" + TIME + R"(,"suite":"","file":"","library":"","executionType":0,"mode":0,"meta":{"k":1}})",
         "\"run-start.meta.k\" must be a text"},
        {verdict + R"("passes":[18446744073709551616]})", "\"verdict.passes[0]\" must be a whole number from 0 to 2^64 - 1"},
        {verdict + R"("passes":[],"ms":1e300})", "\"verdict.ms\" must be a duration"},
        {prompt + "12}", "\"prompt-open.base\" must be 10 or 16"},
        {R"({"event":"prompt",)" + TIME + R"(,"kind":"info","text":"","button":"","timeout":null,"answer":"maybe"})",
         "\"prompt.answer\" must be " + std::string(ANSWER_FORMS)},
        {R"({"event":"record",)" + TIME + R"(,"version":1,"engine":"5.0.0"})",
         version + "1, and only version 2 can be read: run the suite again for a new record"},
        {R"({"event":"record",)" + TIME + R"(,"version":3})",
         version + "3, and only version 2 can be read: read it with a newer version of this program"},
        {R"({"event":"new","huge":[0e99,-0.0e-99,1e308,9e999]})", "not valid JSON at byte 44: Number too big to be stored in double."},
        {R"({"event":"new","huge":1.8e308})", "not valid JSON at byte 23: A number out of range."},
        {"", "not valid JSON at byte 1: The document is empty."},
        {skip + R"(,"path":"/1/0)", "not valid JSON at byte 63: Missing a closing quotation mark in string."},
        {skip + R"(,"path":"/"} {})", "not valid JSON at byte 63: The document root must not be followed by other values."},
        {skip + ",\"path\":\"\xFF\"}", "not valid JSON at byte 59: Invalid encoding in string."},
        {skip + R"(,"path":"/"})" + std::string(1, '\0'), "not valid JSON at byte 62: A null character."},
        {std::string(100000, '['), "not valid JSON at byte 100001: Invalid value."},
        // clang-format on
    };
    for (const auto& [line, error] : rows)
    {
        EXPECT_EQ(ErrorOf(line), error) << line.substr(0, 200);
    }
}

TEST(EventJson, WordsOfEveryEnumeration)
{
    EXPECT_EQ(WordsOf<ESeverity>(), "error, warning");
    EXPECT_EQ(WordsOf<ENodeState>(), "not run, executing, passed, failed");
    EXPECT_EQ(WordsOf<EVerdict>(), "passed, failed, error, aborted");
    EXPECT_EQ(WordsOf<EAbortCause>(), "operator, library, unanswered, limit, crash");
    EXPECT_EQ(WordsOf<EOutputStream>(), "stdout, stderr");
    EXPECT_EQ(WordsOf<ELockState>(), "waiting, refused");
    EXPECT_EQ(WordsOf<ENotRunReason>(), "condition, no pass, initialization, stopped, library, left out");
}

TEST(EventJson, WritingTakesNoMemoryOfItsOwnAndLosesNoLineWhenThereIsNone)
{
    std::string lines;
    const SEvent event{{}, SLogEvent{0, 0, 5, SLogFormat{TLogColor{}, TLogColor{}}, std::string(300, '\n')}};
    ToJson(event, lines);
    const std::string line = lines;
    lines.clear();
    const std::size_t before = allocations;
    ToJson(event, lines);
    EXPECT_EQ(allocations, before);
    lines.shrink_to_fit();
    isMemoryExhausted = true;
    EXPECT_THROW(ToJson(event, lines), std::bad_alloc);
    isMemoryExhausted = false;
    EXPECT_EQ(lines, line);
}

TEST(Answer, OneRuleForListsRecordsAndTheProtocol)
{
    const std::pair<std::string_view, std::optional<TPromptAnswer>> rows[] = {
        {"true", true},
        {"false", false},
        {"0", std::uint64_t{0}},
        {"18446744073709551615", MOST},
        {R"("ok")", EPromptEnd::Ok},
        {R"("timeout")", EPromptEnd::TimeOut},
        {R"("cancel")", EPromptEnd::Cancel},
        {R"("abort")", EPromptEnd::Abort},
        {R"("0x12C")", std::uint64_t{300}},
        {R"(" 0XfF\t")", std::uint64_t{255}},
        {R"("0xFFFFFFFFFFFFFFFF")", MOST},
        {R"("012")", std::uint64_t{12}},
        {"18446744073709551616", {}},
        {R"("18446744073709551616")", {}},
        {"-1", {}},
        {"1.5", {}},
        {"null", {}},
        {"[true]", {}},
        {"true false", {}},
        {"ok", {}},
        {R"("OK")", {}},
        {R"("")", {}},
        {R"("  ")", {}},
        {R"("0x")", {}},
        {R"("0x0x1")", {}},
        {R"("12C")", {}},
        {R"("-1")", {}},
        {R"("1 2")", {}},
    };
    for (const auto& [json, answer] : rows)
    {
        EXPECT_EQ(ParseAnswer(json), answer) << json;
        if (answer)
        {
            std::string written;
            AppendAnswer(*answer, written);
            EXPECT_EQ(ParseAnswer(written), answer) << written;
        }
    }
}

#include "TestFile.h"

#include <Reports/LogFile.h>

#include <chrono>
#include <string>
#include <utility>

using namespace std::chrono_literals;

TEST(LogFile, EachEventHasItsLinesAndEachNodeItsName)
{
    const std::string indent(34, ' ');
    const std::chrono::system_clock::time_point time(1709210096007ms);
    const std::pair<TEvent, std::string> rows[] = {
        // clang-format off
        {SRecordEvent{"5.0.0", "host"}, ""},
        {SSuiteLoadEvent{"b.xml", false, {{3, 7, ESeverity::Error, "schema", "no\nsuch"}, {0, 0, ESeverity::Warning, "ignored", "w"}}},
         "0 note   Not loaded: b.xml\n@ 0 ERROR  b.xml:3:7: error: no\n" + indent + "such [schema]\n@ 0 note   b.xml: warning: w [ignored]"},
        {SSuiteLoadEvent{"a.xml", true, {}}, ""},
        {SVerdictEvent{"/0", true, EVerdict::Failed, 0, {}, 1us, "no node is known"}, "0 note   Failed: /0: no node is known"},
        {SRunStartEvent{"Bench", "a.xml", "lib", 0, 0, {{"serial", "A1\n"}}}, "0 note   serial: A1\\n"},
        {SNodeEvent{"/1", "x:Group", "", "Loop", 17, true, true, false}, ""},
        {SNodeEvent{"/1/0", "x:Function", "Func", "", 18, true, true, true}, ""},
        {SNodeEvent{"/1/1", "x:Set", "", "", 19, true, true, true}, ""},
        {SLogEvent{0, 4, 5, {}, "one\x1B[2J\ntwo\n\n"}, "5 -      one\\x1B[2J\n" + indent + "two"},
        {SLogEvent{0x20000000, 0, 2, {}, ""}, "2 FAILED "},
        {SLogEvent{0x60000000, 0, 1, {}, "no device"}, "1 ERROR  no device"},
        {SPrintEvent{3, false, "shown"}, "3 print  shown"},
        {STestLogEvent{"a\nb", true, false}, "0 test   a\\nb"},
        {STestLogEvent{"-", false, true}, "0 part   -"},
        {STestLogEvent{"Startup", false, false}, "0 step   Startup"},
        {SStateEvent{"/1", "x:Group", "", "Loop", 17, ENodeState::Failed}, ""},
        {SPassEvent{"/1", 2, 7, "$i"}, "5 pass   /1 x:Group \"Loop\" (a.xml:17): pass 2, $i = 7"},
        {SPassEvent{"/1", 3, 0, {}}, "5 pass   /1 x:Group \"Loop\" (a.xml:17): pass 3"},
        {SSkipEvent{"/1/1"}, "0 note   Skipped: /1/1 x:Set (a.xml:19): its condition does not hold"},
        {SMeasurementEvent{"/1/0", "U", 1, "V", {}, {}, true}, ""},
        {SVerdictEvent{"/1/0", true, EVerdict::Passed, 1, {1}, 12345us, ""},
         "0 note   Passed: /1/0 x:Function \"Func\" [1] (a.xml:18), 0.012 s"},
        {SVerdictEvent{"/1/0", true, EVerdict::Failed, 0, {2, 3}, 1us, "1 is\nnot 2\n"},
         "0 note   Failed: /1/0 x:Function \"Func\" [2.3] (a.xml:18): 1 is\n" + indent + "not 2"},
        {SVerdictEvent{"/1/1", false, EVerdict::Passed, 1, {}, 12345us, ""}, ""},
        {SVerdictEvent{"/1", false, EVerdict::Error, 0, {}, 1us, "crashed"}, "0 note   Error: /1 x:Group \"Loop\" (a.xml:17): crashed"},
        {SVerdictEvent{"/1/1", false, EVerdict::Aborted, 0, {}, 1us, "by hand"}, "0 note   Aborted: /1/1 x:Set (a.xml:19): by hand"},
        {SPromptOpenEvent{{}, 1}, ""},
        {SPromptEvent{{}, EPromptEnd::Ok, 1}, ""},
        {SAbortEvent{"by\nhand", EAbortCause::Operator}, "0 abort  by\\nhand"},
        {SOutputEvent{"/1/0", EOutputStream::StdErr, "oops\n"}, "0 stderr oops"},
        {SOutputEvent{"", EOutputStream::StdOut, "x"}, "0 stdout x"},
        {SLockEvent{ELockState::Waiting, "/l", 47, "bench", time},
         "0 note   The execution lock /l is held by process 47 on bench since 2024-02-29T12:34:56.007Z: waiting"},
        {SLockEvent{ELockState::Refused, "/l", {}, "", {}}, "0 note   The execution lock /l is held: refused"},
        {SVanishedEvent{11, {}, "/1/0"},
         "0 ERROR  The process that ran the suite ended without a word, signal 11; this was running: /1/0 x:Function \"Func\" (a.xml:18)"},
        {SVanishedEvent{{}, 1, ""}, "0 ERROR  The process that ran the suite ended without a word, exit status 1"},
        {SHeadlineEvent{"Test suite Failed!", 0}, "0 result Test suite Failed!"},
        {SNotRunEvent{"/1/0", ENotRunReason::NoPass}, "0 note   Not run: /1/0 x:Function \"Func\" (a.xml:18): no pass"},
        {SRunEndEvent{0, "Failed", "", false, 0, 0, 0, 0, 0, 0, 0, {215, 2, 1, 3, 4, 5}, 12345ms},
         "0 result Failed; 221 tests: 215 passed, 2 failed, 1 error, 3 aborted, 4 not run; 12.345 s"},
        {SRunEndEvent{0, "Passed", "", true, 0, 0, 0, 0, 0, 0, 0, {1, 0, 0, 0, 0, 0}, 0ms},
         "0 result Passed; 1 test: 1 passed, 0 failed, 0 errors, 0 aborted, 0 not run; 0.000 s"},
        {SRunEndEvent{0, "Passed", "", false, 0, 0, 0, 0, 0, 0, 0, {}, 0ms},
         "0 result Not passed; 0 tests: 0 passed, 0 failed, 0 errors, 0 aborted, 0 not run; 0.000 s"},
        // A further run of the same record has a tree of its own.
        {SRunStartEvent{"Next", "c.xml", "", 0, 0, {}}, ""},
        {SSkipEvent{"/1/1"}, "0 note   Skipped: /1/1: its condition does not hold"},
        // clang-format on
    };
    const CTestFile file;
    CLogFile log(file.Path());
    std::size_t seen = 0;
    for (const auto& [event, text] : rows)
    {
        std::string expected = text.empty() ? "" : "@ " + text + '\n';
        for (std::size_t at = expected.find('@'); at != std::string::npos; at = expected.find('@', at))
        {
            expected.replace(at, 1, "2024-02-29T12:34:56.007Z");
        }
        log.Take({time, event});
        log.HandOver();
        const std::string all = file.Text();
        EXPECT_EQ(all.substr(seen), expected) << event.index();
        seen = all.size();
    }
    log.Take({time, SHeadlineEvent{"gathered", 0}});
    EXPECT_EQ(file.Text().size(), seen);
    log.Take({time, SRunEndEvent{}});
    EXPECT_GT(file.Text().size(), seen) << "a run's end is handed over at once";
}

#include "TestFile.h"

#include <Reports/HtmlReport.h>

#include <CoreKit/TestStatus.h>

#include <nlohmann/json.hpp>

#include <chrono>
#include <limits>
#include <string>
#include <utility>
#include <vector>

using namespace std::chrono_literals;

namespace
{
using TJson = nlohmann::json;

const std::chrono::system_clock::time_point BEGIN(1709210096007ms);

/// A finished report, cut where its data begins and ends.
struct SPage
{
    std::string head;
    std::string data;
    std::string rest;

    TJson Rows() const { return TJson::parse(data); }
};

SPage PageOf(const std::vector<TEvent>& events)
{
    const CTestFile file;
    CHtmlReport report(file.Path());
    std::chrono::milliseconds time{};
    for (const TEvent& event : events)
    {
        report.Take({BEGIN + time, event});
        time += 250ms;
    }
    report.Finish();
    const std::string page = file.Text();
    const std::string open = "<script type=\"application/json\" id=\"data\">";
    const std::size_t begin = page.find(open) + open.size();
    const std::size_t end = page.find("</script>", begin);
    EXPECT_LT(begin, end);
    return {page.substr(0, begin), page.substr(begin, end - begin), page.substr(end)};
}

/// The overall word and those of the suites.
std::string OutcomesOf(const std::vector<TEvent>& events)
{
    const TJson outcome = PageOf(events).Rows().back();
    std::string text = outcome.at(2);
    for (const std::string word : outcome.at(3))
    {
        text += ", " + word;
    }
    return text;
}

SRunEndEvent End(bool passed, std::string result, SVerdictCounts verdicts = {1, 0, 0, 0, 0, 0})
{
    SRunEndEvent end;
    end.status = passed ? TS_NONE : TS_ERROR;
    end.passed = passed;
    end.result = std::move(result);
    end.verdicts = verdicts;
    return end;
}

SRunStartEvent Start(std::string file, std::uint32_t executionType = 0)
{
    return {"Bench", std::move(file), "Lib", executionType, 0, {}};
}

SVerdictEvent Verdict(EVerdict verdict)
{
    return {"/1", true, verdict, 0, {}, 1us, "reason"};
}
} // namespace

TEST(HtmlReport, EventsBecomeRowsInTheirOrder)
{
    const SPrompt prompt{EPromptKind::Integer, "How many?", 120, "", "", "", "Number", true, true, 7, 1, UINT64_MAX};
    const double infinite = std::numeric_limits<double>::infinity();
    const std::pair<TEvent, const char*> rows[] = {
        // clang-format off
        {SRecordEvent{"5.0.0", "orvanta"}, R"(["record",0,"5.0.0","orvanta"])"},
        {SSuiteLoadEvent{"a.xml", true, {}}, R"(["load",250,0,"a.xml",true])"},
        {SRunStartEvent{"Bench", "a.xml", "Lib", 2, 1, {{"serial", "A1"}}}, R"(["run",500,0,"Bench","a.xml","Lib",2,1,[["serial","A1"]]])"},
        {SNodeEvent{"/", "x:TestSuite", "Bench", "", 2, false, true, false}, R"(["node",750,"/","x:TestSuite","Bench","",2,true,false])"},
        {SNodeEvent{"/1", "x:Function", "F", "Adds up", 9, true, true, true}, R"(["node",1000,"/1","x:Function","F","Adds up",9,true,true])"},
        {SStateEvent{"/1", "x:Function", "F", "Adds up", 9, ENodeState::Executing}, R"(["state",1250,1,"executing"])"},
        {SLogEvent{0x20000000, 4, 2, {}, "plain\n"}, R"(["log",1500,"plain\n",2,536870912,4])"},
        {SLogEvent{0, 0, 3, SLogFormat{TLogColor{1, 2, 3, 255}, {}, 700, true, false}, "red"}, R"(["log",1750,"red",3,0,0,[1,2,3,255],null,700,true,false])"},
        {SPrintEvent{3, true, "shown"}, R"(["print",2000,"shown",3,true])"},
        {STestLogEvent{"step", true, false}, R"(["test-log",2250,"step",true,false])"},
        {SPassEvent{"/", 2, UINT64_MAX, "$i"}, R"(["pass",2500,0,2,"18446744073709551615","$i"])"},
        {SMeasurementEvent{"/1", "U", 1.5, "V", infinite, 2.0, false}, R"(["measurement",2750,1,"U",1.5,"V",null,2.0,false])"},
        {SPromptOpenEvent{prompt, 3}, R"(["prompt",3000,3,"integer","How many?","","","","Number","1","18446744073709551615",120,null,true,"7"])"},
        {SPromptEvent{prompt, std::uint64_t{64}, 3}, R"(["prompt",3250,3,"integer","How many?","","","","Number","1","18446744073709551615",120,"64",true,"7"])"},
        {SOutputEvent{"", EOutputStream::StdErr, "oops"}, R"(["output",3500,null,"stderr","oops"])"},
        {SVerdictEvent{"/1", true, EVerdict::Failed, 1, {2, 3}, 1234us, "1 is not 2"}, R"(["verdict",3750,1,true,"failed",1,[2,3],1234,"1 is not 2"])"},
        {SSkipEvent{"/1"}, R"(["skip",4000,1])"},
        {SAbortEvent{"by hand", EAbortCause::Operator}, R"(["abort",4250,"by hand","operator"])"},
        {SVanishedEvent{11, {}, "/1"}, R"(["vanished",4500,11,null,1])"},
        {SLockEvent{ELockState::Refused, "/l", 47, "bench", BEGIN}, R"(["lock",4750,"refused","/l",47,"bench",1709210096007])"},
        {SNotRunEvent{"/1", ENotRunReason::NoPass}, R"(["not-run",5000,1,"no pass"])"},
        {SHeadlineEvent{"Test suite Failed!", 1}, R"(["headline",5250,"Test suite Failed!"])"},
        {SRunEndEvent{0, "Failed", "r", false, 1, 2, 3, 4, 5, 6, 7, {8, 9, 10, 11, 12, 13}, 99ms},
         R"(["end",5500,"Failed",99,[8,9,10,11,12,13]])"},
        // A further run counts its nodes anew; one that was not announced is.
        {Start("b.xml"), R"(["run",5750,1,"Bench","b.xml","Lib",0,0,[]])"},
        {SSkipEvent{"/9"}, R"(["node",6000,"/9","","","",0,false,false]|["skip",6000,0])"},
        {SSuiteLoadEvent{"c.xml", false, {{3, 7, ESeverity::Error, "schema", "no such"}}},
         R"(["load",6250,2,"c.xml",false]|["problem",6250,3,7,"error","schema","no such"])"},
        // clang-format on
    };
    std::vector<TEvent> events;
    TJson expected = TJson::array();
    for (const auto& [event, text] : rows)
    {
        events.push_back(event);
        std::string lines = text;
        for (std::size_t bar = lines.find('|'); bar != std::string::npos; bar = lines.find('|'))
        {
            expected.push_back(TJson::parse(lines.substr(0, bar)));
            lines.erase(0, bar + 1);
        }
        expected.push_back(TJson::parse(lines));
    }
    expected.push_back(TJson::parse(R"(["outcome",1709210096007,"error",["error","error","not loaded"]])"));
    const TJson actual = PageOf(events).Rows();
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i)
    {
        EXPECT_EQ(actual[i], expected[i]);
    }
}

TEST(HtmlReport, NoTextLeavesTheDataOrHidesInIt)
{
    const std::pair<const char*, const char*> rows[] = {
        {"</script><script>alert(1)</script>", "</script><script>alert(1)</script>"},
        {"<!--<script>&lt;\"'\\", "<!--<script>&lt;\"'\\"},
        {"@OUTCOME@ @DATA@", "@OUTCOME@ @DATA@"},
        {"\x1B[2J\r\n\tend", "\\x1B[2J\\x0D\n\tend"},
        {"\xC2\x85 \xE2\x80\xA8 \xE2\x80\xA9", "\\u0085 \\u2028 \\u2029"},
        {"\xE2\x80\xAE zero\xE2\x80\x8Bwidth \xEF\xBB\xBF\xC2\xAD", "\\u202E zero\\u200Bwidth \\uFEFF\\u00AD"},
        {"\xF3\xA0\x81\x81 \xF0\x9F\x98\x80 \xC3\xA9 \xE2\x82\xAC", "\\uE0041 \xF0\x9F\x98\x80 \xC3\xA9 \xE2\x82\xAC"},
        {"\\\xE2\x80\x8B \\u200B", "\\\\\\u200B \\\\u200B"},
        {"\xE3\x85\xA4 \xE1\x85\x9F\xE1\x85\xA0 \xE2\xA0\x80 \xCD\x8F", "\\u3164 \\u115F\\u1160 \\u2800 \\u034F"},
        {"\xE1\x9E\xB4\xE1\x9E\xB5 \xE1\x9E\xB6 \xE2\xA0\x81", "\\u17B4\\u17B5 \xE1\x9E\xB6 \xE2\xA0\x81"},
        {"\xFF\xC3", "\\xFF\\xC3"},
    };
    const SPage plain = PageOf({SAbortEvent{}});
    for (const auto& [text, shown] : rows)
    {
        const SPrompt prompt{EPromptKind::Boolean, text, {}, text, text, text, text, false, true, 0, 0, 0};
        const std::vector<TEvent> events{SRecordEvent{text, text},
                                         SSuiteLoadEvent{text, false, {{1, 1, ESeverity::Error, text, text}}},
                                         SRunStartEvent{text, text, text, 0, 0, {{text, text}}},
                                         SNodeEvent{text, text, text, text, 1, true, true, true},
                                         SLogEvent{0, 0, 0, {}, text},
                                         SPrintEvent{0, true, text},
                                         STestLogEvent{text, true, true},
                                         SPassEvent{text, 1, 1, text},
                                         SMeasurementEvent{text, text, 1, text, {}, {}, true},
                                         SPromptOpenEvent{prompt, 1},
                                         SVerdictEvent{text, true, EVerdict::Failed, 0, {}, 1us, text},
                                         SAbortEvent{text, EAbortCause::Operator},
                                         SOutputEvent{text, EOutputStream::StdOut, text},
                                         SLockEvent{ELockState::Refused, text, {}, text, {}},
                                         SHeadlineEvent{text, 0},
                                         End(false, text)};
        const SPage page = PageOf(events);
        EXPECT_EQ(page.head, plain.head);
        EXPECT_EQ(page.rest, plain.rest);
        EXPECT_EQ(page.data.find_first_of("<>&\x1B\x7F"), std::string::npos) << page.data;
        // Every text of the events is shown in the same way.
        std::size_t seen = 0;
        for (const TJson& value : page.Rows().flatten())
        {
            seen += value.is_string() && value.get<std::string>() == shown ? 1U : 0U;
        }
        EXPECT_EQ(seen, 32U) << shown;
    }
}

TEST(HtmlReport, TheVerdictIsNeverBetterThanTheEvents)
{
    const SSuiteLoadEvent a{"a", true, {}};
    const SSuiteLoadEvent b{"b", true, {}};
    const SSuiteLoadEvent unreadable{"b", false, {}};
    const SLockEvent refused{ELockState::Refused, "/l", {}, "", {}};
    const SLogEvent failure{0x20000000, 0, 2, {}, "text"};
    const SVerdictCounts none{};
    const SRunEndEvent cutOff;
    const std::pair<std::vector<TEvent>, const char*> rows[] = {
        // clang-format off
        {{}, "nothing ran"},
        {{SRecordEvent{}, a, Start("a"), Verdict(EVerdict::Passed), End(true, "Passed")}, "passed, passed"},
        {{a, Start("a", 1), End(true, "Completed", none)}, "completed, completed"},
        {{a, Start("a", 2), End(true, "Passed")}, "passed, passed"},
        {{a, Start("a"), Verdict(EVerdict::Failed), End(false, "Failed")}, "failed, failed"},
        // An error that the suite caught is no unexpected end.
        {{a, Start("a"), Verdict(EVerdict::Error), End(false, "Failed")}, "failed, failed"},
        {{a, Start("a"), Verdict(EVerdict::Aborted), End(false, "Aborted")}, "aborted, aborted"},
        {{a, Start("a"), Verdict(EVerdict::Failed), End(true, "Passed")}, "failed, failed"},
        {{a, Start("a"), failure, End(true, "Passed")}, "failed, failed"},
        {{a, Start("a"), End(false, "Passed", none)}, "nothing ran, nothing ran"},
        {{a, Start("a"), failure, End(false, "Passed", none)}, "failed, failed"},
        {{a, Start("a"), Verdict(EVerdict::Failed), End(false, "")}, "error, error"},
        {{a, Start("a"), SAbortEvent{"", EAbortCause::Operator}, End(false, "")}, "aborted, aborted"},
        {{a, Start("a"), SAbortEvent{"", EAbortCause::Operator}, cutOff}, "error, error"},
        {{a, Start("a"), SAbortEvent{"", EAbortCause::Crash}, Verdict(EVerdict::Error), End(false, "Aborted")}, "error, error"},
        {{a, Start("a"), SAbortEvent{"", EAbortCause::Limit}, End(false, "Aborted")}, "error, error"},
        {{a, Start("a"), SVanishedEvent{}, End(true, "Passed")}, "error, error"},
        {{a, Start("a"), Verdict(EVerdict::Passed)}, "error, error"},
        {{a, Start("a"), refused, End(false, "")}, "refused, refused"},
        {{a, refused}, "refused, refused"},
        {{a, Start("a"), SLockEvent{ELockState::Waiting, "/l", {}, "", {}}, End(true, "Passed")}, "passed, passed"},
        {{unreadable}, "not loaded, not loaded"},
        {{a, Start("a"), Verdict(EVerdict::Error), SNotRunEvent{"/1", ENotRunReason::Library}, End(false, "Failed", none)}, "not loaded, not loaded"},
        {{a, Start("a"), End(true, "Passed"), unreadable}, "not loaded, passed, not loaded"},
        // Loaded ahead, and run one after the other; b is left out, then it isn't.
        {{a, b, Start("a"), End(true, "Passed")}, "passed, passed, nothing ran"},
        {{a, b, Start("a"), End(true, "Passed"), Start("b"), Verdict(EVerdict::Failed), End(false, "Failed")}, "failed, passed, failed"},
        {{a, a, Start("a"), End(false, "Failed"), Start("a"), End(true, "Passed")}, "failed, failed, passed"},
        {{a, b}, "nothing ran, nothing ran, nothing ran"},
        // A second record stands for itself.
        {{SRecordEvent{}, a, Start("a"), SRecordEvent{}, a, Start("a"), End(true, "Passed")}, "error, error, passed"},
        {{SRecordEvent{}, a, SRecordEvent{}, Start("a"), End(true, "Passed")}, "passed, nothing ran, passed"},
        // Outside of a run it is nobody's.
        {{SVanishedEvent{}}, "error"},
        {{a, SVanishedEvent{}}, "error, nothing ran"},
        {{a, b, Start("a"), End(true, "Passed"), SVanishedEvent{}}, "error, passed, nothing ran"},
        // clang-format on
    };
    for (const auto& [events, expected] : rows)
    {
        EXPECT_EQ(OutcomesOf(events), expected);
        const std::string word = std::string(expected).substr(0, std::string(expected).find(','));
        EXPECT_NE(PageOf(events).rest.find("Overall: " + word + "<"), std::string::npos) << "without a script";
    }
}

TEST(HtmlReport, ThePageFetchesNothing)
{
    const SPage page = PageOf({});
    EXPECT_NE(page.head.find("content=\"default-src 'none';"), std::string::npos);
    EXPECT_NE(page.head.find("script-src 'sha256-"), std::string::npos);
    const std::string all = page.head + page.rest;
    for (const char* way :
         {" src=", "url(", "@import", "<link", "fetch(", "XMLHttpRequest", "innerHTML", "https:", "SCRIPT_HASH"})
    {
        EXPECT_EQ(all.find(way), std::string::npos) << way;
    }
}

#include "CliFixture.h"

#include <QFile>

#include <map>
#include <regex>
#include <sstream>

using namespace Qt::StringLiterals;

namespace
{
using CFilesTest = CCliTest;

/// An event in short: what it is and its most telling values; empty for what depends on the machine.
std::string Digest(const TJson& event)
{
    const std::string kind = event.at("event");
    const auto text = [&](const char* key) { return ' ' + event.at(key).get<std::string>(); };
    if (kind == "state")
    {
        return kind + text("path") + text("element") + text("name") + text("state");
    }
    if (kind == "run-start")
    {
        return kind + text("suite") + text("library");
    }
    if (kind == "run-end")
    {
        return kind + text("result") + ' ' + event.at("passed").dump() + ' ' + event.at("executed").dump() + ' ' +
            event.at("tests").dump() + ' ' + event.at("passes").dump();
    }
    return kind == "test-log" || kind == "headline" ? kind + text("text") : kind == "record" ? kind : "";
}

std::string Keys(const TJson& event)
{
    std::string keys;
    for (const auto& [key, value] : event.items())
    {
        keys += key + ' ';
    }
    return keys;
}
} // namespace

TEST_F(CFilesTest, TheRecordTellsARunInOrder)
{
    ASSERT_EQ(Run({u"--record"_s, Path(u"r"_s), Suite(Call("Passes"))}).code, 0);
    std::string transcript;
    for (const TJson& event : Record(u"r"_s))
    {
        const std::string digest = Digest(event);
        transcript += digest.empty() ? digest : digest + '\n';
    }
    EXPECT_EQ(transcript,
              "record\n"
              "run-start Bench CliLibrary\n"
              "test-log Startup\n"
              "state / x:TestSuite Bench executing\n"
              "state /0 x:InitGroup  executing\n"
              "state /0/0 x:Function Prepares executing\n"
              "test-log Prepares\n"
              "test-log -------\n"
              "state /0/0 x:Function Prepares passed\n"
              "state /0 x:InitGroup  passed\n"
              "state /1 x:Group Main executing\n"
              "state /1/0 x:Function Passes executing\n"
              "test-log Passes\n"
              "test-log -------\n"
              "state /1/0 x:Function Passes passed\n"
              "state /1 x:Group Main passed\n"
              "state /2 x:ExitGroup  executing\n"
              "state /2/0 x:Function Prepares executing\n"
              "test-log Prepares\n"
              "test-log -------\n"
              "state /2/0 x:Function Prepares passed\n"
              "state /2 x:ExitGroup  passed\n"
              "state / x:TestSuite Bench passed\n"
              "headline Test suite Passed!\n"
              "run-end Passed true 1 1 1\n");
}

TEST_F(CFilesTest, EveryEventHasItsKeys)
{
    ASSERT_EQ(Run({u"--record"_s, Path(u"r"_s), Suite(Call("LogsError") + Call("Warns"))}).code, 1);
    std::map<std::string, std::string> keys;
    std::map<std::string, TJson> logs;
    for (const TJson& event : Record(u"r"_s))
    {
        const std::string kind = event.at("event");
        EXPECT_TRUE(std::regex_match(event.at("time").get<std::string>(),
                                     std::regex("\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}Z")));
        EXPECT_TRUE(keys.emplace(kind, Keys(event)).first->second == Keys(event)) << event;
        if (kind == "log")
        {
            logs[event.at("text")] = event;
        }
    }
    const std::map<std::string, std::string> expected{
        {"headline", "event time text emphasis "},
        {"log", "event time status second level format text "},
        {"print", "event time level line text "},
        {"record", "event time version engine "},
        {"run-end",
         "event time status result reportName passed executed failedExecutions tests passes warnings "
         "aborts failures "},
        {"run-start", "event time suite file library executionType mode "},
        {"state", "event time path element name label line state "},
        {"test-log", "event time text test separator "},
    };
    EXPECT_EQ(keys, expected);
    EXPECT_EQ(logs["no device"].at("status"), 0x40000000);
    EXPECT_EQ(logs["no device"].at("format"), nullptr);
    EXPECT_EQ(logs["Calling test suite: suite.xml."].at("format").dump(),
              "{\"color\":[0,0,255,255],\"background\":null,\"strength\":700,\"italic\":false,\"underline\":false}");
}

TEST_F(CFilesTest, WhatWasWrittenBeforeAKillStands)
{
    const auto process = StartHanging(u"r"_s);
    process->kill();
    process->waitForFinished();
    const std::vector<TJson> events = Record(u"r"_s);
    ASSERT_GE(events.size(), 4U);
    EXPECT_EQ(events.back().at("text"), "hanging");
    const auto last =
        std::find_if(events.rbegin(), events.rend(), [](const TJson& event) { return event.at("event") == "state"; });
    EXPECT_EQ(Digest(*last), "state /1/0 x:Function Hangs executing");
}

TEST_F(CFilesTest, OddBytesDoNotSpoilTheRecord)
{
    EXPECT_EQ(Run({u"--record"_s, Path(u"r"_s), Suite(Call("LogsOddBytes"))}).code, 0);
    EXPECT_NE(Read(u"r"_s).find("\"text\":\"odd \xEF\xBF\xBD and \\u001b[31mred\""), std::string::npos);
    EXPECT_EQ(Record(u"r"_s).back().at("passed"), true);
}

TEST_F(CFilesTest, ClosedStandardStreamsDoNotSpoilTheRecord)
{
    const QString call = u"'%1' run --settings settings.ini -L '%2' --record r '%3' "_s.arg(
        QStringLiteral(ORVANTA_PROGRAM), QStringLiteral(ORVANTA_LIBRARY_FOLDER), Suite(Call("Passes")));
    for (const QString& redirection : {u">&- 2>&-"_s, u"| true"_s})
    {
        SCOPED_TRACE(redirection.toStdString());
        QFile::remove(Path(u"r"_s));
        const auto shell = Start(u"/bin/bash"_s, {u"-c"_s, call + redirection + u"; exit ${PIPESTATUS[0]}"_s});
        EXPECT_EQ(Finish(*shell).code, 0);
        EXPECT_EQ(Record(u"r"_s).back().at("event"), "run-end");
    }
}

TEST_F(CFilesTest, ARecordOrLogThatCannotBeCompletedIsNoSuccess)
{
    const QString passing = Suite(Call("Passes"));
    for (const QString& option : {u"--record"_s, u"--log"_s})
    {
        const SOutcome outcome = Run({option, u"/dev/full"_s, passing});
        EXPECT_EQ(outcome.code, 4);
        EXPECT_EQ(outcome.err, "orvanta: cannot write /dev/full: No space left on device (the file is not complete)\n");
        EXPECT_NE(outcome.out.find("Test suite Passed!"), std::string::npos);
    }
    EXPECT_EQ(Run({u"--record"_s, u"/dev/full"_s, Suite(Call("ReturnsFalse"))}).code, 1);
}

TEST_F(CFilesTest, TheLogFileIsCompleteWhateverTheTerminalShows)
{
    EXPECT_EQ(Run({u"-q"_s, u"--log"_s, Path(u"l"_s), Suite(Call("Passes") + Call("LogsFailure"))}).code, 1);
    const std::string log = Read(u"l"_s);
    const std::string time = "\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}Z";
    for (const char* entry : {" 0 test   Passes\n", " 3 -      all is well\n {34}with the device\n",
                              " 2 FAILED the voltage is low\n", " 5 - {9}- Entering x:InitGroup\\.\n",
                              " 6 -      Execution lock released.\n", " 0 result Test suite Failed!\n"})
    {
        EXPECT_TRUE(std::regex_search(log, std::regex(time + entry))) << entry << log;
    }
}

TEST_F(CFilesTest, SettingsAreMadeOnTheFirstWrite)
{
    const QString suite = Suite(Call("Passes"));
    const std::string expected = "LockFileName = " + Path(u"data/GuiZKExecuteLock.txt"_s).toStdString();
    Write(u"own.ini"_s, "; mine\n");
    const SOutcome named = Orvanta(
        {u"run"_s, u"--settings"_s, Path(u"own.ini"_s), u"-L"_s, QStringLiteral(ORVANTA_LIBRARY_FOLDER), suite});
    EXPECT_EQ(named.code, 0) << named.err;
    EXPECT_NE(Read(u"own.ini"_s).find(expected), std::string::npos) << Read(u"own.ini"_s);
    EXPECT_NE(Read(u"own.ini"_s).find("; mine"), std::string::npos) << Read(u"own.ini"_s);

    EXPECT_EQ(Orvanta({u"list"_s, suite}).code, 0);
    EXPECT_FALSE(QFile::exists(Path(u"config/orvanta/settings.ini"_s)));
    EXPECT_EQ(Orvanta({u"run"_s, u"-L"_s, QStringLiteral(ORVANTA_LIBRARY_FOLDER), u"--product"_s, u""_s, suite}).code,
              0);
    const std::string written = Read(u"config/orvanta/settings.ini"_s);
    EXPECT_NE(written.find(expected), std::string::npos) << written;
    EXPECT_EQ(written.find("TestScriptLabel"), std::string::npos) << written;
}

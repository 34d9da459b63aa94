#include "CliFixture.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QSysInfo>
#include <QThread>

#include <algorithm>
#include <map>
#include <regex>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace
{
class CFilesTest : public CCliTest
{
protected:
    /// What a record says of the execution lock: its state and the process that holds it, each on a line.
    std::string Locks(const std::string& record) const
    {
        std::string locks;
        for (const TJson& event : Record(record))
        {
            locks += event.at("event") != "lock"
                ? ""
                : event.at("state").get<std::string>() + ' ' + event.at("process").dump() + '\n';
        }
        return locks;
    }

    /// A run of "passing.xml" that waits for the execution lock.
    std::unique_ptr<QProcess> StartWaiting(const std::string& record) const
    {
        auto run = Start(ORVANTA_PROGRAM, Words(RUN + "--wait passing.xml --record " + record));
        const QDeadlineTimer deadline(10000);
        while (!Contains(Read(record), "\"waiting\"") && !deadline.hasExpired())
        {
            QThread::msleep(10);
        }
        EXPECT_FALSE(deadline.hasExpired()) << "the run does not wait";
        return run;
    }
};

const std::string TIME = "\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}Z";

/// An event in short: what it is and its most telling values; empty for what depends on the machine.
std::string Digest(const TJson& event)
{
    std::string digest = event.at("event");
    if (digest == "log" || digest == "print")
    {
        return "";
    }
    for (const char* key :
         {"suite", "library", "path", "element", "state", "verdict", "reason", "result", "passed", "tests", "text"})
    {
        digest += event.contains(key) ? ' ' + event.at(key).dump() : "";
    }
    std::erase(digest, '"');
    return digest + '\n';
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

TEST_F(CFilesTest, TheRecordTellsARunInOrderAndEveryEventHasItsKeys)
{
    ASSERT_EQ(Run("--meta serial=7 --meta by=a=b --record r " + Suite(Call("LogsError"))).code, 1);
    std::string transcript = "\n";
    std::map<std::string, std::string> keys;
    std::map<std::string, TJson> logs;
    for (const TJson& event : Record())
    {
        const std::string kind = event.at("event");
        transcript += Digest(event);
        EXPECT_TRUE(std::regex_match(event.at("time").get<std::string>(), std::regex(TIME)));
        EXPECT_TRUE(keys.emplace(kind, Keys(event)).first->second == Keys(event)) << event;
        if (kind == "log")
        {
            logs[event.at("text")] = event;
        }
    }
    EXPECT_EQ(transcript, R"(
record
suite-load
run-start Bench CliLibrary
node / x:TestSuite
node /0 x:InitGroup
node /0/0 x:Function
node /1 x:Group
node /1/0 x:Function
node /2 x:ExitGroup
node /2/0 x:Function
test-log Startup
state / x:TestSuite executing
state /0 x:InitGroup executing
state /0/0 x:Function executing
test-log Prepares
test-log -------
state /0/0 x:Function passed
verdict /0/0 passed 
state /0 x:InitGroup passed
state /1 x:Group executing
state /1/0 x:Function executing
test-log LogsError
test-log -------
state /1/0 x:Function passed
verdict /1/0 error no device
state /1 x:Group passed
state /2 x:ExitGroup executing
state /2/0 x:Function executing
test-log Prepares
test-log -------
state /2/0 x:Function passed
verdict /2/0 passed 
state /2 x:ExitGroup passed
state / x:TestSuite passed
headline Test suite Failed!
run-end Failed false 1
)");
    const std::map<std::string, std::string> expected{
        // clang-format off
        {"headline", "event time text emphasis "},
        {"log", "event time status second level format text "},
        {"node", "event time path element name label line selectable selected test "},
        {"print", "event time level line text "},
        {"record", "event time version engine host "},
        {"run-end", "event time status result reportName passed executed failedExecutions tests passes warnings aborts failures verdicts seconds "},
        {"run-start", "event time suite file library executionType mode meta "},
        {"state", "event time path element name label line state "},
        {"suite-load", "event time file loaded problems "},
        {"test-log", "event time text test separator "},
        {"verdict", "event time path test verdict warnings passes ms reason "},
        // clang-format on
    };
    EXPECT_EQ(keys, expected);
    EXPECT_EQ(Record().front().at("version"), 2);
    EXPECT_EQ(Events("run-start").front().at("meta").dump(), R"({"serial":"7","by":"a=b"})");
    EXPECT_EQ(Record().back().at("verdicts").dump(),
              R"({"passed":0,"failed":0,"errors":1,"aborted":0,"notRun":0,"warned":0})");
    EXPECT_EQ(logs["no device"].at("status"), 0x40000000);
    EXPECT_EQ(logs["no device"].at("format"), nullptr);
    EXPECT_EQ(logs["Calling test suite: suite.xml."].at("format").dump(),
              "{\"color\":[0,0,255,255],\"background\":null,\"strength\":700,\"italic\":false,\"underline\":false}");
}

TEST_F(CFilesTest, EverySuiteThatWasNotLoadedIsInRecordAndLogAndOnceOnTheTerminal)
{
    const std::string frob = "<x:Function name=\"Passes\"><x:Condition>\n<x:Comparison operator=\"frob\">"
                             "<x:Value value=\"1\"/><x:Value value=\"2\"/></x:Comparison></x:Condition></x:Function>";
    const std::string ours = "products=\"ours\"";
    Suite("<x:Function lable=\"a\" name=\"Passes\"/>", "", "invalid.xml", ours);
    Suite(frob, "", "unbuildable.xml", ours);
    Suite(Call("Passes"), "", "foreign.xml", "products=\"theirs\"");
    Suite(Call("Passes"), "", "good.xml", ours);
    const SOutcome outcome = Run("--record r --log l --product ours invalid.xml unbuildable.xml foreign.xml good.xml");
    EXPECT_EQ(outcome.code, 6);
    std::string loads = "\n";
    for (const TJson& load : Events("suite-load"))
    {
        loads += load.at("file").get<std::string>() + ' ' + load.at("loaded").dump();
        for (const TJson& problem : load.at("problems"))
        {
            const std::string rule = problem.at("rule");
            loads += ' ' + problem.at("line").dump() + ' ' + problem.at("severity").dump() + ' ' + rule;
            EXPECT_PRED2(Contains, outcome.err, problem.at("message").get<std::string>() + " [" + rule + "]\n");
            EXPECT_EQ(problem.at("line").is_null(), problem.at("column").is_null());
        }
        loads += '\n';
    }
    EXPECT_EQ(loads, R"(
invalid.xml false 6 "error" schema
unbuildable.xml false 7 "error" unknown-operator
foreign.xml false null "error" product
good.xml true
)");
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 3) << outcome.err;
    EXPECT_TRUE(outcome.out.starts_with("invalid.xml: not loaded\nLoaded 'unbuildable'.\nunbuildable.xml: not loaded\n"
                                        "foreign.xml: not loaded\nLoaded 'good'.\n"))
        << outcome.out;
    EXPECT_PRED2(Contains, outcome.out, "\n4 suites: 1 test: 1 passed, 0 failed, ");
    EXPECT_FALSE(Contains(outcome.out, "Invalid test suite!"));
    const std::string log = Read("l");
    for (const char* entry : {" 0 ERROR  Invalid test suite!\n", " 0 note   Not loaded: invalid.xml\n",
                              " 0 ERROR  unbuildable.xml:7:1: error: x:Comparison: the operator \"frob\" ",
                              " 0 ERROR  foreign.xml: error: not for this product: ", " 3 -      Loaded 'good'.\n"})
    {
        EXPECT_PRED2(Contains, log, entry);
    }
}

TEST_F(CFilesTest, ARunHoldsTheLockUntilItIsKilledAndItsRecordStands)
{
    const auto first = Start(ORVANTA_PROGRAM, Words(RUN + "--record r " + Suite(Call("Hangs"))));
    const QDeadlineTimer deadline(30000);
    while (!Contains(Read("r"), "\"text\":\"hanging\""))
    {
        ASSERT_FALSE(deadline.hasExpired() || first->waitForFinished(1)) << "the run does not hang";
        QThread::msleep(10);
    }
    const std::string passing = Suite(Call("Passes"), "", "passing.xml");
    ASSERT_EQ(Shell("ln r linked").code, 0);
    const std::string before = Read("r");
    for (const char* option : {"--record r ", "--log linked "})
    {
        const SOutcome refused = Run(option + passing);
        EXPECT_EQ(refused.code, 4);
        EXPECT_PRED2(Contains, refused.err, ": another run is writing it\n");
        EXPECT_EQ(Read("r"), before);
    }
    const SOutcome second = Run("--record second " + passing);
    EXPECT_EQ(second.code, 7) << second.err;
    const std::string lock = Read("lock");
    const std::string holder = lock.substr(0, lock.find('\n'));
    const std::string host = QSysInfo::machineHostName().toStdString();
    const std::string begin = "orvanta: passing.xml: process " + holder + " on " + host + " holds the execution lock " +
        Path("lock") + " since ";
    EXPECT_TRUE(second.err.starts_with(begin) && second.err.ends_with(" and still lives\n")) << second.err;
    EXPECT_PRED2(Contains, second.out, "Test suite did not execute!");
    EXPECT_EQ(Record("second").back().at("passed"), false);
    const SOutcome third = Run("--wait=0.3 --record third " + passing);
    EXPECT_EQ(third.code, 7);
    EXPECT_EQ(Locks("third"), "waiting " + holder + "\nrefused " + holder + '\n');
    const auto impatient = StartWaiting("impatient");
    impatient->terminate();
    EXPECT_EQ(Finish(*impatient).code, 2) << "a stop request ends the waiting";
    EXPECT_EQ(Locks("impatient"), "waiting " + holder + '\n');
    EXPECT_PRED2(Contains, Read("impatient"), "\"Stopped before the execution lock was free.\",\"by\":\"operator\"");
    const auto patient = StartWaiting("patient");
    first->kill();
    first->waitForFinished();
    EXPECT_EQ(Finish(*patient).code, 0);
    EXPECT_EQ(Record().back().at("text"), "hanging");
    EXPECT_TRUE(IsGone(std::stol(holder))) << "the running process outlives the one that waits";
    EXPECT_EQ(Digest(Events("state").back()), "state /1/0 x:Function executing\n");
    for (const std::string& suite : {Suite(Call("LeavesChild")), passing})
    {
        EXPECT_EQ(Run("--record r " + suite).code, 0) << "the locks of a run that is over stay";
    }
    EXPECT_EQ(Record().back().at("passed"), true);
}

TEST_F(CFilesTest, AnOutputThatIsAnythingElseByAnyNameIsRefusedUntouched)
{
    Suite(Call("Passes"));
    Write("answers.json", "[]");
    Write("old", "old");
    ASSERT_EQ(Shell("ln suite.xml hard; ln -s settings.ini soft; ln old older; ln -s new newer; mkdir folder;"
                    "cp " ORVANTA_LIBRARY_FOLDER "/libCliLibrary.so copy")
                  .code,
              0);
    const std::pair<std::string, const char*> rows[] = {
        {"--log hard", "hard: named as a suite and as the log"},
        {"--record soft", "soft: named as the settings and as the record"},
        {"--answers answers.json --save-answers a --log folder/../answers.json",
         "folder/../answers.json: named as the answers and as the log"},
        {"--record lock", "lock: named as the execution lock and as the record"},
        {"--record old --log older", "older: named as the record and as the log"},
        {"--log newer --save-answers new", "new: named as the log and as the file for the answers"},
        {"--log copy", "copy: the log would replace a program or a library"},
        {"--log out >>out", "out: named as the standard output and as the log"},
    };
    const std::string files = Shell("cat *").out;
    for (const auto& [options, message] : rows)
    {
        SCOPED_TRACE(options);
        const SOutcome outcome = Shell("'" ORVANTA_PROGRAM "' " + RUN + "suite.xml " + options);
        EXPECT_EQ(outcome.code, 4);
        EXPECT_PRED2(Contains, outcome.err, std::string("orvanta: ") + message + '\n');
        EXPECT_EQ(Shell("cat *").out, files);
    }
    EXPECT_EQ(Run("--answers answers.json --save-answers folder/../answers.json suite.xml").code, 0);
    EXPECT_EQ(Run("--record /dev/null --log /dev/null suite.xml").code, 0);
}

TEST_F(CFilesTest, ClosedStandardStreamsDoNotSpoilTheRecord)
{
    const std::string call =
        "'" ORVANTA_PROGRAM "' " + RUN + "--record r " + Suite(Call("TakesSignals") + Call("Passes"));
    for (const char* redirection : {" >&- 2>&-", " | true"})
    {
        SCOPED_TRACE(redirection);
        Write("r", "");
        EXPECT_EQ(Shell(call + redirection + "; exit ${PIPESTATUS[0]}").code, 0);
        EXPECT_EQ(Record().back().at("event"), "run-end");
    }
}

TEST_F(CFilesTest, OutputWaitsForASlowReaderAndIsNotLostInSilence)
{
    std::string calls;
    for (int i = 0; i < 3000; ++i)
    {
        calls += Call("Passes");
    }
    const QStringList list = Words("list " + Suite(calls));
    const auto slow = Start(ORVANTA_PROGRAM, list, [] { fcntl(STDOUT_FILENO, F_SETFL, O_NONBLOCK); });
    EXPECT_FALSE(slow->waitForReadyRead(0));
    QThread::msleep(300);
    const SOutcome outcome = Finish(*slow);
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.out, Orvanta("list suite.xml").out);

    int ends[2] = {-1, -1};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, ends), 0);
    const int deaf = ends[0];
    const int small = 1;
    setsockopt(deaf, SOL_SOCKET, SO_SNDBUF, &small, sizeof small);
    const std::pair<const char*, int> rows[] = {{"a socket that nobody reads", deaf}, {"a full disk", -1}};
    for (const auto& [name, target] : rows)
    {
        SCOPED_TRACE(name);
        const auto lost =
            Start(ORVANTA_PROGRAM, list,
                  [target = target] { dup2(target >= 0 ? target : open("/dev/full", O_WRONLY), STDOUT_FILENO); });
        const SOutcome lostOutcome = Finish(*lost);
        EXPECT_EQ(lostOutcome.code, 4);
        EXPECT_EQ(lostOutcome.err, "orvanta: the output cannot be written\n");
    }
    close(ends[0]);
    close(ends[1]);
}

TEST_F(CFilesTest, ARecordOrLogThatCannotBeCompletedIsNoSuccess)
{
    Suite(Call("Passes"));
    for (const char* option : {"--record", "--log"})
    {
        const SOutcome outcome = Run(std::string(option) + " /dev/full suite.xml");
        EXPECT_EQ(outcome.code, 4);
        EXPECT_EQ(outcome.err, "orvanta: cannot write /dev/full: No space left on device (the file is not complete)\n");
        EXPECT_PRED2(Contains, outcome.out, "Test suite Passed!");
    }
    EXPECT_EQ(Run("--record /dev/full " + Suite(Call("ReturnsFalse"))).code, 1);

    const std::string limited = "trap '' XFSZ; ulimit -f 1; '" ORVANTA_PROGRAM "' " + RUN + "--record r suite.xml";
    EXPECT_EQ(Shell(limited).code, 1);
    EXPECT_GE(Record().size(), 4U) << "and each of them is whole";
}

TEST_F(CFilesTest, AFullDiskLeavesSavedAnswersAsTheyWere)
{
    Suite("<x:InfoPopup text=\"" + std::string(2000, 'x') + "\"/>");
    Write("answers.json", R"([{"answer": "ok"}])");
    Write("saved.json", "[]\n");
    const SOutcome outcome = Shell("trap '' XFSZ; ulimit -f 1; '" ORVANTA_PROGRAM "' " + RUN +
                                   "--answers answers.json --save-answers saved.json suite.xml");
    EXPECT_EQ(outcome.code, 4) << outcome.out;
    EXPECT_TRUE(outcome.err.starts_with("orvanta: saved.json: the answers cannot be written: File too large"))
        << outcome.err;
    EXPECT_EQ(Read("saved.json"), "[]\n");
}

TEST_F(CFilesTest, TheLogFileIsCompleteWhateverTheTerminalShows)
{
    EXPECT_EQ(Run("-q --log l " + Suite(Call("Passes") + Call("LogsFailure"))).code, 1);
    const std::string log = Read("l");
    for (const char* entry : {" 0 test   Passes\n", " 3 -      all is well\n {34}with the device\n",
                              " 2 FAILED the voltage is low\n", " 5 - {9}- Entering x:InitGroup\\.\n",
                              " 6 -      Execution lock released.\n", " 0 result Test suite Failed!\n"})
    {
        EXPECT_TRUE(std::regex_search(log, std::regex(TIME + entry))) << entry << log;
    }
}

TEST_F(CFilesTest, SettingsAreReadAndNeverWritten)
{
    Suite(Call("Passes"));
    const std::string given = "; ours\n[application]\nTestScriptLabel=\n[application\n[runtme]\nLockFile=x\n";
    const struct
    {
        const char* environment;
        std::string options;
        int code;
        std::string error;
    } rows[] = {
        {"", "", 0, ""},
        {"XDG_CONFIG_HOME=/proc/nowhere", "", 0, ""},
        {"", "--record data/GuiZKExecuteLock.txt", 4, "named as the execution lock and as the record"},
        {"", "--settings given.ini", 0,
         "given.ini:4:1: warning: this is neither a section nor KEY=VALUE [settings]\n"
         "given.ini:5:1: warning: there is no section \"runtme\" [settings]\n"},
        {"HOME=/proc/nowhere XDG_CONFIG_HOME= XDG_DATA_HOME=", "--settings settings.ini", 0, ""},
        {"HOME=/proc/nowhere XDG_CONFIG_HOME= XDG_DATA_HOME=", "", 4, "the execution lock /proc/nowhere/"},
    };
    Write("given.ini", given);
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.environment + row.options);
        const SOutcome outcome = Shell(std::string(row.environment) + " '" ORVANTA_PROGRAM "' run " + row.options +
                                       " -L " ORVANTA_LIBRARY_FOLDER " suite.xml");
        EXPECT_EQ(outcome.code, row.code);
        EXPECT_TRUE(row.code == 0 ? outcome.err == row.error : Contains(outcome.err, row.error)) << outcome.err;
        EXPECT_FALSE(QFile::exists(QString::fromStdString(Path("config"))));
        EXPECT_EQ(Read("given.ini"), given);
    }
}

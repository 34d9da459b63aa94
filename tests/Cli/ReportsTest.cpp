#include "CliFixture.h"

#include <algorithm>
#include <csignal>
#include <string>
#include <utility>

namespace
{
std::string Limits(const std::string& lowest, const std::string& highest)
{
    return "<x:Function name=\"SupplyVoltage\" type=\"PassFailTest\" label=\"Supply\">"
           "<x:Parameter name=\"lowest\" type=\"LONG\" passed=\"byVal\" value=\"" +
        lowest + "\"/><x:Parameter name=\"highest\" type=\"LONG\" passed=\"byVal\" value=\"" + highest +
        "\"/></x:Function>";
}

class CReportsTest : public CCliTest
{
protected:
    static inline const std::string ALL = "--junit j --html h --log l ";

    /// A suite that passes, with a name of its own.
    std::string Named(const std::string& file, const std::string& name) const
    {
        std::string text = Read(Suite(Call("Passes"), {}, file));
        text.replace(text.find("Bench"), 5, name);
        Write(file, text);
        return file;
    }

    /// Makes the reports of a record and compares them with those of the run.
    void ExpectTheSame(const std::string& record) const
    {
        const SOutcome outcome = Orvanta("report --junit j2 --html h2 --log l2 " + record);
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        EXPECT_EQ(outcome.out + outcome.err, "");
        for (const char* name : {"j", "h", "l"})
        {
            EXPECT_GT(Read(name).size(), 100U);
            EXPECT_EQ(Read(name), Read(std::string(name) + '2')) << name;
        }
    }
};
} // namespace

TEST_F(CReportsTest, AreTheSameFromTheRecordByteForByte)
{
    const std::string passing = Suite(Call("Passes") + Call("Warns"), {}, "passing.xml");
    Write("broken.xml", "<x:TestSuite");
    const std::string failing =
        Suite(Call("LogsFailure") + Call("LogsOddBytes") + Call("ReturnsFalse") + Limits("4750", "4900"));
    for (const char* way : {"", "--in-process "})
    {
        const SOutcome outcome = Run(way + ALL + "--meta serial=7 --record r " + passing + " broken.xml " + failing);
        EXPECT_EQ(outcome.code, 6);
        for (const char* left : {"record: r\n", "JUnit report: j\n", "HTML report: h\n", "log: l\n"})
        {
            EXPECT_PRED2(Contains, outcome.out, left);
        }
        ExpectTheSame("r");
        EXPECT_PRED2(Contains, Read("j"), "<property name=\"serial\" value=\"7\" />");
        EXPECT_PRED2(Contains, Read("j"),
                     "Supply: supply voltage\" value=\"4.95 V (from 4.75 to 4.9), out of limits\" />");
    }
    const std::string junit = Read("j");
    const std::string withRecord = Read("l");
    EXPECT_EQ(Run(ALL + failing).code, 1);
    EXPECT_FALSE(Contains(Run("--junit j -q " + failing).out, "report: "));
    EXPECT_PRED2(Contains, Read("j"), "supply voltage: 4.95 V (from 4.75 to 4.9), out of limits");
}

TEST_F(CReportsTest, OfARunThatVanishedNameTheCallAndOfOneThatWasKilledToo)
{
    const std::string inside = "message=\"ended inside ";
    const std::string suite = Suite(Call("Passes") + Call("Exits") + Call("Warns"));
    EXPECT_EQ(Run(ALL + "--record r " + suite).code, 3);
    ExpectTheSame("r");
    EXPECT_PRED2(Contains, Read("j"), inside + "Exits\"");
    EXPECT_PRED2(Contains, Read("l"), "Error: /1/1 x:Function \"Exits\"");
    EXPECT_EQ(Run(ALL + suite).code, 3);
    EXPECT_PRED2(Contains, Read("j"), inside + "Exits\"");

    const std::string earlier = Read("j");
    const auto run =
        Start(ORVANTA_PROGRAM, Words(RUN + ALL + "--record r " + Suite(Call("Passes") + Call("NeverReturns"))));
    while (!Contains(Read("r"), "\"stuck\""))
    {
        ASSERT_FALSE(run->waitForFinished(20));
    }
    run->kill();
    Finish(*run);
    EXPECT_EQ(Read("j"), earlier) << "what an earlier run has left is gone";
    EXPECT_EQ(Orvanta("report --junit j --html h r").code, 0);
    EXPECT_PRED2(Contains, Read("j"), inside + "NeverReturns\"");
    EXPECT_PRED2(Contains, Read("h"), "ended inside NeverReturns");
}

TEST_F(CReportsTest, OneThatCannotBeWrittenLeavesTheOthersAlone)
{
    const std::string suite = Suite(Call("Passes"));
    ASSERT_EQ(Shell("ln -s nowhere/j dangling").code, 0);
    for (const char* way : {"", "--in-process "})
    {
        const SOutcome full = Run(std::string(way) + "--junit /dev/full --html h --record r " + suite);
        EXPECT_EQ(full.code, 4);
        EXPECT_PRED2(Contains, full.err, "orvanta: cannot write /dev/full: No space left on device\n");
        EXPECT_PRED2(Contains, Read("h"), "suite.xml");
        EXPECT_EQ(Record().back().at("event"), "run-end");
    }
    const std::pair<const char*, const char*> rows[] = {
        {"report --junit /dev/full r", "cannot write /dev/full: No space left on device"},
        {"report --junit dangling r", "cannot write dangling: No such file or directory"},
        {"report --junit out r >out", "out: named as the standard output and as the JUnit report"},
        {"report --junit r r", "r: named as a record and as the JUnit report"},
        {"report --junit j --html ./j r", "./j: named as the JUnit report and as the HTML report"},
        {"report --junit j suite.xml", "suite.xml:1: cannot be read as the record of a run: "},
        {"diff r gone", "cannot read gone: No such file or directory"},
    };
    for (const auto& [arguments, message] : rows)
    {
        SCOPED_TRACE(arguments);
        const SOutcome outcome = Shell("'" ORVANTA_PROGRAM "' " + std::string(arguments));
        EXPECT_EQ(outcome.code, 4);
        EXPECT_PRED2(Contains, outcome.err, std::string("orvanta: ") + message);
        EXPECT_EQ(Read("j"), "");
    }
    Write("cut", Read("r").substr(0, 20));
    const SOutcome some = Orvanta("report --junit j gone cut r");
    EXPECT_EQ(some.code, 4);
    EXPECT_PRED2(Contains, some.err,
                 "orvanta: cannot read gone: No such file or directory\norvanta: cut:1: cannot be read as ");
    EXPECT_PRED2(Contains, Read("j"), "testcase name=\"Passes\"");
}

TEST_F(CReportsTest, MeasurementsHaveTheirLimitsFromTheSuite)
{
    EXPECT_EQ(Run("--record r " + Suite(Limits("4750", "4950") + Call("Temperature"))).code, 1);
    const std::vector<TJson> measured = Events("measurement");
    ASSERT_EQ(measured.size(), 3U);
    EXPECT_EQ(
        measured[0].dump().substr(measured[0].dump().find("\"path\"")),
        R"("path":"/1/0","name":"supply voltage","value":4.95,"unit":"V","lower":4.75,"upper":4.95,"passed":true})");
    EXPECT_EQ(measured[1].dump().substr(measured[1].dump().find("\"path\"")),
              R"("path":"/1/1","name":"temperature","value":null,"unit":"","lower":null,"upper":null,"passed":false})");
    EXPECT_EQ(measured[2].at("passed"), true);
    const std::vector<TJson> entries = Events("log");
    const auto entry = [&](const std::string& text)
    {
        const auto found =
            std::find_if(entries.begin(), entries.end(), [&](const TJson& log) { return log.at("text") == text; });
        return found == entries.end() ? TJson() : TJson{found->at("status"), found->at("level")};
    };
    EXPECT_EQ(entry("supply voltage: 4.95 V (from 4.75 to 4.95)").dump(), "[0,3]");
    EXPECT_EQ(entry("temperature: nan, out of limits").dump(), "[536870912,2]");
    EXPECT_EQ(entry("draught: -1e-09 m/s (to 0)").dump(), "[0,3]");
}

TEST_F(CReportsTest, ARerunRunsWhatDidNotPassAndDiffTellsWhatBecameOfIt)
{
    const std::string step = Call("Prepares", "");
    const std::string loop = "<x:Group label=\"Loop\" iterator=\"$i\" from=\"1\" to=\"3\">" + Call("Warns") +
        Call("IsRepaired") + "</x:Group>";
    const std::string suite = Suite(step + Call("Passes") + loop + Call("Warns"), {}, "suite.xml", {},
                                    "<x:Local type=\"LONG\" name=\"$i\" value=\"0\"/>");
    const std::string other = Named("other.xml", "Other");
    EXPECT_EQ(Run("--record old -T /1/3 " + suite + ' ' + other).code, 1);
    EXPECT_EQ(Run("--record r --rerun old " + suite).code, 1);
    EXPECT_EQ(Ran(), "/0/0 /1/0 /1/2/1 /2/0 ");
    const SOutcome same = Orvanta("diff old r");
    EXPECT_EQ(same.code, 1);
    EXPECT_PRED2(Contains, same.out, "gone: ");
    EXPECT_PRED2(Contains, same.out, "0 broken, 0 fixed, 0 new, 4 gone, 0 slower\n");

    Write("repaired", "");
    const std::string third = Named("third.xml", "Third");
    const SOutcome repaired = Run("--record r --rerun old " + other + ' ' + suite + ' ' + third);
    EXPECT_EQ(repaired.code, 0) << repaired.err;
    EXPECT_PRED2(Contains, repaired.out, "other.xml: everything passed in old; the suite is not run\n");
    EXPECT_PRED2(Contains, repaired.out, "third.xml: not in old; the suite is run as it stands\n");
    EXPECT_PRED2(Contains, Orvanta("diff old r").out, "fixed: Bench.Main.Loop/IsRepaired [1]\n");

    const SOutcome nothing = Run("--rerun r " + suite + ' ' + third);
    EXPECT_EQ(nothing.code, 5);
    EXPECT_PRED2(Contains, nothing.err, "orvanta: nothing ran: everything that was selected in r has passed\n");
    EXPECT_EQ(Run("--record only -t **/IsRepaired " + suite + ' ' + third).code, 0);
    EXPECT_PRED2(Contains, Run("--rerun only " + suite + ' ' + third).out,
                 "third.xml: nothing was selected in only; the suite is not run\n");
    EXPECT_EQ(Run("--diagnostic --record listed " + third).code, 0);
    EXPECT_EQ(Run("--record r --rerun listed " + third).code, 0);
    EXPECT_EQ(Ran(), "/0/0 /1/0 /2/0 ");
    EXPECT_EQ(Run("--record r --rerun old -T /1/2/1 " + suite).code, 0);
    EXPECT_EQ(Ran(), "/0/0 /1/0 /2/0 ");
    EXPECT_EQ(Orvanta("diff r r").code, 0);
}

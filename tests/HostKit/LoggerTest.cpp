#include "TestServices.h"

#include <HostKit/VersionInfo.h>

#include <zk/test.h>

#include <algorithm>
#include <cwchar>

using LoggerTest = CServicesTest;

TEST_F(LoggerTest, FailuresCountInTheCurrentTestLogAndJoinTheStatus)
{
    logger.DoWrite(TS_FAILED, LL_NORMAL, nullptr, "before any test log");
    suiteLog.AddTestLog("first", true, false);
    CTestLog& current = *CAppState::CurrentTestLog();
    logger.DoWrite(TS_NONE, LL_ALWAYS, nullptr, "fine");
    EXPECT_TRUE(suiteLog.SuitePassed());
    logger.DoWrite({TS_FAILED | TS_ERROR, LOG_CONTINUES}, LL_DETAIL, nullptr, "both");
    EXPECT_EQ(current.FailureCount(), 1U);
    current.Close();
    logger.DoWrite(TS_ERROR, LL_ERROR, nullptr, "closed");
    EXPECT_EQ(current.FailureCount(), 1U);
    suiteLog.AddTestLog("second", false, false);
    EXPECT_EQ(CAppState::CurrentTestLog(), &current) << "nothing piles up";
    EXPECT_EQ(current.FailureCount(), 0U);
    EXPECT_FALSE(suiteLog.SuitePassed()) << "the first one's failure stays";
    logger.DoWrite(TS_ERROR, LL_ERROR, nullptr, "second");
    EXPECT_EQ(current.FailureCount(), 1U);
    EXPECT_EQ(suiteLog.TestCount(), 1U);

    EXPECT_EQ(logger.TestStatus(TS_NONE), TS_FAILED | TS_ERROR);
    logger.ClearTestStatus();
    EXPECT_EQ(logger.TestStatus(TS_NONE), TS_NONE);
    EXPECT_EQ(logger.TestStatus(TS_FAILED), TS_FAILED);
    EXPECT_EQ(logger.TestStatus(TS_NONE), TS_NONE);
    EXPECT_EQ(transcript.Take(),
              (TLines{"log 20000000/0 level 3 default: before any test log", "test log 1 0: first",
                      "log 00000000/0 level 0 default: fine", "log 60000000/4 level 6 default: both",
                      "log 40000000/0 level 1 default: closed", "test log 0 0: second",
                      "log 40000000/0 level 1 default: second"}));
}

TEST_F(LoggerTest, FormatEqualToTheDefaultIsPassedAsNone)
{
    for (const TEST_STATUS status : {TS_NONE, TS_FAILED, TS_ERROR, TS_FAILED | TS_ERROR})
    {
        WriteLog(status, LL_NORMAL, CFormatInfo(ZKLogger::GetDefaultFormat(status)), "equal");
        EXPECT_TRUE(transcript.Take().at(0).ends_with("default: equal"));
        WriteLog(status, LL_NORMAL, ZKLogger::GetDefaultFormat(status == TS_NONE ? TS_FAILED : TS_NONE), "another's");
        EXPECT_TRUE(transcript.Take().at(0).ends_with("own format: another's"));
    }
    LogDefault(TS_FAILED, "%s %d", "text", 5);
    LogDefault(TS_FAILED | TS_ERROR, "both");
    EXPECT_EQ(transcript.Take(),
              (TLines{"log 20000000/0 level 2 default: text 5", "log 60000000/0 level 1 default: both"}));
}

TEST_F(LoggerTest, FormatsDifferInWhatIsSet)
{
    const std::vector<CFormatInfo> formats{CFormatInfo({59, 59, 59, 255}, {255, 255, 255, 0}, 400), // a trace line's
                                           ZKLogger::GetDefaultFormat(TS_NONE),
                                           ZKLogger::GetDefaultFormat(TS_FAILED),
                                           ZKLogger::GetDefaultFormat(TS_ERROR),
                                           DefaultAbortFormat(),
                                           DefaultDiagnosticFormat(),
                                           DefaultErrorFormat(),
                                           DefaultWarningFormat(),
                                           DefaultUnloggedFormat()};
    for (const CFormatInfo& format : formats)
    {
        EXPECT_EQ(std::count(formats.begin(), formats.end(), format), 1);
    }

    const CFormatInfo plain({1, 2, 3, 255}, 400);
    CFormatInfo format = plain;
    format.SetBold(700, true);
    format.SetItalic(true, true);
    EXPECT_TRUE(format.Bold() && format.Italics() && !(format == plain));
    format.SetBold(0, true);
    format.SetItalic(true, false);
    EXPECT_EQ(format, plain);
    format.SetColor({9, 9, 9, 9}, false);
    EXPECT_FALSE(format.Color().has_value());
}

TEST_F(LoggerTest, PrintsFlushesAndVersionsReachTheListeners)
{
    logger.DoWritePrintOnly(LL_ALWAYS, "part");
    logger.DoWritePrintLnOnly(LL_NORMAL, "");
    FlushOutput(true);
    FlushOutput(false);
    services.Listeners.Add(transcript); // hears each once all the same
    Common_DisplayEngineFileVersions();
    EXPECT_EQ(transcript.Take(),
              (TLines{"print level 0: part", "print level 3 line: ", "flush complete", "flush cheap",
                      "log 00000000/0 level 3 default: Orvanta version: 5.0.0"}));
    Common_DisplayOSVersionInfo(DefaultDiagnosticFormat(), DefaultErrorFormat());
    EXPECT_TRUE(transcript.Take().at(0).starts_with("log 00000000/0 level 3 own format: Operating system: "));
    services.Listeners.Remove(transcript);
    FlushOutput(true);
    EXPECT_EQ(transcript.Take(), TLines{});
    EXPECT_STREQ(GetLogLevelName(LL_DETAIL), "Detail");
    EXPECT_STREQ(GetLogLevelName(static_cast<ELogLevel>(7)), "Everything");
}

TEST_F(LoggerTest, FunctionThatDidNotCompleteCountsAnAbort)
{
    logger.EndFunction();
    suiteLog.AddTestLog("complete", true, false);
    CAppState::CurrentTestLog()->FunctionCompleted(true);
    logger.EndFunction();
    EXPECT_TRUE(suiteLog.SuitePassed());
    suiteLog.AddTestLog("incomplete", true, false);
    logger.EndFunction();
    EXPECT_EQ(CAppState::CurrentTestLog()->AbortCount(), 1U);
    EXPECT_FALSE(suiteLog.SuitePassed());
}

TEST_F(LoggerTest, TestLibraryCalls)
{
    suiteLog.AddTestLog("test", true, false);
    transcript.Take();
    zk_log(5, "%s=%d", "x", 1);
    zk_log(99, nullptr);
    zk_warning("careful");
    EXPECT_TRUE(suiteLog.SuitePassed());
    zk_failure("wrong %u", 7U);
    zk_error("broken");
    const CTestLog& log = *CAppState::CurrentTestLog();
    EXPECT_EQ(log.WarningCount(), 1U);
    EXPECT_EQ(log.FailureCount(), 2U);
    EXPECT_EQ(Outcome([] { zk_error("%lc", static_cast<std::wint_t>(0x7FFFFFFF)); }),
              "error: INTERNAL ERROR - std::vsprintf() failed.");
    EXPECT_EQ(Outcome([] { zk_abort(nullptr); }), "abort: ");
    EXPECT_EQ(transcript.Take(),
              (TLines{"log 00000000/0 level 5 default: x=1",
                      "log 00000000/0 level 6 default: ", "log 00000000/0 level 4 own format: careful",
                      "log 20000000/0 level 2 default: wrong 7", "log 40000000/0 level 1 default: broken", "abort: "}));
}

TEST_F(LoggerTest, OperatorsAbortAndFailedNodesSpoilTheSuite)
{
    EXPECT_EQ(Outcome([] { RaiseUserAbort("enough"); }), "abort: enough");
    EXPECT_EQ(transcript.Take(), TLines{"abort: enough"});
    EXPECT_FALSE(suiteLog.SuitePassed());
    CTestSuiteLog other;
    other.RunFailed();
    EXPECT_FALSE(other.SuitePassed());
    services.TestSuiteLog = nullptr;
    EXPECT_EQ(Outcome([] { RaiseUserAbort("no log"); }), "abort: no log");
    EXPECT_EQ(CAppState::CurrentTestLog(), nullptr);
}

TEST(Services, ScopeRestoresThePreviousSet)
{
    EXPECT_EQ(Outcome([] { CAppState::Services(); }), "error: No host services are installed.");
    EXPECT_EQ(ZKLogger::GetDefaultLogVerbosity(TS_FAILED), LL_FAILURE);
    SHostServices outer;
    SHostServices inner;
    const CScopedServices outerScope(outer);
    {
        const CScopedServices innerScope(inner);
        EXPECT_EQ(&CAppState::Services(), &inner);
    }
    EXPECT_EQ(&CAppState::Services(), &outer);
    EXPECT_EQ(Outcome([] { CAppState::UserInput(); }), "error: The host has not installed its service \"UserInput\".");
    EXPECT_EQ(&CAppState::QtSignaler(), &outer.OwnSignaler);
    outer.QtSignaler = &inner.OwnSignaler;
    EXPECT_EQ(&CAppState::QtSignaler(), &inner.OwnSignaler);
}

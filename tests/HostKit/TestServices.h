#pragma once

#include <HostKit/AppState.h>
#include <HostKit/Logger.h>
#include <HostKit/TestSuiteLog.h>

#include <CoreKit/Exceptions.h>
#include <CoreKit/Format.h>

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

/// Writes down, one line each, what the listeners of the services are told.
class CTranscript : public CHostListener
{
public:
    void LogWritten(const SLogEntry& entry) override
    {
        Add(FormatText("log %08X/%u level %u %s: ", static_cast<unsigned>(entry.type.status), entry.type.second,
                       static_cast<unsigned>(entry.level), entry.format ? "own format" : "default"),
            entry.text);
    }
    void Printed(ELogLevel level, bool line, std::string_view text) override
    {
        Add(FormatText("print level %u%s: ", static_cast<unsigned>(level), line ? " line" : ""), text);
    }
    void TestLogAdded(std::string_view text, bool isTest, bool isSeparator) override
    {
        Add(FormatText("test log %d %d: ", isTest, isSeparator), text);
    }
    void OutputFlushed(bool complete) override { Add("flush ", complete ? "complete" : "cheap"); }
    void HeadlineShown(std::string_view text, std::uint32_t emphasis) override
    {
        Add(FormatText("headline %u: ", emphasis), text);
    }
    void PromptOpened(std::uint64_t id, const SPrompt& prompt) override
    {
        Add(FormatText("opened %llu: ", static_cast<unsigned long long>(id)), prompt.text);
    }
    void PromptEnded(std::uint64_t id, const SPrompt& /*prompt*/, const TPromptAnswer& answer) override
    {
        const auto* const end = std::get_if<EPromptEnd>(&answer);
        const auto* const number = std::get_if<std::uint64_t>(&answer);
        static const char* const ENDS[] = {"ok", "timeout", "cancel", "abort"};
        const std::string shown = end ? ENDS[static_cast<int>(*end)]
            : number                  ? std::to_string(*number)
            : std::get<bool>(answer)  ? "true"
                                      : "false";
        Add(FormatText("ended %llu: ", static_cast<unsigned long long>(id)), shown);
    }
    void Aborted(EAbortCause /*cause*/, std::string_view text) override { Add("abort: ", text); }

    std::vector<std::string> Take() { return std::exchange(m_Lines, {}); }

private:
    void Add(std::string_view start, std::string_view rest) { m_Lines.push_back(std::string(start).append(rest)); }

    std::vector<std::string> m_Lines;
};

/// A set of installed services with a logger, a suite log and a transcript.
class CServicesTest : public testing::Test
{
protected:
    CServicesTest()
    {
        services.Log = &logger;
        services.TestSuiteLog = &suiteLog;
        services.Listeners.Add(transcript);
    }

    using TLines = std::vector<std::string>;

    ZKLogger logger;
    CTestSuiteLog suiteLog;
    CTranscript transcript;
    SHostServices services;
    CScopedServices installed{services};
};

/// What an action ends in: "abort: " or "error: " and the exception's text, else "returned".
template <class Action>
std::string Outcome(Action&& action)
{
    try
    {
        action();
    }
    catch (const ZKUserAbort& exception)
    {
        return std::string("abort: ") + exception.what();
    }
    catch (const std::runtime_error& exception)
    {
        return std::string("error: ") + exception.what();
    }
    return "returned";
}

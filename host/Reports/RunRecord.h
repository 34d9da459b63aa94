#pragma once

#include <Reports/LineFile.h>
#include <Reports/NodeInfo.h>
#include <Reports/OldReportsExport.h>

#include <HostKit/HostListener.h>

#include <cstdint>
#include <string>
#include <vector>

/// Something wrong with a suite file; line 0 when it concerns the file as a whole.
struct SLoadProblem
{
    std::uint64_t line = 0;
    std::uint64_t column = 0;
    std::string severity;
    std::string message;
};

/// What became of a suite file before its run.
struct SSuiteLoad
{
    std::string file;
    bool loaded = false;
    std::vector<SLoadProblem> problems;
};

/// What is known of a run before it starts.
struct SRunStart
{
    std::string suite;
    std::string file;
    std::string library;
    std::uint32_t executionType = 0;
    std::uint32_t mode = 0;
};

/// How a run ended.
struct SRunEnd
{
    TEST_STATUS status = TS_NONE;
    std::string result;
    std::string reportName;
    bool passed = false;
    ResultSummary counters; ///< the root's
};

/// The record of the runs of one call, for programs: a file of JSON objects, one a line, each with "event" and "time",
/// written as things happen. It has no end mark, so that a record cut off by a crash is as good as a whole one. Owned
/// by the host. The constructor throws `ZKRunTimeException` when the file cannot be written; later trouble is kept in
/// `WriteError`. Bytes that are not UTF-8 are replaced, never refused.
class OLDREPORTS_EXPORT CRunRecord : public CHostListener, public CNodeStateListener
{
public:
    explicit CRunRecord(const std::string& path);

    const std::string& Path() const { return m_File.Path(); }
    std::string WriteError() const { return m_File.WriteError(); }

    void SuiteLoaded(const SSuiteLoad& load);
    void RunStarted(const SRunStart& start);
    void RunEnded(const SRunEnd& end);

    void NodeStateChanged(const SNodeInfo& node, ERunState state) override;

    void LogWritten(const SLogEntry& entry) override;
    void Printed(ELogLevel level, bool line, std::string_view text) override;
    void TestLogAdded(std::string_view text, bool isTest, bool isSeparator) override;
    void PromptEnded(std::uint64_t id, const SPrompt& prompt, const TPromptAnswer& answer) override;
    void OperatorAborted(std::string_view text) override;
    void HeadlineShown(std::string_view text, std::uint32_t emphasis) override;

private:
    CLineFile m_File;
};

#pragma once

#include <Session/RunCollector.h>
#include <Session/Suite.h>

#include <HostKit/AppState.h>
#include <HostKit/Logger.h>
#include <HostKit/StopControl.h>
#include <HostKit/TestSuiteLog.h>
#include <Orvanta/TestSuiteNode.h>
#include <Orvanta/TestSuiteState.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

/// The suite log of a run, which asks the run's own account whether the suite passed.
class CSessionSuiteLog : public CTestSuiteLog
{
public:
    CSessionSuiteLog(const CRunCollector& collector, const CStopControl& stop)
        : m_Collector(collector)
        , m_Stop(stop)
    {
    }

    bool SuitePassed() const override
    {
        return CTestSuiteLog::SuitePassed() && !m_Collector.Tally().HasFailed() && m_Stop.Requests() == 0;
    }

private:
    const CRunCollector& m_Collector;
    const CStopControl& m_Stop;
};

/// What a suite consists of: a set of services of its own, its document and its tree.
struct CSuite::SState
{
    SState(std::string suiteFile, CEventSink& sink)
        : file(std::move(suiteFile))
        , collector(sink)
    {
    }

    /// The rows of a run's table for the nodes as they are selected now, and the row of each node by its id.
    void DescribeRun(std::vector<SRunNode>& nodes, std::vector<std::size_t>& rows) const;

    std::string file;
    SHostServices services;
    CRunCollector collector;
    std::optional<ZKLogger> log;              ///< a fresh one a run
    std::optional<CSessionSuiteLog> suiteLog; ///< likewise
    std::unique_ptr<TestSuiteState> state;
    std::unique_ptr<CTestSuiteNode> root; ///< null when there is nothing to run
    std::vector<CNode*> nodes;            ///< of the tree, in document order
    std::vector<SProblem> problems;
};

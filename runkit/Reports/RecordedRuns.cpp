#include <Reports/RecordedRuns.h>

#include <Reports/RecordReader.h>

#include <Events/Node.h>

#include <algorithm>
#include <utility>
#include <variant>

namespace
{
/// Gathers what the events of one record say.
class CRunsReader : public CEventSink
{
public:
    explicit CRunsReader(SRecordedRuns& runs)
        : m_Runs(runs)
    {
    }

    void Take(const SEvent& event) override
    {
        std::visit([this](const auto& what) { Tell(what); }, event.what);
    }

private:
    void Tell(const SRunStartEvent& start);
    void Tell(const SNodeEvent& node);
    void Tell(const SStateEvent& state);
    void Tell(const SMeasurementEvent& measurement) { m_Measured.push_back(measurement); }
    void Tell(const SVerdictEvent& verdict);
    void Tell(const SNotRunEvent& notRun);
    void Tell(const SRunEndEvent& end);
    void Tell(const auto&) {}

    SRecordedSuite& Suite() { return m_Runs.suites[m_Names.Suite()]; }
    SRecordedTest& Test(const STestName& name);

    SRecordedRuns& m_Runs;
    CTestNames m_Names;
    std::vector<SNodeEvent> m_Nodes; ///< of the run, but for groups; empty once they are entered
    std::vector<SMeasurementEvent> m_Measured;
};

void CRunsReader::Tell(const SRunStartEvent& start)
{
    m_Names.Begin(start.suite, start.file);
    m_Nodes.clear();
    Suite();
}

void CRunsReader::Tell(const SNodeEvent& node)
{
    m_Names.Add(node);
    if (!IsGroup(node.element) && node.path != "/")
    {
        m_Nodes.push_back(node);
    }
}

void CRunsReader::Tell(const SStateEvent& state)
{
    if (state.state == ENodeState::Executing)
    {
        m_Measured.clear();
    }
}

void CRunsReader::Tell(const SVerdictEvent& verdict)
{
    std::string key = KeyOf(m_Names.Name(verdict.path, {}));
    SRecordedNode& node = Suite().nodes[key];
    ++node.executions;
    node.passed += verdict.verdict == EVerdict::Passed ? 1 : 0;
    if (!verdict.test)
    {
        return;
    }
    SRecordedTest& test = Test(m_Names.Name(verdict.path, verdict.passes));
    if (test.verdict == EVerdict::Passed && verdict.verdict != EVerdict::Passed)
    {
        test.reason = verdict.reason;
    }
    test.node = std::move(key);
    test.verdict = std::max(test.verdict, verdict.verdict);
    test.duration = std::max(test.duration, verdict.duration);
    for (SMeasurementEvent& measured : m_Measured)
    {
        test.measurements[measured.name] = measured;
    }
    m_Measured.clear();
}

void CRunsReader::Tell(const SNotRunEvent& notRun)
{
    m_Runs.notRun[KeyOf(m_Names.Name(notRun.path, {}))] = notRun.reason;
}

void CRunsReader::Tell(const SRunEndEvent& end)
{
    SRecordedSuite& suite = Suite();
    suite.passed = suite.passed && end.passed;
    for (const SNodeEvent& told : m_Nodes)
    {
        SRecordedNode& node = suite.nodes[KeyOf(m_Names.Name(told.path, {}))];
        node.test = told.test;
        node.selected = node.selected || told.selected;
    }
}

SRecordedTest& CRunsReader::Test(const STestName& name)
{
    const auto [test, isNew] = m_Runs.tests.try_emplace(KeyOf(name));
    if (isNew)
    {
        m_Runs.order.push_back(test->first);
    }
    return test->second;
}
} // namespace

std::string KeyOf(const STestName& name)
{
    return name.classname + '/' + name.name;
}

SRecordedRuns ReadRuns(const std::string& record)
{
    SRecordedRuns runs;
    CRunsReader reader(runs);
    CRunCompletion completion(reader);
    ReadRecord(record, [&](const SEvent& event) { completion.Take(event); });
    completion.EndRecord();
    return runs;
}

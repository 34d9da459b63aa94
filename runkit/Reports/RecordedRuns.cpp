#include <Reports/RecordedRuns.h>

#include <Reports/RecordReader.h>
#include <Reports/RunCompletion.h>

#include <Events/Node.h>

#include <algorithm>
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
    /// No suite counts as left out: the runs did not get to their end.
    void Stopped() { m_IsStopped = true; }
    void Finish();

private:
    void Tell(const SSuiteLoadEvent& load);
    void Tell(const SRunStartEvent& start);
    void Tell(const SNodeEvent& node);
    void Tell(const SStateEvent& state);
    void Tell(const SMeasurementEvent& measurement) { m_Measured.push_back(measurement); }
    void Tell(const SVerdictEvent& verdict);
    void Tell(const SNotRunEvent& notRun);
    void Tell(const SAbortEvent& /*abort*/) { Stopped(); }
    void Tell(const SVanishedEvent& /*vanished*/) { Stopped(); }
    void Tell(const SRunEndEvent& end);
    void Tell(const auto&) {}

    SRecordedSuite& Suite() { return m_Runs.suites[m_Suite]; }
    SRecordedTest& Test(const STestName& name);
    void KeepMeasurements(SRecordedTest& test);

    SRecordedRuns& m_Runs;
    std::size_t m_Suite = 0; ///< of the current run
    CTestNames m_Names;
    std::vector<SNodeEvent> m_Nodes; ///< of the run, but for groups
    std::vector<SMeasurementEvent> m_Measured;
    std::set<std::string> m_Loaded; ///< files
    bool m_IsStopped = false;
};

void CRunsReader::Finish()
{
    if (m_IsStopped)
    {
        return;
    }
    for (const SRecordedSuite& suite : m_Runs.suites)
    {
        m_Loaded.erase(suite.file);
    }
    m_Runs.leftOut = std::move(m_Loaded);
}

void CRunsReader::Tell(const SSuiteLoadEvent& load)
{
    if (load.loaded)
    {
        m_Loaded.insert(load.file);
    }
}

void CRunsReader::Tell(const SRunStartEvent& start)
{
    m_Names.Begin(start.suite, start.file);
    m_Nodes.clear();
    const std::string name = m_Names.Suite();
    const auto found =
        std::find_if(m_Runs.suites.begin(), m_Runs.suites.end(),
                     [&](const SRecordedSuite& suite) { return suite.name == name && suite.file == start.file; });
    m_Suite = static_cast<std::size_t>(found - m_Runs.suites.begin());
    if (found == m_Runs.suites.end())
    {
        SRecordedSuite& suite = m_Runs.suites.emplace_back();
        suite.name = name;
        suite.file = start.file;
    }
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
    if (!verdict.test && m_Measured.empty())
    {
        return;
    }
    SRecordedTest& test = Test(m_Names.Name(verdict.path, verdict.passes));
    test.test = verdict.test;
    if (test.verdict == EVerdict::Passed && verdict.verdict != EVerdict::Passed)
    {
        test.reason = verdict.reason;
    }
    test.node = std::move(key);
    test.verdict = std::max(test.verdict, verdict.verdict);
    test.duration = std::max(test.duration, verdict.duration);
    KeepMeasurements(test);
}

void CRunsReader::KeepMeasurements(SRecordedTest& test)
{
    std::map<std::string, std::size_t> counts;
    for (const SMeasurementEvent& measured : m_Measured)
    {
        test.measurements[{measured.name, ++counts[measured.name]}] = measured;
    }
    m_Measured.clear();
}

void CRunsReader::Tell(const SNotRunEvent& notRun)
{
    Suite().notRun[KeyOf(m_Names.Name(notRun.path, {}))] = notRun.reason;
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
    SRecordedSuite& suite = Suite();
    const auto [test, isNew] = suite.tests.try_emplace(KeyOf(name));
    if (isNew)
    {
        suite.order.push_back(test->first);
    }
    return test->second;
}
} // namespace

const SRecordedSuite* SRecordedRuns::Find(const std::string& name, const std::string& file) const
{
    const SRecordedSuite* first = nullptr;
    for (const SRecordedSuite& suite : suites)
    {
        if (suite.name == name && (!first || suite.file == file))
        {
            first = &suite;
            if (suite.file == file)
            {
                break;
            }
        }
    }
    return first;
}

std::string KeyOf(const STestName& name)
{
    return name.classname + '\0' + name.name;
}

std::string TextOf(const std::string& key)
{
    std::string text = key;
    std::replace(text.begin(), text.end(), '\0', '/');
    return text;
}

SRecordedRuns ReadRuns(const std::string& record)
{
    SRecordedRuns runs;
    CRunsReader reader(runs);
    CRunCompletion completion(reader);
    ReadRecord(record, [&](const SEvent& event) { completion.Take(event); });
    if (completion.EndRecord())
    {
        reader.Stopped();
    }
    reader.Finish();
    return runs;
}

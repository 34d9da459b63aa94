#pragma once

#include <Events/Event.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

/// A node of the suite that runs, as people are told of it.
struct SViewedNode
{
    std::string title; ///< labels, names or elements from the top-level group down: "Group / Label"
    std::string element;
    std::string path;
    std::uint64_t line = 0;
    bool test = false;
    SViewedNode* parent = nullptr;

    bool runs = false;       ///< something at or below it is selected
    std::uint64_t tests = 0; ///< selected tests at or below it

    std::uint64_t begun = 0;
    std::uint64_t executions = 0; ///< with a verdict; of these:
    std::uint64_t passed = 0;
    std::uint64_t skipped = 0;
};

/// Follows the events of one run after the other: which nodes there are, what executes now and in which passes of its
/// loops. Nodes live until the next run starts.
class CRunView
{
public:
    /// Has to see every event.
    void Take(const SEvent& event);

    const std::string& File() const { return m_File; }
    std::uint64_t Tests() const { return m_Tests; } ///< selected
    /// From a run's start to its end.
    bool IsInRun() const { return m_IsInRun; }
    /// A node that the record did not announce is called after its path.
    SViewedNode& Have(const std::string& path);
    /// The node of an event that was taken.
    const SViewedNode& Node(const std::string& path) const { return *m_ByPath.at(path); }
    /// The executing node that was entered last, null for none.
    const SViewedNode* Innermost() const { return m_Running.empty() ? nullptr : m_Running.back().node; }
    /// Differs between the executions of the innermost node, and between its passes when it is a loop.
    std::uint64_t Turn() const { return m_Running.empty() ? 0 : m_Running.back().turn; }
    bool InLoop() const;
    /// The node's title and the passes that the loops around it are in: "Group / Label [2.3] $i=7".
    std::string TitleInPasses(const SViewedNode& node) const;

private:
    struct SRunning
    {
        const SViewedNode* node = nullptr;
        std::uint64_t turn = 0;
        std::uint64_t pass = 0; ///< 0: not in a loop's pass
        std::uint64_t iterator = 0;
        std::string variable;
    };

    void On(const SSuiteLoadEvent& load);
    void On(const SRunStartEvent& start);
    void On(const SNodeEvent& node);
    void On(const SStateEvent& state);
    void On(const SPassEvent& pass);
    void On(const SSkipEvent& skip);
    void On(const SVerdictEvent& verdict);
    void On(const SNotRunEvent& notRun);
    void On(const SRunEndEvent& end);

    std::string m_File;
    bool m_IsInRun = false;
    std::deque<SViewedNode> m_Nodes;
    std::unordered_map<std::string, SViewedNode*> m_ByPath;
    std::vector<SRunning> m_Running; ///< from the root inwards
    std::uint64_t m_Tests = 0;
    std::uint64_t m_Turn = 0;
};

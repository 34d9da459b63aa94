#pragma once

#include <Events/Event.h>
#include <Reports/ReportsExport.h>

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

/// What an execution is called in reports. Two of one suite differ in name, and a test has the same name in every run
/// of its suite, whatever is selected, until the suite is changed.
struct STestName
{
    std::string classname; ///< the suite, and the labels or names of the groups, joined by dots
    std::string name;      ///< "Label", "Label [2.3]" in loops, "Label (/1/0)" where others are called the same
};

/// "[2.3]" for the passes of loops, outermost first; empty for none.
REPORTS_EXPORT std::string PassesText(const std::vector<std::uint64_t>& passes);

/// The names of one run after the other, as its nodes are told.
class REPORTS_EXPORT CTestNames
{
public:
    /// A run of a suite begins; without a name, it is called after its file.
    void Begin(const std::string& suite, const std::string& file);
    void Add(const SNodeEvent& node);

    const std::string& Suite() const { return m_Suite; }
    /// Of the suite's own class.
    std::string SuiteClass() const;
    /// A node that was not told is called after its path.
    STestName Name(const std::string& path, const std::vector<std::uint64_t>& passes) const;

private:
    struct SNode
    {
        std::string classname;
        std::string title;
    };

    /// Of two nodes that would be called the same.
    static std::string Key(const SNode& node) { return node.classname + '\n' + node.title; }

    std::string m_Suite;
    std::unordered_map<std::string, std::string> m_Groups; ///< the class of what stands in a group, by its path
    std::unordered_map<std::string, SNode> m_Nodes;        ///< by path
    std::unordered_map<std::string, std::uint64_t> m_Count;
};

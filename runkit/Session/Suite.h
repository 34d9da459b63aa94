#pragma once

#include <Session/NodeInfo.h>
#include <Session/SessionExport.h>
#include <Session/Setup.h>

#include <Events/Problem.h>
#include <HostKit/ScriptedUserInput.h>

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

/// A list of answers on its way through the suites that a run would take it through.
struct SAnswersAhead
{
    std::deque<SScriptedAnswer> entries; ///< those that no prompt has met
    std::size_t met = 0;
    bool isCertain = true; ///< the order of the prompts to come is known, and the run gets there
};

/// A suite as a session loaded it: its tree, or what kept it from being loaded. It can be run any number of times. Goes
/// before its session does.
class SESSION_EXPORT CSuite
{
public:
    ~CSuite();
    CSuite(const CSuite&) = delete;
    CSuite& operator=(const CSuite&) = delete;

    /// The path as the host gave it.
    const std::string& File() const;
    /// False when there is nothing to run; then there is a problem that says why.
    bool Loaded() const;
    /// In the order of their places.
    const std::vector<SProblem>& Problems() const;

    /// The suite's name, else its file's; the test library as the suite names it. Empty unless loaded.
    std::string Name() const;
    std::string Library() const;
    /// The mode it runs in: the setup's, else the one the suite asks for.
    ETestSuiteMode Mode() const;
    /// The nodes in document order, a parent before its children, with what is selected now. Empty unless loaded.
    std::vector<SNodeInfo> Nodes() const;

    /// Applies selections in order, the first that selects starting from nothing selected. Returns the patterns that
    /// match no node.
    std::vector<std::string> Select(const std::vector<SSelection>& selections);

    /// Selects, of the nodes that the selection decides about and that have none below them, those that are wanted, and
    /// no other. False when there is none.
    bool SelectOnly(const std::function<bool(const SNodeInfo& node)>& isWanted);

    /// Everything that can be known to be wrong without running it, in the order of the places: the problems of
    /// loading, and what the rules find in the document, also when it cannot be made into a tree. Throws nothing but
    /// exhausted memory.
    std::vector<SProblem> Check() const;
    /// Takes the answers through the prompts that the selected nodes would meet, as far as no condition and no computed
    /// loop makes their order uncertain. Finds at most one entry that cannot serve its prompt, and stops there.
    std::vector<SProblem> CheckAnswers(SAnswersAhead& answers) const;

private:
    friend class CSession;
    struct SState;
    explicit CSuite(std::unique_ptr<SState> state);

    std::unique_ptr<SState> m_State;
};

#pragma once

#include <Session/NodeInfo.h>
#include <Session/SessionExport.h>
#include <Session/Setup.h>

#include <Events/Problem.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

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

private:
    friend class CSession;
    struct SState;
    explicit CSuite(std::unique_ptr<SState> state);

    std::unique_ptr<SState> m_State;
};

#pragma once

#include "RunView.h"
#include "TerminalOutput.h"

#include <Events/Event.h>

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

/// How an execution ended, in one word, and how that word looks.
struct SVerdictLook
{
    std::string_view word;
    CFormatInfo format;
};

SVerdictLook LookOf(EVerdict verdict);

/// What a node is called, and where it is found in the tree and in the file.
std::string TitleAndPlace(const std::string& title, const SViewedNode& node, const CRunView& view);

/// What of a run did not pass and which tests did not run, to be shown at its end. Of each node the first executions
/// are kept, and how many there were besides; of each reason not to run, the first tests.
class CNotPassedList
{
public:
    /// The view has seen the events already.
    void Add(const SVerdictEvent& verdict, const CRunView& view);
    void Add(const SNotRunEvent& notRun, const CRunView& view);

    bool IsEmpty() const { return m_Nodes.empty(); }
    void ShowNotPassed(CTerminalOutput& output) const;
    void ShowNotRun(CTerminalOutput& output) const;

private:
    struct SExecution
    {
        EVerdict verdict = EVerdict::Failed;
        std::string title;
        std::string reason;
    };

    struct SNode
    {
        std::vector<SExecution> executions;
        std::uint64_t more = 0;
    };

    struct SNotRun
    {
        std::vector<std::string> titles;
        std::uint64_t more = 0;
    };

    std::vector<SNode> m_Nodes; ///< in the order in which they first did not pass
    std::unordered_map<std::string, std::size_t> m_ByPath;
    std::map<ENotRunReason, SNotRun> m_NotRun;
};

#pragma once

#include <Session/NodeInfo.h>

#include <cstdint>
#include <optional>
#include <vector>

/// What a run does with a node, as far as verdicts go.
enum class ENodeKind
{
    Execution, ///< a function, a prompt or an assignment: what verdicts are about
    Loop,      ///< a group that counts its passes
    Other,
};

/// One node of the tree that runs, with what became of it in this run.
struct SRunNode
{
    SNodeInfo info;
    ENodeKind kind = ENodeKind::Other;
    std::optional<std::size_t> parent; ///< row of the table; none for the root

    std::uint64_t begun = 0;
    std::uint64_t skipped = 0; ///< because its condition did not hold
    std::uint64_t passes = 0;
    std::uint64_t verdicts = 0;
    std::uint64_t leftOut = 0; ///< by a validation run
};

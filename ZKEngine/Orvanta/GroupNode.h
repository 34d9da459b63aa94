#pragma once

#include <Orvanta/Node.h>

#include <cstdint>
#include <exception>

/// Runs its children once, in order: the initialisation and exit groups. An unexpected exception from below becomes a
/// logged, failed group; the operator's abort and exhausted memory pass through.
class ORVANTA_EXPORT CGroupNode : public CNode
{
public:
    CGroupNode(const pugi::xml_node& node, int level, CNode* const parent);

    /// Always true; `CTestSuiteException` for a group without a child node.
    bool SomethingToExecute() const override;
    /// Empty while the group is executing.
    QString GetDiagnosticString() const override;
    bool IsSelectable() const override;

protected:
    bool DoExecute(bool stopOnFail) override;
    bool DoDiagOnly() override;

    /// The number in an attribute: a literal, or a variable's value read as 32 bits.
    std::uint64_t ExtractValue(const QString& attribute) const;

    void LogAborted() const;

private:
    bool RunChildren(bool stopOnFail);
    /// The one trace line whose indentation is not in front.
    void LogUnexpected(const char* kind, const std::exception& exception) const;
};

#pragma once

#include <Orvanta/GroupNode.h>

#include <cstdint>
#include <functional>

class CBooleanBaseNode;
class CNumericBaseNode;
class CVariable;

/// A group that repeats its children like a counted loop: an iterator goes from "from" to "to" by "interval" and is
/// written into the suite variable that "iterator" names. A boolean child "x:LoopTerminate" replaces the comparison, a
/// numeric child "x:NextIteration" the step. Without any of these the children run once. The iterator never wraps: a
/// step beyond its variable's range ends the loop.
///
/// An error of the family is logged and passes through. The group's own stop on failure, and any other
/// `std::exception`, ends the group as failed. What is wrong at the start of a run (an unknown iterator, an interval of
/// 0 that would never reach "to") passes through and is not logged.
class ORVANTA_EXPORT CGroupRecursiveNode : public CGroupNode
{
public:
    CGroupRecursiveNode(const pugi::xml_node& node, int level, CNode* const parent);

    bool IsSelectable() const override;
    /// While executing: the group's name and the iterator's low 32 bits.
    QString GetDiagnosticString() const override;

    bool IsStrict() const { return m_IsStrict; }
    /// Whether it counts passes: with a bound or a terminator of its own. Other groups run their children once.
    bool IsLoop() const;
    QString Name() const;

protected:
    bool DoExecute(bool stopOnFail) override;

private:
    using TStrategy = std::function<bool()>;

    /// One attribute as a run found it.
    struct SAttribute
    {
        const char* name;
        bool isNumber = false;
        bool isPresent = false;
        bool isApplicable = true;
        const char* text = "";
        std::uint64_t number = 0;
    };
    struct SAttributes
    {
        SAttribute name{"name"};
        SAttribute to{"to", true};
        SAttribute from{"from", true};
        SAttribute interval{"interval", true};
        SAttribute iterator{"iterator", true};
        SAttribute iterType{"iterType"};
        SAttribute breakConditionType{"breakConditionType"};
    };

    static constexpr CVariable* DEF_ITER_VAR = nullptr;
    static constexpr CNumericBaseNode* DEF_NEXT_ITER_NODE = nullptr;
    static constexpr CBooleanBaseNode* DEF_LOOP_TERMINATE_NODE = nullptr;
    static constexpr std::uint64_t DEF_FROM = 0;
    static constexpr std::uint64_t DEF_TO = 1;
    static constexpr std::uint64_t DEF_ITERATOR = 1;
    static constexpr std::uint64_t DEF_INTERVAL = 1;
    static constexpr bool DEF_IS_INCREMENT = true;
    static constexpr bool DEF_STRICT = true;

    /// Reads the attributes and picks the two strategies of this run.
    void InitExecution();
    void ReadAttribute(SAttribute& attribute) const;
    void ChooseTermination(SAttributes& attributes);
    void ChooseAdvance(SAttributes& attributes);
    /// Warns of bounds that leave nothing to iterate over; true when it did.
    bool BoundsExclude() const;
    void ChooseStep(const SAttribute& interval, bool isCompared);
    void LogAttribute(const SAttribute& attribute) const;

    bool RunPasses(bool stopOnFail);

    bool ShouldTerminateLoop() { return m_TerminateFn(); }
    bool Iterate();
    bool CanIterate() const;
    bool Step();
    bool RunOnce();
    bool PassedTo() const;
    bool CallCustomIterator();
    bool CallCustomLoopTerminate();
    /// Writes a value into the variable that an attribute names; without the attribute nothing happens.
    void DoUpdateVariable(const char* attribute, std::uint64_t value, bool mustExist);

    CVariable* m_IterVar = DEF_ITER_VAR; ///< view into the current list, found anew in every run
    CNumericBaseNode* m_NextIterNode = DEF_NEXT_ITER_NODE;
    CBooleanBaseNode* m_LoopTerminateNode = DEF_LOOP_TERMINATE_NODE;
    std::uint64_t m_From = DEF_FROM;
    std::uint64_t m_To = DEF_TO;
    std::uint64_t m_Iterator = DEF_ITERATOR;
    std::uint64_t m_Interval = DEF_INTERVAL;
    bool m_IsIncrement = DEF_IS_INCREMENT;
    bool m_IsStrict = DEF_STRICT;
    TStrategy m_TerminateFn;
    TStrategy m_IterateFn;
    bool m_RanOnce = false;

    const TStrategy m_Never = [] { return false; };
    const TStrategy m_Always = [] { return true; };
    const TStrategy m_RunOnce = [this] { return RunOnce(); };
    const TStrategy m_CustomTerminate = [this] { return CallCustomLoopTerminate(); };
    const TStrategy m_CompareWithTo = [this] { return PassedTo(); };
    const TStrategy m_CustomIterate = [this] { return CallCustomIterator(); };
    const TStrategy m_Step = [this] { return Step(); };
};

#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include <Orvanta/Variable.h>

#include <pugixml.hpp>

class CCheckedDocument;

/// Whether a loop can step a variable of the type. A group reads its iterator as a LONG when it starts, so that wider
/// ones fail there.
bool CanBeStepped(EDataType type);

/// How an "x:Group" iterates, as far as its document tells.
struct SLoopOutline
{
    SLoopOutline(const CCheckedDocument& document, const pugi::xml_node& group);

    /// Whether it counts passes at all; other groups run their children once.
    bool IsLoop() const { return hasTerminator || isCompared; }
    /// Whether an iterator of that value ends it.
    bool HasPassed(std::uint64_t iterator, std::uint64_t bound) const;
    /// Whether the bounds, where both are known, leave no pass.
    bool HasNoPass() const;
    /// Whether it moves its iterator by the interval.
    bool IsStepped() const { return IsLoop() && !hasNext && !HasNoPass(); }
    /// Whether the value of "from", "to" or "interval" makes any difference.
    bool Uses(std::string_view attribute) const;
    /// Whether it can write its iterator, or has none.
    bool HasGoodIterator() const;
    /// How many passes it makes, but no more than `most`; none when that is only known in a run.
    std::optional<std::uint64_t> Passes(std::uint64_t most) const;

    bool hasTerminator; ///< "x:LoopTerminate" ends it
    bool hasNext;       ///< "x:NextIteration" computes the iterator
    bool hasIterator;   ///< "iterator" names the variable that it writes
    bool isCompared;    ///< "to" ends it
    bool isAscending;
    bool isBoundIncluded;
    std::optional<EDataType> iteratorType; ///< none: undeclared, or of no type
    std::optional<std::uint64_t> from;     ///< 0 where the attribute is missing; none: only known in a run
    std::optional<std::uint64_t> to;
    std::optional<std::uint64_t> interval; ///< 1 where the attribute is missing
    std::uint64_t ceiling;                 ///< the largest value that the iterator takes
};

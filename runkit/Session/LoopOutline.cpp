#include <Session/LoopOutline.h>

#include <Session/CheckedDocument.h>

#include <limits>
#include <string_view>

namespace
{
bool Has(const pugi::xml_node& group, const char* attribute, std::string_view word)
{
    return group.attribute(attribute).value() == word;
}

std::optional<std::uint64_t> Known(const CCheckedDocument& document, const pugi::xml_node& group, const char* attribute,
                                   std::uint64_t missing)
{
    const pugi::xml_attribute found = group.attribute(attribute);
    return found ? document.KnownValue({group, attribute, found.value(), DT_LONG}) : std::optional(missing);
}

std::optional<EDataType> IteratorType(const CCheckedDocument& document, const pugi::xml_node& group)
{
    const pugi::xml_attribute name = group.attribute("iterator");
    const SDeclaration* const iterator = name ? document.Find(name.value()) : nullptr;
    return iterator ? iterator->type : std::nullopt;
}
} // namespace

bool CanBeStepped(EDataType type)
{
    return type == DT_BYTE || type == DT_SHORT || type == DT_LONG;
}

SLoopOutline::SLoopOutline(const CCheckedDocument& document, const pugi::xml_node& group)
    : hasTerminator(group.child("x:LoopTerminate"))
    , hasNext(group.child("x:NextIteration"))
    , hasIterator(group.attribute("iterator"))
    , isCompared(!hasTerminator && group.attribute("to"))
    , isAscending(!Has(group, "iterType", "Decr"))
    , isBoundIncluded(Has(group, "breakConditionType", "NonStrict"))
    , iteratorType(IteratorType(document, group))
    , from(Known(document, group, "from", 0))
    , to(Known(document, group, "to", 0))
    , interval(Known(document, group, "interval", 1))
    , ceiling(iteratorType ? LargestOf(*iteratorType) : std::numeric_limits<std::uint64_t>::max())
{
}

bool SLoopOutline::HasPassed(std::uint64_t iterator, std::uint64_t bound) const
{
    const bool isBeyond = isAscending ? iterator > bound : iterator < bound;
    return isBeyond || (iterator == bound && !isBoundIncluded);
}

bool SLoopOutline::HasNoPass() const
{
    return isCompared && from && to && HasPassed(*from, *to);
}

bool SLoopOutline::HasGoodIterator() const
{
    return !hasIterator ||
        (iteratorType && (CanBeStepped(*iteratorType) || (*iteratorType == DT_BOOL && !IsStepped())));
}

bool SLoopOutline::Uses(std::string_view attribute) const
{
    const bool showsSteps = isCompared || hasIterator || (!isAscending && !hasNext); // down to 0 it ends by itself
    if (attribute == "to")
    {
        return isCompared;
    }
    if (attribute == "from")
    {
        return IsLoop() ? showsSteps : hasIterator && !hasNext;
    }
    return IsStepped() && showsSteps;
}

std::optional<std::uint64_t> SLoopOutline::Passes(std::uint64_t most) const
{
    if (!IsLoop())
    {
        return 1;
    }
    if (HasNoPass())
    {
        return 0;
    }
    if (!isCompared || hasNext || !from || !to || !interval || *interval == 0)
    {
        return std::nullopt;
    }
    std::uint64_t passes = 0;
    for (std::uint64_t iterator = *from; passes < most && !HasPassed(iterator, *to); ++passes)
    {
        const bool canStep =
            isAscending ? iterator <= ceiling && ceiling - iterator >= *interval : iterator >= *interval;
        if (!canStep)
        {
            return passes + 1;
        }
        iterator = isAscending ? iterator + *interval : iterator - *interval;
    }
    return passes;
}

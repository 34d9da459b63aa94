#include <Session/CheckRules.h>
#include <Session/CheckedDocument.h>
#include <Session/LoopOutline.h>

#include <Orvanta/NumericValueNode.h>

#include <algorithm>
#include <array>

namespace
{
/// Whether a child of a group is no node that runs.
bool IsNoContent(const pugi::xml_node& child)
{
    static constexpr std::array<std::string_view, 4> OTHERS{"x:Tooltip", "x:Condition", "x:LoopTerminate",
                                                            "x:NextIteration"};
    return child.type() != pugi::node_element || std::find(OTHERS.begin(), OTHERS.end(), child.name()) != OTHERS.end();
}

/// The declaration of a group's iterator with a known type, null when there is none.
const SDeclaration* IteratorOf(const CCheckedDocument& document, const pugi::xml_node& group)
{
    const pugi::xml_attribute iterator = group.attribute("iterator");
    const SDeclaration* const declaration = iterator ? document.Find(iterator.value()) : nullptr;
    return declaration && declaration->type ? declaration : nullptr;
}

bool IsLiteral(const pugi::xml_node& group, const char* attribute)
{
    return ParseLiteral(DT_LONG, QString::fromUtf8(group.attribute(attribute).value())).has_value();
}
} // namespace

void FindEmptyGroups(CCheckedDocument& document)
{
    for (const pugi::xml_node& group : document.Elements({"x:InitGroup", "x:Group", "x:ExitGroup"}))
    {
        const auto children = group.children();
        if (std::all_of(children.begin(), children.end(), IsNoContent))
        {
            document.Error(group,
                           std::string(group.name()) + " has nothing to run; it needs at least one child that can");
        }
    }
}

void FindIteratorsOfBadType(CCheckedDocument& document)
{
    for (const pugi::xml_node& group : document.Elements({"x:Group"}))
    {
        const SDeclaration* const iterator = IteratorOf(document, group);
        if (iterator && !SLoopOutline(document, group).HasGoodIterator())
        {
            document.Error(group,
                           "the iterator " + Quoted(iterator->name) + " is " + TypeToTypeName(*iterator->type).c_str() +
                               "; it must be BYTE, SHORT or LONG");
        }
    }
}

namespace
{
std::string BeyondIterator(const std::string& what, const SDeclaration& iterator)
{
    return what + " is beyond the iterator " + Quoted(iterator.name) + ", whose type " +
        TypeToTypeName(*iterator.type).c_str() + " ends at " + std::to_string(LargestOf(*iterator.type));
}

/// A literal that the last x:NextIteration gives as it is.
void CheckNextIteration(CCheckedDocument& document, const pugi::xml_node& group, const SDeclaration& iterator)
{
    const pugi::xml_node next =
        group.find_child([](const pugi::xml_node& child)
                         { return std::string_view(child.name()) == "x:NextIteration" && IsComputed(child); });
    const pugi::xml_node term = next.find_child(IsTerm);
    const char* const text = term.attribute("value").value();
    const bool isValue = std::string_view(term.name()) == "x:Value";
    const std::optional<std::uint64_t> number = isValue ? CNumericValueNode::ReadLiteral(text) : std::nullopt;
    if (number && *number > LargestOf(*iterator.type))
    {
        document.Warn(term, BeyondIterator(std::string("x:NextIteration: ") + text, iterator));
    }
}
} // namespace

void FindBoundsBeyondIterator(CCheckedDocument& document)
{
    for (const pugi::xml_node& group : document.Elements({"x:Group"}))
    {
        const SDeclaration* const iterator = IteratorOf(document, group);
        const SLoopOutline loop(document, group);
        if (!iterator || !loop.HasGoodIterator())
        {
            continue;
        }
        const auto check = [&](const char* attribute, std::optional<std::uint64_t> value, std::uint64_t largest)
        {
            if (loop.Uses(attribute) && value && *value > largest && IsLiteral(group, attribute))
            {
                document.Warn(
                    group,
                    BeyondIterator(std::string(attribute) + ": " + group.attribute(attribute).value(), *iterator));
            }
        };
        const std::uint64_t largest = LargestOf(*iterator->type);
        check("from", loop.from, largest);
        check("to", loop.to, loop.isAscending && !loop.isBoundIncluded ? largest + 1 : largest);
        CheckNextIteration(document, group, *iterator);
    }
}

void FindZeroIntervals(CCheckedDocument& document)
{
    for (const pugi::xml_node& group : document.Elements({"x:Group"}))
    {
        const SLoopOutline loop(document, group);
        if (loop.isCompared && loop.IsStepped() && loop.interval == 0U)
        {
            document.Error(group, "with an interval of 0 the loop would never end, and is refused");
        }
    }
}

void FindLoopsWithoutPass(CCheckedDocument& document)
{
    for (const pugi::xml_node& group : document.Elements({"x:Group"}))
    {
        const SLoopOutline loop(document, group);
        const bool isLiteral = IsLiteral(group, "to") && (!group.attribute("from") || IsLiteral(group, "from"));
        if (isLiteral && loop.HasNoPass())
        {
            document.Warn(group,
                          "from " + std::to_string(*loop.from) + (loop.isAscending ? " up" : " down") + " to " +
                              std::to_string(*loop.to) + (loop.isBoundIncluded ? "" : ", which is excluded,") +
                              " there is no pass");
        }
    }
}

namespace
{
void WarnIgnored(CCheckedDocument& document, const pugi::xml_node& element, const char* attribute, const char* reason)
{
    if (element.attribute(attribute))
    {
        document.Warn(element, Quoted(attribute) + " has no effect: " + reason);
    }
}

void CheckGroupAttributes(CCheckedDocument& document, const pugi::xml_node& group)
{
    constexpr const char* NO_LOOP = "without \"to\" and x:LoopTerminate the children run once";
    const SLoopOutline loop(document, group);
    const bool writesIterator = group.attribute("iterator");
    if (!loop.IsLoop())
    {
        if (loop.hasNext || !writesIterator)
        {
            WarnIgnored(document, group, "from", NO_LOOP);
        }
        for (const char* const attribute : {"interval", "iterType", "breakConditionType"})
        {
            WarnIgnored(document, group, attribute, NO_LOOP);
        }
        if (loop.hasNext && !writesIterator)
        {
            document.Warn(group.child("x:NextIteration"),
                          std::string("nothing reads the value of x:NextIteration: ") + NO_LOOP);
        }
        return;
    }
    if (loop.hasTerminator)
    {
        WarnIgnored(document, group, "to", "x:LoopTerminate ends the loop");
        WarnIgnored(document, group, "breakConditionType", "x:LoopTerminate ends the loop");
    }
    if (loop.hasTerminator && !loop.hasIterator && (loop.isAscending || loop.hasNext))
    {
        WarnIgnored(document, group, "from", "without \"iterator\" nothing reads what the loop counts");
    }
    if (loop.hasTerminator && !loop.hasIterator && loop.isAscending && !loop.hasNext)
    {
        WarnIgnored(document, group, "interval", "without \"iterator\" nothing reads what the loop counts");
    }
    if (loop.hasNext)
    {
        WarnIgnored(document, group, "interval", "x:NextIteration computes the iterator");
    }
    if (loop.hasNext && loop.hasTerminator)
    {
        WarnIgnored(document, group, "iterType", "x:NextIteration computes the iterator");
    }
}

/// Of several children of a name only the last one counts, or only the first.
void CheckRepeated(CCheckedDocument& document, const pugi::xml_node& parent, const char* name, bool lastCounts)
{
    const pugi::xml_node first = parent.child(name);
    for (pugi::xml_node child = first; child; child = child.next_sibling(name))
    {
        const bool counts = lastCounts ? !child.next_sibling(name) : child == first;
        if (!counts)
        {
            document.Warn(child,
                          std::string(name) + " has no effect: of several, only the " +
                              (lastCounts ? "last" : "first") + " one counts");
        }
    }
}

/// What the root says that nothing reads.
void CheckRoot(CCheckedDocument& document)
{
    const pugi::xml_node root = document.Root();
    if (root.attribute("library"))
    {
        WarnIgnored(document, root, "dll", "\"library\" is read in its place");
    }
    const bool loadsAlways = root.attribute("alwaysload").as_bool();
    if (loadsAlways)
    {
        WarnIgnored(document, root, "products", "with \"alwaysload\" the suite is for every product");
        WarnIgnored(document, root, "configurations", "with \"alwaysload\" no filter applies");
    }
    else if (*root.attribute("products").value() == '\0')
    {
        WarnIgnored(document, root, "configurations", "without \"products\" no filter is asked");
    }
    for (const char* const name : {"x:Variables", "x:LibraryLoadError", "x:DllLoadError"})
    {
        CheckRepeated(document, root, name, false);
    }
    if (root.child("x:LibraryLoadError") && root.child("x:DllLoadError"))
    {
        document.Warn(root.child("x:DllLoadError"),
                      "x:DllLoadError has no effect: x:LibraryLoadError is read in its place");
    }
}

std::vector<pugi::xml_node> TermsOf(const pugi::xml_node& element)
{
    std::vector<pugi::xml_node> terms;
    std::copy_if(element.begin(), element.end(), std::back_inserter(terms), IsTerm);
    return terms;
}

void CheckTerm(CCheckedDocument& document, const pugi::xml_node& element)
{
    const std::string_view name = element.name();
    for (const pugi::xml_node& condition : element.children("x:Condition"))
    {
        document.Warn(condition, "x:Condition has no effect in " + std::string(name));
    }
    if (IsTerm(element) && std::string_view(element.parent().name()).ends_with("Group"))
    {
        const bool isNumber = name == "x:Value" || name == "x:Expression";
        document.Warn(element,
                      std::string(name) +
                          (isNumber ? " has no effect among the children of a group"
                                    : " decides nothing among the children of a group; move it into an x:Condition"));
    }
    if (name == "x:Comparison")
    {
        const std::vector<pugi::xml_node> terms = TermsOf(element);
        for (std::size_t i = 2; i < terms.size(); ++i)
        {
            document.Warn(terms[i], std::string(terms[i].name()) + " has no effect: x:Comparison compares two terms");
        }
    }
}
} // namespace

void FindMissingTerms(CCheckedDocument& document)
{
    for (const pugi::xml_node& element : document.Elements({"x:And", "x:Or", "x:Comparison", "x:Expression"}))
    {
        if (TermsOf(element).size() < 2 && IsComputed(element))
        {
            document.Error(element, std::string(element.name()) + " needs at least two terms");
        }
    }
}

void FindWhatIsIgnored(CCheckedDocument& document)
{
    CheckRoot(document);
    for (const pugi::xml_node& group : document.Elements({"x:Group"}))
    {
        CheckGroupAttributes(document, group);
        CheckRepeated(document, group, "x:LoopTerminate", true);
        CheckRepeated(document, group, "x:NextIteration", true);
    }
    for (const pugi::xml_node& element :
         document.Elements({"x:And", "x:Or", "x:Not", "x:Comparison", "x:Value", "x:Expression", "x:Condition",
                            "x:LoopTerminate", "x:NextIteration"}))
    {
        CheckTerm(document, element);
    }
}

void FindRepeatedConditions(CCheckedDocument& document)
{
    for (const pugi::xml_node& condition : document.Elements({"x:Condition"}))
    {
        const std::string_view parent = condition.parent().name();
        const bool counts = !IsTerm(condition.parent()) && parent != "x:Condition" && parent != "x:LoopTerminate" &&
            parent != "x:NextIteration";
        if (counts && condition.next_sibling("x:Condition"))
        {
            document.Warn(condition, "only the last condition of an element counts; combine them with x:And");
        }
    }
}

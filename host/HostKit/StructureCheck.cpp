#include "StructureCheck.h"

#include <CoreKit/NearestName.h>

#include <algorithm>
#include <map>
#include <set>

#include <xercesc/util/XMLString.hpp>
#include <xercesc/validators/schema/SchemaSymbols.hpp>

namespace xerces = XERCES_CPP_NAMESPACE;

namespace
{
template <class TMap>
std::vector<std::string> Keys(const TMap& map)
{
    std::vector<std::string> keys;
    keys.reserve(map.size());
    for (const auto& [key, value] : map)
    {
        keys.push_back(key);
    }
    return keys;
}

/// "a", "a or b", "a, b or c" with " or " as the last word.
template <class TNames>
std::string Listed(const TNames& names, const char* lastWord)
{
    std::string list;
    std::size_t left = names.size();
    for (const std::string& name : names)
    {
        list += (list.empty() ? "" : left == 1 ? lastWord : ", ") + name;
        --left;
    }
    return list;
}

std::string DidYouMean(const std::string& name)
{
    return name.empty() ? std::string() : "; did you mean " + name + "?";
}

bool IsSame(std::u16string_view text, std::string_view ascii)
{
    return std::equal(text.begin(), text.end(), ascii.begin(), ascii.end(),
                      [](char16_t left, char right) { return left == static_cast<unsigned char>(right); });
}

/// Whether an element has the attributes that it must have and none that it may not.
bool AreAsDeclared(const std::map<std::string, bool>& declared, const xerces::Attributes& attributes)
{
    auto missing = std::count_if(declared.begin(), declared.end(), [](const auto& row) { return row.second; });
    for (XMLSize_t i = 0; i < attributes.getLength(); ++i)
    {
        const std::u16string_view name = attributes.getQName(i);
        const auto row = std::find_if(declared.begin(), declared.end(),
                                      [name](const auto& known) { return IsSame(name, known.first); });
        if (row == declared.end())
        {
            return false;
        }
        missing -= row->second ? 1 : 0;
    }
    return missing == 0;
}
} // namespace

const SElementName& CElementNames::Name(const XMLCh* uri, const XMLCh* local, const XMLCh* shown)
{
    const std::u16string_view key(shown);
    const auto found = m_Converted.find(key);
    if (found != m_Converted.end() && found->second.uri == uri)
    {
        return found->second.name;
    }
    const auto utf8 = [](const XMLCh* text) { return QString::fromUtf16(text).toStdString(); };
    SConverted& converted = m_Converted[std::u16string(key)];
    converted = {uri, {utf8(uri), utf8(shown), "x:" + utf8(local)}};
    return converted.name;
}

CStructureCheck::CStructureCheck(const CSchemaModel& model, const QString& namespaceURI, TReport report)
    : m_Model(model)
    , m_Namespace(namespaceURI.toStdString())
    , m_Report(std::move(report))
{
}

bool CStructureCheck::Enter(const SElementName& name, const xerces::Attributes& attributes, std::size_t number)
{
    const std::size_t saidBefore = m_Said;
    SOpen element;
    element.name = name.known;
    element.number = number;
    if (m_Open.empty())
    {
        EnterRoot(name, element);
    }
    else if (m_Open.back().content)
    {
        EnterChild(name, element);
    }
    if (element.content)
    {
        CheckAttributes(element, attributes);
    }
    const bool isDeclared = element.isDeclared;
    m_Open.push_back(std::move(element));
    return m_Said != saidBefore || !isDeclared;
}

bool CStructureCheck::Leave()
{
    const SOpen element = std::move(m_Open.back());
    m_Open.pop_back();
    if (element.content && !element.isOrderExplained && !element.content->states[element.state].isComplete)
    {
        Say(element.name + " needs an " + Listed(element.content->states[element.state].expected, " or ") +
                (element.lastStep.empty() ? "" : " after " + element.lastStep),
            element.number);
        return true;
    }
    return element.isExplained || !element.isDeclared;
}

std::string CStructureCheck::MissingRoot() const
{
    return "there is no " + Listed(Keys(m_Model.Roots()), " or ") + " element";
}

void CStructureCheck::EnterRoot(const SElementName& name, SOpen& root)
{
    if (name.uri != m_Namespace)
    {
        Say("the root element \"" + name.shown + "\" is not in the namespace \"" + m_Namespace +
                "\"; declare xmlns:x=\"" + m_Namespace + "\" and use the prefix x",
            root.number);
        return;
    }
    CheckPrefix(name, root.number);
    const auto found = m_Model.Roots().find(root.name);
    if (found == m_Model.Roots().end())
    {
        Say("the root element is " + name.shown + "; it must be " + Listed(Keys(m_Model.Roots()), " or "), root.number);
        return;
    }
    root.content = found->second;
    root.isDeclared = true;
}

void CStructureCheck::EnterChild(const SElementName& name, SOpen& child)
{
    SOpen& parent = m_Open.back();
    if (name.uri != m_Namespace)
    {
        const bool isKnown = m_Model.Find(child.name) && child.name != name.shown;
        Say(name.shown + (name.uri.empty() ? " is in no namespace" : " is in the namespace \"" + name.uri + '"') +
                ", not in \"" + m_Namespace + '"' + DidYouMean(isKnown ? child.name : ""),
            child.number);
        parent.isExplained = true;
        return;
    }
    CheckPrefix(name, child.number);
    const auto declared = parent.content->children.find(child.name);
    if (declared == parent.content->children.end())
    {
        EnterUndeclared(parent, child);
        return;
    }
    child.content = declared->second;
    child.isDeclared = parent.isDeclared;
    Step(parent, child.name, child.number);
}

void CStructureCheck::EnterUndeclared(SOpen& parent, SOpen& child)
{
    parent.isExplained = true;
    child.content = m_Model.Find(child.name);
    if (child.content)
    {
        constexpr std::size_t MAX_PARENTS = 4;
        const std::set<std::string>& parents = m_Model.Parents().at(child.name);
        const bool isHelpful = !parents.empty() && parents.size() <= MAX_PARENTS;
        Say(child.name + " is not allowed in " + parent.name +
                (isHelpful ? "; it belongs in " + Listed(parents, " or ") : ""),
            child.number);
        return;
    }
    std::string meant = NearestName(child.name, Keys(parent.content->children));
    if (meant.empty())
    {
        meant = NearestName(child.name, Keys(m_Model.Parents()));
    }
    const std::vector<std::string>& expected = parent.content->states[parent.state].expected;
    Say(child.name + " is unknown" +
            (!meant.empty()          ? DidYouMean(meant)
                 : !expected.empty() ? "; expected " + Listed(expected, " or ")
                                     : "; the schema names what " + parent.name + " may hold"),
        child.number);
    child.content = m_Model.Find(meant);
    child.name = child.content ? meant : child.name;
    if (parent.content->states[parent.state].next.count(meant) != 0)
    {
        Step(parent, meant, child.number);
    }
}

/// Takes a child that may stand in the parent to the next state, or says that it may not stand here.
void CStructureCheck::Step(SOpen& parent, const std::string& childName, std::size_t child)
{
    const SContentModel::SState& state = parent.content->states[parent.state];
    const auto next = state.next.find(childName);
    if (next != state.next.end())
    {
        const bool isStep = std::count(state.expected.begin(), state.expected.end(), childName) != 0;
        parent.lastStep = isStep ? childName : parent.lastStep;
        parent.state = next->second;
    }
    else if (!parent.isOrderExplained)
    {
        parent.isExplained = parent.isOrderExplained = true;
        Say(childName + " is not allowed " +
                (state.expected.empty() ? "in " + parent.name + " after " + parent.lastStep
                                        : "here; expected " + Listed(state.expected, " or ")),
            child);
    }
}

void CStructureCheck::CheckPrefix(const SElementName& name, std::size_t element)
{
    if (name.shown == name.known || m_PrefixReported)
    {
        return;
    }
    m_PrefixReported = true;
    Say("the element \"" + name.shown + "\" is in the namespace \"" + m_Namespace +
            "\" without the prefix x; declare xmlns:x=\"" + m_Namespace + "\" and use the prefix x for every element",
        element);
}

void CStructureCheck::CheckAttributes(const SOpen& element, const xerces::Attributes& attributes)
{
    if (AreAsDeclared(element.content->attributes, attributes))
    {
        return;
    }
    std::map<std::string, bool> left = element.content->attributes;
    std::vector<std::string> unknown;
    for (XMLSize_t i = 0; i < attributes.getLength(); ++i)
    {
        const bool isForParser = xerces::XMLString::equals(attributes.getURI(i), xerces::SchemaSymbols::fgURI_XSI);
        std::string name = QString::fromUtf16(attributes.getQName(i)).toStdString();
        if (left.erase(name) == 0 && !isForParser)
        {
            unknown.push_back(std::move(name));
        }
    }
    for (const std::string& name : unknown)
    {
        const std::string meant = NearestName(name, Keys(left));
        const std::string all = Listed(Keys(element.content->attributes), " and ");
        left.erase(meant);
        Say(element.name + " has no attribute \"" + name + '"' +
                (meant.empty() ? all.empty() ? "; it takes none" : "; it takes " + all : DidYouMean('"' + meant + '"')),
            element.number);
    }
    for (const auto& [name, isRequired] : left)
    {
        if (isRequired)
        {
            Say(element.name + " needs the attribute \"" + name + '"', element.number);
        }
    }
}

void CStructureCheck::Say(const std::string& problem, std::size_t element)
{
    ++m_Said;
    m_Report(problem, element);
}

#include <Session/CheckedDocument.h>

#include <CoreKit/NearestName.h>
#include <HostKit/ReadLibrary.h>
#include <Orvanta/TestSuiteNode.h>

#include <algorithm>
#include <array>
#include <charconv>

namespace
{
using TNames = std::vector<std::string_view>;

std::uint64_t Cut(std::uint64_t number, EDataType type)
{
    return type == DT_BOOL ? std::uint64_t{number != 0} : number & LargestOf(type);
}

bool IsNumberInGroup(const pugi::xml_node& element)
{
    const std::string_view name = element.name();
    return (name == "x:Value" || name == "x:Expression") &&
        std::string_view(element.parent().name()).ends_with("Group");
}

/// Whether at least two terms stand before a term.
bool IsThirdTerm(const pugi::xml_node& term)
{
    int before = 0;
    for (pugi::xml_node node = term.previous_sibling(); node && before < 2; node = node.previous_sibling())
    {
        before += IsTerm(node) ? 1 : 0;
    }
    return before == 2 && IsTerm(term);
}
} // namespace

CCheckedDocument::CCheckedDocument(const CDocumentSource& source)
    : CProblemFinder(source)
{
    CollectElements();
    CollectDeclarations();
    CollectReadings();
    for (const pugi::xml_node& element : Elements({"x:Set", "x:BooleanPopup", "x:SetPopup"}))
    {
        m_Written.emplace(element.attribute("variable").value());
    }
    for (const pugi::xml_node& group : Elements({"x:Group"}))
    {
        m_Written.emplace(group.attribute("iterator").value());
    }
    for (const pugi::xml_node& parameter : Elements({"x:Parameter"}))
    {
        m_Written.emplace(IsByReference(parameter) ? parameter.attribute("value").value() : "");
    }
}

CCheckedDocument::~CCheckedDocument() = default;

void CCheckedDocument::CollectElements()
{
    struct CWalker : pugi::xml_tree_walker
    {
        bool for_each(pugi::xml_node& node) override
        {
            if (node.type() == pugi::node_element)
            {
                elements.push_back(node);
            }
            return true;
        }
        std::vector<pugi::xml_node> elements;
    };
    CWalker walker;
    pugi::xml_node root = Root();
    root.traverse(walker);
    m_Elements.push_back(root);
    m_Elements.insert(m_Elements.end(), walker.elements.begin(), walker.elements.end());
}

void CCheckedDocument::CollectDeclarations()
{
    for (const pugi::xml_node& element : CTestSuiteNode::GetVariablesNode(Root()).children())
    {
        if (element.type() == pugi::node_element)
        {
            m_VariableNames.emplace_back(element.attribute("name").value());
            m_Rows.emplace(element.attribute("name").value(), m_Declarations.size());
            m_Declarations.push_back({element, element.attribute("name").value(),
                                      KnownType(element.attribute("type").value()),
                                      std::string_view(element.name()) == "x:Define"});
        }
    }
}

void CCheckedDocument::CollectReadings()
{
    for (const pugi::xml_node& element : m_Elements)
    {
        const std::string_view name = element.name();
        if (name == "x:Parameter")
        {
            const std::optional<EDataType> type = KnownType(element.attribute("type").value());
            if (type && !IsByReference(element))
            {
                m_Readings.push_back({element, "value", element.attribute("value").value(), *type});
            }
        }
        const auto addLong = [&](const char* attribute) {
            m_Readings.push_back({element, attribute, element.attribute(attribute).value(), DT_LONG});
        };
        for (const char* const attribute : {"from", "to", "interval"})
        {
            if (name == "x:Group" && element.attribute(attribute))
            {
                addLong(attribute);
            }
        }
        if (name.ends_with("Popup") && *element.attribute("timeout").value() != '\0')
        {
            addLong("timeout");
        }
    }
}

const CReadLibrary* CCheckedDocument::Library()
{
    const CSafeString name(CTestSuiteNode::LibraryName(Root()));
    if (!m_Library && !name.empty())
    {
        m_Library = std::make_unique<CReadLibrary>(name);
        m_Library->OpenLibrary();
        m_FunctionNames.assign(m_Library->Functions().begin(), m_Library->Functions().end());
    }
    return m_Library.get();
}

std::vector<pugi::xml_node> CCheckedDocument::Elements(const std::vector<std::string_view>& names) const
{
    std::vector<pugi::xml_node> found;
    std::copy_if(m_Elements.begin(), m_Elements.end(), std::back_inserter(found),
                 [&names](const pugi::xml_node& element)
                 { return std::find(names.begin(), names.end(), element.name()) != names.end(); });
    return found;
}

const SDeclaration* CCheckedDocument::Find(std::string_view name) const
{
    const auto found = m_Rows.find(name);
    return found == m_Rows.end() ? nullptr : &m_Declarations[found->second];
}

std::string CCheckedDocument::MeantName(TMeant& found, const std::string& name, const std::vector<std::string>& names)
{
    const auto [meant, isNew] = found.try_emplace(name);
    if (isNew && names.size() <= m_LooksLeft)
    {
        m_LooksLeft -= names.size();
        meant->second = Meant(name, names);
    }
    return meant->second;
}

std::string CCheckedDocument::MeantVariable(const std::string& name)
{
    return MeantName(m_MeantVariables, name, m_VariableNames);
}

std::string CCheckedDocument::MeantFunction(const std::string& name)
{
    return MeantName(m_MeantFunctions, name, m_FunctionNames);
}

std::optional<std::uint64_t> CCheckedDocument::KnownValue(const SReading& reading) const
{
    if (const std::optional<std::uint64_t> literal = reading.Literal())
    {
        return Cut(*literal, reading.type);
    }
    const SDeclaration* const declaration = Find(reading.text);
    const bool isKnown = declaration && declaration->type && !declaration->element.attribute("ZKconfig") &&
        DataTypeWidth(*declaration->type) <= DataTypeWidth(reading.type) && !m_Written.contains(reading.text);
    if (!isKnown)
    {
        return std::nullopt;
    }
    const QString value = QString::fromUtf8(declaration->element.attribute("value").value());
    return Cut(ParseLiteral(*declaration->type, value).value_or(0), reading.type);
}

std::optional<EDataType> KnownType(std::string_view name)
{
    const auto found = std::find_if(DATA_TYPES.begin(), DATA_TYPES.end(),
                                    [name](EDataType type) { return std::string_view(TypeToTypeName(type)) == name; });
    return found == DATA_TYPES.end() ? std::nullopt : std::optional(*found);
}

std::uint64_t LargestOf(EDataType type)
{
    return CVariable::MakeVariable(type, {}, false, {}).MaxSize();
}

std::string Meant(std::string_view wrong, const std::vector<std::string>& words)
{
    const std::string word = NearestName(wrong, words);
    return word.empty() ? std::string() : "; did you mean " + Quoted(word) + "?";
}

std::string MeantWord(std::string_view wrong, const std::vector<std::string>& words)
{
    constexpr std::size_t MIN_SHARED = 4;
    const std::string near = Meant(wrong, words);
    const auto begins = [wrong](const std::string& word)
    {
        const std::size_t shared = std::min(wrong.size(), word.size());
        return shared >= MIN_SHARED && ToLower(wrong.substr(0, shared)) == ToLower(word.substr(0, shared));
    };
    const auto found = near.empty() ? std::find_if(words.begin(), words.end(), begins) : words.end();
    return found == words.end() ? near : "; did you mean " + Quoted(*found) + "?";
}

std::string Quoted(std::string_view text)
{
    return '"' + std::string(text) + '"';
}

bool IsByReference(const pugi::xml_node& parameter)
{
    return std::string_view(parameter.attribute("passed").value()) != "byVal";
}

bool IsTerm(const pugi::xml_node& element)
{
    static constexpr std::array<std::string_view, 6> TERMS{"x:And",        "x:Or",    "x:Not",
                                                           "x:Comparison", "x:Value", "x:Expression"};
    return std::find(TERMS.begin(), TERMS.end(), element.name()) != TERMS.end();
}

bool IsComputed(const pugi::xml_node& element)
{
    for (pugi::xml_node node = element; node; node = node.parent())
    {
        const pugi::xml_node parent = node.parent();
        const std::string_view name = node.name();
        const std::string_view parentName = parent.name();
        if (name == "x:Condition" && !node.next_sibling("x:Condition"))
        {
            const bool isInTerm = IsTerm(parent) || parentName == "x:Condition" || parentName == "x:LoopTerminate" ||
                parentName == "x:NextIteration";
            // A number among the children of a group is not computed, but its condition is asked all the same.
            return !isInTerm || IsNumberInGroup(parent);
        }
        const bool isReplaceable = name == "x:Condition" || name == "x:LoopTerminate" || name == "x:NextIteration";
        const bool isReplaced = isReplaceable && node.next_sibling(node.name());
        if (isReplaced || IsNumberInGroup(node) || (parentName == "x:Comparison" && IsThirdTerm(node)))
        {
            return false;
        }
    }
    return true;
}

bool IsPromptBound(const pugi::xml_attribute& bound)
{
    constexpr std::string_view BLANKS = " \t\n\r";
    std::string_view text = bound.value();
    text.remove_prefix(std::min(text.find_first_not_of(BLANKS), text.size()));
    text.remove_suffix(text.size() - 1 - text.find_last_not_of(BLANKS));
    text.remove_prefix(text.starts_with('+') ? 1 : 0);
    const bool isHexadecimal = text.starts_with("0x") || text.starts_with("0X");
    text.remove_prefix(isHexadecimal ? 2 : 0);
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, isHexadecimal ? 16 : 10);
    return !bound || (error == std::errc() && end == text.data() + text.size());
}

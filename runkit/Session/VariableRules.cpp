#include <Session/CheckRules.h>
#include <Session/CheckedDocument.h>
#include <Session/LoopOutline.h>

#include <Orvanta/NumericValueNode.h>
#include <Orvanta/SetPopupNode.h>
#include <Orvanta/TestSuiteNode.h>

#include <set>

namespace
{
bool IsNamed(std::string_view text)
{
    return text.starts_with('$');
}

std::string TypeText(EDataType type)
{
    return TypeToTypeName(type).c_str();
}

/// The elements that name a variable to write it, each with the attribute that does.
std::vector<std::pair<pugi::xml_node, const char*>> Writers(const CCheckedDocument& document)
{
    std::vector<std::pair<pugi::xml_node, const char*>> writers;
    for (const pugi::xml_node& element : document.Elements({"x:Set", "x:BooleanPopup", "x:SetPopup", "x:Group"}))
    {
        const bool isGroup = std::string_view(element.name()) == "x:Group";
        if (!isGroup || element.attribute("iterator"))
        {
            writers.emplace_back(element, isGroup ? "iterator" : "variable");
        }
    }
    return writers;
}

/// The parameters that are passed by reference and read at all: those that say so, or those that say nothing that means
/// anything.
std::vector<pugi::xml_node> References(const CCheckedDocument& document, bool areMeant = true)
{
    std::vector<pugi::xml_node> references = document.Elements({"x:Parameter"});
    std::erase_if(references,
                  [areMeant](const pugi::xml_node& parameter)
                  {
                      const pugi::xml_attribute passed = parameter.attribute("passed");
                      const bool isMeant = !passed || std::string_view(passed.value()) == "byRef";
                      return !IsByReference(parameter) || isMeant != areMeant ||
                          !KnownType(parameter.attribute("type").value());
                  });
    return references;
}

void CheckReference(CCheckedDocument& document, const pugi::xml_node& parameter)
{
    const std::string name = parameter.attribute("value").value();
    if (document.Find(name))
    {
        return;
    }
    const EDataType type = *KnownType(parameter.attribute("type").value());
    if (ParseLiteral(type, QString::fromStdString(name)))
    {
        document.Error(parameter,
                       Quoted(name) +
                           " is passed by reference and names no variable; a literal needs passed=" + Quoted("byVal"));
        return;
    }
    document.Error(parameter, Quoted(name) + ", passed by reference, is not declared" + document.MeantVariable(name));
}

/// What is wrong with a literal that has to fit a type; empty when nothing is.
std::string Misfit(std::string_view text, std::optional<std::uint64_t> number, EDataType type)
{
    if (!number || *number <= LargestOf(type))
    {
        return {};
    }
    const std::uint64_t used = type == DT_BOOL ? 1 : *number & LargestOf(type);
    return Quoted(text) + " does not fit a " + TypeText(type) + ", which holds 0 to " +
        std::to_string(LargestOf(type)) + ": read as one it is " + std::to_string(used);
}

/// The number that a literal is written as, also where a bool makes 1 of it.
std::optional<std::uint64_t> WrittenNumber(EDataType type, const char* text)
{
    const QString literal = QString::fromUtf8(text);
    return ParseLiteral(type, literal) ? ParseLiteral(DT_LONGLONG, literal) : std::nullopt;
}

/// Whether what is read makes a difference. A variable that a group cannot read fails all the same.
bool IsUsed(const CCheckedDocument& document, const SReading& reading)
{
    const bool isBound = std::string_view(reading.element.name()) == "x:Group";
    return !isBound || SLoopOutline(document, reading.element).Uses(reading.attribute);
}

void CheckReading(CCheckedDocument& document, const SReading& reading)
{
    if (!IsUsed(document, reading))
    {
        return;
    }
    if (reading.Literal())
    {
        const std::string misfit = Misfit(reading.text, WrittenNumber(reading.type, reading.text), reading.type);
        if (!misfit.empty())
        {
            document.Error(reading.element, std::string(reading.attribute) + ": " + misfit);
        }
        return;
    }
    if (!document.Find(reading.text) && !IsNamed(reading.text))
    {
        const bool isBound = std::string_view(reading.element.name()) == "x:Group";
        document.Error(reading.element,
                       std::string(reading.attribute) + ": " + Quoted(reading.text) +
                           " is no literal and names no variable" + (isBound ? "; 0 would be used" : "") +
                           document.MeantVariable(reading.text));
    }
}

void CheckDeclaration(CCheckedDocument& document, const SDeclaration& declaration)
{
    const char* const text = declaration.element.attribute("value").value();
    if (!declaration.type)
    {
        return;
    }
    const std::optional<std::uint64_t> number = WrittenNumber(*declaration.type, text);
    const std::string misfit = number
        ? Misfit(text, number, *declaration.type)
        : Quoted(text) + " is no literal of the type " + TypeText(*declaration.type) + "; 0 would be used";
    if (!misfit.empty())
    {
        document.Error(declaration.element, "the value of " + Quoted(declaration.name) + ": " + misfit);
    }
}

void CheckValueElement(CCheckedDocument& document, const pugi::xml_node& element)
{
    const char* const text = element.attribute("value").value();
    if (IsNamed(text) || !IsComputed(element))
    {
        return;
    }
    const std::optional<std::uint64_t> number = CNumericValueNode::ReadLiteral(text);
    if (!number)
    {
        const char* const hint = *text == '\0' ? "x:Value has no value"
            : document.Find(text)              ? " names a variable, but x:Value reads only those that begin with $"
                                               : " is no number that x:Value can read";
        document.Error(element, (*text == '\0' ? "" : Quoted(text)) + hint);
        return;
    }
    const pugi::xml_node set = element.parent();
    const bool isAssigned = std::string_view(set.name()) == "x:Set";
    const SDeclaration* const target = isAssigned ? document.Find(set.attribute("variable").value()) : nullptr;
    const std::string misfit = target && target->type ? Misfit(text, number, *target->type) : std::string();
    if (!misfit.empty())
    {
        document.Error(element, "the value for " + Quoted(target->name) + ": " + misfit);
    }
}
} // namespace

void FindUndeclaredVariables(CCheckedDocument& document)
{
    for (const auto& [element, attribute] : Writers(document))
    {
        const std::string name = element.attribute(attribute).value();
        if (!document.Find(name))
        {
            document.Error(element,
                           name.empty() ? std::string(element.name()) + " names no variable"
                                        : std::string(attribute) + ": " + Quoted(name) + " is not declared" +
                                   document.MeantVariable(name));
        }
    }
    for (const pugi::xml_node& parameter : References(document))
    {
        CheckReference(document, parameter);
    }
    const auto checkNamed = [&](const pugi::xml_node& element, const std::string& attribute, const std::string& name)
    {
        if (IsNamed(name) && !document.Find(name))
        {
            document.Error(element,
                           attribute + ": " + Quoted(name) + " is not declared" + document.MeantVariable(name));
        }
    };
    for (const pugi::xml_node& parameter : References(document, false))
    {
        checkNamed(parameter, "value", parameter.attribute("value").value());
    }
    for (const SReading& reading : document.Readings())
    {
        if (IsUsed(document, reading))
        {
            checkNamed(reading.element, reading.attribute, reading.text);
        }
    }
    for (const pugi::xml_node& element : document.Elements({"x:Value"}))
    {
        if (IsComputed(element))
        {
            checkNamed(element, "value", element.attribute("value").value());
        }
    }
}

void FindUnusedVariables(CCheckedDocument& document)
{
    std::set<std::string> named;
    for (const pugi::xml_node& element : document.Elements(
             {"x:Parameter", "x:Value", "x:Set", "x:Group", "x:BooleanPopup", "x:InfoPopup", "x:SetPopup"}))
    {
        for (const char* const attribute :
             {"value", "variable", "iterator", "from", "to", "interval", "timeout", "min", "max"})
        {
            named.insert(element.attribute(attribute).value());
        }
    }
    for (const SDeclaration& declaration : document.Declarations())
    {
        const bool isSetting = *declaration.element.attribute("ZKconfig").value() != '\0';
        if (!isSetting && !named.contains(declaration.name))
        {
            document.Warn(declaration.element, Quoted(declaration.name) + " is declared and never used");
        }
    }
}

void FindWrittenConstants(CCheckedDocument& document)
{
    for (const auto& [element, attribute] : Writers(document))
    {
        const SDeclaration* const declaration = document.Find(element.attribute(attribute).value());
        if (declaration && declaration->isConstant)
        {
            document.Warn(element,
                          std::string(element.name()) + " changes the constant " + Quoted(declaration->name) +
                              "; declare it as x:Local");
        }
    }
    for (const pugi::xml_node& parameter : References(document))
    {
        const SDeclaration* const declaration = document.Find(parameter.attribute("value").value());
        if (declaration && declaration->isConstant)
        {
            document.Error(parameter,
                           "the constant " + Quoted(declaration->name) +
                               " cannot be passed by reference; declare it as x:Local");
        }
    }
}

void FindReferencesOfOtherWidth(CCheckedDocument& document)
{
    for (const pugi::xml_node& parameter : References(document))
    {
        const SDeclaration* const declaration = document.Find(parameter.attribute("value").value());
        if (!declaration || !declaration->type)
        {
            continue;
        }
        const EDataType type = *KnownType(parameter.attribute("type").value());
        const std::size_t width = DataTypeWidth(type);
        const std::size_t variableWidth = DataTypeWidth(*declaration->type);
        const std::string whose = Quoted(declaration->name) + ", which is " + TypeText(*declaration->type);
        std::string message = "a reference to " + TypeText(type);
        if (width < variableWidth)
        {
            document.Error(parameter, message.append(" is too narrow for ").append(whose));
        }
        else if (width > variableWidth)
        {
            document.Warn(parameter, message.append(" reaches beyond ").append(whose));
        }
    }
}

void FindWideValues(CCheckedDocument& document)
{
    for (const SReading& reading : document.Readings())
    {
        const SDeclaration* const declaration = reading.Literal() ? nullptr : document.Find(reading.text);
        if (declaration && declaration->type && DataTypeWidth(*declaration->type) > DataTypeWidth(reading.type))
        {
            document.Error(reading.element,
                           std::string(reading.attribute) + ": " + Quoted(declaration->name) + " is " +
                               TypeText(*declaration->type) + ", wider than the " + TypeText(reading.type) +
                               " that it is read as");
        }
    }
}

void FindBadLiterals(CCheckedDocument& document)
{
    for (const SDeclaration& declaration : document.Declarations())
    {
        CheckDeclaration(document, declaration);
    }
    for (const SReading& reading : document.Readings())
    {
        CheckReading(document, reading);
    }
    for (const pugi::xml_node& element : document.Elements({"x:Value"}))
    {
        CheckValueElement(document, element);
    }
    for (const pugi::xml_node& element : document.Elements({"x:SetPopup"}))
    {
        const CSetPopupNode::SBounds bounds = CSetPopupNode::BoundsOf(element);
        for (const auto& [attribute, used] : {std::pair("min", bounds.min), std::pair("max", bounds.max)})
        {
            const pugi::xml_attribute bound = element.attribute(attribute);
            if (!IsPromptBound(bound))
            {
                document.Error(element,
                               std::string(attribute) + ": " + Quoted(bound.value()) +
                                   " is no number, as a prompt's bounds must be; " + std::to_string(used) +
                                   " would be used");
            }
        }
    }
}

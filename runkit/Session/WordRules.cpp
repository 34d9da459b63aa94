#include <Session/CheckRules.h>
#include <Session/CheckedDocument.h>

#include <CoreKit/NearestName.h>
#include <CoreKit/SafeString.h>
#include <Orvanta/BooleanOperatorNode.h>
#include <Orvanta/NumericExpressionNode.h>
#include <Orvanta/SetPopupNode.h>

#include <algorithm>
#include <array>
#include <set>

namespace
{
/// The words that an attribute knows, and what comes of any other.
struct SWords
{
    const char* element;
    const char* attribute;
    std::vector<std::string> words;
    ESeverity severity;
    const char* consequence; ///< null for a flag, which is read by its first letter
};

const std::vector<SWords>& KnownWords()
{
    static const std::vector<SWords> rows{
        {"x:Parameter", "passed", {"byVal", "byRef"}, ESeverity::Error, "an address is passed"},
        {"x:Group", "iterType", {"Incr", "Decr"}, ESeverity::Warning, "the loop counts up"},
        {"x:Group", "breakConditionType", {"Strict", "NonStrict"}, ESeverity::Warning, "the bound is excluded"},
        {"x:SetPopup", "hex", {"true", "false"}, ESeverity::Warning, nullptr},
        {"x:SetPopup", "initialize", {"true", "false"}, ESeverity::Warning, nullptr},
        {"x:TestSuite", "alwaysload", {"true", "false"}, ESeverity::Warning, nullptr},
    };
    return rows;
}

bool IsFlag(std::string_view word)
{
    static constexpr std::array<std::string_view, 10> FLAGS{"true", "false", "yes", "no", "t", "f", "y", "n", "1", "0"};
    return std::find(FLAGS.begin(), FLAGS.end(), std::string_view(ToLower(word))) != FLAGS.end();
}

void CheckWord(CCheckedDocument& document, const pugi::xml_node& element, const SWords& known)
{
    const pugi::xml_attribute attribute = element.attribute(known.attribute);
    const std::string word = attribute.value();
    const bool isKnown =
        known.consequence ? std::find(known.words.begin(), known.words.end(), word) != known.words.end() : IsFlag(word);
    if (!attribute || isKnown)
    {
        return;
    }
    const std::string consequence = known.consequence ? known.consequence
        : attribute.as_bool()                         ? "it counts as true"
                                                      : "it counts as false";
    document.Add(element, known.severity,
                 std::string(known.attribute) + ": " + Quoted(word) + " means nothing, so " + consequence +
                     MeantWord(word, known.words));
}

std::vector<std::string> Texts(const QStringList& words)
{
    std::vector<std::string> texts;
    std::transform(words.begin(), words.end(), std::back_inserter(texts),
                   [](const QString& word) { return word.toStdString(); });
    return texts;
}

/// Operators are so short that several are often equally near, and a wrong guess would turn a comparison round.
std::string MeantOperator(const std::string& wrong, const std::vector<std::string>& words)
{
    const std::vector<std::string> nearest = NearestNames(wrong, words);
    return nearest.size() == 1 ? "; did you mean " + Quoted(nearest.front()) + "?" : std::string();
}
} // namespace

void FindUnknownOperators(CCheckedDocument& document)
{
    for (const pugi::xml_node& element : document.Elements({"x:Comparison", "x:Expression"}))
    {
        const bool isComparison = std::string_view(element.name()) == "x:Comparison";
        const QStringList known =
            isComparison ? CBooleanOperatorNode::Operators() : CNumericExpressionNode::Operators();
        const QString word = QString::fromUtf8(element.attribute("operator").value());
        if (!known.contains(word))
        {
            document.Error(element,
                           std::string(element.name()) + ": the operator " + Quoted(word.toStdString()) +
                               " is not known; known are " + known.join(QStringLiteral(", ")).toStdString() +
                               MeantOperator(word.toStdString(), Texts(known)));
        }
    }
}

void FindDuplicateVariables(CCheckedDocument& document)
{
    std::set<std::string> names;
    for (const SDeclaration& declaration : document.Declarations())
    {
        if (!names.insert(declaration.name).second)
        {
            document.Error(declaration.element, "the variable " + Quoted(declaration.name) + " is declared already");
        }
    }
}

void FindUnknownWords(CCheckedDocument& document)
{
    for (const SWords& known : KnownWords())
    {
        for (const pugi::xml_node& element : document.Elements({known.element}))
        {
            CheckWord(document, element, known);
        }
    }
    for (const pugi::xml_node& function : document.Elements({"x:Function"}))
    {
        const std::string type = function.attribute("type").value();
        const std::string meant = type == "PassFailTest" ? "" : MeantWord(type, {"PassFailTest"});
        if (!meant.empty())
        {
            document.Warn(function, "type: " + Quoted(type) + " makes it a plain call, not a test" + meant);
        }
    }
}

void FindInvertedWords(CCheckedDocument& document)
{
    for (const pugi::xml_node& comparison : document.Elements({"x:Comparison"}))
    {
        const std::string_view word = comparison.attribute("operator").value();
        if (word == "lt")
        {
            document.Warn(comparison,
                          "the operator \"lt\" is true when left >= right; for left < right write \"gt\" with the "
                          "terms exchanged, for left >= right \"lte\" with the terms exchanged");
        }
        else if (word == "gte")
        {
            document.Warn(comparison,
                          "the operator \"gte\" is true when left < right; for left >= right write \"lte\" with the "
                          "terms exchanged, for left < right \"gt\" with the terms exchanged");
        }
    }
}

void FindBadPromptRanges(CCheckedDocument& document)
{
    for (const pugi::xml_node& prompt : document.Elements({"x:SetPopup"}))
    {
        if (!IsPromptBound(prompt.attribute("min")) || !IsPromptBound(prompt.attribute("max")))
        {
            continue; // what they are read as is not what they say
        }
        const auto [min, max] = CSetPopupNode::BoundsOf(prompt);
        if (min > max)
        {
            document.Error(prompt,
                           "no number is from " + std::to_string(min) + " to " + std::to_string(max) +
                               ", so the prompt cannot be answered");
            continue;
        }
        const SDeclaration* const declaration = document.Find(prompt.attribute("variable").value());
        const std::uint64_t largest = prompt.attribute("max") ? max : min;
        if (declaration && declaration->type && largest > LargestOf(*declaration->type))
        {
            document.Warn(prompt,
                          std::to_string(largest) + " may be answered, but " + Quoted(declaration->name) + " is " +
                              TypeToTypeName(*declaration->type).c_str() + ", which ends at " +
                              std::to_string(LargestOf(*declaration->type)));
        }
    }
}

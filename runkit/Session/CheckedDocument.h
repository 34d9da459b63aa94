#pragma once

#include <Session/ProblemFinder.h>

#include <Orvanta/Variable.h>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

class CReadLibrary;

/// One variable or constant as it is declared.
struct SDeclaration
{
    pugi::xml_node element;
    std::string name;
    std::optional<EDataType> type; ///< none: a word that is no type
    bool isConstant = false;
};

/// A text that is read by value: as a literal, else as a variable.
struct SReading
{
    pugi::xml_node element;
    const char* attribute;
    const char* text;
    EDataType type; ///< what reads it

    std::optional<std::uint64_t> Literal() const { return ParseLiteral(type, QString::fromUtf8(text)); }
};

/// A suite's document as the rules of a check look at it, valid or not, and what they find in it. Looks for the test
/// library with the services that are installed.
class CCheckedDocument : public CProblemFinder
{
public:
    explicit CCheckedDocument(const CDocumentSource& source);
    ~CCheckedDocument();

    /// The elements with one of these names, in document order.
    std::vector<pugi::xml_node> Elements(const std::vector<std::string_view>& names) const;

    /// The declarations that count: those of the first "x:Variables".
    const std::vector<SDeclaration>& Declarations() const { return m_Declarations; }
    /// The first declaration of a name, null when there is none.
    const SDeclaration* Find(std::string_view name) const;
    /// "; did you mean ...?" when a declared name is near, else empty.
    std::string MeantVariable(const std::string& name);
    /// The same for a function of the test library.
    std::string MeantFunction(const std::string& name);

    /// Every text that is read by value, but for the terms of expressions.
    const std::vector<SReading>& Readings() const { return m_Readings; }
    /// What a reading gives in every run: a literal's value, or that of a variable that nothing writes; cut to the
    /// reading's width.
    std::optional<std::uint64_t> KnownValue(const SReading& reading) const;

    /// The test library, read; null when the suite names none.
    const CReadLibrary* Library();

private:
    void CollectElements();
    void CollectDeclarations();
    void CollectReadings();
    using TMeant = std::map<std::string, std::string>;
    std::string MeantName(TMeant& found, const std::string& name, const std::vector<std::string>& names);

    std::vector<pugi::xml_node> m_Elements;
    std::vector<SDeclaration> m_Declarations;
    std::map<std::string, std::size_t, std::less<>> m_Rows; ///< of the declarations, by name
    std::vector<SReading> m_Readings;
    TMeant m_MeantVariables; ///< what was found for wrong names, which often come again
    TMeant m_MeantFunctions;
    std::vector<std::string> m_VariableNames;
    std::vector<std::string> m_FunctionNames;
    std::size_t m_LooksLeft = 200'000; ///< at names that might be meant, so that a check of many wrong ones ends
    std::set<std::string, std::less<>> m_Written; ///< names that assignments, prompts, loops and calls write
    std::unique_ptr<CReadLibrary> m_Library;
};

/// The type of that name, none for any other word.
std::optional<EDataType> KnownType(std::string_view name);

/// The largest number that a variable of the type holds; 1 for `DT_BOOL`.
std::uint64_t LargestOf(EDataType type);

/// "; did you mean "word"?" for the word nearest to a wrong one, else empty.
std::string Meant(std::string_view wrong, const std::vector<std::string>& words);

/// The same for a fixed word, also for one that was cut short or drawn out.
std::string MeantWord(std::string_view wrong, const std::vector<std::string>& words);

std::string Quoted(std::string_view text);

/// Whether an element passes its value by reference, as "x:Parameter" does unless it says otherwise.
bool IsByReference(const pugi::xml_node& parameter);

/// Whether an element is a term of a calculation.
bool IsTerm(const pugi::xml_node& element);

/// Whether a run computes a term or a condition: not what another one replaces, nor what stands where nothing asks.
bool IsComputed(const pugi::xml_node& element);

/// Whether a prompt's bound is read as the number that it looks like; so is a missing one.
bool IsPromptBound(const pugi::xml_attribute& bound);

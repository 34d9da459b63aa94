#include <Session/SuiteCheck.h>

#include <Session/CheckRules.h>
#include <Session/CheckedDocument.h>

#include <HostKit/DocumentSource.h>

#include <algorithm>
#include <array>
#include <tuple>

namespace
{
struct SRule
{
    const char* name;
    void (*find)(CCheckedDocument& document);
};

/// The rules that a suite keeps to, or it cannot be made into a tree.
constexpr std::array LOAD_RULES{
    SRule{"unknown-type", FindUnknownDeclaredTypes},
    SRule{"duplicate-variable", FindDuplicateVariables},
    SRule{"unknown-operator", FindUnknownOperators},
};

constexpr std::array CHECK_RULES{
    SRule{"unknown-operator", FindUnknownOperators},
    SRule{"unknown-type", FindUnknownParameterTypes},
    SRule{"duplicate-variable", FindDuplicateVariables},
    SRule{"unknown-word", FindUnknownWords},
    SRule{"undeclared-variable", FindUndeclaredVariables},
    SRule{"unused-variable", FindUnusedVariables},
    SRule{"constant-written", FindWrittenConstants},
    SRule{"reference-width", FindReferencesOfOtherWidth},
    SRule{"value-width", FindWideValues},
    SRule{"iterator-type", FindIteratorsOfBadType},
    SRule{"iterator-range", FindBoundsBeyondIterator},
    SRule{"literal", FindBadLiterals},
    SRule{"too-many-parameters", FindTooManyParameters},
    SRule{"missing-library", FindMissingLibrary},
    SRule{"missing-function", FindMissingFunctions},
    SRule{"empty-group", FindEmptyGroups},
    SRule{"terms", FindMissingTerms},
    SRule{"interval-zero", FindZeroIntervals},
    SRule{"no-pass", FindLoopsWithoutPass},
    SRule{"ignored", FindWhatIsIgnored},
    SRule{"inverted-word", FindInvertedWords},
    SRule{"repeated-condition", FindRepeatedConditions},
    SRule{"prompt-range", FindBadPromptRanges},
};

template <class Rules>
std::vector<SProblem> Find(const CDocumentSource& source, const Rules& rules)
{
    CCheckedDocument document(source);
    for (const SRule& rule : rules)
    {
        document.SetRule(rule.name);
        rule.find(document);
    }
    return document.Take();
}

/// Whether what a rule finds may come of what the schema refused at the same place.
bool CanFollowFromSchema(std::string_view rule)
{
    static constexpr std::array<std::string_view, 4> RULES{"unknown-type", "unknown-operator", "terms", "empty-group"};
    return std::find(RULES.begin(), RULES.end(), rule) != RULES.end();
}

/// Whether a rule says again what loading said, or stumbles over what the schema refused.
bool IsKnown(const SProblem& found, const std::vector<SProblem>& problems)
{
    return std::any_of(
        problems.begin(), problems.end(),
        [&found](const SProblem& problem)
        {
            const bool isSamePlace = std::tie(problem.line, problem.column) == std::tie(found.line, found.column);
            return isSamePlace &&
                (problem.rule == found.rule || (problem.rule == "schema" && CanFollowFromSchema(found.rule)));
        });
}
} // namespace

std::vector<SProblem> CheckDocument(const CDocumentSource& source, const std::vector<SProblem>& loadProblems)
{
    std::vector<SProblem> problems = loadProblems;
    const std::string_view root = source.Tree().document_element().name();
    if (source.TreeProblem() || root != "x:TestSuite")
    {
        SortByPlace(problems);
        return problems;
    }
    for (SProblem& found : Find(source, CHECK_RULES))
    {
        if (!IsKnown(found, loadProblems))
        {
            problems.push_back(std::move(found));
        }
    }
    SortByPlace(problems);
    return problems;
}

std::vector<SProblem> FindTreeObstacles(const CDocumentSource& source)
{
    return Find(source, LOAD_RULES);
}

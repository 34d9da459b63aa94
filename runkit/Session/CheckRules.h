#pragma once

class CCheckedDocument;

// The rules of a check. Each adds what it finds in a document, under the name that it has in the table of rules.

// what keeps a suite from being made into a tree
void FindUnknownDeclaredTypes(CCheckedDocument& document);
void FindDuplicateVariables(CCheckedDocument& document);
void FindUnknownOperators(CCheckedDocument& document);

// variables and constants
void FindUndeclaredVariables(CCheckedDocument& document);
void FindUnusedVariables(CCheckedDocument& document);
void FindWrittenConstants(CCheckedDocument& document);
void FindWideValues(CCheckedDocument& document);
void FindBadLiterals(CCheckedDocument& document);

// calls of test functions
void FindUnknownParameterTypes(CCheckedDocument& document);
void FindReferencesOfOtherWidth(CCheckedDocument& document);
void FindTooManyParameters(CCheckedDocument& document);
void FindMissingLibrary(CCheckedDocument& document);
void FindMissingFunctions(CCheckedDocument& document);

// groups and loops
void FindEmptyGroups(CCheckedDocument& document);
void FindIteratorsOfBadType(CCheckedDocument& document);
void FindBoundsBeyondIterator(CCheckedDocument& document);
void FindZeroIntervals(CCheckedDocument& document);
void FindLoopsWithoutPass(CCheckedDocument& document);

// words, terms, conditions, prompts
void FindUnknownWords(CCheckedDocument& document);
void FindMissingTerms(CCheckedDocument& document);
void FindWhatIsIgnored(CCheckedDocument& document);
void FindInvertedWords(CCheckedDocument& document);
void FindRepeatedConditions(CCheckedDocument& document);
void FindBadPromptRanges(CCheckedDocument& document);

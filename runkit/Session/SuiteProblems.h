#pragma once

#include <Events/Problem.h>

#include <exception>
#include <string>
#include <vector>

class CDocumentSource;
class TestSuiteState;

// What is wrong with a suite, in the words that load, list, run and hosts share.

/// What the load decision says against a suite; empty when it is to be loaded, or when there is no root to decide
/// about.
std::vector<SProblem> DecisionProblems(const CDocumentSource& source, std::uint32_t access);

/// Why an initialised state is not valid; never empty.
std::vector<SProblem> DocumentProblems(const TestSuiteState& state, const CDocumentSource& source);

/// Why the tree of a valid document cannot be built, given what was thrown; never empty.
std::vector<SProblem> TreeProblems(const CDocumentSource& source, const std::string& thrown);

#pragma once

#include "Options.h"

#include <Orvanta/TestSuiteNode.h>
#include <Orvanta/TestSuiteState.h>
#include <Reports/NodeInfo.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// Something wrong with a suite file; line 0 when it concerns the file as a whole.
struct SProblem
{
    std::uint64_t line = 0;
    std::uint64_t column = 0;
    std::string severity;
    std::string message;
};

/// A suite file that was loaded, or the reasons why it was not: then there is no root. The tree goes before its
/// document.
struct SLoadedSuite
{
    std::string file;
    std::unique_ptr<TestSuiteState> state;
    std::unique_ptr<CTestSuiteNode> root;
    std::vector<SProblem> problems;
};

/// Decides whether the suite is to be loaded, validates it, builds its tree and follows the mode that the tree asks for
/// unless `keepMode`. A valid suite is activated before its tree is built; one that is not valid is left to the caller,
/// who has its problems. Uses the installed services. Only exhausted memory leaves as an exception.
SLoadedSuite LoadSuite(const std::string& file, bool keepMode);

/// Applies the operator's selection; false, with the reason on stderr, when a pattern matches no node.
bool SelectNodes(const SLoadedSuite& suite, const std::vector<SDescribedNode>& nodes, const SOptions& options);

/// Writes the first 100 problems to stderr, each as "file:line:column: severity: message", and how many more there are.
void PrintProblems(const SLoadedSuite& suite);

#pragma once

#include <Events/Problem.h>

#include <vector>

class CDocumentSource;

/// What the rules find in a suite's document, besides what it failed to load for, all in the order of the places. A
/// document that is not whole is not looked at. Looks for the test library with the services that are installed.
std::vector<SProblem> CheckDocument(const CDocumentSource& source, const std::vector<SProblem>& loadProblems);

/// What keeps the tree of a valid document from being built; empty when the rules see nothing that would.
std::vector<SProblem> FindTreeObstacles(const CDocumentSource& source);

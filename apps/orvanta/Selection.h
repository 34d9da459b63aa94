#pragma once

#include <Reports/NodeInfo.h>

#include <string>
#include <vector>

class CTestSuiteNode;

/// One of the operator's selection options, in the order in which they were given.
struct SSelection
{
    bool select = true;
    std::string pattern;
};

/// Applies the operator's selection to a tree, whose nodes are those of `DescribeTree`. A pattern that begins with "/"
/// is matched against the nodes' paths, every other one against the labels or names from the top-level groups down
/// ("Group/Function"); "*" and "?" stand for characters of one part and "**" for any number of parts. The first
/// selection starts from nothing selected. Returns the patterns that match no node which can be selected. Takes time
/// in proportion to the nodes, their depth and the length of the patterns.
std::vector<std::string> ApplySelection(CTestSuiteNode& root, const std::vector<SDescribedNode>& nodes,
                                        const std::vector<SSelection>& selections);

#pragma once

#include <Session/NodeInfo.h>
#include <Session/Setup.h>

#include <functional>
#include <string>
#include <vector>

class CNode;
class CTestSuiteNode;

/// Applies the operator's selection to a tree, whose nodes are given in document order with their descriptions. A
/// pattern that begins with "/" is matched against the nodes' paths, every other one against the labels or names from
/// the top-level groups down ("Group/Function"); "*" and "?" stand for characters of one part and "**" for any number
/// of parts. The first selection starts from nothing selected. Returns the patterns that match no node which can be
/// selected. Takes time in proportion to the nodes, their depth and the length of the patterns.
std::vector<std::string> ApplySelection(CTestSuiteNode& root, const std::vector<CNode*>& nodes,
                                        const std::vector<SNodeInfo>& infos, const std::vector<SSelection>& selections);

/// Selects, of the nodes that the selection decides about and that have none below them, those that are wanted, and no
/// other; false when there is none.
bool ApplyChoice(CTestSuiteNode& root, const std::vector<CNode*>& nodes, const std::vector<SNodeInfo>& infos,
                 const std::function<bool(const SNodeInfo& node)>& isWanted);

#pragma once

#include <Session/NodeInfo.h>
#include <Session/Suite.h>

#include <vector>

class CDocumentSource;
class CNode;

/// Takes a list of answers through the prompts of a tree, whose nodes are given in document order with their
/// descriptions, as a run would. See `CSuite::CheckAnswers`.
std::vector<SProblem> CheckAnswersAhead(const CDocumentSource& source, const std::vector<CNode*>& nodes,
                                        const std::vector<SNodeInfo>& infos, SAnswersAhead& answers);

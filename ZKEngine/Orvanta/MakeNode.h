#pragma once

#include <Orvanta/OrvantaExport.h>

#include <pugixml.hpp>

#include <memory>

class CNode;

/// Builds the node of an element, with everything below it, at the level below the parent's; null for an element that
/// is no executable node. What a node's constructor throws passes through.
ORVANTA_EXPORT std::unique_ptr<CNode> MakeNode(const pugi::xml_node& node, CNode* const parent, int level);

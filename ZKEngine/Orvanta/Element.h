#pragma once

#include <Orvanta/OrvantaExport.h>

#include <CoreKit/SafeString.h>

#include <pugixml.hpp>

class CVariableList;

/// The text directly inside an element; comments and CDATA sections do not cut it. Empty without an element.
ORVANTA_EXPORT CSafeString ElementText(const pugi::xml_node& element);

/// Adds what an "x:Define" or "x:Local" element declares; false for every other element. Throws for a bad type, which
/// is looked at first, and for a name that exists already.
ORVANTA_EXPORT bool AddDeclaration(CVariableList& list, const pugi::xml_node& declaration);

/// Adds the declarations below an element in order, and stops at a child element that is none. Returns that one; null
/// when all were added.
pugi::xml_node AddDeclarations(CVariableList& list, const pugi::xml_node& variables);

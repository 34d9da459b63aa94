#pragma once

#include <Session/SessionExport.h>

#include <cstdint>
#include <string>

/// What a node of a suite is called, where it stands and what the selection says of it.
struct SNodeInfo
{
    std::string path; ///< child indices from the root: "/1/0"; "/" for the root itself
    std::string element;
    std::string name;
    std::string label;
    std::string tooltip;
    std::uint64_t line = 0; ///< in the suite file
    bool selectable = false;
    bool checkable = false; ///< the operator's selection decides whether it runs
    bool selected = false;  ///< the selection lets it run: by its own mark, or as part of an init or exit group
    bool test = false;      ///< a function of the type "PassFailTest"
};

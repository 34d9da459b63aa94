#pragma once

#include <cstddef>
#include <string_view>

/// How the runs of one command speak to people beside their events.
class CRunVoice
{
public:
    virtual ~CRunVoice() = default;

    /// What went wrong, as one line.
    virtual void Error(std::string_view text) = 0;
    /// A line among those of the run.
    virtual void Line(std::string_view text) = 0;
    /// So many suites of the command line were reached.
    virtual void SuitesBegun(std::size_t /*count*/) {}
};

#pragma once

#include <Events/Event.h>

#include <string>

/// What test code writes to one of its standard streams, as it comes out of the pipe; whole characters only. The pipe
/// outlives it.
class CTestOutput
{
public:
    /// Reading never waits from now on.
    CTestOutput(int pipe, EOutputStream stream);

    EOutputStream Stream() const { return m_Stream; }
    /// Reads what is in the pipe now; false when that was nothing.
    bool Read();
    /// What was read and not given yet; a character that may go on is kept back unless `all` is wanted.
    std::string Give(bool all);

private:
    int m_Pipe;
    EOutputStream m_Stream;
    std::string m_Text;
};

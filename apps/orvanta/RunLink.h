#pragma once

#include "SharedPage.h"

#include <memory>
#include <string_view>

/// Both ends of a pipe, closed when it dies. Not inherited by programs.
class CPipe
{
public:
    CPipe();
    ~CPipe();
    CPipe(const CPipe&) = delete;
    CPipe& operator=(const CPipe&) = delete;

    int ReadEnd() const { return m_Ends[0]; }
    int WriteEnd() const { return m_Ends[1]; }
    void CloseReadEnd();
    void CloseWriteEnd();

private:
    int m_Ends[2]{-1, -1};
};

/// What connects the process that waits with the one that it forks. The waiting process keeps every end open: test code
/// may close those of its own process, which gets them back from there. Throws `ZKRunTimeException` when the system
/// refuses one.
struct SRunLink
{
    SRunLink();

    CPipe events;  ///< to the waiting process: lines, see below
    CPipe answers; ///< to the running process: lines, see below
    CPipe output;  ///< what test code writes to stdout
    CPipe errors;  ///< what it writes to stderr

    struct SUnmap
    {
        void operator()(SSharedPage* memory) const;
    };
    std::unique_ptr<SSharedPage, SUnmap> page;
};

// A line to the waiting process is an event in the form of the record, or one of these letters and a text.
inline constexpr char LINE_ERROR = 'E'; ///< an error for people
inline constexpr char LINE_TEXT = 'T';  ///< a line for the terminal
inline constexpr char LINE_LAST = 'X';  ///< the exit code: the last word

// A line to the running process is one of these letters and a text.
inline constexpr char LINE_ANSWER = 'A';     ///< to the open prompt, in JSON
inline constexpr char LINE_STOP = 'S';       ///< a stop request was counted
inline constexpr char LINE_UNANSWERED = 'U'; ///< nobody can answer the prompt, and why

/// Writes it all, whatever interrupts; false when there is no reader.
bool WriteAll(int file, std::string_view text);

#pragma once

#include <QString>
#include <QStringList>

#include <string>

#include <sys/types.h>

/// A program at a terminal of its own, and the operator who reads and types there. Kills the program when it dies. A
/// step that does not come about fails the test once; the steps after it do nothing.
class CPty
{
public:
    CPty(const QString& folder, const QStringList& environment, const QStringList& command);
    ~CPty();
    CPty(const CPty&) = delete;
    CPty& operator=(const CPty&) = delete;

    /// Waits until the terminal shows the text behind what was expected before.
    void Expect(const std::string& text);
    void Send(const std::string& keys);
    /// Reads to the end; gives the exit code, or 128 and the number of the signal that ended the program.
    int Wait();

    /// Whether the terminal is set to echo and to edit lines, as it was found.
    bool IsRestored() const;
    const std::string& Output() const { return m_Output; }

private:
    /// False when nothing more comes.
    bool ReadMore();
    void Fail(const std::string& what);

    pid_t m_Process = -1;
    int m_Terminal = -1;
    std::string m_Output;
    std::size_t m_Seen = 0; ///< where the next text is expected
    bool m_Failed = false;
};

#pragma once

#include <Events/EventSink.h>
#include <HostKit/ScriptedUserInput.h>

#include <deque>
#include <string>
#include <vector>

/// Reads a list of answers: a JSON array with an entry for each prompt, {"answer": X} with an optional "text". Throws
/// `ZKRunTimeException`, naming file and entry, for anything else.
std::deque<SScriptedAnswer> ReadAnswers(const std::string& path);

/// Writes the answers that prompts got, in the form that `ReadAnswers` reads. The file is complete after every prompt
/// and stays as it was before the first. The constructor throws `ZKRunTimeException` when the file cannot be written.
class CSavedAnswers : public CEventSink
{
public:
    explicit CSavedAnswers(const std::string& path);

    void Take(const SEvent& event) override;

    /// Why the file is not complete; empty when it is.
    const std::string& WriteError() const { return m_WriteError; }

private:
    void Write();

    std::string m_Path;                 ///< as it was named
    std::string m_Target;               ///< absolute
    std::vector<std::string> m_Entries; ///< as JSON
    std::string m_WriteError;
};

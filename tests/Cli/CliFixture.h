#pragma once

#include "Pty.h"

#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <functional>
#include <memory>
#include <string>
#include <vector>

using TJson = nlohmann::ordered_json;

struct SOutcome
{
    int code = -1; ///< -1: did not end by itself
    std::string out;
    std::string err;
};

/// One function of the library as a suite calls it.
std::string Call(const std::string& function, const std::string& type = "PassFailTest");
bool Contains(const std::string& text, const std::string& part);
/// Whether a process is gone, or will be within seconds; one that nobody has waited for is.
bool IsGone(long process);

/// Runs the program in a folder of its own, which also holds settings, execution lock and the user's folders. Command
/// lines are words between blanks; '' is an empty word.
class CCliTest : public ::testing::Test
{
protected:
    CCliTest();

    /// A path in the test's folder.
    std::string Path(const std::string& name) const { return m_Folder.path().toStdString() + '/' + name; }
    void Write(const std::string& name, const std::string& content) const;
    std::string Read(const std::string& name) const;
    /// Writes a suite with the variables $On, which is false, and $N, which is 42; gives its name. The exit group
    /// holds `exit`, or one call.
    std::string Suite(const std::string& body, const std::string& exit = {}, const std::string& name = "suite.xml",
                      const std::string& attributes = {}, const std::string& variables = {}) const;

    SOutcome Orvanta(const std::string& arguments) const { return Finish(*Start(ORVANTA_PROGRAM, Words(arguments))); }
    /// `orvanta run` with the test's settings and library folder.
    SOutcome Run(const std::string& arguments) const { return Orvanta(RUN + arguments); }
    /// A line of shell script in the test's folder.
    SOutcome Shell(const std::string& line) const;
    /// `prepare` is run in the new process before the program.
    std::unique_ptr<QProcess> Start(const char* program, const QStringList& arguments,
                                    const std::function<void()>& prepare = {}) const;
    /// The same call as `Run` at a terminal, which no other process of these tests has.
    std::unique_ptr<CPty> RunAtTerminal(const std::string& arguments) const
    {
        return ShellAtTerminal("exec " + Command(arguments));
    }
    /// What a shell does at a terminal, and such a call as it takes it.
    std::unique_ptr<CPty> ShellAtTerminal(const std::string& script) const;
    static std::string Command(const std::string& arguments) { return ORVANTA_PROGRAM " " + RUN + arguments; }
    SOutcome Finish(QProcess& process) const;

    /// The record's events; fails the test for a line that is none.
    std::vector<TJson> Record(const std::string& name = "r") const;
    /// The record's events of one kind.
    std::vector<TJson> Events(const std::string& kind) const;
    /// The paths of the functions that ran, each followed by a blank; passes of a loop once.
    std::string Ran() const;

    static QStringList Words(const std::string& arguments);
    static inline const std::string RUN = "run --settings settings.ini -L " ORVANTA_LIBRARY_FOLDER " ";

private:
    QProcessEnvironment Environment() const;

    QTemporaryDir m_Folder;
};

#pragma once

#include "Pty.h"

#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

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

/// Runs the program in a folder of its own, which also holds settings, execution lock and the user's folders.
class CCliTest : public ::testing::Test
{
protected:
    CCliTest();

    /// A path in the test's folder.
    QString Path(const QString& name) const { return m_Folder.filePath(name); }
    QString Write(const QString& name, const QByteArray& content) const;
    std::string Read(const QString& name) const;
    /// Writes a suite whose only group holds `body`; gives its path. The exit group holds `exit`, or one call.
    QString Suite(const QByteArray& body, const QString& name = QStringLiteral("suite.xml"),
                  const QByteArray& attributes = {}, const QByteArray& variables = {},
                  const QByteArray& exit = {}) const;

    SOutcome Orvanta(const QStringList& arguments) const;
    /// `orvanta run` with the test's settings and library folder.
    SOutcome Run(const QStringList& arguments) const { return Orvanta(RunArguments(arguments)); }
    QStringList RunArguments(const QStringList& arguments) const;
    std::unique_ptr<QProcess> Start(const QString& program, const QStringList& arguments) const;
    /// The same call as `Run` at a terminal.
    std::unique_ptr<CPty> RunAtTerminal(const QStringList& arguments) const;
    SOutcome Finish(QProcess& process) const;
    /// Starts a run that hangs in a test function and waits until it does.
    std::unique_ptr<QProcess> StartHanging(const QString& record) const;

    /// The record's events; fails the test for a line that is none.
    std::vector<TJson> Record(const QString& name) const;
    /// The record's events of one kind.
    std::vector<TJson> Events(const QString& record, const char* kind) const;
    /// The paths of the functions that ran, each followed by a blank; passes of a loop once.
    std::string Ran(const QString& record) const;

private:
    QProcessEnvironment Environment() const;

    QTemporaryDir m_Folder;
};

/// One function of the library as a suite calls it.
QByteArray Call(const char* function, const char* type = "PassFailTest");

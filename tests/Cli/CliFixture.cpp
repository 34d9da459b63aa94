#include "CliFixture.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QFile>
#include <QProcessEnvironment>
#include <QThread>

#include <sstream>

namespace
{
constexpr int TIMEOUT = 30000;
} // namespace

CCliTest::CCliTest()
{
    Write(QStringLiteral("settings.ini"), "[runtime]\nLockFileName=" + Path(QStringLiteral("lock")).toUtf8() + '\n');
}

QString CCliTest::Write(const QString& name, const QByteArray& content) const
{
    QFile file(Path(name));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(content) == content.size()) << qPrintable(name);
    return file.fileName();
}

std::string CCliTest::Read(const QString& name) const
{
    QFile file(Path(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : "";
}

QString CCliTest::Suite(const QByteArray& body, const QString& name, const QByteArray& attributes,
                        const QByteArray& variables, const QByteArray& exit) const
{
    return Write(name,
                 "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                 "<x:TestSuite xmlns:x=\"urn:zelkor:test-suite\" name=\"Bench\" library=\"CliLibrary\" " +
                     attributes + ">\n" + variables +
                     "<x:InitGroup><x:Function name=\"Prepares\"/></x:InitGroup>\n"
                     "<x:Group name=\"Main\">\n" +
                     body +
                     "</x:Group>\n"
                     "<x:ExitGroup>" +
                     (exit.isEmpty() ? QByteArray("<x:Function name=\"Prepares\"/>") : exit) +
                     "</x:ExitGroup>\n"
                     "</x:TestSuite>\n");
}

QStringList CCliTest::RunArguments(const QStringList& arguments) const
{
    return QStringList{QStringLiteral("run"), QStringLiteral("--settings"), Path(QStringLiteral("settings.ini")),
                       QStringLiteral("-L"), QStringLiteral(ORVANTA_LIBRARY_FOLDER)} +
        arguments;
}

SOutcome CCliTest::Orvanta(const QStringList& arguments) const
{
    return Finish(*Start(QStringLiteral(ORVANTA_PROGRAM), arguments));
}

QProcessEnvironment CCliTest::Environment() const
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), Path(QStringLiteral("config")));
    environment.insert(QStringLiteral("XDG_DATA_HOME"), Path(QStringLiteral("data")));
    environment.insert(QStringLiteral("TERM"), QStringLiteral("xterm"));
    environment.remove(QStringLiteral("NO_COLOR"));
    return environment;
}

std::unique_ptr<CPty> CCliTest::RunAtTerminal(const QStringList& arguments) const
{
    return std::make_unique<CPty>(m_Folder.path(), Environment().toStringList(),
                                  QStringList{QStringLiteral(ORVANTA_PROGRAM)} + RunArguments(arguments));
}

std::unique_ptr<QProcess> CCliTest::Start(const QString& program, const QStringList& arguments) const
{
    auto process = std::make_unique<QProcess>();
    process->setProcessEnvironment(Environment());
    process->setWorkingDirectory(m_Folder.path());
    process->start(program, arguments);
    EXPECT_TRUE(process->waitForStarted(TIMEOUT)) << qPrintable(process->errorString());
    return process;
}

SOutcome CCliTest::Finish(QProcess& process) const
{
    EXPECT_TRUE(process.waitForFinished(TIMEOUT)) << qPrintable(process.errorString());
    const bool ended = process.state() == QProcess::NotRunning && process.exitStatus() == QProcess::NormalExit;
    return {ended ? process.exitCode() : -1, process.readAllStandardOutput().toStdString(),
            process.readAllStandardError().toStdString()};
}

std::unique_ptr<QProcess> CCliTest::StartHanging(const QString& record) const
{
    const QString suite = Suite(Call("Hangs"), QStringLiteral("hanging.xml"));
    auto process =
        Start(QStringLiteral(ORVANTA_PROGRAM), RunArguments({QStringLiteral("--record"), Path(record), suite}));
    const QDeadlineTimer deadline(TIMEOUT);
    while (Read(record).find("\"text\":\"hanging\"") == std::string::npos)
    {
        if (deadline.hasExpired() || process->waitForFinished(1))
        {
            ADD_FAILURE() << "the run does not hang: " << process->readAllStandardError().toStdString();
            break;
        }
        QThread::msleep(10);
    }
    return process;
}

std::vector<TJson> CCliTest::Record(const QString& name) const
{
    std::vector<TJson> events;
    std::istringstream lines(Read(name));
    for (std::string line; std::getline(lines, line);)
    {
        events.push_back(TJson::parse(line, nullptr, false));
        EXPECT_TRUE(events.back().is_object() && events.back().contains("event") && !lines.eof()) << line;
    }
    return events;
}

std::vector<TJson> CCliTest::Events(const QString& record, const char* kind) const
{
    std::vector<TJson> events = Record(record);
    std::erase_if(events, [kind](const TJson& event) { return event.at("event") != kind; });
    return events;
}

std::string CCliTest::Ran(const QString& record) const
{
    std::string paths;
    for (const TJson& state : Events(record, "state"))
    {
        const std::string path = state.at("path").get<std::string>() + ' ';
        if (state.at("element") == "x:Function" && state.at("state") == "executing" && !paths.ends_with(path))
        {
            paths += path;
        }
    }
    return paths;
}

QByteArray Call(const char* function, const char* type)
{
    return QByteArray("<x:Function name=\"") + function + "\" type=\"" + type + "\"/>\n";
}

int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}

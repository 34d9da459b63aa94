#include "CliFixture.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QProcessEnvironment>
#include <QThread>

#include <fstream>
#include <iterator>
#include <sstream>

#include <unistd.h>

namespace
{
constexpr int TIMEOUT = 30000;
} // namespace

CCliTest::CCliTest()
{
    Write("settings.ini", "[runtime]\nLockFileName=" + Path("lock") + '\n');
}

void CCliTest::Write(const std::string& name, const std::string& content) const
{
    std::ofstream file(Path(name), std::ios::binary);
    EXPECT_TRUE(file << content << std::flush) << name;
}

std::string CCliTest::Read(const std::string& name) const
{
    std::ifstream file(Path(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string CCliTest::Suite(const std::string& body, const std::string& exit, const std::string& name,
                            const std::string& attributes, const std::string& variables) const
{
    Write(name,
          "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
          "<x:TestSuite xmlns:x=\"urn:zelkor:test-suite\" name=\"Bench\" library=\"CliLibrary\" " +
              attributes +
              ">\n<x:Variables><x:Local type=\"BOOL\" name=\"$On\" value=\"false\"/>"
              "<x:Local type=\"LONGLONG\" name=\"$N\" value=\"42\"/>" +
              variables +
              "</x:Variables>\n"
              "<x:InitGroup><x:Function name=\"Prepares\"/></x:InitGroup>\n"
              "<x:Group name=\"Main\">\n" +
              body + "</x:Group>\n<x:ExitGroup>" + (exit.empty() ? Call("Prepares", "Call") : exit) +
              "</x:ExitGroup>\n</x:TestSuite>\n");
    return name;
}

QStringList CCliTest::Words(const std::string& arguments)
{
    QStringList words = QString::fromStdString(arguments).split(u' ', Qt::SkipEmptyParts);
    return words.replaceInStrings(QStringLiteral("''"), QString());
}

QProcessEnvironment CCliTest::Environment() const
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), m_Folder.filePath(QStringLiteral("config")));
    environment.insert(QStringLiteral("XDG_DATA_HOME"), m_Folder.filePath(QStringLiteral("data")));
    environment.insert(QStringLiteral("TERM"), QStringLiteral("xterm"));
    environment.remove(QStringLiteral("NO_COLOR"));
    return environment;
}

std::unique_ptr<CPty> CCliTest::ShellAtTerminal(const std::string& script) const
{
    return std::make_unique<CPty>(
        m_Folder.path(), Environment().toStringList(),
        QStringList{QStringLiteral("/bin/bash"), QStringLiteral("-c"), QString::fromStdString(script)});
}

std::unique_ptr<QProcess> CCliTest::Start(const char* program, const QStringList& arguments,
                                          const std::function<void()>& prepare) const
{
    auto process = std::make_unique<QProcess>();
    process->setProcessEnvironment(Environment());
    process->setWorkingDirectory(m_Folder.path());
    process->setChildProcessModifier(
        [prepare]
        {
            setsid(); // away from the terminal of who runs the tests
            if (prepare)
            {
                prepare();
            }
        });
    process->start(QString::fromUtf8(program), arguments);
    EXPECT_TRUE(process->waitForStarted(TIMEOUT)) << qPrintable(process->errorString());
    return process;
}

SOutcome CCliTest::Shell(const std::string& line) const
{
    return Finish(*Start("/bin/bash", {QStringLiteral("-c"), QString::fromStdString(line)}));
}

SOutcome CCliTest::Finish(QProcess& process) const
{
    EXPECT_TRUE(process.waitForFinished(TIMEOUT)) << qPrintable(process.errorString());
    const bool ended = process.state() == QProcess::NotRunning && process.exitStatus() == QProcess::NormalExit;
    return {ended ? process.exitCode() : -1, process.readAllStandardOutput().toStdString(),
            process.readAllStandardError().toStdString()};
}

std::vector<TJson> CCliTest::Record(const std::string& name) const
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

std::vector<TJson> CCliTest::Events(const std::string& kind) const
{
    std::vector<TJson> events = Record();
    std::erase_if(events, [&kind](const TJson& event) { return event.at("event") != kind; });
    return events;
}

std::string CCliTest::Ran() const
{
    std::string paths;
    for (const TJson& state : Events("state"))
    {
        const std::string path = state.at("path").get<std::string>() + ' ';
        if (state.at("element") == "x:Function" && state.at("state") == "executing" && !paths.ends_with(path))
        {
            paths += path;
        }
    }
    return paths;
}

std::string Call(const std::string& function, const std::string& type)
{
    return "<x:Function name=\"" + function + "\" type=\"" + type + "\"/>\n";
}

bool Contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

bool IsGone(long process)
{
    const std::string status = "/proc/" + std::to_string(process) + "/stat";
    for (const QDeadlineTimer deadline(TIMEOUT); !deadline.hasExpired(); QThread::msleep(10))
    {
        std::ifstream file(status);
        const std::string text{std::istreambuf_iterator<char>(file), {}};
        if (text.empty() || Contains(text, ") Z "))
        {
            return true;
        }
    }
    return false;
}

int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}

#pragma once

#include <CoreKit/Exceptions.h>
#include <Session/Session.h>

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <string>
#include <vector>

/// Keeps a story of the events: a line each, without times, of the kinds that verdicts are made of.
class CStory : public CEventSink
{
public:
    void Take(const SEvent& event) override
    {
        if (OnEvent)
        {
            OnEvent(event);
        }
        std::visit([this](const auto& what) { Tell(what); }, event.what);
    }

    std::string text;
    std::function<void(const SEvent&)> OnEvent;

private:
    static std::string Word(EVerdict verdict)
    {
        static const char* const WORDS[] = {"passed", "failed", "error", "aborted"};
        return WORDS[static_cast<std::size_t>(verdict)];
    }

    static std::string Word(ENotRunReason reason)
    {
        static const char* const WORDS[] = {"condition", "no pass", "initialization", "stopped", "library", "left out"};
        return WORDS[static_cast<std::size_t>(reason)];
    }

    void Tell(const SVerdictEvent& verdict)
    {
        std::string passes;
        for (const std::uint64_t pass : verdict.passes)
        {
            passes += (passes.empty() ? " [" : ".") + std::to_string(pass);
        }
        const std::string shown = verdict.reason.substr(0, verdict.reason.find('\n'));
        text += verdict.path + (passes.empty() ? "" : passes + ']') + (verdict.test ? " test " : " ") +
            Word(verdict.verdict) + (verdict.warnings > 0 ? " warned" : "") + (shown.empty() ? "" : ": " + shown) +
            '\n';
    }
    void Tell(const SSkipEvent& skip) { text += "skip " + skip.path + '\n'; }
    void Tell(const SPassEvent& pass)
    {
        text += "pass " + pass.path + ' ' + std::to_string(pass.number) + ' ' + pass.variable.value_or("-") + '=' +
            std::to_string(pass.iterator) + '\n';
    }
    void Tell(const SAbortEvent& abort) { text += "abort: " + abort.text + '\n'; }
    void Tell(const SNotRunEvent& notRun) { text += "not run " + notRun.path + ": " + Word(notRun.reason) + '\n'; }
    void Tell(const SHeadlineEvent& headline) { text += headline.text + '\n'; }
    void Tell(const SRunEndEvent& end)
    {
        const SVerdictCounts& counts = end.verdicts;
        text += end.result + ' ' + std::to_string(counts.passed) + '/' + std::to_string(counts.failed) + '/' +
            std::to_string(counts.errors) + '/' + std::to_string(counts.aborted) + '/' + std::to_string(counts.notRun) +
            (end.passed ? " passed\n" : " not passed\n");
    }
    template <class Other>
    void Tell(const Other&)
    {
    }
};

/// One function of the test library as a suite calls it.
inline std::string Call(const std::string& function, const std::string& inside = {})
{
    return "<x:Function name=\"" + function + "\" type=\"PassFailTest\">" + inside + "</x:Function>";
}

/// A folder with a suite, and a setup for it with a lock of its own.
class CSessionTest : public ::testing::Test
{
protected:
    CSessionTest()
    {
        Write("settings.ini", "[runtime]\nLockFileName=" + Path("lock") + '\n');
        setup.settings = Path("settings.ini");
        setup.libraryPath = {CLI_LIBRARY_FOLDER};
    }

    std::string Path(const std::string& name) const { return m_Folder.path().toStdString() + '/' + name; }
    void Write(const std::string& name, const std::string& text) const { std::ofstream(Path(name)) << text; }

    /// Writes a suite and gives its path.
    std::string Suite(const std::string& body, const std::string& init = Call("Prepares"),
                      const std::string& exit = Call("Prepares"), const std::string& library = "CliLibrary") const
    {
        Write("suite.xml",
              "<x:TestSuite xmlns:x=\"urn:zelkor:test-suite\" library=\"" + library +
                  "\"><x:Variables><x:Local type=\"LONG\" name=\"$N\" value=\"0\"/></x:Variables><x:InitGroup>" + init +
                  "</x:InitGroup><x:Group>" + body + "</x:Group><x:ExitGroup>" + exit + "</x:ExitGroup></x:TestSuite>");
        return Path("suite.xml");
    }

    SSetup setup;

private:
    QTemporaryDir m_Folder;
};

#pragma once

#include <CoreKit/CatchLadder.h>
#include <HostKit/AppSettings.h>
#include <HostKit/AppState.h>
#include <HostKit/HostListener.h>
#include <HostKit/Logger.h>
#include <HostKit/ScriptedUserInput.h>
#include <HostKit/TestSuiteFilters.h>
#include <HostKit/TestSuiteLog.h>

#include <Orvanta/TestSuiteNode.h>
#include <Orvanta/TestSuiteState.h>

#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <xercesc/util/OutOfMemoryException.hpp>

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <typeinfo>
#include <vector>

/// What a transcript shows; anything else that the host is asked is left out.
enum ERecorded : unsigned
{
    REC_LOG = 1,      ///< log TS_NONE L5 node: text
    REC_PRINT = 2,    ///< print L0: text, println L5: text
    REC_TEST_LOG = 4, ///< test-log: text, with [test] or [separator] behind it
    REC_FLUSH = 8,    ///< flush false
    REC_CALLS = 16, ///< EnableInput, FunctionFinished, BeginFunction, EndFunction, ClearTestStatus, SetSuiteName X, ...
    REC_STATE = 32, ///< state /0/1 x:Function 2
    REC_HEADLINE = 64, ///< headline 0: text
    REC_STORY = REC_LOG | REC_TEST_LOG | REC_HEADLINE,
    REC_ALL = 0xFFFFFFFF,
};

/// A complete set of host services, installed while it lives, that writes down in order what the engine asks of it.
/// Each entry is one line of a transcript; a line end inside a text shows as "\n". Settings live in memory with the
/// lock file in a folder of the object's own.
class CRecordingHost
{
public:
    CRecordingHost();
    ~CRecordingHost();

    /// The recorded lines of the kinds asked for, oldest first.
    std::vector<std::string> Transcript(unsigned kinds = REC_STORY) const;
    /// The same as one text, for comparison with a raw string: every line ends with a line end.
    std::string Text(unsigned kinds = REC_STORY) const;
    /// The trace lines of nodes alone, which have one status, level and format, behind an empty line; lines with a text
    /// can be left out.
    std::string Trace(const char* without = nullptr) const;
    void Clear() { m_Lines.clear(); }
    void Record(ERecorded kind, const std::string& line);

    /// Writes a file into the object's folder and returns its path.
    QString WriteFile(const QString& name, const std::string& content) const;
    QString Folder() const { return m_Folder.path(); }

    /// Gives the following prompts these answers.
    void Answers(std::deque<SScriptedAnswer> answers);

    SHostServices Services;
    CAppSettings Settings;
    ZKCustomConfiguration Configuration;

    /// Called with every recorded line, before it is kept: a test can throw or change something at that point.
    std::function<void(ERecorded kind, const std::string& line)> OnRecord;
    /// Calls back at every recorded line that contains a text, and at no other.
    void At(const std::string& text, const std::function<void()>& action);

    CTestSuiteLog& SuiteLog();
    /// Starts a new suite log, as a host does for every run.
    void NewSuiteLog();

private:
    class CListener;
    class CLogger;
    class CSuiteLog;
    class CInput;

    struct SLine
    {
        ERecorded kind;
        std::string text;
    };

    QTemporaryDir m_Folder;
    std::vector<SLine> m_Lines;
    std::unique_ptr<CListener> m_Listener;
    std::unique_ptr<CLogger> m_Logger;
    std::unique_ptr<CSuiteLog> m_SuiteLog;
    std::unique_ptr<CInput> m_Input;
    std::unique_ptr<CScopedServices> m_Installed;
};

/// A suite from text to tree, on a recording host: what a host does before a run. The state changes of every node are
/// recorded.
class CLoadedSuite
{
public:
    /// `body` is what stands inside "x:TestSuite"; `attributes` are the root's own. The document is not validated when
    /// `validate` is false, so that a test can reach what the schema refuses. Expects the suite to be valid.
    CLoadedSuite(CRecordingHost& host, const std::string& body, const std::string& attributes = "name=\"Suite\"",
                 bool validate = true);
    ~CLoadedSuite();

    TestSuiteState& State() { return *m_State; }
    CTestSuiteNode& Root() { return *m_Root; }
    /// The node at a path of child indices ("/1/0"); expects it to exist.
    CNode& Node(const std::string& path);

    /// Runs the root alone, without banner, lock and summary.
    bool Run(bool stopOnFail = false);

    /// The whole file of a suite with that body.
    static std::string File(const std::string& body, const std::string& attributes);

private:
    void Watch(CNode& node, const std::string& path);

    CRecordingHost& m_Host;
    pugi::xml_document m_Unvalidated;
    std::unique_ptr<TestSuiteState> m_State;
    std::unique_ptr<CTestSuiteNode> m_Root;
};

/// Attributes of a suite that runs the functions of the engine's test library.
inline const char* const WITH_LIBRARY = "name=\"Suite\" library=\"EngineTests\"";

/// A text with the line numbers of the engine's sources replaced.
std::string WithoutLines(const std::string& text);

/// Executions, failed ones, runs, passes, warnings, aborts, failures.
std::string Counters(const CNode& node);

/// "true" or "false" as an action returns, "thrown" when it throws anything.
std::string Outcome(const std::function<bool()>& action);

/// The text, without line numbers, of what an action throws: exactly that class, with the status of an error.
template <class Exception>
std::string ThrownText(const std::function<void()>& action)
{
    try
    {
        action();
    }
    catch (const ZKException& exception)
    {
        EXPECT_EQ(typeid(exception), typeid(Exception));
        EXPECT_EQ(exception.Status(), TS_ERROR);
        return WithoutLines(exception.what());
    }
    return "nothing thrown";
}

/// The way to the variables that nodes read.
class CVariables : public CNode
{
public:
    /// The bytes of a variable, as many as its type has.
    static std::uint64_t Value(const char* name);
    static bool AreSet() { return ThrownText<ZKParseTreeException>(DoGetVariableList) == "nothing thrown"; }
};

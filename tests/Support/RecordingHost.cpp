#include <Support/RecordingHost.h>

#include <CoreKit/Format.h>

#include <QFile>

#include <regex>
#include <sstream>

namespace
{
std::string OneLine(std::string_view text)
{
    return std::regex_replace(std::string(text), std::regex("\n"), "\\n");
}

std::string StatusName(TEST_STATUS status)
{
    const char* const known = status == TS_NONE ? "TS_NONE" : status == TS_FAILED ? "TS_FAILED" : "TS_ERROR";
    const bool isKnown = status == TS_NONE || status == TS_FAILED || status == TS_ERROR;
    return isKnown ? known : FormatText("0x%08X", static_cast<unsigned>(status)).c_str();
}

std::string Describe(const CFormatInfo& format)
{
    std::ostringstream text;
    const auto color = [&text](const char* name, const std::optional<ZKColor>& value)
    {
        if (value)
        {
            text << name << value->red << ',' << value->green << ',' << value->blue << ',' << value->alpha << ' ';
        }
    };
    color("", format.Color());
    color("on ", format.BackColor());
    text << format.Strength() << (format.Italics() ? " italic" : "") << (format.Underline() ? " underlined" : "");
    return "(" + text.str() + ")";
}

std::string FormatName(const CFormatInfo* format)
{
    if (!format)
    {
        return "-";
    }
    const std::pair<const char*, CFormatInfo> known[] = {
        {"node", CFormatInfo(ZKColor{59, 59, 59, 255}, ZKColor{255, 255, 255, 0}, 400)},
        {"abort", DefaultAbortFormat()},
        {"diagnostic", DefaultDiagnosticFormat()},
        {"error", DefaultErrorFormat()},
        {"warning", DefaultWarningFormat()},
        {"unlogged", DefaultUnloggedFormat()},
    };
    for (const auto& [name, candidate] : known)
    {
        if (candidate == *format)
        {
            return name;
        }
    }
    return Describe(*format);
}

const char* BoolName(bool value)
{
    return value ? "true" : "false";
}

/// The grammar takes a while to load; every host of the process shares one.
std::shared_ptr<CDOMParser>& SharedParser()
{
    static std::shared_ptr<CDOMParser> parser;
    return parser;
}

/// A service that knows the host it records for.
template <class Service>
class CRecording : public Service
{
public:
    explicit CRecording(CRecordingHost& host)
        : m_Host(host)
    {
    }

protected:
    CRecordingHost& m_Host;
};
} // namespace

class CRecordingHost::CListener : public CRecording<CHostListener>
{
public:
    using CRecording::CRecording;

    void LogWritten(const SLogEntry& entry) override
    {
        const std::string second = entry.type.second ? "/" + std::to_string(entry.type.second) : "";
        m_Host.Record(REC_LOG,
                      "log " + StatusName(entry.type.status) + second + " L" + std::to_string(entry.level) + " " +
                          FormatName(entry.format) + ": " + OneLine(entry.text));
    }

    void Printed(ELogLevel level, bool line, std::string_view text) override
    {
        m_Host.Record(REC_PRINT, (line ? "println L" : "print L") + std::to_string(level) + ": " + OneLine(text));
    }

    void TestLogAdded(std::string_view text, bool isTest, bool isSeparator) override
    {
        m_Host.Record(REC_TEST_LOG,
                      "test-log: " + OneLine(text) + (isTest ? " [test]" : "") + (isSeparator ? " [separator]" : ""));
    }

    void OutputFlushed(bool complete) override { m_Host.Record(REC_FLUSH, std::string("flush ") + BoolName(complete)); }

    void HeadlineShown(std::string_view text, std::uint32_t emphasis) override
    {
        m_Host.Record(REC_HEADLINE, "headline " + std::to_string(emphasis) + ": " + OneLine(text));
    }

    void Aborted(EAbortCause /*cause*/, std::string_view text) override
    {
        m_Host.Record(REC_CALLS, "OperatorAborted " + OneLine(text));
    }
};

class CRecordingHost::CLogger : public CRecording<ZKLogger>
{
public:
    using CRecording::CRecording;

    // clang-format off
    void ClearTestStatus() override { m_Host.Record(REC_CALLS, "ClearTestStatus"); ZKLogger::ClearTestStatus(); }
    void BeginFunction() override { m_Host.Record(REC_CALLS, "BeginFunction"); ZKLogger::BeginFunction(); }
    void EndFunction() override { m_Host.Record(REC_CALLS, "EndFunction"); ZKLogger::EndFunction(); }
    // clang-format on
};

class CRecordingHost::CSuiteLog : public CRecording<CTestSuiteLog>
{
public:
    using CRecording::CRecording;

    void SetSuiteName(std::string_view name) override
    {
        m_Host.Record(REC_CALLS, "SetSuiteName " + std::string(name));
        CTestSuiteLog::SetSuiteName(name);
    }
    using CTestSuiteLog::TestSuitePhase;
    void TestSuitePhase(int phase) override
    {
        m_Host.Record(REC_CALLS, "TestSuitePhase " + std::to_string(phase));
        CTestSuiteLog::TestSuitePhase(phase);
    }
};

class CRecordingHost::CInput : public CScriptedUserInput
{
public:
    CInput(CRecordingHost& host, std::deque<SScriptedAnswer> answers)
        : CScriptedUserInput(std::move(answers))
        , m_Host(host)
    {
    }

    EUIReturnCode ShowInfo(EUIMode mode, std::uint32_t timeout, std::string_view text, bool wait,
                           std::string_view button, EUIEmphasis emphasis, gui::EAbortBtn abortButton,
                           std::string_view help) override
    {
        Record("ShowInfo ", mode, ' ', timeout, " '", OneLine(text), "' ", BoolName(wait), " '", button, "' ", emphasis,
               ' ', abortButton, " '", help, '\'');
        return CScriptedUserInput::ShowInfo(mode, timeout, text, wait, button, emphasis, abortButton, help);
    }

    EUIReturnCode BooleanChoice(EUIMode mode, std::uint32_t timeout, std::string_view text, bool* answer,
                                std::string_view yes, std::string_view no, gui::EAbortBtn abortButton,
                                std::string_view help) override
    {
        Record("BooleanChoice ", mode, ' ', timeout, " '", OneLine(text), "' '", yes, "' '", no, "' ", abortButton,
               " '", help, '\'');
        return CScriptedUserInput::BooleanChoice(mode, timeout, text, answer, yes, no, abortButton, help);
    }

    EUIReturnCode GetInteger(EUIMode mode, std::uint32_t timeout, std::string_view text, std::string_view label,
                             std::uint64_t* value, ENumericBase base, bool initialize, std::uint64_t max,
                             std::uint64_t min, std::string_view title, std::string_view unit,
                             gui::EAbortBtn abortButton, std::string_view help) override
    {
        Record("GetInteger ", mode, ' ', timeout, " '", OneLine(text), "' '", label, "' =", *value, " base ", base, ' ',
               BoolName(initialize), " max ", max, " min ", min, " '", title, "' '", unit, "' ", abortButton, " '",
               help, '\'');
        return CScriptedUserInput::GetInteger(mode, timeout, text, label, value, base, initialize, max, min, title,
                                              unit, abortButton, help);
    }

    void EnableInput() override { Record("EnableInput"); }
    void FunctionFinished() override { Record("FunctionFinished"); }

private:
    template <class... Parts>
    void Record(const Parts&... parts)
    {
        std::ostringstream call;
        (call << ... << parts);
        m_Host.Record(REC_CALLS, call.str());
    }

    CRecordingHost& m_Host;
};

CRecordingHost::CRecordingHost()
    : m_Listener(std::make_unique<CListener>(*this))
    , m_Logger(std::make_unique<CLogger>(*this))
    , m_SuiteLog(std::make_unique<CSuiteLog>(*this))
    , m_Input(std::make_unique<CInput>(*this, std::deque<SScriptedAnswer>()))
{
    Services.Log = m_Logger.get();
    Services.UserInput = m_Input.get();
    Services.TestSuiteLog = m_SuiteLog.get();
    Services.AppSettings = &Settings;
    Services.CustomConfiguration = &Configuration;
    Services.Listeners.Add(*m_Listener);
    Services.Parser = SharedParser();
    Services.Settings.LibraryPath = {TEST_LIBRARY_FOLDER};
    Settings.UpdateAppSetting("runtime/LockFileName", (Folder() + QStringLiteral("/lock")).toStdString(), 1);
    m_Installed = std::make_unique<CScopedServices>(Services);
}

CRecordingHost::~CRecordingHost()
{
    SharedParser() = Services.Parser;
}

void CRecordingHost::Record(ERecorded kind, const std::string& line)
{
    if (OnRecord)
    {
        OnRecord(kind, line);
    }
    m_Lines.push_back({kind, line});
}

std::vector<std::string> CRecordingHost::Transcript(unsigned kinds) const
{
    std::vector<std::string> lines;
    for (const SLine& line : m_Lines)
    {
        if (line.kind & kinds)
        {
            lines.push_back(line.text);
        }
    }
    return lines;
}

std::string CRecordingHost::Text(unsigned kinds) const
{
    std::string text;
    for (const std::string& line : Transcript(kinds))
    {
        text += line + '\n';
    }
    return text;
}

std::string CRecordingHost::Trace(const char* without) const
{
    const std::string head = "log TS_NONE L5 node: ";
    std::string text = "\n";
    for (const std::string& line : Transcript(REC_LOG))
    {
        const bool isShown = line.starts_with(head) && (!without || line.find(without) == std::string::npos);
        text += isShown ? line.substr(head.size()) + '\n' : "";
    }
    return text;
}

void CRecordingHost::At(const std::string& text, const std::function<void()>& action)
{
    OnRecord = [text, action](ERecorded, const std::string& line)
    { line.find(text) != std::string::npos ? action() : void(); };
}

QString CRecordingHost::WriteFile(const QString& name, const std::string& content) const
{
    const QString path = Folder() + QLatin1Char('/') + name;
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(content.data(), static_cast<qint64>(content.size()));
    return path;
}

void CRecordingHost::Answers(std::deque<SScriptedAnswer> answers)
{
    m_Input = std::make_unique<CInput>(*this, std::move(answers));
    Services.UserInput = m_Input.get();
}

CTestSuiteLog& CRecordingHost::SuiteLog()
{
    return *m_SuiteLog;
}

void CRecordingHost::NewSuiteLog()
{
    m_SuiteLog = std::make_unique<CSuiteLog>(*this);
    Services.TestSuiteLog = m_SuiteLog.get();
}

CLoadedSuite::CLoadedSuite(CRecordingHost& host, const std::string& body, const std::string& attributes, bool validate)
    : m_Host(host)
{
    const std::string file = File(body, attributes);
    const QString path = host.WriteFile(QStringLiteral("suite.xml"), file);
    m_State = std::make_unique<TestSuiteState>(path, CDOMDocTestSuite::ShouldLoad(path));
    pugi::xml_node root;
    if (validate)
    {
        m_State->Initialize();
        m_State->Activate(nullptr);
        EXPECT_TRUE(m_State->IsValid()) << host.Text();
        root = m_State->Document()->GetRootElement();
        host.Clear();
    }
    else
    {
        EXPECT_TRUE(m_Unvalidated.load_string(file.c_str()));
        root = m_Unvalidated.document_element();
    }
    m_Root = std::make_unique<CTestSuiteNode>(root);
    m_State->TestSuiteNode(m_Root.get());
    Watch(*m_Root, "");
}

CLoadedSuite::~CLoadedSuite() = default;

std::string CLoadedSuite::File(const std::string& body, const std::string& attributes)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<x:TestSuite xmlns:x=\"urn:zelkor:test-suite\" " + attributes +
        ">\n" + body + "\n</x:TestSuite>\n";
}

void CLoadedSuite::Watch(CNode& node, const std::string& path)
{
    const std::string shown = path.empty() ? "/" : path;
    QObject::connect(
        &node, &CNode::UpdateNodeRunState,
        [this, shown, &node](ERunState state)
        { m_Host.Record(REC_STATE, "state " + shown + " " + node.TypeName().c_str() + " " + std::to_string(state)); });
    for (int index = 0; index < node.ChildCount(); ++index)
    {
        Watch(*node.GetChild(index), path + "/" + std::to_string(index));
    }
}

CNode& CLoadedSuite::Node(const std::string& path)
{
    CNode* node = m_Root.get();
    std::istringstream indices(path);
    for (std::string index; node && std::getline(indices, index, '/');)
    {
        if (!index.empty())
        {
            node = node->GetChild(std::stoi(index));
        }
    }
    if (!node)
    {
        throw std::out_of_range("no node at " + path);
    }
    return *node;
}

bool CLoadedSuite::Run(bool stopOnFail)
{
    return m_Root->Execute(stopOnFail);
}

std::string WithoutLines(const std::string& text)
{
    return std::regex_replace(text, std::regex("\\(\\d+\\): C"), "(LINE): C");
}

std::string Counters(const CNode& node)
{
    const ResultSummary& r = node.Results();
    std::ostringstream text;
    text << r.ExecCount << r.FailedExecCount << r.RunCount << r.PassCount << r.WarningCount << r.AbortCount
         << r.FailCount;
    return text.str();
}

std::string Outcome(const std::function<bool()>& action)
{
    try
    {
        return BoolName(action());
    }
    catch (...)
    {
        return "thrown";
    }
}

std::uint64_t CVariables::Value(const char* name)
{
    const CVariable& variable = GetVariable(QString::fromUtf8(name));
    return variable.View<std::uint64_t>() & variable.MaxSize();
}

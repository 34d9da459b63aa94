#include <Orvanta/TestSuiteState.h>

#include <Orvanta/TestSuiteNode.h>

#include <CoreKit/CatchLadder.h>
#include <CoreKit/Format.h>
#include <CoreKit/PathName.h>
#include <HostKit/Logger.h>

#include <string>

namespace
{
bool IsSeparator(QChar c)
{
    return c == QLatin1Char('/') || c == QLatin1Char('\\');
}

/// Length of a drive letter with its colon or of a server name behind two backslashes, 0 for neither.
qsizetype RootNameLength(const QString& path)
{
    const bool hasDrive =
        path.size() >= 2 && path[0].unicode() < 128 && path[0].isLetter() && path[1] == QLatin1Char(':');
    if (hasDrive)
    {
        return 2;
    }
    if (!path.startsWith(QLatin1String("\\\\")) || path.size() == 2 || IsSeparator(path[2]))
    {
        return 0;
    }
    qsizetype end = 2;
    while (end < path.size() && !IsSeparator(path[end]))
    {
        ++end;
    }
    return end;
}

QString Stem(const QString& path)
{
    const std::string behindRoot = path.mid(RootNameLength(path)).toStdString();
    const QString name = QString::fromUtf8(LastComponent(behindRoot)).section(QLatin1Char(':'), 0, 0);
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    return dot <= 0 || name == QLatin1String("..") ? name : name.left(dot);
}

bool HasAccess(ETestSuiteAccessType access, ETestSuiteAccessType bit)
{
    return (access & bit) != 0;
}
} // namespace

TestSuiteState::TestSuiteState(const QString& path, ETestSuiteAccessType access)
    : m_FilePath(path)
    , m_TestName(Stem(path))
    , m_InApplication(HasAccess(access, ACCESS_IN_APPLICATION))
    , m_PassedFilter(HasAccess(access, ACCESS_PASSED_FILTER))
{
}

TestSuiteState::TestSuiteState(const TestSuiteState&) = default;
TestSuiteState& TestSuiteState::operator=(const TestSuiteState&) = default;
TestSuiteState::~TestSuiteState() = default;

void TestSuiteState::Reset()
{
    m_IsInitialized = false;
    m_IsValid = false;
    m_IsLoaded = false;
    m_Document.reset();
    m_TestSuiteNode = nullptr;
}

void TestSuiteState::Initialize()
{
    Reset();
    Guarded(
        [this]
        {
            m_Document = std::make_shared<CDOMDocTestSuite>(m_FilePath);
            m_IsValid = m_IsLoaded = m_Document->ParseDoc();
        },
        [this](SOutOfMemory)
        {
            Reset();
            throw;
        },
        [this](const std::exception& exception)
        {
            Reset();
            LogDefault(TS_ERROR, "Couldn't initialize test suite: %s.", exception.what());
        });
    m_IsInitialized = true;
}

TestSuiteState* TestSuiteState::Reload()
{
    Initialize();
    return this;
}

TestSuiteState* TestSuiteState::Activate(QObject*)
{
    OutputDocumentStatus();
    return this;
}

bool TestSuiteState::RunTestSuite(bool stopOnFail)
{
    if (!m_TestSuiteNode)
    {
        ThrowFormatted<ZKRunTimeException>(
            "Test suite '%s' has no tree to run: set a root node built from the document "
            "as last read.",
            qUtf8Printable(m_TestName));
    }
    const std::shared_ptr<CDOMDocTestSuite> document = m_Document;
    return m_TestSuiteNode->Execute(stopOnFail);
}

void TestSuiteState::OutputDocumentStatus() const
{
    if (!m_Document)
    {
        WriteLog(TS_NONE, ZKLogger::GetDefaultLogVerbosity(TS_NONE), DefaultAbortFormat(), "Document not set.");
        return;
    }
    if (m_IsValid)
    {
        LogDefault(TS_NONE, "Loaded '%s'.", qUtf8Printable(m_TestName));
        return;
    }
    std::string report = "Invalid test suite!\n";
    for (std::size_t index = 0; index < m_Document->ErrorCount(); ++index)
    {
        const CDOMError& error = m_Document->Error(index);
        report += std::string_view(FormatText(
            "--------\nError:\nOn line %llu, column %llu:\nSchema URI: %s\nSeverity: %s (%d)\nMessage: %s\n",
            static_cast<unsigned long long>(error.LineNumber()), static_cast<unsigned long long>(error.ColumnNumber()),
            error.SchemaURI().c_str(), error.ErrorSeverityStr(), error.Severity(), error.Message().c_str()));
    }
    WriteLog(TS_ERROR, LL_ALWAYS, DefaultDiagnosticFormat(), report);
}

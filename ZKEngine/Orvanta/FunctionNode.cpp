#include <Orvanta/FunctionNode.h>

#include <CoreKit/CatchLadder.h>
#include <CoreKit/Format.h>
#include <CoreKit/Time.h>
#include <HostKit/AppState.h>
#include <HostKit/Logger.h>
#include <HostKit/TestCall.h>
#include <HostKit/TestSuiteLog.h>
#include <HostKit/UserInput.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <string_view>
#include <type_traits>
#include <utility>

namespace
{
constexpr const char* SOURCE_FILE = "ZKEngine/Orvanta/FunctionNode";
constexpr const char* TIME_FORMAT = "%b %d, %Y - %H:%M:%S";

/// The line that the message names, whatever line it stands in.
constexpr int TOO_MANY_PARAMETERS_LINE = 336;

/// How a parameter of a type becomes an argument.
struct SParameterType
{
    std::string_view name;
    std::uint64_t (*value)(const CVariableList& variables, const QString& text);
    std::uint64_t (*reference)(const CVariableList& variables, const QString& text);
};

template <auto Getter>
std::uint64_t Word(const CVariableList& variables, const QString& text)
{
    const auto value = (variables.*Getter)(text);
    if constexpr (std::is_pointer_v<decltype(value)>)
    {
        return reinterpret_cast<std::uint64_t>(value);
    }
    else
    {
        return value;
    }
}

constexpr std::array PARAMETER_TYPES = {
    SParameterType{"PVOID", Word<&CVariableList::GetPVoid>, Word<&CVariableList::GetPVoidRef>},
    SParameterType{"BOOL", Word<&CVariableList::GetBool>, Word<&CVariableList::GetBoolRef>},
    SParameterType{"BYTE", Word<&CVariableList::GetByte>, Word<&CVariableList::GetByteRef>},
    SParameterType{"SHORT", Word<&CVariableList::GetShort>, Word<&CVariableList::GetShortRef>},
    SParameterType{"LONG", Word<&CVariableList::GetLong>, Word<&CVariableList::GetLongRef>},
    SParameterType{"LONGLONG", Word<&CVariableList::GetLonglong>, Word<&CVariableList::GetLonglongRef>},
};

const SParameterType* FindParameterType(std::string_view name)
{
    const auto found = std::find_if(PARAMETER_TYPES.begin(), PARAMETER_TYPES.end(),
                                    [name](const SParameterType& type) { return type.name == name; });
    return found == PARAMETER_TYPES.end() ? nullptr : &*found;
}

/// One line about the parameter of that number, counted from 1, of so many, behind `indent` blanks.
CSafeString DescribeParameter(std::size_t indent, const pugi::xml_node& parameter, std::size_t number,
                              std::size_t count)
{
    const int width = count < 10 ? 1 : 2;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat"
    return FormatFilled(' ', indent, "Parameter % *u - Name: %s, Type: %s, Passed by: %s, Value: %s", width,
                        static_cast<unsigned>(number), parameter.attribute("name").value(),
                        parameter.attribute("type").value(), parameter.attribute("passed").value(),
                        parameter.attribute("value").value());
#pragma GCC diagnostic pop
}

template <std::size_t>
using TWord = std::uint64_t;

template <std::size_t... Index>
#if defined(__clang__)
__attribute__((no_sanitize("function"))) // the function's own parameters may be narrower or pointers
#endif
bool CallWithWords(CLibWrapper::TFunction function, const std::uint64_t* slots, std::index_sequence<Index...>)
{
    return reinterpret_cast<std::uint8_t (*)(TWord<Index>...)>(function)(slots[Index]...) != 0;
}

CTestLog& CurrentTestLog()
{
    CTestLog* const log = CAppState::CurrentTestLog();
    if (!log)
    {
        throw ZKRunTimeException("INTERNAL ERROR: NULL test log object.");
    }
    return *log;
}

} // namespace

CFunctionNode::CFunctionNode(const pugi::xml_node& node, int level, CNode* const parent)
    : CNode(node, parent, level, nullptr)
    , m_Name(Name())
    , m_IsTest(Confirm(QStringLiteral("type"), QStringLiteral("PassFailTest")))
{
    CLibWrapper* const library = GetLibWrapper();
    if (!library)
    {
        return;
    }
    if (!library->IsLoaded())
    {
        library->OpenLibrary();
    }
    const QByteArray name = m_Name.toUtf8();
    m_Function = library->GetFunction(std::string_view(name.constData(), static_cast<std::size_t>(name.size())));
}

CFunctionNode::~CFunctionNode() = default;

QString CFunctionNode::Label() const
{
    return AttributeText("label");
}

QString CFunctionNode::Name() const
{
    return AttributeText("name");
}

QString CFunctionNode::LabelOrName() const
{
    const QString label = Label();
    return label.isEmpty() ? m_Name : label;
}

void CFunctionNode::SetExecuting(bool executing, ERunState state)
{
    CNode::SetExecuting(executing, state);
    CAppState::FunctionIsExecuting(executing);
}

bool CFunctionNode::IsSelectable() const
{
    return true;
}

QString CFunctionNode::GetDiagnosticString() const
{
    QString condition = GetConditionString();
    if (!condition.isEmpty())
    {
        condition.prepend(QStringLiteral("\n    "));
    }
    const CSafeString text =
        FormatText(" %s Function:  %s (%s)%s\n", Attribute(QStringLiteral("type")), Attribute(QStringLiteral("name")),
                   Attribute(QStringLiteral("label")), qUtf8Printable(condition));
    return QString::fromUtf8(text.c_str());
}

// ------------------------------------------------------------------------------------------------------ a real run

bool CFunctionNode::DoExecute(bool)
{
    ZKLogger& logger = CAppState::Log();
    LogTrace(" - Entering %s: %s (%s).", TypeName().c_str(), qUtf8Printable(Label()), qUtf8Printable(Name()));
    AddTestLog(LabelOrName().toStdString(), m_IsTest, false);
    logger.BeginFunction();
    CurrentTestLog().StartTime(std::chrono::system_clock::now());
    if (!m_Function)
    {
        LogCouldNotFind(TS_ERROR);
        EndFunction(logger);
        return false;
    }

    LogPlain(LL_TRACE, "Executing function: %s.", qUtf8Printable(m_Name));
    CSafeString message;
    bool result = GuardedCall(message);
    if (!CurrentTestLog().FunctionCompleted())
    {
        LogDefault(TS_ERROR, "%s", message.c_str());
        LogDefault(TS_ERROR, "Test suite function '%s' has aborted unexpectedly.", qUtf8Printable(m_Name));
        result = false;
    }
    EndFunction(logger);
    LogPlain(LL_DETAIL, "%s return status: 0x%08X.", qUtf8Printable(m_Name),
             static_cast<unsigned>(logger.TestStatus(TS_NONE)));
    AddSeparator();
    LogTrace(" - Exiting %s: %s (%s).", TypeName().c_str(), qUtf8Printable(Label()), qUtf8Printable(Name()));
    CAppState::UserInput().FunctionFinished();
    return result;
}

bool CFunctionNode::GuardedCall(CSafeString& message)
{
    return Guarded(
        [this]
        {
            const bool result = CallWithParameters();
            CurrentTestLog().FunctionCompleted(true);
            return result;
        },
        [](SOutOfMemory) -> bool
        {
            CloseTestLog();
            throw;
        },
        [this](const ZKUserAbort&) -> bool
        {
            EndFunction(CAppState::Log());
            AddSeparator();
            CAppState::UserInput().FunctionFinished();
            throw;
        },
        [&message](const std::ios_base::failure& failure)
        {
            message = FormatText("Unexpected iostream failure: %s", failure.what());
            return false;
        },
        [&message](const ZKException& exception)
        {
            message = FormatText("Unexpected Zelkor failure: %s", exception.what());
            return false;
        },
        [&message](const std::exception& exception)
        {
            message = FormatText("Unexpected failure: %s", exception.what());
            return false;
        },
        [this, &message](SUnknownFailure)
        {
            message = FormatText("FUNCTION '%s' ENCOUNTERED AN UNEXPECTED ERROR.  ABORTING.\n", qUtf8Printable(m_Name));
            return false;
        });
}

bool CFunctionNode::CallWithParameters()
{
    using TDispatch = bool (*)(CFunctionNode&, const TParameters&);
    static constexpr auto dispatchers = []<std::size_t... Index>(std::index_sequence<Index...>)
    {
        return std::array<TDispatch, sizeof...(Index)>{[](CFunctionNode& node, const TParameters& parameters) {
            return node.DoCall(parameters, StackBuffer<Index + 1>());
        }...};
    }
    (std::make_index_sequence<MAX_CALL_PARAMETERS>());

    const TParameters parameters = RunQuery("x:Parameter");
    if (parameters.empty())
    {
        HandOver();
        return CallTestFunction(m_Name, [this] { return CallWithWords(m_Function, nullptr, std::index_sequence<>()); });
    }
    if (parameters.size() > MAX_CALL_PARAMETERS)
    {
        ThrowAt<ZKRunTimeException>({SOURCE_FILE, TOO_MANY_PARAMETERS_LINE, "CFunctionNode::DoExecute"},
                                    "Function %s takes too many parameters.  Update CFunctionNode::DoCall() and "
                                    "CFunctionNode::DoExecute() to allow more parameters. (Actual: %lu, max: %lu",
                                    qUtf8Printable(m_Name), static_cast<unsigned long>(parameters.size()),
                                    static_cast<unsigned long>(MAX_CALL_PARAMETERS));
    }
    return dispatchers[parameters.size() - 1](*this, parameters);
}

void CFunctionNode::EndFunction(ZKLogger& logger)
{
    CTestLog* const log = CAppState::CurrentTestLog();
    logger.EndFunction();
    if (log)
    {
        IncrementRunCount(*log, m_IsTest);
    }
}

void CFunctionNode::LogCouldNotFind(TEST_STATUS status) const
{
    LogDefault(status, "Couldn't find function: %s.", qUtf8Printable(m_Name));
}

// --------------------------------------------------------------------------------------------------------- the call

template <std::size_t N>
bool CFunctionNode::DoCall(const TParameters& parameters, StackBuffer<N> buffer)
{
    ZKLogger& logger = CAppState::Log();
    logger.ClearTestStatus();
    logger.DoWritePrintLnOnly(LL_TRACE, FormatText("Calling function: %s", qUtf8Printable(m_Name)));
    const bool hasReference = FillBuffer(parameters, buffer);
    const bool isAllowed = hasReference && CAppState::TestSuiteMode() != MODE_DEBUG;
    FlushOutput(true);
    const bool isSkipped = CAppState::ExecutionType() != EXECUTION_NORMAL && !isAllowed;
    if (isSkipped)
    {
        ReportCallLeftOut(Id());
    }
    const bool result = isSkipped || TimedCall(buffer);
    LogPlain(LL_TRACE, "Function Stop time : %s",
             MakeTimeString(TIME_FORMAT, std::chrono::system_clock::now()).c_str());
    return result;
}

template <std::size_t N>
bool CFunctionNode::FillBuffer(const TParameters& parameters, StackBuffer<N>& buffer) const
{
    bool hasReference = false;
    std::uint64_t index = 0;
    for (const pugi::xpath_node& found : parameters)
    {
        const pugi::xml_node parameter = found.node();
        const bool isByValue = std::string_view(parameter.attribute("passed").value()) == "byVal";
        hasReference = hasReference || !isByValue;
        if (const SParameterType* type = FindParameterType(parameter.attribute("type").value()))
        {
            const QString text = QString::fromUtf8(parameter.attribute("value").value());
            const CVariableList& variables = VariableList();
            buffer.Set(index, isByValue ? type->value(variables, text) : type->reference(variables, text));
        }
        ++index;
        CAppState::Log().DoWritePrintLnOnly(LL_TRACE, DescribeParameter(2, parameter, index, parameters.size()));
    }
    return hasReference;
}

template <std::size_t N>
bool CFunctionNode::TimedCall(const StackBuffer<N>& buffer) const
{
    LogPlain(LL_TRACE, "Function Start time : %s", MakeCurrentTimeString(TIME_FORMAT).c_str());
    HandOver();
    return CallTestFunction(
        m_Name, [&] { return CallWithWords(m_Function, buffer.m_Slots.data(), std::make_index_sequence<N>()); });
}

// ------------------------------------------------------------------------------------------------ a diagnostic run

bool CFunctionNode::DoDiagOnly()
{
    const QString label = LabelOrName();
    CAppState::Log().ClearTestStatus();
    const ELogLevel level = ZKLogger::GetDefaultLogVerbosity(TS_NONE);
    WriteLog(LOG_TYPE(TS_NONE, LOG_CONTINUES), level, DefaultUnloggedFormat(),
             FormatText("Calling function: %s", qUtf8Printable(m_Name)));
    if (label == m_Name)
    {
        LogDefault(TS_NONE, "%s", "");
    }
    else
    {
        CFormatInfo italic = DefaultUnloggedFormat();
        italic.SetItalic(true, true);
        WriteLog(TS_NONE, level, italic, FormatText(" (%s)", qUtf8Printable(label)));
    }
    if (!m_Function)
    {
        LogCouldNotFind(TS_FAILED);
        return false;
    }
    LogListing(RunQuery("x:Parameter"));
    LogDefault(TS_NONE, "%s", "");
    return true;
}

void CFunctionNode::LogListing(const TParameters& parameters) const
{
    const ELogLevel level = ZKLogger::GetDefaultLogVerbosity(TS_NONE);
    if (parameters.empty())
    {
        WriteLog(TS_NONE, level, DefaultUnloggedFormat(), "    - no parameters");
    }
    std::size_t number = 0;
    for (const pugi::xpath_node& parameter : parameters)
    {
        ++number;
        WriteLog(TS_NONE, level, DefaultUnloggedFormat(),
                 DescribeParameter(4, parameter.node(), number, parameters.size()));
    }
}

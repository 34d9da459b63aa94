#include <Orvanta/PopupNode.h>

#include <HostKit/AppState.h>
#include <HostKit/Logger.h>
#include <HostKit/UserInput.h>

namespace
{
constexpr std::uint32_t NO_TIMEOUT = UI_NO_TIMEOUT;
constexpr ZKColor TIMEOUT_COLOR{255, 0, 0, 255};

void PrintBlankLine()
{
    CAppState::Log().DoWritePrintLnOnly(LL_ALWAYS, "");
}
} // namespace

CPopupNode::CPopupNode(const pugi::xml_node& node, CNode* const parent, int level)
    : CNode(node, parent, level, nullptr)
    , m_Text(AttributeText("text"))
    , m_Timeout(AttributeText("timeout"))
{
}

bool CPopupNode::IsSelectable() const
{
    return true;
}

bool CPopupNode::DoDiagOnly()
{
    return true;
}

bool CPopupNode::DoExecute(bool)
{
    CUserInput& input = CAppState::UserInput();
    PrintBlankLine();
    AddTestLog(AttributeText("label").toStdString(), false, false);
    LogTrace(" - Entering %s: %s.", TypeName().c_str(), qUtf8Printable(AttributeText("label")));
    Ask(input);
    const bool result = input.Concluded();
    CountExecution(false);
    AddSeparator();
    PrintBlankLine();
    FlushOutput(true);
    return result;
}

std::uint32_t CPopupNode::Timeout() const
{
    return m_Timeout.isEmpty() ? NO_TIMEOUT : VariableList().GetLong(m_Timeout);
}

void CPopupNode::LogExiting() const
{
    LogTrace(" - Exiting %s: %s.", TypeName().c_str(), qUtf8Printable(AttributeText("label")));
}

void CPopupNode::LogTimedOut(const char* text)
{
    CFormatInfo format = NODE_LOG_FORMAT;
    format.SetColor(TIMEOUT_COLOR, true);
    WriteLog(TS_NONE, ZKLogger::GetDefaultLogVerbosity(TS_NONE), format, text);
}

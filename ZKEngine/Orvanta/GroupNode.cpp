#include <Orvanta/GroupNode.h>

#include <CoreKit/CatchLadder.h>
#include <CoreKit/Format.h>

namespace
{
constexpr const char* SOURCE_FILE = "ZKEngine/Orvanta/GroupNode";
}

CGroupNode::CGroupNode(const pugi::xml_node& node, int level, CNode* const parent)
    : CNode(node, parent, level, nullptr)
{
}

bool CGroupNode::SomethingToExecute() const
{
    if (m_Children.empty())
    {
        ThrowAt<CTestSuiteException>({SOURCE_FILE, __LINE__, "CGroupNode::SomethingToExecute"},
                                     "%s must have at least one child element.", TypeName().c_str());
    }
    return true;
}

QString CGroupNode::GetDiagnosticString() const
{
    return IsExecuting() ? QString() : CNode::GetDiagnosticString();
}

bool CGroupNode::IsSelectable() const
{
    return false;
}

bool CGroupNode::DoExecute(bool stopOnFail)
{
    return Guarded(
        [this, stopOnFail]
        {
            LogTrace(" - Entering %s.", TypeName().c_str());
            const bool result = RunChildren(stopOnFail);
            LogTrace(" - Exiting %s.", TypeName().c_str());
            return result;
        },
        [](SOutOfMemory) -> bool
        {
            CloseTestLog();
            throw;
        },
        [this](const ZKUserAbort&) -> bool
        {
            LogAborted();
            throw;
        },
        [this](const ZKException& exception)
        {
            LogUnexpected("Zelkor failure", exception);
            ReportFailureCaught(Id(), exception.Message());
            return false;
        },
        [this](const std::exception& exception)
        {
            LogUnexpected("failure", exception);
            ReportFailureCaught(Id(), exception.what());
            return false;
        },
        [this](SUnknownFailure)
        {
            LogTrace(" - Unexpected failure - %s.", TypeName().c_str());
            ReportFailureCaught(Id(), "an unknown failure");
            return false;
        });
}

bool CGroupNode::RunChildren(bool stopOnFail)
{
    bool result = true;
    for (CNode* child : m_Children)
    {
        result = child->Execute(stopOnFail) && result;
        if (stopOnFail && !result)
        {
            break;
        }
    }
    return result;
}

void CGroupNode::LogAborted() const
{
    LogTrace(" - Aborted by user %s.", TypeName().c_str());
}

void CGroupNode::LogUnexpected(const char* kind, const std::exception& exception) const
{
    WriteLog(TS_NONE, LL_TRACE, NODE_LOG_FORMAT,
             FormatText("{%s - Unexpected %s - %s:\n   - %s.", m_Indent.toLatin1().constData(), kind,
                        TypeName().c_str(), exception.what()));
}

bool CGroupNode::DoDiagOnly()
{
    LogDefault(TS_NONE, "%s", qUtf8Printable(GetDiagnosticString()));
    bool result = true;
    for (CNode* child : m_Children)
    {
        result = child->DiagOnly() && result;
    }
    return result;
}

std::uint64_t CGroupNode::ExtractValue(const QString& attribute) const
{
    return VariableList().ExtractValue(AttributeText(qUtf8Printable(attribute)));
}

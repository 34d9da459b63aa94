#include <Orvanta/GroupNode.h>

#include <CoreKit/CatchLadder.h>

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
        ThrowFormatted<CTestSuiteException>("\n%s(%d): %s:\n%s must have at least one child element.", SOURCE_FILE,
                                            __LINE__, "CGroupNode::SomethingToExecute", TypeName().c_str());
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
            LogTrace("%s - Entering %s.", qUtf8Printable(m_Indent), TypeName().c_str());
            const bool result = RunChildren(stopOnFail);
            LogTrace("%s - Exiting %s.", qUtf8Printable(m_Indent), TypeName().c_str());
            return result;
        },
        [](OutOfMemory) -> bool
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
            LogTrace("{%s - Unexpected Zelkor failure - %s:\n   - %s.", qUtf8Printable(m_Indent), TypeName().c_str(),
                     exception.what());
            return false;
        },
        [this](const std::exception& exception)
        {
            LogTrace("{%s - Unexpected failure - %s:\n   - %s.", qUtf8Printable(m_Indent), TypeName().c_str(),
                     exception.what());
            return false;
        },
        [this](UnknownFailure)
        {
            LogTrace("%s - Unexpected failure - %s.", qUtf8Printable(m_Indent), TypeName().c_str());
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
    LogTrace("%s - Aborted by user %s.", qUtf8Printable(m_Indent), TypeName().c_str());
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
    return VariableList().ExtractValue(QString::fromUtf8(Attribute(attribute)));
}

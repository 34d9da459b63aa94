#include <Orvanta/GroupRecursiveNode.h>

#include <Orvanta/BooleanBaseNode.h>
#include <Orvanta/NumericBaseNode.h>

#include <CoreKit/CatchLadder.h>
#include <CoreKit/Format.h>
#include <HostKit/AppState.h>
#include <HostKit/Logger.h>

#include <limits>
#include <string_view>
#include <utility>

namespace
{
constexpr const char* SOURCE_FILE = "ZKEngine/Orvanta/GroupRecursiveNode";
constexpr const char* STOP_ON_FAIL_TEXT = "test suite failed with stopOnFail set to true";
} // namespace

CGroupRecursiveNode::CGroupRecursiveNode(const pugi::xml_node& node, int level, CNode* const parent)
    : CGroupNode(node, level, parent)
{
    m_IsIncrement = !Confirm(QStringLiteral("iterType"), QStringLiteral("Decr"));
    m_IsStrict = !Confirm(QStringLiteral("breakConditionType"), QStringLiteral("NonStrict"));
    std::erase_if(m_Children,
                  [this](CNode* child)
                  {
                      const CSafeString type = child->TypeName();
                      if (type == "x:LoopTerminate")
                      {
                          m_LoopTerminateNode = dynamic_cast<CBooleanBaseNode*>(child);
                          return true;
                      }
                      if (type == "x:NextIteration")
                      {
                          m_NextIterNode = dynamic_cast<CNumericBaseNode*>(child);
                          return true;
                      }
                      return false;
                  });
}

bool CGroupRecursiveNode::IsSelectable() const
{
    return true;
}

QString CGroupRecursiveNode::Name() const
{
    return AttributeText("name");
}

bool CGroupRecursiveNode::IsLoop() const
{
    return m_LoopTerminateNode || HasAttribute(QStringLiteral("to"));
}

QString CGroupRecursiveNode::GetDiagnosticString() const
{
    if (!IsExecuting())
    {
        return CNode::GetDiagnosticString();
    }
    return QString::fromUtf8(
        FormatText("Executing Group %s:  iterator=0x%x\n", qUtf8Printable(Name()), static_cast<unsigned>(m_Iterator))
            .c_str());
}

bool CGroupRecursiveNode::DoExecute(bool stopOnFail)
{
    m_RanOnce = false;
    LogTrace(" - Entering %s: %s.", TypeName().c_str(), qUtf8Printable(Name()));
    InitExecution();
    return Guarded(
        [this, stopOnFail]
        {
            const bool result = RunPasses(stopOnFail);
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
        [this](const ZKException& exception) -> bool
        {
            LogTrace(" - Unexpected Zelkor failure %s.", TypeName().c_str());
            if (std::string_view(exception.what()) == STOP_ON_FAIL_TEXT)
            {
                return false;
            }
            throw;
        },
        [this](const std::exception& exception)
        {
            LogTrace(" - Unexpected failure %s.", TypeName().c_str());
            ReportFailureCaught(Id(), exception.what());
            return false;
        });
}

bool CGroupRecursiveNode::RunPasses(bool stopOnFail)
{
    bool result = true;
    for (std::uint64_t pass = 1; !ShouldTerminateLoop(); ++pass)
    {
        if (IsLoop())
        {
            ReportPass(Id(), pass, m_Iterator, Attribute(QStringLiteral("iterator")));
        }
        for (CNode* child : m_Children)
        {
            m_RanOnce = true;
            result = child->Execute(stopOnFail) && result;
            if (stopOnFail && !result)
            {
                throw ZKRunTimeException(STOP_ON_FAIL_TEXT);
            }
        }
        if (!Iterate())
        {
            break;
        }
    }
    return result;
}

// ------------------------------------------------------------------------------------------------- start of a run

void CGroupRecursiveNode::InitExecution()
{
    m_IterVar = DEF_ITER_VAR;

    SAttributes attributes;
    SAttribute* const inReadingOrder[] = {&attributes.name,
                                          &attributes.from,
                                          &attributes.to,
                                          &attributes.interval,
                                          &attributes.iterator,
                                          &attributes.iterType,
                                          &attributes.breakConditionType};
    for (SAttribute* attribute : inReadingOrder)
    {
        ReadAttribute(*attribute);
    }
    if (attributes.from.isPresent)
    {
        m_From = attributes.from.number;
    }
    m_Iterator = m_From;
    ChooseTermination(attributes);
    ChooseAdvance(attributes);

    const SAttribute* const inLoggingOrder[] = {&attributes.name,
                                                &attributes.to,
                                                &attributes.from,
                                                &attributes.interval,
                                                &attributes.iterator,
                                                &attributes.iterType,
                                                &attributes.breakConditionType};
    for (const SAttribute* attribute : inLoggingOrder)
    {
        LogAttribute(*attribute);
    }
}

void CGroupRecursiveNode::ReadAttribute(SAttribute& attribute) const
{
    const QString name = QString::fromLatin1(attribute.name);
    attribute.isPresent = HasAttribute(name);
    if (attribute.isPresent)
    {
        attribute.text = Attribute(name);
        attribute.number = attribute.isNumber ? ExtractValue(name) : 0;
    }
}

void CGroupRecursiveNode::ChooseTermination(SAttributes& attributes)
{
    if (m_LoopTerminateNode)
    {
        m_TerminateFn = m_CustomTerminate;
        attributes.to.isApplicable = false;
        attributes.breakConditionType.isApplicable = false;
    }
    else if (attributes.to.isPresent)
    {
        m_To = attributes.to.number;
        m_TerminateFn = m_CompareWithTo;
    }
    else
    {
        m_TerminateFn = m_RunOnce;
        for (SAttribute* unused : {&attributes.from, &attributes.to, &attributes.breakConditionType,
                                   &attributes.iterator, &attributes.interval, &attributes.iterType})
        {
            unused->isApplicable = false;
        }
        return;
    }
    DoUpdateVariable("iterator", m_Iterator, true);
}

void CGroupRecursiveNode::ChooseAdvance(SAttributes& attributes)
{
    const bool isCompared = !m_LoopTerminateNode && attributes.to.isPresent;
    if (m_NextIterNode)
    {
        m_IterateFn = m_CustomIterate;
        attributes.iterator.isApplicable = false;
        attributes.interval.isApplicable = false;
        attributes.iterType.isApplicable = false;
    }
    else if (!m_LoopTerminateNode && !isCompared)
    {
        m_IterateFn = m_Always;
    }
    else if (isCompared && BoundsExclude())
    {
        m_IterateFn = m_Never;
    }
    else
    {
        ChooseStep(attributes.interval, isCompared);
    }
}

bool CGroupRecursiveNode::BoundsExclude() const
{
    const bool isExcluded = m_IsIncrement ? m_To < m_From : m_From < m_To;
    if (!isExcluded)
    {
        return false;
    }
    const unsigned from = static_cast<unsigned>(m_From);
    const unsigned to = static_cast<unsigned>(m_To);
    const CSafeString type = TypeName();
    const CSafeString warning = m_IsIncrement
        ? FormatText("\"from\" is greater than \"to\". Exiting %s main loop. (from = %u, to = %u)", type.c_str(), from,
                     to)
        : FormatText("\"from\" is less than \"to\" in decrementing mode. Exiting %s main loop. (from = %u, to = %u)",
                     type.c_str(), from, to);
    WriteLog(TS_NONE, LL_WARNING, DefaultWarningFormat(), warning);
    return true;
}

void CGroupRecursiveNode::ChooseStep(const SAttribute& interval, bool isCompared)
{
    if (interval.isPresent)
    {
        m_Interval = interval.number;
    }
    if (m_Interval == 0 && isCompared && !PassedTo())
    {
        ThrowFormatted<CTestSuiteException>("%s \"%s\": with an \"interval\" of 0 the loop would never end.",
                                            TypeName().c_str(), qUtf8Printable(Name()));
    }
    m_IterateFn = m_Step;
}

void CGroupRecursiveNode::LogAttribute(const SAttribute& attribute) const
{
    if (!attribute.isPresent)
    {
        return;
    }
    LogTrace(" - attribute %s%s.", attribute.name, attribute.isApplicable ? "" : " (ignored)");
    const CSafeString value = attribute.isNumber
        ? FormatText("raw value: \"%s\", value: \"%lu\"", attribute.text, static_cast<unsigned long>(attribute.number))
        : FormatText("value: \"%s\"", attribute.text);
    LogTrace(" -   %s.", value.c_str());
}

// ------------------------------------------------------------------------------------------------------ strategies

bool CGroupRecursiveNode::RunOnce()
{
    return std::exchange(m_RanOnce, true);
}

bool CGroupRecursiveNode::PassedTo() const
{
    if (m_IsIncrement)
    {
        return m_IsStrict ? m_Iterator >= m_To : m_Iterator > m_To;
    }
    return m_IsStrict ? m_Iterator <= m_To : m_Iterator < m_To;
}

bool CGroupRecursiveNode::CanIterate() const
{
    const std::uint64_t ceiling = m_IterVar ? m_IterVar->MaxValue() : std::numeric_limits<std::uint64_t>::max();
    if (m_IsIncrement)
    {
        return m_Iterator <= ceiling && ceiling - m_Iterator >= m_Interval;
    }
    return m_Iterator >= m_Interval;
}

bool CGroupRecursiveNode::Step()
{
    if (!CanIterate())
    {
        return false;
    }
    m_Iterator = m_IsIncrement ? m_Iterator + m_Interval : m_Iterator - m_Interval;
    return true;
}

bool CGroupRecursiveNode::Iterate()
{
    if (!m_IterateFn())
    {
        return false;
    }
    DoUpdateVariable("iterator", m_Iterator, true);
    return true;
}

bool CGroupRecursiveNode::CallCustomIterator()
{
    if (!m_NextIterNode)
    {
        ThrowAt<CTestSuiteException>({SOURCE_FILE, __LINE__, "CGroupRecursiveNode::CallCustomIterator"},
                                     "Internal Error: calling custom iterator from NULL Custom Iterator node.");
    }
    const auto [succeeded, value] = m_NextIterNode->Calculate();
    if (succeeded)
    {
        m_Iterator = value;
    }
    return succeeded;
}

bool CGroupRecursiveNode::CallCustomLoopTerminate()
{
    if (!m_LoopTerminateNode)
    {
        ThrowAt<CTestSuiteException>(
            {SOURCE_FILE, __LINE__, "CGroupRecursiveNode::CallCustomLoopTerminate"},
            "Internal Error: calling custom loop terminator from NULL Custom Loop Termination node.");
    }
    const auto [succeeded, terminate] = m_LoopTerminateNode->Calculate();
    return !succeeded || terminate;
}

void CGroupRecursiveNode::DoUpdateVariable(const char* attribute, std::uint64_t value, bool mustExist)
{
    const QString attributeName = QString::fromLatin1(attribute);
    if (!HasAttribute(attributeName))
    {
        return;
    }
    const QString variable = AttributeText(attribute);
    if (VariableList().VariableExists(variable))
    {
        m_IterVar = &GetVariable(variable);
        m_IterVar->Set(value, m_IterVar->Type());
    }
    else if (mustExist)
    {
        ThrowFormatted<CTestSuiteException>("No such iterator: %s", qUtf8Printable(variable));
    }
}

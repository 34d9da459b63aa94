#include <HostKit/HostListener.h>

#include <algorithm>

bool IsWarning(const SLogEntry& entry)
{
    return entry.type.status == TS_NONE && entry.level == LL_WARNING && entry.format &&
        *entry.format == DefaultWarningFormat();
}

CHostListener::~CHostListener() = default;

void CHostListener::LogWritten(const SLogEntry& /*entry*/) {}

void CHostListener::Printed(ELogLevel /*level*/, bool /*line*/, std::string_view /*text*/) {}

void CHostListener::TestLogAdded(std::string_view /*text*/, bool /*isTest*/, bool /*isSeparator*/) {}

void CHostListener::OutputFlushed(bool /*complete*/) {}

void CHostListener::HeadlineShown(std::string_view /*text*/, std::uint32_t /*emphasis*/) {}

void CHostListener::PromptOpened(std::uint64_t /*id*/, const SPrompt& /*prompt*/) {}

void CHostListener::PromptEnded(std::uint64_t /*id*/, const SPrompt& /*prompt*/, const TPromptAnswer& /*answer*/) {}

void CHostListener::Aborted(EAbortCause /*cause*/, std::string_view /*text*/) {}

void CHostListener::NodeStateChanged(TNodeId /*node*/, ERunState /*state*/) {}

void CHostListener::NodeLeftByException(TNodeId /*node*/, std::string_view /*what*/) {}

void CHostListener::NodeLeftByAbort(TNodeId /*node*/, std::string_view /*text*/) {}

void CHostListener::NodeSkipped(TNodeId /*node*/) {}

void CHostListener::FailureCaught(TNodeId /*node*/, std::string_view /*what*/) {}

void CHostListener::PassBegan(TNodeId /*node*/, std::uint64_t /*number*/, std::uint64_t /*iterator*/,
                              std::string_view /*variable*/)
{
}

void CHostListener::CallLeftOut(TNodeId /*node*/) {}
void CHostListener::Measured(const SMeasurement& /*measurement*/) {}

void CHostListener::LibraryNotOpened() {}

void CHostListener::LockAwaited() {}

void CHostListener::LockTaken() {}

void CHostListener::HandOver() {}

void CHostListeners::Add(CHostListener& listener)
{
    if (std::find(m_Listeners.begin(), m_Listeners.end(), &listener) == m_Listeners.end())
    {
        m_Listeners.push_back(&listener);
    }
}

void CHostListeners::Remove(CHostListener& listener)
{
    m_Listeners.erase(std::remove(m_Listeners.begin(), m_Listeners.end(), &listener), m_Listeners.end());
}

void CHostListeners::ForEach(const std::function<void(CHostListener&)>& tell) const
{
    // By index: a listener may add another one while it is told. NOLINTNEXTLINE(modernize-loop-convert)
    for (std::size_t i = 0; i < m_Listeners.size(); ++i)
    {
        tell(*m_Listeners[i]);
    }
}

#include "SharedPage.h"

#include <algorithm>

void CSharedText::Set(std::string_view text) noexcept
{
    const std::uint32_t other = 1 - m_Current.load();
    SSlot& slot = m_Slots.at(other);
    slot.length = static_cast<std::uint32_t>(std::min(text.size(), ROOM));
    text.copy(slot.text.data(), slot.length);
    m_Current.store(other);
}

std::string CSharedText::Get() const
{
    const SSlot& slot = m_Slots.at(m_Current.load());
    return {slot.text.data(), slot.length};
}

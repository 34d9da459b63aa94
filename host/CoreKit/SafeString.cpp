#include <CoreKit/SafeString.h>

#include <algorithm>
#include <utility>

namespace
{
std::string_view ViewOf(const char* text)
{
    return text ? std::string_view(text) : std::string_view();
}
} // namespace

CSafeString::CSafeString(const char* text)
    : m_Text(ViewOf(text))
{
}

CSafeString::CSafeString(std::string_view text)
    : m_Text(text)
{
}

CSafeString::CSafeString(std::string&& text) noexcept
    : m_Text(std::move(text))
{
}

CSafeString CSafeString::operator+(const char* text) const
{
    return CSafeString(std::string(m_Text).append(ViewOf(text)));
}

CSafeString ToLower(std::string_view text)
{
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return CSafeString(std::move(lower));
}

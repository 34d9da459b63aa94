#pragma once

#include <CoreKit/CoreKitExport.h>

#include <string>
#include <string_view>

/// Narrow text (UTF-8) that owns its characters and never yields a null pointer: a null C string counts as empty.
class COREKIT_EXPORT CSafeString
{
public:
    CSafeString() = default;
    CSafeString(const char* text);
    CSafeString(std::string_view text);
    CSafeString(std::string&& text) noexcept;

    const char* c_str() const noexcept { return m_Text.c_str(); }
    const char* get() const noexcept { return m_Text.c_str(); }
    bool empty() const noexcept { return m_Text.empty(); }
    operator std::string_view() const noexcept { return m_Text; }

    CSafeString operator+(const char* text) const;

    friend bool operator==(const CSafeString& left, const CSafeString& right) = default;
    friend bool operator==(const CSafeString& left, const char* right) { return left == CSafeString(right); }

private:
    std::string m_Text;
};

/// ASCII letters in lower case, everything else unchanged.
COREKIT_EXPORT CSafeString ToLower(std::string_view text);

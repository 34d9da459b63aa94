#pragma once

#include <HostKit/HostKitExport.h>

#include <CoreKit/TestStatus.h>

#include <cstdint>
#include <optional>

/// Four parts, 0 to 255 each: red, green, blue, opacity.
struct ZKColor
{
    std::uint32_t red = 0;
    std::uint32_t green = 0;
    std::uint32_t blue = 0;
    std::uint32_t alpha = 255;

    friend bool operator==(const ZKColor& left, const ZKColor& right) = default;
};

/// How a log entry looks. Each property is either in use or left to whoever shows the entry.
class HOSTKIT_EXPORT CFormatInfo
{
public:
    /// Text strengths: 400 is normal, 700 bold.
    static constexpr std::uint32_t NORMAL_STRENGTH = 400;
    static constexpr std::uint32_t BOLD_STRENGTH = 700;

    CFormatInfo() = default;
    CFormatInfo(const ZKColor& text, std::uint32_t strength);
    CFormatInfo(const ZKColor& text, const ZKColor& back, std::uint32_t strength);
    /// A text colour with italics and underlining decided.
    CFormatInfo(const ZKColor& text, bool italics, std::uint32_t strength, bool underline);

    const std::optional<ZKColor>& Color() const { return m_Color; }
    const std::optional<ZKColor>& BackColor() const { return m_BackColor; }
    std::uint32_t Strength() const { return m_Strength; }
    bool Bold() const { return m_Strength >= BOLD_STRENGTH; }
    bool Italics() const { return m_Italics; }
    bool Underline() const { return m_Underline; }

    /// In each setter `inUse` false takes the property back to its default. A strength of 0 is the normal one.
    void SetBold(std::uint32_t strength, bool inUse);
    void SetColor(const ZKColor& color, bool inUse);
    void SetItalic(bool italics, bool inUse);

    friend bool operator==(const CFormatInfo& left, const CFormatInfo& right) = default;

private:
    std::optional<ZKColor> m_Color;
    std::optional<ZKColor> m_BackColor;
    std::uint32_t m_Strength = NORMAL_STRENGTH;
    bool m_Italics = false;
    bool m_Underline = false;
};

/// The formats of common kinds of entries; each lives as long as the process.
HOSTKIT_EXPORT const CFormatInfo& DefaultAbortFormat();
HOSTKIT_EXPORT const CFormatInfo& DefaultDiagnosticFormat();
HOSTKIT_EXPORT const CFormatInfo& DefaultErrorFormat();
HOSTKIT_EXPORT const CFormatInfo& DefaultWarningFormat();
HOSTKIT_EXPORT const CFormatInfo& DefaultUnloggedFormat();

#include <HostKit/FormatInfo.h>

CFormatInfo::CFormatInfo(const ZKColor& text, std::uint32_t strength)
    : m_Color(text)
{
    SetBold(strength, true);
}

CFormatInfo::CFormatInfo(const ZKColor& text, const ZKColor& back, std::uint32_t strength)
    : m_Color(text)
    , m_BackColor(back)
{
    SetBold(strength, true);
}

CFormatInfo::CFormatInfo(const ZKColor& text, bool italics, std::uint32_t strength, bool underline)
    : m_Color(text)
    , m_Italics(italics)
    , m_Underline(underline)
{
    SetBold(strength, true);
}

void CFormatInfo::SetBold(std::uint32_t strength, bool inUse)
{
    m_Strength = inUse && strength != 0 ? strength : NORMAL_STRENGTH;
}

void CFormatInfo::SetColor(const ZKColor& color, bool inUse)
{
    m_Color = inUse ? std::optional(color) : std::nullopt;
}

void CFormatInfo::SetItalic(bool italics, bool inUse)
{
    m_Italics = inUse && italics;
}

const CFormatInfo& DefaultAbortFormat()
{
    static const CFormatInfo format({128, 0, 128, 255}, CFormatInfo::BOLD_STRENGTH);
    return format;
}

const CFormatInfo& DefaultDiagnosticFormat()
{
    static const CFormatInfo format({0, 96, 128, 255}, CFormatInfo::NORMAL_STRENGTH);
    return format;
}

const CFormatInfo& DefaultErrorFormat()
{
    static const CFormatInfo format({192, 0, 0, 255}, CFormatInfo::BOLD_STRENGTH);
    return format;
}

const CFormatInfo& DefaultWarningFormat()
{
    static const CFormatInfo format({176, 96, 0, 255}, CFormatInfo::NORMAL_STRENGTH);
    return format;
}

const CFormatInfo& DefaultUnloggedFormat()
{
    static const CFormatInfo format({112, 112, 112, 255}, CFormatInfo::NORMAL_STRENGTH);
    return format;
}

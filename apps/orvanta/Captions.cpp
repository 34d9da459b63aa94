#include "Captions.h"

#include <algorithm>
#include <vector>

namespace
{
QString Folded(const QString& text)
{
    return text.normalized(QString::NormalizationForm_C).simplified().toCaseFolded();
}

/// The letters and digits of a caption, in lower case.
std::vector<QString> Letters(const QString& caption)
{
    std::vector<QString> letters;
    for (const char32_t letter : caption.normalized(QString::NormalizationForm_C).toLower().toStdU32String())
    {
        if (QChar::isLetterOrNumber(letter))
        {
            letters.push_back(QString::fromUcs4(&letter, 1));
        }
    }
    return letters;
}
} // namespace

QString CaptionOr(const std::string& caption, const char* instead)
{
    const QString text = QString::fromStdString(caption).simplified();
    return text.isEmpty() ? QString::fromUtf8(instead) : text;
}

bool ReadsAs(const QString& typed, const QString& text)
{
    return Folded(typed) == Folded(text);
}

CCaptions::CCaptions(const std::string& yes, const std::string& no)
    : m_Yes(CaptionOr(yes, "Yes"))
    , m_No(CaptionOr(no, "No"))
{
    const std::vector<QString> ofYes = Letters(m_Yes);
    const std::vector<QString> ofNo = Letters(m_No);
    for (std::size_t i = 0; i < std::min(ofYes.size(), ofNo.size()); ++i)
    {
        // Inside a caption, such as that of "On" and "Off", these two would be taken for no and yes.
        const bool misleads = i > 0 && (ofYes[i] == QLatin1String("n") || ofNo[i] == QLatin1String("y"));
        if (!ReadsAs(ofYes[i], ofNo[i]) && !misleads)
        {
            m_YesKey = ofYes[i];
            m_NoKey = ofNo[i];
            return;
        }
    }
}

std::string CCaptions::Shown() const
{
    return QStringLiteral("[%1] %2  [%3] %4").arg(m_YesKey, m_Yes, m_NoKey, m_No).toStdString();
}

std::string CCaptions::Keys() const
{
    return QStringLiteral("%1 nor %2").arg(m_YesKey, m_NoKey).toStdString();
}

std::optional<bool> CCaptions::Choice(const std::string& line) const
{
    const QString typed = QString::fromStdString(line);
    for (const auto& [yes, no] : {std::pair(m_YesKey, m_NoKey), std::pair(m_Yes, m_No)})
    {
        if (ReadsAs(yes, no))
        {
            break; // captions alike choose nothing
        }
        if (ReadsAs(typed, yes) || ReadsAs(typed, no))
        {
            return ReadsAs(typed, yes);
        }
    }
    return std::nullopt;
}

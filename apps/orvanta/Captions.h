#pragma once

#include <QString>

#include <optional>
#include <string>

/// The two choices of a yes/no prompt as an operator types them. Each has a key that follows its caption: the first
/// letter, or the next by which the captions differ, in lower case, but never one that would pass for the opposite;
/// where no letter serves, 1 and 2. A caption that is typed whole counts too, in any case. An empty caption reads "Yes"
/// or "No".
class CCaptions
{
public:
    CCaptions(const std::string& yes, const std::string& no);

    /// "[l] Left  [r] Right"
    std::string Shown() const;
    /// "l nor r"
    std::string Keys() const;

    /// What was chosen; none when the line is neither.
    std::optional<bool> Choice(const std::string& line) const;

private:
    QString m_Yes;
    QString m_No;
    QString m_YesKey = QStringLiteral("1");
    QString m_NoKey = QStringLiteral("2");
};

/// A caption on one line, or the one that stands for an empty one.
QString CaptionOr(const std::string& caption, const char* instead);

/// Whether two texts are the same to a person who types them: in any case, blanks around them aside.
bool ReadsAs(const QString& typed, const QString& text);

#include "FieldWriter.h"

#include <charconv>
#include <cmath>

void CFieldWriter::Write(double value)
{
    std::isfinite(value) ? m_Json.Double(value) : m_Json.Null();
}

void CFieldWriter::Write(std::chrono::system_clock::time_point time)
{
    const TTimeText text = TimeText(time);
    m_Json.Plain({text.data(), text.size()});
}

void CFieldWriter::Write(const TPromptAnswer& answer)
{
    std::visit([this](const auto& value) { Write(value); }, answer);
}

void CFieldWriter::Write(const std::vector<std::pair<std::string, std::string>>& texts)
{
    m_Json.StartObject();
    for (const auto& [key, text] : texts)
    {
        m_Json.Text(key);
        m_Json.Text(text);
    }
    m_Json.EndObject();
}

void CFieldWriter::WriteThousandths(std::int64_t thousandths)
{
    const auto [whole, rest] = std::lldiv(std::abs(thousandths), 1000);
    std::array<char, 32> digits{};
    char* const sign = digits.data();
    *sign = '-';
    char* const point = std::to_chars(sign + 1, digits.data() + digits.size(), whole).ptr;
    const char fraction[] = {'.', static_cast<char>('0' + rest / 100), static_cast<char>('0' + rest / 10 % 10),
                             static_cast<char>('0' + rest % 10)};
    std::copy(std::begin(fraction), std::end(fraction), point);
    const char* const begin = thousandths < 0 ? sign : sign + 1;
    m_Json.Number({begin, static_cast<std::size_t>(point - begin) + std::size(fraction)});
}

#include <Events/Answer.h>

#include "FieldReader.h"
#include "FieldWriter.h"

#include <Events/Words.h>

#include <charconv>

void AppendAnswer(const TPromptAnswer& answer, std::string& json)
{
    CFieldWriter writer(json);
    writer.Write(answer);
    writer.Finish();
}

std::optional<TPromptAnswer> ParseAnswer(std::string_view json)
{
    const CJsonDocument document(json);
    return document.Error().empty() ? AnswerOf(document.Root()) : std::nullopt;
}

std::optional<TPromptAnswer> AnswerOfText(std::string_view text)
{
    if (const std::optional<EPromptEnd> end = FromWord<EPromptEnd>(text))
    {
        return *end;
    }
    constexpr std::string_view BLANKS = " \t\n\v\f\r";
    text.remove_prefix(std::min(text.find_first_not_of(BLANKS), text.size()));
    text.remove_suffix(text.size() - 1 - text.find_last_not_of(BLANKS));
    const bool isHexadecimal = text.starts_with("0x") || text.starts_with("0X");
    text.remove_prefix(isHexadecimal ? 2 : 0);
    std::uint64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [last, error] = std::from_chars(text.data(), end, number, isHexadecimal ? 16 : 10);
    return error == std::errc() && last == end ? std::optional<TPromptAnswer>(number) : std::nullopt;
}

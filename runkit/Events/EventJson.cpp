#include <Events/EventJson.h>

#include "FieldReader.h"
#include "FieldWriter.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>
#include <variant>

namespace
{
/// In the order of `TEvent`.
constexpr std::array<std::string_view, std::variant_size_v<TEvent>> NAMES = {
    "record", "suite-load", "run-start",   "node",    "log",         "print",  "test-log", "state",
    "pass",   "skip",       "measurement", "verdict", "prompt-open", "prompt", "abort",    "output",
    "lock",   "vanished",   "headline",    "not-run", "run-end",     "refused"};

template <std::size_t Index>
SEventLine ReadEvent(const CJsonDocument::TValue& object)
{
    SEvent event{{}, TEvent(std::in_place_index<Index>)};
    CFieldReader reader(object, std::string(NAMES[Index]) + '.');
    reader("time", event.time);
    Fields(reader, std::get<Index>(event.what));
    return reader.Error().empty() ? SEventLine{std::move(event), {}} : SEventLine{std::nullopt, reader.Error()};
}

constexpr auto READERS = []<std::size_t... Indices>(std::index_sequence<Indices...>)
{
    return std::array{&ReadEvent<Indices>...};
}
(std::make_index_sequence<NAMES.size()>());
} // namespace

void ToJson(const SEvent& event, std::string& lines)
{
    CFieldWriter writer(lines);
    std::visit([&](const auto& what) { writer.WriteEvent(NAMES[event.what.index()], event.time, what); }, event.what);
    writer.Finish();
}

SEventLine FromJson(std::string_view line)
{
    const CJsonDocument document(line);
    if (!document.Error().empty())
    {
        return {std::nullopt, document.Error()};
    }
    if (!document.Root().IsObject())
    {
        return {std::nullopt, "not a JSON object"};
    }
    std::string name;
    CFieldReader reader(document.Root(), {});
    reader("event", name);
    if (!reader.Error().empty())
    {
        return {std::nullopt, reader.Error()};
    }
    const auto known = std::find(NAMES.begin(), NAMES.end(), name);
    return known == NAMES.end() ? SEventLine{}
                                : READERS[static_cast<std::size_t>(known - NAMES.begin())](document.Root());
}

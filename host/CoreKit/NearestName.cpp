#include <CoreKit/NearestName.h>

#include <algorithm>
#include <cctype>

namespace
{
/// A name without the prefix "x", in lower case.
std::string Comparable(std::string_view name)
{
    std::string lower(name.substr(name.starts_with("x:") ? 2 : 0));
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return lower;
}

/// How many letters must be added, left out, replaced or swapped with their neighbour to make one word the other.
std::size_t Distance(const std::string& left, const std::string& right)
{
    std::vector<std::size_t> before(right.size() + 1);
    std::vector<std::size_t> last(right.size() + 1);
    std::vector<std::size_t> row(right.size() + 1);
    for (std::size_t j = 0; j <= right.size(); ++j)
    {
        last[j] = j;
    }
    for (std::size_t i = 1; i <= left.size(); ++i)
    {
        row[0] = i;
        for (std::size_t j = 1; j <= right.size(); ++j)
        {
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (left[i - 1] == right[j - 1] ? 0 : 1)});
            if (i > 1 && j > 1 && left[i - 1] == right[j - 2] && left[i - 2] == right[j - 1])
            {
                row[j] = std::min(row[j], before[j - 2] + 1);
            }
        }
        std::swap(before, last);
        std::swap(last, row);
    }
    return last[right.size()];
}
} // namespace

std::string NearestName(std::string_view word, const std::vector<std::string>& names)
{
    constexpr std::size_t MAX_LENGTH = 64;
    constexpr std::size_t MAX_DISTANCE = 3;
    if (word.size() > MAX_LENGTH)
    {
        return {};
    }
    const std::string wanted = Comparable(word);
    std::string nearest;
    std::size_t best = MAX_DISTANCE + 1;
    for (const std::string& name : names)
    {
        const std::size_t longer = std::max(word.size(), name.size());
        if (name.size() > MAX_LENGTH || longer - std::min(word.size(), name.size()) > MAX_DISTANCE + 2)
        {
            continue; // too far off for a look, also without a prefix
        }
        const std::string offered = Comparable(name);
        const std::size_t distance = Distance(wanted, offered);
        if (distance < best && distance <= (std::max(wanted.size(), offered.size()) + 1) / 3)
        {
            best = distance;
            nearest = name;
        }
    }
    return nearest;
}

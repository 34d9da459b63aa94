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

/// How many letters must be added, left out, replaced or swapped with their neighbour to make one word the other; more
/// than `most` as soon as it is clear that it is more.
std::size_t Distance(const std::string& left, const std::string& right, std::size_t most)
{
    const std::size_t width = right.size();
    std::vector<std::size_t> before(width + 1, most + 1);
    std::vector<std::size_t> last(width + 1, most + 1);
    std::vector<std::size_t> row(width + 1, most + 1);
    for (std::size_t j = 0; j <= std::min(width, most); ++j)
    {
        last[j] = j;
    }
    for (std::size_t i = 1; i <= left.size(); ++i)
    {
        std::fill(row.begin(), row.end(), most + 1);
        row[0] = i;
        std::size_t least = i;
        for (std::size_t j = i > most ? i - most : 1; j <= std::min(width, i + most); ++j)
        {
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (left[i - 1] == right[j - 1] ? 0 : 1)});
            if (i > 1 && j > 1 && left[i - 1] == right[j - 2] && left[i - 2] == right[j - 1])
            {
                row[j] = std::min(row[j], before[j - 2] + 1);
            }
            least = std::min(least, row[j]);
        }
        if (least > most)
        {
            return most + 1;
        }
        std::swap(before, last);
        std::swap(last, row);
    }
    return last[width];
}
} // namespace

std::vector<std::string> NearestNames(std::string_view word, const std::vector<std::string>& names)
{
    constexpr std::size_t MAX_LENGTH = 64;
    constexpr std::size_t MAX_DISTANCE = 3;
    std::vector<std::string> nearest;
    if (word.size() > MAX_LENGTH)
    {
        return nearest;
    }
    const std::string wanted = Comparable(word);
    std::size_t best = MAX_DISTANCE;
    for (const std::string& name : names)
    {
        const std::size_t longer = std::max(word.size(), name.size());
        if (name.size() > MAX_LENGTH || longer - std::min(word.size(), name.size()) > best + 2)
        {
            continue; // too far off for a look, also without a prefix
        }
        const std::string offered = Comparable(name);
        const std::size_t most = std::min(best, (std::max(wanted.size(), offered.size()) + 1) / 3);
        const std::size_t distance = Distance(wanted, offered, most);
        if (distance > most)
        {
            continue;
        }
        if (distance < best)
        {
            nearest.clear();
        }
        best = distance;
        nearest.push_back(name);
    }
    return nearest;
}

std::string NearestName(std::string_view word, const std::vector<std::string>& names)
{
    const std::vector<std::string> nearest = NearestNames(word, names);
    return nearest.empty() ? std::string() : nearest.front();
}

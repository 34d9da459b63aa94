#include <Session/SettingsProblems.h>

#include <fstream>
#include <map>
#include <set>

namespace
{
std::string Trimmed(const std::string& text)
{
    const std::size_t begin = text.find_first_not_of(" \t\r");
    return begin == std::string::npos ? std::string() : text.substr(begin, text.find_last_not_of(" \t\r") - begin + 1);
}

/// The keys that a section may have; null for a section that nobody reads.
const std::set<std::string>* KeysOf(const std::string& section)
{
    static const std::map<std::string, std::set<std::string>> KEYS{
        {"application", {"TestScriptLabel"}},
        {"runtime", {"LockFileName"}},
        {"filters", {"current"}},
        {"filter:", {"categories", "hideUnfiltered", "unrestricted"}},
    };
    const auto found = KEYS.find(section.starts_with("filter:") ? "filter:" : section);
    return found == KEYS.end() ? nullptr : &found->second;
}
} // namespace

std::vector<SProblem> FindSettingsProblems(const std::string& path)
{
    std::vector<SProblem> problems;
    std::ifstream file(path);
    std::string section;
    std::uint64_t number = 0;
    for (std::string line; std::getline(file, line);)
    {
        const std::string text = Trimmed(line);
        const auto warn = [&](const std::string& message) {
            problems.push_back({number, line.find_first_not_of(" \t") + 1, ESeverity::Warning, "settings", message});
        };
        ++number;
        const bool hasMark = number == 1 && text.starts_with("\xEF\xBB\xBF");
        const std::string shown = hasMark ? text.substr(3) : text;
        const std::size_t equals = shown.find('=');
        if (shown.empty() || shown.front() == ';' || shown.front() == '#')
        {
            continue;
        }
        if (shown.front() == '[' && shown.back() == ']')
        {
            section = Trimmed(shown.substr(1, shown.size() - 2));
            if (!KeysOf(section))
            {
                warn("there is no section \"" + section + '"');
            }
        }
        else if (equals == std::string::npos)
        {
            warn("this is neither a section nor KEY=VALUE");
        }
        else if (const std::set<std::string>* keys = KeysOf(section);
                 keys && !keys->contains(Trimmed(shown.substr(0, equals))))
        {
            warn("the section \"" + section + "\" has no key \"" + Trimmed(shown.substr(0, equals)) + '"');
        }
        else if (section.empty())
        {
            warn("this key stands in no section");
        }
    }
    return problems;
}

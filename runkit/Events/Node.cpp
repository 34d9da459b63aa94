#include <Events/Node.h>

#include <algorithm>
#include <array>

bool IsGroup(std::string_view element)
{
    return element == "x:Group" || element == "x:InitGroup" || element == "x:ExitGroup";
}

bool IsExecution(std::string_view element)
{
    static constexpr std::array<std::string_view, 5> EXECUTIONS{"x:Function", "x:BooleanPopup", "x:InfoPopup",
                                                                "x:SetPopup", "x:Set"};
    return std::find(EXECUTIONS.begin(), EXECUTIONS.end(), element) != EXECUTIONS.end();
}

bool IsBelow(std::string_view path, std::string_view ancestor)
{
    return ancestor == "/"
        ? path != "/"
        : path.size() > ancestor.size() && path.starts_with(ancestor) && path[ancestor.size()] == '/';
}

std::string ParentPath(std::string_view path)
{
    const std::size_t end = path.rfind('/');
    return path == "/" || end == std::string_view::npos ? "" : end == 0 ? "/" : std::string(path.substr(0, end));
}

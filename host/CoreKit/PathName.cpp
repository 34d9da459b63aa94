#include <CoreKit/PathName.h>

std::string_view LastComponent(std::string_view path)
{
    return path.substr(path.find_last_of("/\\") + 1);
}

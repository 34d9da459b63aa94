#include "StartFolder.h"

#include <filesystem>
#include <system_error>

namespace
{
std::filesystem::path g_StartFolder;
} // namespace

void RememberStartFolder()
{
    std::error_code ignored; // without a folder to start in, only absolute paths lead anywhere
    g_StartFolder = std::filesystem::current_path(ignored);
}

std::string FromStart(const std::string& path)
{
    const std::filesystem::path absolute = g_StartFolder / path;
    // Behind a link, the folder above is another one than the text says.
    const bool isPlain = path.find("..") == std::string::npos;
    return (isPlain ? absolute.lexically_normal() : absolute).string();
}

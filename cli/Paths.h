#pragma once

#include <filesystem>
#include <string>

namespace HardwareInventory
{
// Texts of the program are UTF-8 on every platform; where names of files are plain bytes, they are these bytes.
inline std::filesystem::path pathOf(const std::string& text)
{
    return std::u8string(text.begin(), text.end());
}

inline std::string utf8(const std::filesystem::path& path)
{
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}
}

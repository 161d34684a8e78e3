#include "cli/report/Assets.h"

#include "st-core/lib/Hash.h"

namespace HardwareInventory
{
namespace
{
// With line feeds alone: a browser drops the carriage returns of a checkout under Windows before it computes the hash.
std::string textOf(const EmbeddedFile& file)
{
    std::string text(file.bytes, file.bytes + file.size);
    std::erase(text, '\r');
    return text;
}

std::string base64(std::string_view bytes)
{
    constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t index = 0; index < bytes.size(); index += 3)
    {
        const std::string_view group = bytes.substr(index, 3);
        unsigned bits = 0;
        for (std::size_t byte = 0; byte < 3; ++byte)
            bits = bits << 8 | (byte < group.size() ? static_cast<unsigned char>(group[byte]) : 0u);
        for (std::size_t digit = 0; digit < 4; ++digit)
            text += digit <= group.size() ? kDigits[bits >> (18 - 6 * digit) & 0x3F] : '=';
    }
    return text;
}
}

std::string reportStyle()
{
    return textOf(kReportFiles[0]);
}

std::string reportScript()
{
    return textOf(kReportFiles[1]);
}

std::string policySource(std::string_view text)
{
    return "'sha256-" + base64(ZelStdCore::sha256(text)) + "'";
}
}

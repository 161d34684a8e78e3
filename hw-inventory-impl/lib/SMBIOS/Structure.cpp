#include "hw-inventory-impl/lib/SMBIOS/Structure.h"

#include "st-core/lib/HostLogger.h"
#include "st-core/lib/Utf8.h"

#include <exception>

namespace HardwareInventory::SMBIOS
{
namespace
{
std::wstring convert(std::string_view text)
{
    try
    {
        return ZelStdCore::widen(text);
    }
    catch (const std::exception& error)
    {
        ZelStdCore::logWarning(L"string conversion failed: %1%", error.what());
        return {};
    }
}
}

std::vector<std::wstring> strings(const Struct& structure)
{
    const auto texts = structure.strings(ZelStdCore::CutString::keep);
    std::vector<std::wstring> strings(1);
    strings.reserve(1 + texts.size());
    for (const std::string_view text : texts)
        strings.push_back(convert(text));
    return strings;
}
}

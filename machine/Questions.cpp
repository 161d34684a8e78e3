#include "machine/Questions.h"

#include "st-core/lib/Utf8.h"

#include <cstdio>

namespace HardwareInventory::Questions
{
namespace
{
using ZelStdCore::toUtf8;

// Providers of firmware tables are named by four letters.
std::string lettersOf(std::uint32_t provider)
{
    std::string letters;
    for (const int shift : {24, 16, 8, 0})
        letters += static_cast<char>(provider >> shift & 0x7F);
    return letters;
}
}

std::string registry(const std::wstring& keyPath, const std::wstring& valueName)
{
    return "registry " + toUtf8(keyPath + L"\\" + valueName);
}

std::string locale(std::uint32_t locale, Platform::LocalePart part)
{
    return "locale " + std::to_string(locale) + (part == Platform::LocalePart::language ? " language" : " country");
}

std::string trim(const std::wstring& drivePath)
{
    return "trim " + toUtf8(drivePath);
}

std::string device(const std::wstring& instanceId)
{
    return "device " + toUtf8(instanceId);
}

std::string firmwareTables(std::uint32_t provider)
{
    return "firmware tables " + lettersOf(provider);
}

std::string firmwareTable(std::uint32_t provider, std::uint32_t table)
{
    return "firmware table " + lettersOf(provider) + " " + std::to_string(table);
}

std::string module(const std::wstring& name)
{
    return "module " + toUtf8(name);
}

std::string function(const std::wstring& moduleName, const std::string& name)
{
    return "function " + toUtf8(moduleName) + " " + name;
}

std::string isVirtual(std::int32_t type)
{
    return "vm virtual " + std::to_string(type);
}

std::string cpuid(std::uint32_t leaf)
{
    char text[32];
    std::snprintf(text, sizeof text, "cpuid %x", static_cast<unsigned>(leaf));
    return text;
}

std::string message(std::uint32_t code)
{
    return "message " + std::to_string(code);
}
}

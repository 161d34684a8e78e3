#include "hw-inventory-impl/lib/Providers/PnpDeviceId.h"

#include "hw-inventory-impl/lib/PCI/PciIdDatabase.h"
#include "hw-inventory-impl/lib/Platform/Platform.h"
#include "st-core/lib/Format.h"
#include "st-core/lib/Hexadecimal.h"
#include "st-core/lib/HostLogger.h"
#include "st-core/lib/Text.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace HardwareInventory::Providers::WMIProvider
{
namespace
{
using Platform::DeviceSetupStep;
using DeviceSetupFailure = Platform::Failure<DeviceSetupStep>;

constexpr std::size_t kSubsystemLength = 8;
constexpr std::size_t kIdentifierLength = 4;

std::wstring_view valueOf(const PnpIdParts& parts, const wchar_t* key)
{
    const auto part = parts.find(key);
    return part == parts.end() ? std::wstring_view() : part->second;
}

std::optional<std::uint16_t> parseIdentifier(std::wstring_view text)
{
    const auto parsed = ZelStdCore::parseHexadecimal(text);
    if (parsed.error != ZelStdCore::HexadecimalError::none || parsed.value > UINT16_MAX)
        return std::nullopt;
    return static_cast<std::uint16_t>(parsed.value);
}

std::wstring trimmed(const std::wstring& name)
{
    return std::wstring(ZelStdCore::trim(name, L"\n\r\t ."));
}

void parseToken(std::wstring_view token, PnpIdParts& parts)
{
    const auto pieces = ZelStdCore::split(token, L"_");
    if (pieces.size() != 2)
        return ZelStdCore::logWarning(L"ill-formed ID in PNPDeviceID: %1%", token);
    parts[std::wstring(pieces[0])] = pieces[1];
}

void warnOfDeviceSetup(const DeviceSetupFailure& failure, const std::wstring& pnpDeviceId)
{
    switch (failure.step)
    {
    case DeviceSetupStep::deviceSet:
        return ZelStdCore::logWarning(L"failed to get handle to a device information set from device PNP id '%s'", pnpDeviceId);
    case DeviceSetupStep::element:
        return ZelStdCore::logWarning(L"failed to get device information element from the device information set: '%d'",
                                      failure.code);
    case DeviceSetupStep::busNumber:
        return ZelStdCore::logWarning(L"failed to get bus number device property: '%d'", failure.code);
    case DeviceSetupStep::address:
        return ZelStdCore::logWarning(L"failed to get device's address device property: '%d'", failure.code);
    }
}
}

PnpIdParts parsePnpDeviceId(const std::wstring& text)
{
    const auto components = ZelStdCore::split(text, L"\\");
    PnpIdParts parts;
    parts[L"BUS"] = components[0];
    if (components.size() > 1)
    {
        for (const std::wstring_view token : ZelStdCore::split(components[1], L"&"))
            parseToken(token, parts);
    }
    if (components.size() > 2)
        parts[L"UID"] = components[2];
    return parts;
}

void fillFromPnpDeviceId(DeviceInfo& device, const std::wstring& pnpDeviceId)
{
    const PnpIdParts parts = parsePnpDeviceId(pnpDeviceId);
    const std::wstring_view bus = valueOf(parts, L"BUS");
    if (bus != L"PCI")
        return ZelStdCore::logWarning(L"%s is not a supported BUS to extract device info", bus);

    const auto vendor = parseIdentifier(valueOf(parts, L"VEN"));
    if (!vendor)
        return ZelStdCore::logWarning(L"failed to parse vendor from device PNP id '%s'", pnpDeviceId);
    const PciIdDatabase& names = PciIdDatabase::instance();
    device.manufacturer = trimmed(names.vendorName(*vendor));

    const auto model = parseIdentifier(valueOf(parts, L"DEV"));
    if (!model)
        return ZelStdCore::logWarning(L"failed to parse model from device PNP id '%s'", pnpDeviceId);
    device.model = trimmed(names.modelName(*vendor, *model));
    device.deviceID = ZelStdCore::format(L"%04X:%04X", *vendor, *model);

    const std::wstring_view subsystem = valueOf(parts, L"SUBSYS");
    if (subsystem.size() != kSubsystemLength)
        return ZelStdCore::logWarning(L"failed to parse device subsystem information from device PNP id '%s'", pnpDeviceId);

    // Windows puts the subsystem's device before its vendor. The documents have always had the names of a lookup that takes the
    // first half for the vendor, so that order stays.
    const auto subsystemVendor = parseIdentifier(subsystem.substr(0, kIdentifierLength));
    if (!subsystemVendor)
        return ZelStdCore::logWarning(L"failed to parse device subsystem vendor from device PNP id '%s'", pnpDeviceId);
    const auto subsystemDevice = parseIdentifier(subsystem.substr(kIdentifierLength));
    if (!subsystemDevice)
        return ZelStdCore::logWarning(L"failed to parse device subsystem id from device PNP id '%s'", pnpDeviceId);
    device.model = trimmed(names.subsystemModelName(*vendor, *model, *subsystemVendor, *subsystemDevice));
}

void fillPciAddress(DeviceInfo& device, const std::wstring& pnpDeviceId)
{
    // The empty identifier names no device, but SetupAPI may take it for any.
    if (pnpDeviceId.empty())
        return warnOfDeviceSetup({DeviceSetupStep::deviceSet, 0}, pnpDeviceId);
    const auto location = Platform::deviceLocation(pnpDeviceId);
    if (!location)
        return warnOfDeviceSetup(location.error(), pnpDeviceId);

    // The vendor libraries' addresses, which are compared with this one, have one digit for the function, hence four bits.
    const auto [busNumber, address] = location.value();
    device.pciAddress =
        ZelStdCore::format(L"%04x:%02x:%02x.%01x", busNumber >> 8 & 0xFFFF, busNumber & 0xFF, address >> 16 & 0xFF, address & 0xF);
}
}

#include "hw-inventory-interface/ErrorHandling/Exception.h"

#include <array>
#include <utility>

namespace HardwareInventory::ErrorHandling
{
namespace
{
// By error code.
constexpr auto kErrorTexts = std::to_array<const wchar_t*>({
    L"failed to initialize COM library to WMI",
    L"failed to initialize WMI security",
    L"failed to create WMI locator",
    L"failed to bind to WMI",
    L"failed to set security blanket to WMI",
    L"failed to execute WMI query",
    L"failed to open file",
    L"bad SMBIOS magic",
    L"bad SMBIOS checksum",
    L"no SMBIOS parser available",
    L"failed to establish UDev connection",
    L"failed to create UDev enumeration",
    L"failed to match UDev devices to subsystem",
    L"failed to scan devices using UDev",
    L"failed to get device from UDev enumeration",
    L"failed to bind to disk",
    L"I/O control operation over disk has failed",
    L"failed to access macOS SMBIOS service",
    L"failed to access macOS I/O registry parameters",
    L"failed to access macOS SMBIOS address",
});
static_assert(kErrorTexts.size() == static_cast<std::size_t>(ErrorCode::macSmbiosAddress) + 1);
}

std::wstring errorText(ErrorCode code)
{
    const auto index = static_cast<std::uint64_t>(code);
    return index < kErrorTexts.size() ? kErrorTexts[index] : L"unknown hardware inventory error";
}

Exception::Exception(ErrorCode code, std::wstring message, std::wstring file, std::wstring function, std::int32_t line)
    : RuntimeException(std::move(message), std::move(file), std::move(function), line), code_(code)
{
}
}

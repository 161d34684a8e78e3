#pragma once

#include "st-core/lib/RuntimeException.h"

#include <cstdint>
#include <string>

namespace HardwareInventory::ErrorHandling
{
// The library's error codes. Those of Linux and macOS keep their numbers, though no collector here raises them.
enum class ErrorCode : std::uint64_t
{
    comInitialization,
    wmiSecurity,
    wmiLocator,
    wmiBind,
    wmiSecurityBlanket,
    wmiQuery,
    openFile,
    smbiosMagic,
    smbiosChecksum,
    noSmbiosParser,
    udevConnection,
    udevEnumeration,
    udevSubsystemMatch,
    udevScan,
    udevDevice,
    diskBind,
    diskControl,
    macSmbiosService,
    macRegistryParameters,
    macSmbiosAddress
};

// The fixed text of a code; "unknown hardware inventory error" for a value outside the enumeration.
std::wstring errorText(ErrorCode code);

// A failed access to a source of the inventory, with the stack of the thrower.
class Exception : public ZelStdCore::RuntimeException
{
public:
    ST_CORE_OWN_FRAME
    Exception(ErrorCode code, std::wstring message, std::wstring file, std::wstring function, std::int32_t line);

    ErrorCode code() const { return code_; }

private:
    ErrorCode code_;
};
}

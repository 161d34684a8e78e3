#pragma once

#include "hw-inventory-impl/lib/Platform/Platform.h"

#include <cstdint>
#include <string>

// The texts of the questions, which a recording's answers are kept by.
namespace HardwareInventory::Questions
{
constexpr std::uint32_t kSmbiosProvider = 0x52534D42; // 'RSMB'

inline const std::string kConnect = "connect ";
inline const std::string kConnectOptional = "connect optional ";
inline const std::string kDomainController = "domain controller";
inline const std::string kPhysicalMemory = "physical memory";
inline const std::string kVmType = "vm type";
inline const std::string kBiosVersions = "bios versions";

std::string registry(const std::wstring& keyPath, const std::wstring& valueName);
std::string locale(std::uint32_t locale, Platform::LocalePart part);
std::string trim(const std::wstring& drivePath);
std::string device(const std::wstring& instanceId);
std::string firmwareTables(std::uint32_t provider);
std::string firmwareTable(std::uint32_t provider, std::uint32_t table);
std::string module(const std::wstring& name);
std::string function(const std::wstring& moduleName, const std::string& name);
std::string isVirtual(std::int32_t type);
std::string cpuid(std::uint32_t leaf);
std::string message(std::uint32_t code);
}

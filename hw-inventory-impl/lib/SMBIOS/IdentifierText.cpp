#include "hw-inventory-impl/lib/SMBIOS/IdentifierText.h"

#include "hw-inventory-impl/lib/PCI/PciIdDatabase.h"
#include "st-core/lib/Hexadecimal.h"

#include <stdexcept>

namespace HardwareInventory::SMBIOS
{
namespace
{
// A lone "0x" is one, too: the number 0.
bool isIdentifier(const std::wstring& text)
{
    return text.starts_with(L"0x") && text.find_first_not_of(L"0123456789abcdefABCDEF", 2) == std::wstring::npos;
}

std::uint16_t identifierOf(const std::wstring& text)
{
    const auto number = ZelStdCore::parseHexadecimal(text);
    switch (number.error)
    {
    case ZelStdCore::HexadecimalError::noDigits:
        throw std::invalid_argument("invalid stoul argument");
    case ZelStdCore::HexadecimalError::outOfRange:
        throw std::out_of_range("stoul argument out of range");
    case ZelStdCore::HexadecimalError::none:
        break;
    }
    return static_cast<std::uint16_t>(number.value);
}
}

std::wstring vendorText(const std::wstring& vendor)
{
    return isIdentifier(vendor) ? PciIdDatabase::instance().vendorName(identifierOf(vendor)) : vendor;
}

std::wstring modelText(const std::wstring& vendor, const std::wstring& product)
{
    if (!isIdentifier(vendor) || !isIdentifier(product))
        return product;
    const std::uint16_t vendorId = identifierOf(vendor);
    return PciIdDatabase::instance().modelName(vendorId, identifierOf(product));
}
}

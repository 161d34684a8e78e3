#include "hw-inventory-impl/lib/PCI/PciIdListParser.h"

#include "hw-inventory-impl/lib/PCI/ListLines.h"
#include "st-core/lib/Hexadecimal.h"
#include "st-core/lib/HostLogger.h"

#include <algorithm>
#include <array>
#include <limits>

using ZelStdCore::HexadecimalError;
using ZelStdCore::logWarning;

namespace HardwareInventory
{
namespace
{
constexpr std::string_view fieldSeparator = "  ";

struct IdWarnings
{
    const wchar_t* illegal;
    const wchar_t* outOfRange;
};

constexpr IdWarnings vendorWarnings{L"'%1%' (line %2%) contains illegal value of vendor id: %3%",
                                    L"'%1%' (line %2%) contains out of bound value of vendor id: %3%"};
constexpr IdWarnings modelWarnings{L"'%1%' (line %2%) contains illegal value of model id: %3%",
                                   L"'%1%' (line %2%) contains out of range value of model id: %3%"};
constexpr IdWarnings subsystemVendorWarnings{L"'%1%' (line %2%) contains illegal value of subsystem vendor: '%3%'",
                                             L"'%1%' (line %2%) contains out of range value of subsystem vendor: '%3%'"};
constexpr IdWarnings subsystemWarnings{L"'%1%' (line %2%) contains illegal value of subsystem id: '%3%'",
                                       L"'%1%' (line %2%) contains out of range value of subsystem id: '%3%'"};

// What is left of a line when the tabs that tell its kind are gone.
struct Entry
{
    std::string_view text;
    const char* separator; // between identifier and name; null in an entry of another form

    std::string_view idText() const { return {text.data(), static_cast<std::size_t>(separator - text.data())}; }
    const char* name() const { return separator + fieldSeparator.size(); }
};

constexpr unsigned noDigit = 0x10;

constexpr std::array<unsigned char, 256> digitValues = []
{
    std::array<unsigned char, 256> values{};
    values.fill(noDigit);
    for (unsigned digit = 0; digit < 16; ++digit)
        values["0123456789abcdef"[digit]] = values["0123456789ABCDEF"[digit]] = static_cast<unsigned char>(digit);
    return values;
}();

// The form that nearly all identifiers have, read without a branch for each digit: every other one would be guessed wrong.
bool readFourDigits(std::string_view text, std::uint16_t& id)
{
    if (text.size() != 4)
        return false;
    unsigned value = 0;
    unsigned seen = 0;
    for (const char character : text)
    {
        const unsigned digit = digitValues[static_cast<unsigned char>(character)];
        value = value << 4 | digit;
        seen |= digit;
    }
    if (seen >= noDigit)
        return false;
    id = static_cast<std::uint16_t>(value);
    return true;
}

// Cuts the text at its only blank; false when it has none or several.
bool splitIds(std::string_view text, std::string_view& first, std::string_view& second)
{
    const auto blank = std::ranges::find(text, ' ');
    if (blank == text.end())
        return false;
    first = {text.begin(), blank};
    second = {blank + 1, text.end()};
    return std::ranges::find(second, ' ') == second.end();
}

class Parser
{
public:
    explicit Parser(PciIdTables& tables) : tables_(tables) {}

    // False when the line ends the list.
    bool readLine(std::string_view line, const char* separator)
    {
        if (line.starts_with('\0'))
            return false;
        ++lineNumber_;
        if (line.empty() || line.front() == '#')
            return true;
        if (line.front() != '\t')
            readVendor({line, separator});
        else if (!line.starts_with("\t\t"))
            readDevice({line.substr(1), separator});
        else
            readSubsystem({line.substr(2), separator});
        return true;
    }

private:
    void readVendor(const Entry& entry)
    {
        if (!entry.separator)
            return;
        hasVendor_ = readId(entry, entry.idText(), vendorWarnings, vendor_);
        if (hasVendor_)
            tables_.vendors.append(vendor_, entry.name());
        else
            hasDevice_ = false;
    }

    void readDevice(const Entry& entry)
    {
        if (!hasVendor_)
            return logWarning(L"ambigous device information at line %1%: %2%", lineNumber_, entry.text);
        if (!entry.separator)
            return;
        hasDevice_ = readId(entry, entry.idText(), modelWarnings, device_);
        if (hasDevice_)
            tables_.models.append(joinPciIds(vendor_, device_), entry.name());
    }

    // A device counts as current until the next device line, under another vendor too.
    void readSubsystem(const Entry& entry)
    {
        if (!hasDevice_)
            return logWarning(L"ambigous device subsystem information at line %1%: %2%", lineNumber_, entry.text);
        std::string_view vendorText, deviceText;
        if (!entry.separator || !splitIds(entry.idText(), vendorText, deviceText))
            return;
        std::uint16_t vendor = 0;
        std::uint16_t device = 0;
        if (!readId(entry, vendorText, subsystemVendorWarnings, vendor))
            return;
        if (readId(entry, deviceText, subsystemWarnings, device))
            tables_.subsystems.append(joinPciIds(vendor_, device_, vendor, device), entry.name());
    }

    bool readId(const Entry& entry, std::string_view text, const IdWarnings& warnings, std::uint16_t& id) const
    {
        if (readFourDigits(text, id))
            return true;
        const auto number = ZelStdCore::parseHexadecimal(text);
        if (number.error == HexadecimalError::none && number.value <= std::numeric_limits<std::uint16_t>::max())
        {
            id = static_cast<std::uint16_t>(number.value);
            return true;
        }
        const bool illegal = number.error == HexadecimalError::noDigits;
        logWarning(illegal ? warnings.illegal : warnings.outOfRange, entry.text, lineNumber_, text);
        return false;
    }

    PciIdTables& tables_;
    std::size_t lineNumber_ = 0;
    bool hasVendor_ = false;
    bool hasDevice_ = false;
    std::uint16_t vendor_ = 0;
    std::uint16_t device_ = 0;
};
}

void parsePciIdList(std::string_view text, PciIdTables& tables)
{
    // The real list has a vendor for every 580 bytes, a device for every 79 and a subsystem for every 90.
    tables.vendors.reserve(text.size() / 512);
    tables.models.reserve(text.size() / 64);
    tables.subsystems.reserve(text.size() / 64);

    // The list is 8-bit text that a byte 0xFF ends wherever it stands.
    Parser parser(tables);
    const ListLines lines(text.substr(0, text.find('\xFF')));
    lines.forEach([&parser](std::string_view line, const char* separator) { return parser.readLine(line, separator); });
    tables.vendors.arrange();
    tables.models.arrange();
    tables.subsystems.arrange();
}
}

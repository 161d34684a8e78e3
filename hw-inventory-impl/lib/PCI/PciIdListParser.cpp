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
constexpr std::string_view kFieldSeparator = "  ";

struct IdWarnings
{
    const wchar_t* illegal;
    const wchar_t* outOfRange;
};

constexpr IdWarnings kVendorWarnings{L"'%1%' (line %2%) contains illegal value of vendor id: %3%",
                                     L"'%1%' (line %2%) contains out of bound value of vendor id: %3%"};
constexpr IdWarnings kModelWarnings{L"'%1%' (line %2%) contains illegal value of model id: %3%",
                                    L"'%1%' (line %2%) contains out of range value of model id: %3%"};
constexpr IdWarnings kSubsystemVendorWarnings{L"'%1%' (line %2%) contains illegal value of subsystem vendor: '%3%'",
                                              L"'%1%' (line %2%) contains out of range value of subsystem vendor: '%3%'"};
constexpr IdWarnings kSubsystemWarnings{L"'%1%' (line %2%) contains illegal value of subsystem id: '%3%'",
                                        L"'%1%' (line %2%) contains out of range value of subsystem id: '%3%'"};

// A line without its leading tabs.
struct Entry
{
    std::string_view text;
    const char* separator; // between identifier and name; null if the line has another form

    std::string_view idText() const { return {text.data(), static_cast<std::size_t>(separator - text.data())}; }
    const char* name() const { return separator + kFieldSeparator.size(); }
};

constexpr unsigned kNoDigit = 0x10;

constexpr std::array<unsigned char, 256> kDigitValues = []
{
    std::array<unsigned char, 256> values{};
    values.fill(kNoDigit);
    for (unsigned digit = 0; digit < 16; ++digit)
        values["0123456789abcdef"[digit]] = values["0123456789ABCDEF"[digit]] = static_cast<unsigned char>(digit);
    return values;
}();

// Reads the form of nearly all identifiers without a branch for each digit: half of the branches would be mispredicted.
bool readFourDigits(std::string_view text, std::uint16_t& id)
{
    if (text.size() != 4)
        return false;
    unsigned value = 0;
    unsigned seen = 0;
    for (const char character : text)
    {
        const unsigned digit = kDigitValues[static_cast<unsigned char>(character)];
        value = value << 4 | digit;
        seen |= digit;
    }
    if (seen >= kNoDigit)
        return false;
    id = static_cast<std::uint16_t>(value);
    return true;
}

// Cuts the text at its only space; false if it has none or several.
bool splitIds(std::string_view text, std::string_view& first, std::string_view& second)
{
    const auto space = std::ranges::find(text, ' ');
    if (space == text.end())
        return false;
    first = {text.begin(), space};
    second = {space + 1, text.end()};
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
        hasVendor_ = readId(entry, entry.idText(), kVendorWarnings, vendor_);
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
        hasDevice_ = readId(entry, entry.idText(), kModelWarnings, device_);
        if (hasDevice_)
            tables_.models.append(joinPciIds(vendor_, device_), entry.name());
    }

    // A device stays current until the next device line, even under another vendor.
    void readSubsystem(const Entry& entry)
    {
        if (!hasDevice_)
            return logWarning(L"ambigous device subsystem information at line %1%: %2%", lineNumber_, entry.text);
        std::string_view vendorText, deviceText;
        if (!entry.separator || !splitIds(entry.idText(), vendorText, deviceText))
            return;
        std::uint16_t vendor = 0;
        std::uint16_t device = 0;
        if (!readId(entry, vendorText, kSubsystemVendorWarnings, vendor))
            return;
        if (readId(entry, deviceText, kSubsystemWarnings, device))
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

    // A byte 0xFF ends the list wherever it stands.
    Parser parser(tables);
    const ListLines lines(text.substr(0, text.find('\xFF')));
    lines.forEach([&parser](std::string_view line, const char* separator) { return parser.readLine(line, separator); });
    tables.vendors.sort();
    tables.models.sort();
    tables.subsystems.sort();
}
}

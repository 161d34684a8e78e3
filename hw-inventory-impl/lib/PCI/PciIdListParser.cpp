#include "hw-inventory-impl/lib/PCI/PciIdListParser.h"

#include "st-core/lib/HostLogger.h"
#include "st-core/lib/Text.h"

#include <limits>

using ZelStdCore::HexadecimalError;
using ZelStdCore::logWarning;

namespace HardwareInventory
{
namespace
{
    constexpr std::string_view fieldSeparator = "  ";
    constexpr std::string_view idSeparator = " ";

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

    // Cuts the text at its only separator; false when it has none or several.
    bool splitInTwo(std::string_view text, std::string_view separator, std::string_view& first, std::string_view& second)
    {
        const auto end = text.find(separator);
        if (end == std::string_view::npos)
            return false;
        first = text.substr(0, end);
        second = text.substr(end + separator.size());
        return second.find(separator) == std::string_view::npos;
    }

    class Parser
    {
    public:
        explicit Parser(PciIdTables& tables) : tables_(tables) {}

        void readLine(std::string_view line)
        {
            ++lineNumber_;
            if (line.empty() || line.front() == '#')
                return;
            if (line.starts_with("\t\t"))
                readSubsystem(line.substr(2));
            else if (line.front() == '\t')
                readDevice(line.substr(1));
            else
                readVendor(line);
        }

    private:
        void readVendor(std::string_view line)
        {
            std::string_view idText, name;
            if (!splitInTwo(line, fieldSeparator, idText, name))
                return;
            hasVendor_ = readId(line, idText, vendorWarnings, vendor_);
            if (hasVendor_)
                tables_.vendors.append(vendor_, name);
            else
                hasDevice_ = false;
        }

        void readDevice(std::string_view line)
        {
            if (!hasVendor_)
                return logWarning(L"ambigous device information at line %1%: %2%", lineNumber_, line);
            std::string_view idText, name;
            if (!splitInTwo(line, fieldSeparator, idText, name))
                return;
            hasDevice_ = readId(line, idText, modelWarnings, device_);
            if (hasDevice_)
                tables_.models.append(joinPciIds(vendor_, device_), name);
        }

        // A device counts as current until the next device line, under another vendor too.
        void readSubsystem(std::string_view line)
        {
            if (!hasDevice_)
                return logWarning(L"ambigous device subsystem information at line %1%: %2%", lineNumber_, line);
            std::string_view idTexts, name, vendorText, deviceText;
            if (!splitInTwo(line, fieldSeparator, idTexts, name) || !splitInTwo(idTexts, idSeparator, vendorText, deviceText))
                return;
            std::uint16_t vendor = 0;
            std::uint16_t device = 0;
            if (readId(line, vendorText, subsystemVendorWarnings, vendor) && readId(line, deviceText, subsystemWarnings, device))
                tables_.subsystems.append(joinPciIds(vendor_, device_, vendor, device), name);
        }

        bool readId(std::string_view line, std::string_view text, const IdWarnings& warnings, std::uint16_t& id) const
        {
            const auto number = ZelStdCore::parseHexadecimal(text);
            if (number.error == HexadecimalError::none && number.value <= std::numeric_limits<std::uint16_t>::max())
            {
                id = static_cast<std::uint16_t>(number.value);
                return true;
            }
            const bool illegal = number.error == HexadecimalError::noDigits;
            logWarning(illegal ? warnings.illegal : warnings.outOfRange, line, lineNumber_, text);
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
    // The list is 8-bit text that a byte 0xFF ends wherever it stands, and a NUL byte at the beginning of a line.
    text = text.substr(0, text.find('\xFF'));
    Parser parser(tables);
    while (!text.empty() && text.front() != '\0')
    {
        const auto end = text.find('\n');
        if (end == std::string_view::npos)
            break; // a line without its line end is not complete
        parser.readLine(text.substr(0, end));
        text.remove_prefix(end + 1);
    }
    tables.vendors.arrange();
    tables.models.arrange();
    tables.subsystems.arrange();
}
}

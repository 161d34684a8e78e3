#pragma once

#include <array>
#include <string_view>

namespace HardwareInventory
{
// A text that stands for a value that nobody has filled in, and who writes it. A '#' is a number.
struct Placeholder
{
    std::string_view text;
    std::string_view source;
};

inline constexpr auto kPlaceholders = std::to_array<Placeholder>({
    // Templates of firmware
    {"To Be Filled By O.E.M.", "AMI's firmware template"},
    {"To Be Filled By O.E.M", "the same, without its last dot"},
    {"To Be Filled By O.E.M. By More String", "AMI's firmware template"},
    {"Default string", "AMI's firmware template, Aptio V"},
    {"Fill By OEM", "AMI's firmware template"},
    {"03000200-0400-0500-0006-000700080009", "AMI's firmware template, UUID"},
    {"00020003-0004-0005-0006-000700080009", "the same, in the other byte order"},
    {"SerNum#", "AMI's firmware template, memory"},
    {"AssetTagNum#", "AMI's firmware template, memory"},
    {"PartNum#", "AMI's firmware template, memory"},
    {"ModulePartNumber#", "AMI's firmware template, memory"},
    {"Manufacturer#", "AMI's firmware template, memory"},
    {"A#_SerNum#", "AMI's firmware template, memory by channel"},
    {"A#_AssetTagNum#", "AMI's firmware template, memory by channel"},
    {"A#_PartNum#", "AMI's firmware template, memory by channel"},
    {"A#_Manufacturer#", "AMI's firmware template, memory by channel"},
    {"ATN12345678901234567", "AMI's firmware template, asset tag"},
    {"BSN12345678901234567", "AMI's firmware template, serial number of the board"},
    {"Dimm#_AssetTag", "server firmware, memory"},
    {"Type2 - Board Serial Number", "Insyde's firmware template"},
    {"Type2 - Board Asset Tag", "Insyde's firmware template"},
    {"Type2 - Board Vendor Name1", "Insyde's firmware template"},
    {"Type2 - Board Product Name1", "Insyde's firmware template"},
    // Manufacturers of boards
    {"System Serial Number", "boards of ASUS and others"},
    {"System Product Name", "boards of ASUS and others"},
    {"System manufacturer", "boards of ASUS and others"},
    {"System Version", "boards of ASUS and others"},
    {"System Name", "older boards of ASUS"},
    {"MB-1234567890", "boards of ASUS"},
    {"Asset-1234567890", "boards of ASUS"},
    {"Chassis Serial Number", "boards of ASUS and others"},
    {"Chassis Manufacture", "boards of ASUS, so spelt"},
    {"Chassis Manufacturer", "boards of several vendors"},
    {"Chassis Version", "boards of ASUS and others"},
    {"Base Board Serial Number", "boards of Intel and others"},
    {"Base Board Asset Tag", "boards of Intel and others"},
    {"No Asset Tag", "portable computers of several vendors"},
    {"No Asset Information", "portable computers of Lenovo"},
    {"x.x", "boards of Gigabyte, version"},
    // Numbers that were typed to fill a field
    {"123456789", "counted up"},
    {"1234567890", "counted up"},
    {"12345678", "counted up"},
    {"0123456789", "counted up"},
    {"9876543210", "counted down, firmware of memory"},
    {"0123456789ABCDEF", "counted up"},
    {"123456789ABCDEF", "counted up"},
    // Words
    {"Not Specified", "dmidecode's and WMI's word for the string 0 of SMBIOS"},
    {"Not Present", "dmidecode's word for a UUID of ones"},
    {"Not Settable", "dmidecode's word for a UUID of zeros"},
    {"<BAD INDEX>", "dmidecode's word for a string that the table lacks"},
    {"Unknown", "DMTF's word in the lists of SMBIOS and CIM"},
    {"Undefined", "firmware, manufacturer of memory"},
    {"Unspecified", "firmware"},
    {"None", "DMTF's word in the lists of SMBIOS and CIM"},
    {"Null", "firmware"},
    {"(null)", "a C program that printed a null pointer"},
    {"N/A", "firmware"},
    {"Not Available", "firmware"},
    {"Not Applicable", "firmware"},
    {"Not Provided", "firmware"},
    {"Not Defined", "firmware"},
    {"Invalid", "firmware"},
    {"Empty", "firmware, memory"},
    {"[Empty]", "firmware, memory"},
    {"NO DIMM", "firmware, memory"},
    {"SerialNumber", "firmware, memory: the name of the field"},
    {"O.E.M.", "firmware"},
    {"OEM", "firmware"},
});

// Keys of numbers. Elsewhere zeros are a value: a slot, a PCI address.
inline constexpr auto kNumberKeys = std::to_array<std::string_view>({"macAddress", "processorID", "productID", "serialNumber"});

// Whether the whole value of a key stands for nothing: white space alone, or a text of the table in upper or lower case with white
// space around it. Of a key of numbers also zeros alone, or at least four times 'F', 'X' or a sign alone; colons, dashes, dots,
// spaces, and a leading "0x" do not count.
bool isPlaceholder(std::string_view key, std::string_view value);
}

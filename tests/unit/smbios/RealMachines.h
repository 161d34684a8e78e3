#pragma once

#include "tests/unit/smbios/SmbiosTest.h"

#include <string>
#include <vector>

namespace smbios_test
{
// A table of a real machine, and the inventory's records of it as dmidecode's output has them. Where the inventory differs by
// intent, the rule for that is applied.
struct RealMachine
{
    std::string name;
    Bytes table;
    bool broken = false;              // has a structure shorter than its own header: dmidecode stops there, the walk does not
    std::vector<std::string> headers; // "handle type length" of every structure
    std::vector<std::wstring> memory;
    std::vector<std::wstring> boards;
    std::vector<std::wstring> processors;
    std::wstring system; // manufacturer|model|serial number
    std::wstring bios;
    std::wstring chassis;
};

// Those in the folder that HW_INVENTORY_CORPUS names; none where there is no such folder.
std::vector<RealMachine> realMachines();

std::string header(unsigned handle, unsigned type, unsigned length);
}

// Any bytes as a PCI ID list, and the pieces that the bytes number as one: the names and warnings of the plain parser.
#include "tests/fuzz/Target.h"
#include "tests/runner/LogCapture.h"
#include "tests/unit/pci/PlainPciIds.h"

namespace
{
const std::string kPieces[] = {"10de",    "8086",        "12345", "C 01",   "zz",       "0",
                               " ",       "  ",          "   ",   "\t",     "\t\t",     "\n",
                               "\n",      "\r\n",        "#",     "name",   "\xC3\xBC", "\xFC",
                               "x  y  z", "1043 8086  ", "\n\t",  "\n\t\t", "\n000",    "1  A\n\t2  b\n\t\t3 4  c\n"};

void check(const std::string& list)
{
    const plain::PciIds expected(list);
    const std::vector<char> exact(list.begin(), list.end()); // nothing readable follows
    const LogCapture log;
    HardwareInventory::PciIdDatabase database;
    database.parse(exact.data(), exact.size());
    require(plain::haveSameNames(database, expected), "the same names");
    LogCapture::Lines warnings;
    for (const std::string& warning : expected.warnings)
        warnings.emplace_back(1, warning);
    require(log.lines() == warnings, "the same warnings, and none of a name that is there");
}
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    check(std::string(data, data + size));
    std::string list;
    for (std::size_t index = 0; index < std::min<std::size_t>(size, 120); ++index)
        list += kPieces[data[index] % std::size(kPieces)];
    check(list + "\n");
    return 0;
}

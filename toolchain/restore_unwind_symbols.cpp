// Gives every COMDAT section of a 64-bit COFF object the section symbol that it lacks:
//   restore_unwind_symbols OBJECT...
// Debian strips the symbols of the unwind tables (.pdata$NAME) from its libstdc++.a. lld drops a COMDAT section without a symbol,
// and an exception that passes a function without unwind data ends the process instead of reaching its handler.
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

namespace
{
constexpr std::uint16_t kMachineAmd64 = 0x8664;
constexpr std::size_t kFileHeader = 20, kSectionHeader = 40, kSymbol = 18;
constexpr std::uint32_t kComdat = 0x1000;
constexpr char kStatic = 3, kSelectAny = 2;

template <class Number>
Number get(const std::string& bytes, std::size_t offset)
{
    Number number{};
    std::memcpy(&number, bytes.substr(offset, sizeof number).data(), sizeof number);
    return number;
}

template <class Number>
void put(std::string& bytes, std::size_t offset, Number number)
{
    std::memcpy(&bytes.at(offset), &number, sizeof number);
}

// A name is eight characters, or an offset into the string table: "/7574" in a section, four zeros and the number in a symbol.
std::string symbolName(const std::string& sectionName)
{
    std::string name = sectionName;
    if (name[0] == '/')
    {
        const auto offset = static_cast<std::uint32_t>(std::stoul(name.substr(1)));
        name.assign(8, '\0');
        put(name, 4, offset);
    }
    return name;
}

std::set<int> sectionsWithSymbol(const std::string& object, std::size_t table, std::uint32_t count)
{
    std::set<int> sections;
    for (std::uint32_t index = 0; index < count;)
    {
        const std::size_t symbol = table + index * kSymbol;
        const auto auxiliaries = get<std::uint8_t>(object, symbol + 17);
        if (object[symbol + 16] == kStatic && auxiliaries > 0 && get<std::uint32_t>(object, symbol + 8) == 0)
            sections.insert(get<std::int16_t>(object, symbol + 12));
        index += 1 + auxiliaries;
    }
    return sections;
}

std::string sectionSymbol(const std::string& object, std::size_t header, int section)
{
    std::string symbol(2 * kSymbol, '\0');
    symbol.replace(0, 8, symbolName(object.substr(header, 8)));
    put(symbol, 12, static_cast<std::int16_t>(section));
    symbol[16] = kStatic;
    symbol[17] = 1;
    put(symbol, kSymbol, get<std::uint32_t>(object, header + 16));
    put(symbol, kSymbol + 4, get<std::uint16_t>(object, header + 32));
    symbol[kSymbol + 14] = kSelectAny;
    return symbol;
}

// The new symbols go behind the old ones, so that no index changes.
void restore(std::string& object)
{
    if (get<std::uint16_t>(object, 0) != kMachineAmd64)
        return;
    const auto sectionCount = get<std::uint16_t>(object, 2);
    const auto table = get<std::uint32_t>(object, 8);
    const auto symbolCount = get<std::uint32_t>(object, 12);
    const std::size_t headers = kFileHeader + get<std::uint16_t>(object, 16);
    const auto known = sectionsWithSymbol(object, table, symbolCount);

    std::string added;
    for (int section = 1; section <= sectionCount; ++section)
    {
        const std::size_t header = headers + (section - 1) * kSectionHeader;
        if ((get<std::uint32_t>(object, header + 36) & kComdat) && !known.contains(section))
            added += sectionSymbol(object, header, section);
    }
    object.insert(table + symbolCount * kSymbol, added);
    put(object, 12, static_cast<std::uint32_t>(symbolCount + added.size() / kSymbol));
}
}

int main(int argc, char** argv)
{
    for (const std::string path : std::vector<std::string>(argv + 1, argv + argc))
    {
        std::ifstream input(path, std::ios::binary);
        std::string object(std::istreambuf_iterator<char>(input), {});
        restore(object);
        if (!std::ofstream(path, std::ios::binary).write(object.data(), static_cast<std::streamsize>(object.size())))
        {
            std::cerr << "cannot write " << path << '\n';
            return 1;
        }
    }
}

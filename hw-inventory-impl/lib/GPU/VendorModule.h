#pragma once

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <span>
#include <string>
#include <type_traits>

// A vendor's library is loaded by name at run time and used through a table of typed function pointers.
//
// One process-wide slot holds the loaded library, and both vendors' loaders write it: it belongs to whichever ran last. Nvidia's
// runs last, so what AMD's group gives back at its end is Nvidia's library or nothing, and AMD's stays loaded until the process
// ends. This sharing is deliberate and kept.
namespace HardwareInventory::VendorModule
{
// The first of the names that can be loaded takes the slot. False, and an empty slot, when there is none.
bool load(std::initializer_list<const wchar_t*> names);

// Looks a function up in the library that the slot holds now. Null when there is none of that name, or no library.
void* procedure(const char* name);

// Frees the library in the slot, if any, and empties the slot.
void unload();

// A function to look up, where its address goes, and the message when there is none.
template <class Functions>
struct Symbol
{
    const char* name;
    const char* missing;
    void (*bind)(Functions& functions, void* address);
};

template <class Functions, auto Member>
void bind(Functions& functions, void* address)
{
    using Function = std::remove_reference_t<decltype(functions.*Member)>;
    functions.*Member = reinterpret_cast<Function>(address);
}

// Looks the functions up in order. The message of the first that is missing, or null.
template <class Functions>
const char* bindAll(Functions& functions, std::span<const Symbol<Functions>> symbols)
{
    for (const Symbol<Functions>& symbol : symbols)
    {
        void* const address = procedure(symbol.name);
        if (!address)
            return symbol.missing;
        symbol.bind(functions, address);
    }
    return nullptr;
}

// The text of a library's fixed field, which may fill the field without a terminator.
template <std::size_t Size>
std::string boundedText(const char (&field)[Size])
{
    return std::string(field, std::find(field, field + Size, '\0'));
}
}

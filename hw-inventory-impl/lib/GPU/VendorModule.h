#pragma once

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <string>

// A vendor's library is loaded by name at runtime and used through a table of typed function pointers.
//
// One process-wide slot holds the loaded library, and both vendors' loaders write it: it belongs to whichever ran last. Nvidia's
// runs last, so AMD's group frees Nvidia's library at its end or nothing, and AMD's stays loaded until the process ends. This
// sharing is deliberate and kept.
namespace HardwareInventory::VendorModule
{
// The first of the names that can be loaded takes the slot. False, and an empty slot, when there is none.
bool load(std::initializer_list<const wchar_t*> names);

// The function of that name in the library that the slot holds now. Null if there is none, or no library.
void* procedure(const char* name);

// Frees the library in the slot, if any, and empties the slot.
void unload();

// procedure() under the function's own type. Throws the vendor's exception if there is none.
template <class Failure, class Function>
void resolve(Function*& function, const char* name, const char* message = "ERROR: %s not available!")
{
    function = reinterpret_cast<Function*>(procedure(name));
    if (!function)
        throw Failure(message, name);
}

// The text of a library's fixed field, which may fill the field without a terminator.
template <std::size_t Size>
std::string boundedText(const char (&field)[Size])
{
    return std::string(field, std::find(field, field + Size, '\0'));
}
}

#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>
#include <string_view>

namespace HardwareInventory
{
// A text as a line that can be shown anywhere: without white space at its ends, and with an escape, "\u001B", for each character
// that would command a terminal or turn the direction of what follows.
std::string printable(std::string_view text);

// "466 GiB": three digits, and none behind the point where there is nothing behind it.
std::string shownSize(std::uint64_t bytes);

// A value of a document in the unit that its schema names. What is no value of the schema is shown as JSON.
std::string shownValue(const nlohmann::json& value, const nlohmann::json& schema);

// "500105249280 bytes" for a size, whose shown form is rounded; else empty.
std::string exactValue(const nlohmann::json& value, const nlohmann::json& schema);

// The member of an object, or null: also for what is no object or has no such member.
const nlohmann::json& memberOf(const nlohmann::json& object, std::string_view key);

// A member that is a text, printable; else empty. And one that is a number of bytes; else 0.
std::string textOf(const nlohmann::json& object, std::string_view key);
std::uint64_t sizeOf(const nlohmann::json& object, std::string_view key);

// The label that a key's schema has for people, or the key.
std::string labelOf(const nlohmann::json& schema, std::string_view key);
}

#pragma once

#include "bindings/cpp/hw_inventory.hpp"

#include <nlohmann/json.hpp>

#include <array>
#include <string_view>

namespace HardwareInventory
{
// One of the eight kinds of inventory, by the names that command lines and documents have for it.
struct DocumentKind
{
    std::string_view name; // "base-boards"
    std::string_view key;  // the first key of its document: "motherBoards"
};

// In the order of hw_inventory::Kind.
inline constexpr std::array<DocumentKind, 8> kDocumentKinds = {{{hw_inventory::kind_names[0], "cpus"},
                                                                {hw_inventory::kind_names[1], "gpus"},
                                                                {hw_inventory::kind_names[2], "rams"},
                                                                {hw_inventory::kind_names[3], "disks"},
                                                                {hw_inventory::kind_names[4], "networkAdapters"},
                                                                {hw_inventory::kind_names[5], "motherBoards"},
                                                                {hw_inventory::kind_names[6], "system"},
                                                                {hw_inventory::kind_names[7], "hotfixes"}}};

// By name or key, in upper or lower case; null if there is no such kind.
const DocumentKind* kindNamed(std::string_view text);

// The kind of a document, by its keys; null if it is none of the eight.
const DocumentKind* kindOf(const nlohmann::json& document);
}

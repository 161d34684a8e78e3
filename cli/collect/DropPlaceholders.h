#pragma once

#include <nlohmann/json.hpp>

namespace HardwareInventory
{
// Leaves out the texts of a document that say nothing: "To be filled by O.E.M.". A record of which nothing is left becomes null, as
// one that the library could not fill.
void dropPlaceholders(nlohmann::json& document);
}

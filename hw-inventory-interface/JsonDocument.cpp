#include "hw-inventory-interface/JsonDocument.h"

using nlohmann::json;

namespace HardwareInventory
{
namespace
{
// From the leaves up: a destroyed value has no children any more.
void dismantle(json& value) noexcept
{
    if (auto* array = value.get_ptr<json::array_t*>())
    {
        for (json& element : *array)
            dismantle(element);
        array->clear();
    }
    else if (auto* object = value.get_ptr<json::object_t*>())
    {
        for (auto& entry : *object)
            dismantle(entry.second);
        object->clear();
    }
}
}

JsonDocument::~JsonDocument()
{
    dismantle(root_);
}

std::string JsonDocument::text() const
{
    return root_.dump(-1, ' ', false, json::error_handler_t::strict);
}

// Containers are made whole and then assigned: nlohmann leaves a half-converted value if allocation fails.
json& member(json& target, const char* key)
{
    if (target.is_null())
        target = json(json::value_t::object);
    return target[key];
}

void makeArray(json& target)
{
    target = json(json::value_t::array);
}
}

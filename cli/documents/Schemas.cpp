#include "cli/documents/Schemas.h"

#include <algorithm>

namespace HardwareInventory
{
namespace
{
using nlohmann::json;

// The schema itself, or what its reference names: "#/$defs/disk".
const json& resolved(const json& schema, const json& root)
{
    const auto reference = schema.find("$ref");
    return reference == schema.end() ? schema : root.at(json::json_pointer(reference->get<std::string>().substr(1)));
}

void walk(json& value, const json& schema, const json& root, const Visit& visit)
{
    const json& rules = resolved(schema, root);
    if (value.is_array() && rules.contains("items"))
    {
        for (json& item : value)
            walk(item, rules["items"], root, visit);
        return;
    }
    const auto properties = rules.find("properties");
    if (!value.is_object() || properties == rules.end())
        return;
    for (auto& [key, member] : value.items())
    {
        const auto property = properties->find(key);
        if (property == properties->end())
            continue;
        visit(member, *property, key);
        walk(member, *property, root, visit);
    }
}

bool hasShape(const json& value, const json& rules)
{
    return rules.contains("items")        ? value.is_array()
           : rules.contains("properties") ? value.is_object() || value.is_null()
                                          : value.is_primitive();
}

std::size_t prune(json& value, const json& schema, const json& root)
{
    std::size_t gone = 0;
    const json& rules = resolved(schema, root);
    if (value.is_array())
    {
        const auto kept = std::ranges::remove_if(value.get_ref<json::array_t&>(),
                                                 [&](const json& item) { return !hasShape(item, resolved(rules["items"], root)); });
        gone += kept.size();
        value.erase(value.end() - static_cast<std::ptrdiff_t>(kept.size()), value.end());
        for (json& item : value)
            gone += prune(item, rules["items"], root);
    }
    else if (value.is_object())
    {
        gone +=
            std::erase_if(value.get_ref<json::object_t&>(),
                          [&](const auto& member)
                          {
                              const auto property = rules["properties"].find(member.first);
                              return property == rules["properties"].end() || !hasShape(member.second, resolved(*property, root));
                          });
        for (auto& [key, member] : value.items())
            gone += prune(member, rules["properties"][key], root);
    }
    return gone;
}
}

const json& schemaOf(const DocumentKind& kind)
{
    static const auto schemas = []
    {
        std::array<json, kDocumentKinds.size()> parsed;
        for (std::size_t index = 0; index < parsed.size(); ++index)
            parsed[index] =
                json::parse(kEmbeddedSchemas[index].bytes, kEmbeddedSchemas[index].bytes + kEmbeddedSchemas[index].size);
        return parsed;
    }();
    return schemas[static_cast<std::size_t>(&kind - kDocumentKinds.data())];
}

void visitMembers(json& document, const DocumentKind& kind, const Visit& visit)
{
    const json& root = schemaOf(kind);
    walk(document, root, root, visit);
}

std::size_t prune(json& document, const DocumentKind& kind)
{
    const json& root = schemaOf(kind);
    return prune(document, root, root);
}
}

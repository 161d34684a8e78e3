#include "cli/documents/Schemas.h"

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
}

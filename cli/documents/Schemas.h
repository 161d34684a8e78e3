#pragma once

#include "cli/documents/Kinds.h"

#include <cstddef>
#include <functional>

namespace HardwareInventory
{
// The JSON Schemas of the documents, as the folder schemas has them, in the order of kDocumentKinds. A generated source has them.
struct EmbeddedSchema
{
    const unsigned char* bytes;
    std::size_t size;
};
extern const EmbeddedSchema kEmbeddedSchemas[kDocumentKinds.size()];

// Parsed once.
const nlohmann::json& schemaOf(const DocumentKind& kind);

// Calls visit(value, schema of the value, key) for each member of each object of a document, from the outermost to the innermost.
// Members that the schema has not are left out. A value may be changed.
using Visit = std::function<void(nlohmann::json& value, const nlohmann::json& schema, const std::string& key)>;
void visitMembers(nlohmann::json& document, const DocumentKind& kind, const Visit& visit);

// Takes away what the schema has no place for: members that it lacks, and lists, objects and values in place of one another.
// Returns how many there were.
std::size_t prune(nlohmann::json& document, const DocumentKind& kind);
}

#pragma once

#include "cli/EmbeddedFile.h"
#include "cli/documents/Kinds.h"

#include <functional>

namespace HardwareInventory
{
// The JSON Schemas of the documents, as the folder schemas has them, in the order of kDocumentKinds.
extern const EmbeddedFile kEmbeddedSchemas[kDocumentKinds.size()];

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

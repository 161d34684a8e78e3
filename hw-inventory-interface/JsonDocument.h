#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace HardwareInventory
{
// A JSON document under construction. The JSON library's own destructor allocates for every container that is not empty, and an
// allocation that fails in a destructor would end the host's process: the document is therefore built in place under this owner,
// which takes it apart without allocating, whole or half-built.
class JsonDocument
{
public:
    JsonDocument() = default;
    JsonDocument(const JsonDocument&) = delete;
    JsonDocument& operator=(const JsonDocument&) = delete;
    ~JsonDocument();

    // Null at first.
    nlohmann::json& root() { return root_; }

    // Compact, in raw UTF-8. Throws nlohmann::json::exception for text that is no valid UTF-8.
    std::string text() const;

private:
    nlohmann::json root_;
};

// The value of a key, null when it is new. A null target becomes an object.
nlohmann::json& member(nlohmann::json& target, const char* key);

// Makes the target an empty array.
void makeArray(nlohmann::json& target);
}

#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace HardwareInventory
{
// A JSON document under construction. nlohmann's destructor allocates for every container that is not empty, and an allocation that
// fails in a destructor would end the host's process. This owner takes its document apart without allocating, even a half-built
// one.
class JsonDocument
{
public:
    JsonDocument() = default;
    JsonDocument(const JsonDocument&) = delete;
    JsonDocument& operator=(const JsonDocument&) = delete;
    ~JsonDocument();

    // Initially null.
    nlohmann::json& root() { return root_; }

    // Compact, unescaped UTF-8. Throws nlohmann::json::exception for text that is not valid UTF-8.
    std::string text() const;

private:
    nlohmann::json root_;
};

// The value of a key, null if it is new. A null target becomes an object.
nlohmann::json& member(nlohmann::json& target, const char* key);

// Makes the target an empty array.
void makeArray(nlohmann::json& target);
}

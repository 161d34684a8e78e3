#pragma once

#include "cli/documents/Envelope.h"

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace HardwareInventory
{
// Puts placeholders in the place of what identifies a machine, its user or its network. A placeholder is drawn from the key and the
// value, without regard to case and to white space around it: equal values get equal ones.
class Redactor
{
public:
    explicit Redactor(std::string key) : key_(std::move(key)) {}

    // Takes away, too, what the schemas do not describe, and returns how many values these were.
    std::size_t redact(std::vector<Envelope>& envelopes) const;

private:
    using Substitutes = std::map<std::string, std::string>; // by value, in capitals

    nlohmann::json substitute(const nlohmann::json& value, std::string_view key, Substitutes& found) const;
    std::string substituteFor(const std::string& value, std::string_view key) const;
    std::string text(std::string_view value) const;
    std::string macAddress(std::string_view value) const;
    std::string ipAddress(std::string_view value) const;

    std::string key_;
};
}

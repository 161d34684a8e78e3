#pragma once

#include "machine/Pseudonyms.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <string>

namespace HardwareInventory
{
using Json = nlohmann::json;

// Replaces what identifies a machine, its users and its network in a recording. docs/machine-recordings.md lists what that is.
class Anonymiser
{
public:
    // With the same key the same values get the same substitutes.
    explicit Anonymiser(std::string key) : pseudonyms_(std::move(key)) {}

    // For one recording. One that is anonymised already is returned unchanged. Throws std::runtime_error with the place, but not
    // with the value, if a value would be left in any form.
    Json anonymise(const Json& recording);

    // Afterwards the same for what the recorded machine gives: a document, and a text such as a line of its log.
    Json inDocument(const Json& document) const;
    std::string inText(std::string_view text) const;

private:
    void collect(const std::string& question, const Json& answer);
    void collectText(const std::string& question, const std::string& property, const std::wstring& text);
    void collectStructure(const Json& structure);
    Json withoutFreeText(const Json& node) const;
    Json structureWithoutFreeText(const Json& structure) const;
    Json bytesWithoutText(const Json& bytes) const;
    void requireNothingLeft(const Json& recording) const;

    Pseudonyms pseudonyms_;
};
}

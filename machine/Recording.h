#pragma once

#include <nlohmann/json.hpp>

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace HardwareInventory
{
using Json = nlohmann::json;

// What a machine answered, by question. The format is described in docs/machine-recordings.md.
class Recording
{
public:
    // Throws std::runtime_error with the reason for a text that is no recording: wrong format or version, too large, too deep, a
    // number that is no integer, an answer that its question cannot have.
    static Recording parse(std::string_view text);
    static Recording of(const Json& document);

    std::string text() const;
    Json document() const;

    // Each answer to the question in its order, then the last one again and again. Null for a question that was not recorded; it is
    // listed in unknown().
    const Json* next(const std::string& question);
    const std::set<std::string>& unknown() const { return unknown_; }

    void add(const std::string& question, Json answer);
    bool has(const std::string& question) const { return answers_.contains(question); }

    // How often next() was asked.
    std::size_t timesAsked(const std::string& question) const;

private:
    struct InTurn
    {
        std::vector<Json> answers;
        std::size_t next = 0;
        std::size_t timesAsked = 0;
    };

    std::map<std::string, InTurn> answers_;
    std::set<std::string> unknown_;
    bool anonymised_ = false;
};
}

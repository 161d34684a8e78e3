#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace HardwareInventory
{
// What came of collecting one kind on one machine: a line of NDJSON (schemas/envelope.schema.json).
struct Envelope
{
    struct Failure
    {
        std::uint32_t status = 0;
        std::string name; // of the status, in words: "timed out"
        std::string text; // for a log
    };

    std::string kind;
    std::string collected; // when, in UTC: "2026-11-22T10:30:00Z"; empty if unknown
    std::string machine;   // empty if unknown
    std::string version;   // of the library; empty if unknown
    std::int64_t durationMs = 0;
    nlohmann::json document; // null for a failure
    std::optional<Failure> error;
};

nlohmann::json toJson(const Envelope& envelope);

// A file that is not what a command needs. The text names the file and the line.
struct InputError : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

// The envelopes and documents of a file, in any mixture: one a line, or a single one over several lines. "-" is standard input.
// A document alone becomes an envelope that has only a kind. Throws InputError.
std::vector<Envelope> readEnvelopes(const std::filesystem::path& path);
}

#include "cli/documents/Envelope.h"

#include "cli/Paths.h"
#include "cli/documents/Kinds.h"
#include "st-core/lib/Utf8.h"

#include <fstream>
#include <iostream>
#include <iterator>

namespace HardwareInventory
{
namespace
{
using nlohmann::json;

constexpr int kDeepest = 100; // the tools call themselves for each level

// Windows PowerShell writes UTF-16 when it redirects a program's output into a file.
std::string fromUtf16(std::string_view bytes)
{
    std::wstring text;
    for (std::size_t index = 0; index + 1 < bytes.size(); index += 2)
        text += static_cast<wchar_t>(static_cast<unsigned char>(bytes[index]) | static_cast<unsigned char>(bytes[index + 1]) << 8);
    return ZelStdCore::toUtf8(text);
}

std::string readAll(const std::filesystem::path& path)
{
    constexpr std::string_view kUtf16Mark = "\xFF\xFE";
    std::string text;
    if (path == "-")
        text.assign(std::istreambuf_iterator<char>(std::cin), {});
    else
    {
        std::error_code ignored;
        std::ifstream file(path, std::ios::binary);
        if (!file.is_open() || is_directory(path, ignored)) // which opens, and throws when it is read
            throw InputError("cannot read " + utf8(path));
        text.assign(std::istreambuf_iterator<char>(file), {});
    }
    return text.starts_with(kUtf16Mark) ? fromUtf16(std::string_view(text).substr(kUtf16Mark.size())) : text;
}

// Discarded if it is no JSON and a failure is not asked for. Throws InputError, json::exception.
json parse(std::string_view text, bool throws)
{
    const auto isShallow = [](int depth, json::parse_event_t, const json&)
    {
        if (depth > kDeepest)
            throw InputError("nested too deeply");
        return true;
    };
    return json::parse(text, isShallow, throws);
}

Envelope failureOrDocument(const json& object)
{
    Envelope envelope;
    envelope.kind = object.at("kind").get<std::string>();
    envelope.collected = object.at("collected").get<std::string>();
    envelope.machine = object.at("machine").get<std::string>();
    envelope.version = object.at("version").get<std::string>();
    envelope.durationMs = object.at("durationMs").get<std::int64_t>();
    envelope.document = object.at("document");
    if (const json& error = object.at("error"); !error.is_null())
        envelope.error = {error.at("status").get<std::uint32_t>(), error.at("name").get<std::string>(),
                          error.at("text").get<std::string>()};
    const DocumentKind* const kind = kindNamed(envelope.kind);
    if (!kind || (envelope.document.is_null() ? !envelope.error : kindOf(envelope.document) != kind))
        throw InputError("no document of kind " + envelope.kind);
    return envelope;
}

// Throws InputError or json::exception.
Envelope fromJson(json object)
{
    if (object.is_object() && object.contains("document"))
        return failureOrDocument(object);
    const DocumentKind* const kind = kindOf(object);
    if (!kind)
        throw InputError("neither a document nor an envelope");
    Envelope envelope;
    envelope.kind = kind->name;
    envelope.document = std::move(object);
    return envelope;
}
}

json toJson(const Envelope& envelope)
{
    json error;
    if (envelope.error)
        error = {{"status", envelope.error->status}, {"name", envelope.error->name}, {"text", envelope.error->text}};
    return {{"collected", envelope.collected},
            {"document", envelope.document},
            {"durationMs", envelope.durationMs},
            {"error", error},
            {"kind", envelope.kind},
            {"machine", envelope.machine},
            {"status", envelope.error ? envelope.error->status : 0},
            {"version", envelope.version}};
}

std::vector<Envelope> readEnvelopes(const std::filesystem::path& path)
{
    const std::string text = readAll(path);
    std::vector<Envelope> envelopes;
    try
    {
        if (json whole = parse(text, false); !whole.is_discarded())
        {
            envelopes.push_back(fromJson(std::move(whole)));
            return envelopes;
        }
    }
    catch (const std::exception& error)
    {
        throw InputError(utf8(path) + ": " + error.what());
    }
    std::size_t number = 0;
    for (std::size_t begin = 0, end = 0; begin < text.size(); begin = end + 1)
    {
        ++number;
        end = std::min(text.find('\n', begin), text.size());
        const std::string_view line(text.data() + begin, end - begin);
        if (line.find_first_not_of(" \t\r") == std::string_view::npos)
            continue;
        try
        {
            envelopes.push_back(fromJson(parse(line, true)));
        }
        catch (const std::exception& error)
        {
            throw InputError(utf8(path) + ", line " + std::to_string(number) + ": " + error.what());
        }
    }
    if (envelopes.empty())
        throw InputError(utf8(path) + " has no document");
    return envelopes;
}
}

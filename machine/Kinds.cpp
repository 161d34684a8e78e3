#include "machine/Kinds.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <iterator>
#include <memory>
#include <string>

void printLogLine(uint32_t level, const char* message)
{
    constexpr const char* names[] = {"info", "warning", "error", "trace"};
    std::fprintf(stderr, "<%s> %s\n", level < std::size(names) ? names[level] : "unknown", message);
}

namespace
{
// The library does not return the length of the text.
std::string lastFailure()
{
    std::string text(4096, '\0');
    for (std::size_t size = text.size(); hardware_inventory_exception_string(text.data(), &size) == EXPORT_STATUS_BUFFER_TOO_SMALL;
         size = text.size())
        text.resize(text.size() * 2);
    return text.c_str();
}
}

ExportStatus print(const Kind& kind, bool pretty)
{
    char* buffer = nullptr;
    std::size_t size = 0;
    const ExportStatus status = kind.find(&buffer, &size);
    if (status != EXPORT_STATUS_SUCCESS)
    {
        std::fprintf(stderr, "%s: status %u: %s\n", kind.name.data(), static_cast<unsigned>(status), lastFailure().c_str());
        return status;
    }
    const std::unique_ptr<char, void (*)(void*)> document(buffer, release_buffer);
    std::puts(pretty ? nlohmann::ordered_json::parse(buffer).dump(4).c_str() : buffer);
    return status;
}

// Prints this machine's inventory: a client of the public C header alone.
#include <hw_inventory_interface.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#endif

namespace
{
constexpr int kUsageError = 64; // apart from every status of the library

constexpr const char* kUsage = "usage: hw-inventory [--pretty] [--log] [KIND...]\n"
                               "\n"
                               "Prints this machine's inventory as JSON, one document a line.\n"
                               "\n"
                               "  KIND      cpus gpus ram disks network-adapters base-boards system hotfixes; all without any\n"
                               "  --pretty  indent the documents\n"
                               "  --log     show the library's log on standard error\n"
                               "  --help    show this text\n"
                               "\n"
                               "The exit status is the worst of the library's statuses, 0 to 8; 64 for a wrong argument.\n";

struct Kind
{
    std::string_view name;
    ExportStatus (*find)(char** buffer, std::size_t* size);
};

constexpr Kind kKinds[] = {{"cpus", hardware_inventory_find_cpus},
                           {"gpus", hardware_inventory_find_gpus},
                           {"ram", hardware_inventory_find_ram},
                           {"disks", hardware_inventory_find_disks},
                           {"network-adapters", hardware_inventory_find_network_adapters},
                           {"base-boards", hardware_inventory_find_base_boards},
                           {"system", hardware_inventory_find_system},
                           {"hotfixes", hardware_inventory_find_hotfixes}};

struct Request
{
    bool help = false;
    bool pretty = false;
    bool log = false;
    std::vector<Kind> kinds;
    std::optional<std::string_view> wrong; // the first unknown argument
};

Request parse(const std::vector<std::string_view>& arguments)
{
    Request request;
    for (const std::string_view argument : arguments)
    {
        const auto kind = std::ranges::find(kKinds, argument, &Kind::name);
        if (kind != std::end(kKinds))
            request.kinds.push_back(*kind);
        else if (argument == "--help")
            request.help = true;
        else if (argument == "--pretty")
            request.pretty = true;
        else if (argument == "--log")
            request.log = true;
        else if (!request.wrong)
            request.wrong = argument;
    }
    if (request.kinds.empty())
        request.kinds.assign(std::begin(kKinds), std::end(kKinds));
    return request;
}

void printLogLine(uint32_t level, const char* message)
{
    constexpr const char* names[] = {"info", "warning", "error", "trace"};
    std::fprintf(stderr, "<%s> %s\n", level < std::size(names) ? names[level] : "unknown", message);
}

// The library does not return the length of the text.
std::string lastFailure()
{
    std::string text(4096, '\0');
    for (std::size_t size = text.size(); hardware_inventory_exception_string(text.data(), &size) == EXPORT_STATUS_BUFFER_TOO_SMALL;
         size = text.size())
        text.resize(text.size() * 2);
    return text.c_str();
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

// The output is UTF-8 with plain line feeds on every platform.
void makeOutputBinary()
{
#ifdef _WIN32
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
#endif
}
}

int main(int argc, char** argv)
{
    makeOutputBinary();
    const Request request = parse({argv + std::min(argc, 1), argv + argc});
    if (request.wrong)
    {
        std::fprintf(stderr, "not understood: %s\n\n%s", std::string(*request.wrong).c_str(), kUsage);
        return kUsageError;
    }
    if (request.help)
    {
        std::fputs(kUsage, stdout);
        return 0;
    }

    if (request.log)
        hardware_inventory_set_logger(printLogLine);
    ExportStatus worst = EXPORT_STATUS_SUCCESS;
    for (const Kind& kind : request.kinds)
        worst = std::max(worst, print(kind, request.pretty));
    return static_cast<int>(worst);
}

// Prints this machine's inventory: a client of the public C header alone.
#include "cli/Kinds.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

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

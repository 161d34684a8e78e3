// The library's twelve functions over a folder of documents, for the tests of hosts. README.md describes the folder.
#include <hw_inventory_interface.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>
#include <string>
#include <thread>

namespace
{
struct Failure
{
    ExportStatus status;
    std::string message;
};

struct Record
{
    std::string message;
    ExceptionRecord fields{};
};

Record& lastFailure()
{
    static Record record;
    return record;
}

HardwareInventoryLogger logger = nullptr;

void log(std::uint32_t level, const std::string& line)
{
    if (logger)
        logger(level, line.c_str());
}

const char* errorText(ExportStatus status)
{
    return status == EXPORT_STATUS_WMI_CONNECTION ? "failed to connect to WMI namespace"
           : status == EXPORT_STATUS_WMI_QUERY    ? "failed to execute WMI query"
                                                  : nullptr;
}

[[noreturn]] void hang()
{
    while (true)
        std::this_thread::sleep_for(std::chrono::hours(1));
}

// Follows the script of a kind, if it has one: LOG, PRINT, WAIT, HANG, CRASH, FAIL in any order, a step a line.
std::optional<Failure> follow(const std::filesystem::path& script)
{
    std::ifstream file(script);
    for (std::string line; std::getline(file, line);)
    {
        std::istringstream words(line);
        std::string step, rest;
        std::uint32_t number = 0;
        words >> step;
        if (step.empty() || step.front() == '#')
            continue;
        if (step == "hang")
            hang();
        if (step == "crash")
            std::abort();
        if (step == "print")
        {
            std::getline(words >> std::ws, rest);
            std::puts(rest.c_str());
            std::fflush(stdout);
            continue;
        }
        words >> number;
        std::getline(words >> std::ws, rest);
        if (step == "log")
            log(number, rest);
        else if (step == "wait")
            std::this_thread::sleep_for(std::chrono::milliseconds(number));
        else if (step == "fail")
            return Failure{number, rest};
        else
            return Failure{EXPORT_STATUS_OTHER, "no step of a script: " + line};
    }
    return std::nullopt;
}

ExportStatus fail(const Failure& failure)
{
    Record& record = lastFailure();
    record.message = failure.message;
    record.fields = {"[0] standin.cpp:collect:1\n", "standin.cpp", "collect", 1, record.message.c_str(), errorText(failure.status)};
    log(2, failure.message);
    return failure.status;
}

ExportStatus collect(const char* kind, char** buffer, std::size_t* size)
{
    const char* const folder = std::getenv("HW_INVENTORY_STANDIN");
    if (!folder)
        return fail({EXPORT_STATUS_OTHER, "HW_INVENTORY_STANDIN names no folder"});
    const std::filesystem::path path = std::filesystem::u8path(folder) / kind;
    if (const auto failure = follow(std::filesystem::path(path) += ".script"))
        return fail(*failure);
    std::ifstream file(std::filesystem::path(path) += ".json", std::ios::binary);
    if (!file)
        return fail({EXPORT_STATUS_OTHER, "no document " + std::string(kind) + ".json in " + folder});
    std::string document(std::istreambuf_iterator<char>(file), {});
    while (!document.empty() && (document.back() == '\n' || document.back() == '\r'))
        document.pop_back();

    if (!size)
    {
        log(2, "null buffer size provided to write JSON data to");
        return EXPORT_STATUS_NO_SIZE;
    }
    *size = document.size() + 1;
    *buffer = static_cast<char*>(std::malloc(*size));
    if (!*buffer)
        return EXPORT_STATUS_OTHER;
    std::memcpy(*buffer, document.c_str(), *size);
    return EXPORT_STATUS_SUCCESS;
}
}

ExportStatus hardware_inventory_find_cpus(char** buffer, size_t* buffer_size)
{
    return collect("cpus", buffer, buffer_size);
}

ExportStatus hardware_inventory_find_gpus(char** buffer, size_t* buffer_size)
{
    return collect("gpus", buffer, buffer_size);
}

ExportStatus hardware_inventory_find_ram(char** buffer, size_t* buffer_size)
{
    return collect("ram", buffer, buffer_size);
}

ExportStatus hardware_inventory_find_disks(char** buffer, size_t* buffer_size)
{
    return collect("disks", buffer, buffer_size);
}

ExportStatus hardware_inventory_find_network_adapters(char** buffer, size_t* buffer_size)
{
    return collect("network-adapters", buffer, buffer_size);
}

ExportStatus hardware_inventory_find_base_boards(char** buffer, size_t* buffer_size)
{
    return collect("base-boards", buffer, buffer_size);
}

ExportStatus hardware_inventory_find_system(char** buffer, size_t* buffer_size)
{
    return collect("system", buffer, buffer_size);
}

ExportStatus hardware_inventory_find_hotfixes(char** buffer, size_t* buffer_size)
{
    return collect("hotfixes", buffer, buffer_size);
}

void release_buffer(void* buffer)
{
    std::free(buffer);
}

const ExceptionRecord* hardware_inventory_get_exception(void)
{
    return &lastFailure().fields;
}

ExportStatus hardware_inventory_exception_string(char* buffer, size_t* buffer_size)
{
    if (!buffer_size)
        return EXPORT_STATUS_NO_SIZE;
    const ExceptionRecord& fields = lastFailure().fields;
    std::string text = fields.file ? std::string(fields.file) + ":" + fields.function + ":1:" : "";
    text += fields.message && *fields.message ? fields.message : "(no meta)";
    for (const char* part : {fields.errorText, fields.stackTrace})
        text += part ? std::string(":") + part : "";
    if (!buffer || *buffer_size <= text.size())
        return EXPORT_STATUS_BUFFER_TOO_SMALL;
    std::memset(buffer, 0, *buffer_size);
    std::memcpy(buffer, text.data(), text.size());
    return EXPORT_STATUS_SUCCESS;
}

void hardware_inventory_set_logger(HardwareInventoryLogger callback)
{
    logger = callback;
}

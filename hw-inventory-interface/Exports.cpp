#include "hw-inventory-interface/include/hw_inventory_interface.h"

#include "hw-inventory-impl/lib/InventoryService.h"
#include "hw-inventory-interface/Documents.h"
#include "hw-inventory-interface/ErrorHandling/ExceptionRecord.h"
#include "st-core/lib/HostLogger.h"

#include <cstring>
#include <exception>
#include <new>
#include <string>
#include <utility>

using HardwareInventory::InventoryService;
using namespace HardwareInventory::ErrorHandling;

namespace
{
constexpr auto kNoSize = L"null buffer_size provided to write JSON data to";
constexpr auto kNoSizeForRam = L"null buffer size provided to write JSON data to";

// Stands for an exception of another language or C++ runtime: std::current_exception() is null for it.
struct ForeignException
{
};

// Both outputs are set before the allocation is checked: after a failure *bufferSize is the size that was needed.
ExportStatus copyToHost(const std::string& document, char** buffer, size_t* bufferSize)
{
    const size_t size = document.size() + 1;
    *bufferSize = size;
    *buffer = new (std::nothrow) char[size];
    if (!*buffer)
        return EXPORT_STATUS_OTHER;
    std::memcpy(*buffer, document.c_str(), size);
    return EXPORT_STATUS_SUCCESS;
}

// The body of the collecting functions. The records are collected before the size argument is checked; the document is written
// after it, since writing can log. A failure is recorded outside its handler: that logs too, and a foreign exception from the
// host's callback would end the process while another one is being handled.
template <class Collect, class Write>
ExportStatus runExport(char** buffer, size_t* bufferSize, const wchar_t* noSize, Collect collect, Write write) noexcept
{
    std::exception_ptr failure;
    try
    {
        const auto records = collect(InventoryService::instance());
        if (!bufferSize)
        {
            ZelStdCore::logError(noSize);
            return EXPORT_STATUS_NO_SIZE;
        }
        return copyToHost(write(records), buffer, bufferSize);
    }
    catch (...)
    {
        failure = std::current_exception();
    }
    return recordFailure(failure ? failure : std::make_exception_ptr(ForeignException()));
}

template <class Records>
ExportStatus runExport(char** buffer, size_t* bufferSize, Records (InventoryService::*find)(),
                       std::string (*write)(const Records&)) noexcept
{
    return runExport(
        buffer, bufferSize, kNoSize, [find](InventoryService& service) { return (service.*find)(); }, write);
}
}

ExportStatus hardware_inventory_find_cpus(char** buffer, size_t* buffer_size)
{
    return runExport(buffer, buffer_size, &InventoryService::findCpus, &HardwareInventory::cpusDocument);
}

ExportStatus hardware_inventory_find_gpus(char** buffer, size_t* buffer_size)
{
    return runExport(buffer, buffer_size, &InventoryService::findGpus, &HardwareInventory::gpusDocument);
}

ExportStatus hardware_inventory_find_ram(char** buffer, size_t* buffer_size)
{
    const auto collect = [](InventoryService& service) { return std::pair{service.findRam(), service.usableMemory()}; };
    const auto write = [](const auto& memory) { return HardwareInventory::ramDocument(memory.first, memory.second); };
    return runExport(buffer, buffer_size, kNoSizeForRam, collect, write);
}

ExportStatus hardware_inventory_find_disks(char** buffer, size_t* buffer_size)
{
    return runExport(buffer, buffer_size, &InventoryService::findDisks, &HardwareInventory::disksDocument);
}

ExportStatus hardware_inventory_find_network_adapters(char** buffer, size_t* buffer_size)
{
    return runExport(buffer, buffer_size, &InventoryService::findNetworkAdapters, &HardwareInventory::networkAdaptersDocument);
}

ExportStatus hardware_inventory_find_base_boards(char** buffer, size_t* buffer_size)
{
    return runExport(buffer, buffer_size, &InventoryService::findBaseBoards, &HardwareInventory::baseBoardsDocument);
}

ExportStatus hardware_inventory_find_system(char** buffer, size_t* buffer_size)
{
    return runExport(buffer, buffer_size, &InventoryService::findSystem, &HardwareInventory::systemDocument);
}

ExportStatus hardware_inventory_find_hotfixes(char** buffer, size_t* buffer_size)
{
    return runExport(buffer, buffer_size, &InventoryService::findHotfixes, &HardwareInventory::hotfixesDocument);
}

void release_buffer(void* buffer)
{
    delete[] static_cast<char*>(buffer);
}

const ExceptionRecord* hardware_inventory_get_exception(void)
{
    return &lastException();
}

// A failure here must not overwrite the record that the caller is reading.
ExportStatus hardware_inventory_exception_string(char* buffer, size_t* buffer_size)
{
    try
    {
        if (!buffer_size)
        {
            ZelStdCore::logError(L"null buffer_size provided to write exception info to");
            return EXPORT_STATUS_NO_SIZE;
        }
        const std::string text = exceptionText(lastException());
        if (!buffer || *buffer_size <= text.size())
            return EXPORT_STATUS_BUFFER_TOO_SMALL;
        std::memset(buffer, 0, *buffer_size);
        std::memcpy(buffer, text.c_str(), text.size());
        return EXPORT_STATUS_SUCCESS;
    }
    catch (...)
    {
        return EXPORT_STATUS_OTHER;
    }
}

void hardware_inventory_set_logger(HardwareInventoryLogger logger)
{
    try
    {
        ZelStdCore::HostLogger::instance().set(logger);
    }
    catch (...)
    {
        // Without memory for the logger there is no logging.
    }
}

#pragma once

#include "hw_inventory_interface.h"

#include <windows.h>

#include <filesystem>
#include <string>

// The folder of this program, where the build puts the library too.
std::filesystem::path programFolder();

// A separate folder for each process, removed at the end.
class OwnFolder
{
public:
    OwnFolder();
    OwnFolder(const OwnFolder&) = delete;
    OwnFolder& operator=(const OwnFolder&) = delete;
    ~OwnFolder();

    const std::filesystem::path& path() const { return path_; }

    // Copies a built file, under another name if one is given, and returns its new path. Its PDB is copied too: Wine's symbol
    // handler frees memory that it never allocated for a module whose PDB is missing.
    std::filesystem::path add(const std::filesystem::path& built, const std::filesystem::path& name = {}) const;

private:
    std::filesystem::path path_;
};

// The built library as a host loads it: by path, at run time.
class Product
{
public:
    using Find = decltype(&hardware_inventory_find_cpus);

    enum KindIndex : std::size_t
    {
        cpus,
        gpus,
        ram,
        disks,
        networkAdapters,
        baseBoards,
        system,
        hotfixes,
        kindCount,
    };

    struct Kind
    {
        const char* function;
        const char* key;
    };
    static constexpr Kind kinds[] = {
        {"hardware_inventory_find_cpus", "cpus"},
        {"hardware_inventory_find_gpus", "gpus"},
        {"hardware_inventory_find_ram", "rams"},
        {"hardware_inventory_find_disks", "disks"},
        {"hardware_inventory_find_network_adapters", "networkAdapters"},
        {"hardware_inventory_find_base_boards", "motherBoards"},
        {"hardware_inventory_find_system", "system"},
        {"hardware_inventory_find_hotfixes", "hotfixes"},
    };
    static_assert(std::size(kinds) == kindCount);

    explicit Product(const std::filesystem::path& path = programFolder() / "hw_inventory_interface.dll");
    Product(const Product&) = delete;
    Product& operator=(const Product&) = delete;
    ~Product();

    struct Answer
    {
        ExportStatus status;
        std::string document;
    };
    // Collects the kind of that index, and frees the buffer.
    Answer collect(std::size_t kind) const;

    // The function itself.
    Find find(std::size_t kind) const { return find_[kind]; }

    HMODULE module() const { return module_; }

    decltype(&release_buffer) releaseBuffer;
    decltype(&hardware_inventory_get_exception) getException;
    decltype(&hardware_inventory_exception_string) exceptionString;
    decltype(&hardware_inventory_set_logger) setLogger;

private:
    HMODULE module_;
    Find find_[kindCount];
};

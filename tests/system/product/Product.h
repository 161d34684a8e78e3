#pragma once

#include "hw_inventory_interface.h"

#include <windows.h>

#include <filesystem>

inline std::filesystem::path programFolder()
{
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    return std::filesystem::path(path).parent_path();
}

// A separate folder for each process, removed at the end. Loaded files stay: the system does not remove files in use.
struct OwnFolder
{
    const std::filesystem::path path =
        std::filesystem::temp_directory_path() / ("hw-inventory-" + std::to_string(GetCurrentProcessId()));
    std::error_code ignored;

    ~OwnFolder() { std::filesystem::remove_all(path, ignored); }

    // Copies a built file, under another name if one is given, and returns its new path. Its PDB is copied too: Wine's symbol
    // handler frees memory that it never allocated for a module whose PDB is missing.
    std::filesystem::path add(const std::string& built, const std::string& name = "")
    {
        auto source = programFolder() / built, target = path / (name.empty() ? built : name);
        std::filesystem::create_directories(target.parent_path());
        std::filesystem::copy_file(source, target, std::filesystem::copy_options::overwrite_existing);
        source.replace_extension(".pdb");
        std::filesystem::copy_file(source, target.parent_path() / source.filename(), ignored);
        return target;
    }
};

struct Export
{
    const FARPROC address;

    Export(HMODULE module, const std::string& name) : address(GetProcAddress(module, name.c_str())) {}
    template <class Type>
    operator Type*() const
    {
        return reinterpret_cast<Type*>(address);
    }
};

// The built library as a host loads it: by path, at run time.
struct Product
{
    static constexpr const char* kinds[] = {"cpus",        "gpus",   "ram",     "disks", "network_adapters",
                                            "base_boards", "system", "hotfixes"};

    const HMODULE module;
    const DWORD loadError = GetLastError();
    decltype(&release_buffer) const releaseBuffer = Export(module, "release_buffer");
    decltype(&hardware_inventory_get_exception) const getException = Export(module, "hardware_inventory_get_exception");
    decltype(&hardware_inventory_exception_string) const exceptionString = Export(module, "hardware_inventory_exception_string");
    decltype(&hardware_inventory_set_logger) const setLogger = Export(module, "hardware_inventory_set_logger");

    explicit Product(const std::filesystem::path& path = programFolder() / "hw_inventory_interface.dll")
        : module(LoadLibraryExW(path.c_str(), nullptr, LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32))
    {
    }
    Product(const Product&) = delete;
    ~Product() { FreeLibrary(module); }

    decltype(&hardware_inventory_find_cpus) find(const std::string& kind) const
    {
        return Export(module, "hardware_inventory_find_" + kind);
    }

    std::string collect(const std::string& kind) const
    {
        char* buffer = nullptr;
        std::size_t size = 0;
        if (const ExportStatus status = find(kind)(&buffer, &size))
            return std::to_string(status);
        const std::string document(buffer, size - 1);
        releaseBuffer(buffer);
        return document;
    }
};

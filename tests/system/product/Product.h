#pragma once

#include "hw_inventory_interface.h"

#include <windows.h>

#include <filesystem>

// The folder of this program, where the build puts the library too.
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
    std::filesystem::path add(const std::filesystem::path& built, const std::filesystem::path& name = {})
    {
        const auto source = programFolder() / built, target = path / (name.empty() ? built.filename() : name);
        const auto symbols = std::filesystem::path(source).replace_extension(".pdb");
        std::filesystem::create_directories(target.parent_path());
        std::filesystem::copy_file(source, target, std::filesystem::copy_options::overwrite_existing);
        std::filesystem::copy_file(symbols, target.parent_path() / symbols.filename(), ignored);
        return target;
    }
};

// The built library as a host loads it: by path, at run time.
struct Product
{
    static constexpr const char* kinds[] = {"cpus",        "gpus",   "ram",     "disks", "network_adapters",
                                            "base_boards", "system", "hotfixes"};

    const HMODULE module;
    const DWORD loadError = GetLastError();
    decltype(release_buffer)* const releaseBuffer = exported<decltype(release_buffer)>("release_buffer");
    decltype(hardware_inventory_get_exception)* const getException =
        exported<decltype(hardware_inventory_get_exception)>("hardware_inventory_get_exception");
    decltype(hardware_inventory_exception_string)* const exceptionString =
        exported<decltype(hardware_inventory_exception_string)>("hardware_inventory_exception_string");
    decltype(hardware_inventory_set_logger)* const setLogger =
        exported<decltype(hardware_inventory_set_logger)>("hardware_inventory_set_logger");

    explicit Product(const std::filesystem::path& path = programFolder() / "hw_inventory_interface.dll")
        : module(LoadLibraryExW(path.c_str(), nullptr, LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32))
    {
    }
    Product(const Product&) = delete;
    ~Product() { FreeLibrary(module); }

    auto find(const std::string& kind) const
    {
        return exported<decltype(hardware_inventory_find_cpus)>("hardware_inventory_find_" + kind);
    }

    // The document, or the status of a failure.
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

private:
    template <class Function>
    Function* exported(const std::string& name) const
    {
        return reinterpret_cast<Function*>(GetProcAddress(module, name.c_str()));
    }
};

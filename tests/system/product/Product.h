#pragma once

#include "hw_inventory_interface.h"
#include "tests/com/Imports.h"

#include <filesystem>
#include <string_view>
#include <system_error>

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

    ~OwnFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }

    // Copies a built file, under another name if one is given, and returns its new path. Its PDB is copied too: Wine's symbol
    // handler frees memory that it never allocated for a module whose PDB is missing.
    std::filesystem::path add(const std::filesystem::path& built, const std::filesystem::path& name = {}) const
    {
        const auto target = path / (name.empty() ? built.filename() : name);
        const auto symbols = (programFolder() / built).replace_extension(".pdb");
        constexpr auto kAgain = std::filesystem::copy_options::overwrite_existing;
        std::filesystem::create_directories(target.parent_path());
        std::filesystem::copy_file(programFolder() / built, target, kAgain);
        if (std::filesystem::exists(symbols))
            std::filesystem::copy_file(symbols, target.parent_path() / symbols.filename(), kAgain);
        return target;
    }
};

// The built library as a host loads it: by path, at run time.
struct Product
{
    enum Kind : std::size_t
    {
        cpus,
        gpus,
        ram,
        disks,
        networkAdapters,
        baseBoards,
        system,
        hotfixes,
        kindCount
    };
    static constexpr const char* kNames[] = {"cpus",        "gpus",   "ram",     "disks", "network_adapters",
                                             "base_boards", "system", "hotfixes"};
    static constexpr const char* kKeys[] = {"cpus",         "gpus",   "rams",    "disks", "networkAdapters",
                                            "motherBoards", "system", "hotfixes"};

    const HMODULE module;
    const decltype(&release_buffer) releaseBuffer = exported("release_buffer");
    const decltype(&hardware_inventory_get_exception) getException = exported("hardware_inventory_get_exception");
    const decltype(&hardware_inventory_exception_string) exceptionString = exported("hardware_inventory_exception_string");
    const decltype(&hardware_inventory_set_logger) setLogger = exported("hardware_inventory_set_logger");

    explicit Product(const std::filesystem::path& path = programFolder() / "hw_inventory_interface.dll")
        : module(LoadLibraryExW(path.c_str(), nullptr, LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32))
    {
        if (const auto error = static_cast<int>(GetLastError()); !module)
            throw std::system_error(error, std::system_category(), "not loaded: " + path.string());
    }
    Product(const Product&) = delete;
    ~Product() { FreeLibrary(module); }

    decltype(&hardware_inventory_find_cpus) find(std::size_t kind) const
    {
        return exported(std::string("hardware_inventory_find_") + kNames[kind]);
    }

    struct Answer
    {
        ExportStatus status;
        std::string document;
    };
    Answer collect(std::size_t kind) const
    {
        char* buffer = nullptr;
        std::size_t size = 0;
        Answer answer{find(kind)(&buffer, &size), {}};
        if (answer.status == EXPORT_STATUS_SUCCESS)
        {
            answer.document.assign(buffer, size - 1);
            releaseBuffer(buffer);
        }
        return answer;
    }

private:
    struct Exported
    {
        FARPROC address;
        template <class Function>
        operator Function*() const
        {
            return reinterpret_cast<Function*>(address);
        }
    };
    Exported exported(const std::string& name) const { return {module ? GetProcAddress(module, name.c_str()) : nullptr}; }
};

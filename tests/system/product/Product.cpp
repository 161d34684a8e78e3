#include "tests/system/product/Product.h"

#include <stdexcept>
#include <system_error>

namespace
{
template <class Function>
void findFunction(HMODULE module, const char* name, Function& function)
{
    function = reinterpret_cast<Function>(GetProcAddress(module, name));
    if (!function)
        throw std::runtime_error(std::string("not exported: ") + name);
}
}

std::filesystem::path programFolder()
{
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    return std::filesystem::path(path).parent_path();
}

OwnFolder::OwnFolder() : path_(std::filesystem::temp_directory_path() / ("hw-inventory-" + std::to_string(GetCurrentProcessId())))
{
    std::filesystem::create_directories(path_);
}

// Loaded files stay there: the system does not remove files in use.
OwnFolder::~OwnFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::filesystem::path OwnFolder::add(const std::filesystem::path& built, const std::filesystem::path& name) const
{
    const auto target = path_ / (name.empty() ? built.filename() : name);
    std::filesystem::create_directories(target.parent_path());
    constexpr auto kAgain = std::filesystem::copy_options::overwrite_existing;
    std::filesystem::copy_file(programFolder() / built, target, kAgain);
    const auto symbols = (programFolder() / built).replace_extension(".pdb");
    if (std::filesystem::exists(symbols))
        std::filesystem::copy_file(symbols, target.parent_path() / symbols.filename(), kAgain);
    return target;
}

Product::Product(const std::filesystem::path& path)
    : module_(LoadLibraryExW(path.c_str(), nullptr, LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32))
{
    if (const auto error = static_cast<int>(GetLastError()); !module_)
        throw std::system_error(error, std::system_category(), "not loaded: " + path.string());
    for (std::size_t kind = 0; kind < kindCount; ++kind)
        findFunction(module_, kinds[kind].function, find_[kind]);
    findFunction(module_, "release_buffer", releaseBuffer);
    findFunction(module_, "hardware_inventory_get_exception", getException);
    findFunction(module_, "hardware_inventory_exception_string", exceptionString);
    findFunction(module_, "hardware_inventory_set_logger", setLogger);
}

Product::~Product()
{
    FreeLibrary(module_);
}

Product::Answer Product::collect(std::size_t kind) const
{
    char* buffer = nullptr;
    std::size_t size = 0;
    Answer answer{find_[kind](&buffer, &size), {}};
    if (answer.status == EXPORT_STATUS_SUCCESS)
    {
        answer.document.assign(buffer, size - 1);
        releaseBuffer(buffer);
    }
    return answer;
}

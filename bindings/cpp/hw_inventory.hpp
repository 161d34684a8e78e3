// The hardware inventory of this machine from C++17, with time limits: header only, a client of hw_inventory_interface.h.
//
//     hw_inventory::Client client(hw_inventory::Library::load(folder / "hw_inventory_interface.dll"));
//     const hw_inventory::Result cpus = client.collect(hw_inventory::Kind::cpus, std::chrono::seconds(30));
//     if (cpus)
//         use(cpus.document);
//     else
//         report(cpus.error.text);
//
// A Client may be used from several threads. Its calls run one after another on one thread of its own, which stays connected to
// WMI; the calls of several Clients wait for each other, because the library serves one call at a time in a process.
#ifndef HW_INVENTORY_HPP
#define HW_INVENTORY_HPP

#include "hw_inventory_interface.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <type_traits>
#include <utility>

#ifdef _WIN32
#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN // a host may include winsock2.h later
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace hw_inventory
{
enum class Kind
{
    cpus,
    gpus,
    ram,
    disks,
    network_adapters,
    base_boards,
    system,
    hotfixes
};

// By Kind.
inline constexpr std::array<const char*, 8> kind_names = {"cpus",        "gpus",   "ram",     "disks", "network-adapters",
                                                          "base-boards", "system", "hotfixes"};

// Those of the library (hw_inventory_interface.h), and two of the Client's own.
enum class Status : std::uint32_t
{
    success = EXPORT_STATUS_SUCCESS,
    wmi_connection = EXPORT_STATUS_WMI_CONNECTION,
    wmi_query = EXPORT_STATUS_WMI_QUERY,
    other = EXPORT_STATUS_OTHER,
    timed_out = 1000, // the call took longer than its limit; if it had begun it goes on, and its result is dropped
    busy = 1001       // an earlier call of the Client that timed out has not come back
};

enum class Level : std::uint32_t
{
    information,
    warning, // a value or a source could not be read
    error,   // a call fails
    trace
};

// Why a call failed: a copy of the library's record. Where the library has none, as for a time-out, only text is set.
struct Error
{
    std::string text; // of one line or more, for a log
    std::string message;
    std::string error_text; // what failed, in fixed words
    std::string file;       // the source file of the library
    std::string function;
    std::int64_t line = 0;
    std::string stack_trace;
};

struct Result
{
    Status status = Status::success;
    std::string document; // compact JSON in UTF-8
    Error error;

    explicit operator bool() const { return status == Status::success; }
};

// The host's log function, which gets UTF-8 text that may contain line breaks. It runs on the Client's thread, and must not use
// the Client. What it throws is dropped.
using Log = std::function<void(Level, const std::string&)>;

namespace detail
{
inline std::string utf8(const std::filesystem::path& path)
{
    const auto text = path.u8string();
    return {text.begin(), text.end()};
}

// Throws std::runtime_error.
inline void* open(const std::filesystem::path& path)
{
#ifdef _WIN32
    void* const module = LoadLibraryExW(path.c_str(), nullptr, LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32);
    const auto code = static_cast<int>(GetLastError());
    std::string cause = "system error " + std::to_string(code);
    std::error_code ignored;
    for (const auto& file : {path.parent_path() / "vm_detect.dll", path}) // Windows reports either as if it were the library
        if (code == ERROR_MOD_NOT_FOUND && !exists(file, ignored))
            cause = utf8(file) + " is missing";
#else
    void* const module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    const std::string cause = module ? "" : dlerror();
#endif
    return module ? module : throw std::runtime_error("cannot load " + utf8(path) + ": " + cause);
}

inline void* find(void* module, const std::string& name)
{
#ifdef _WIN32
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(module), name.c_str()));
#else
    return dlsym(module, name.c_str());
#endif
}
}

// The functions of the library, linked or loaded. A loaded library stays loaded until the process ends.
struct Library
{
    std::array<decltype(&hardware_inventory_find_cpus), kind_names.size()> find; // by Kind
    decltype(&release_buffer) release;
    decltype(&hardware_inventory_get_exception) get_exception;
    decltype(&hardware_inventory_set_logger) set_logger;

    // For a program that is linked with the library.
    static Library linked()
    {
        return {{hardware_inventory_find_cpus, hardware_inventory_find_gpus, hardware_inventory_find_ram,
                 hardware_inventory_find_disks, hardware_inventory_find_network_adapters, hardware_inventory_find_base_boards,
                 hardware_inventory_find_system, hardware_inventory_find_hotfixes},
                release_buffer,
                hardware_inventory_get_exception,
                hardware_inventory_set_logger};
    }

    // Throws std::runtime_error, whose text, in UTF-8, names the file that is missing: the library, or one that the library needs.
    static Library load(const std::filesystem::path& path)
    {
        const std::filesystem::path whole = std::filesystem::absolute(path).make_preferred();
        void* const module = detail::open(whole);
        const auto get = [&](auto& function, const std::string& name)
        {
            function = reinterpret_cast<std::decay_t<decltype(function)>>(detail::find(module, name));
            if (!function)
                throw std::runtime_error(detail::utf8(whole) + " has no function " + name);
        };
        Library library{};
        for (std::size_t kind = 0; kind < kind_names.size(); ++kind)
        {
            std::string name = kind_names[kind];
            std::replace(name.begin(), name.end(), '-', '_');
            get(library.find[kind], "hardware_inventory_find_" + name);
        }
        get(library.release, "release_buffer");
        get(library.get_exception, "hardware_inventory_get_exception");
        get(library.set_logger, "hardware_inventory_set_logger");
        return library;
    }
};

namespace detail
{
inline Result failure(Status status, const char* text)
{
    Result result;
    result.status = status;
    result.error.text = text;
    return result;
}

struct Call
{
    Kind kind;
    Result result = failure(Status::other, "out of memory"); // until it has another
    bool done = false;
};

// What a Client and its thread share. It lives as long as either of them.
struct Worker
{
    const Library library;
    const bool logs;
    Log log;
    std::mutex logging; // of log; held while it runs
    // The mutex of the process is that of the rest.
    std::shared_ptr<Call> call;
    bool late = false;   // the call runs, and nobody waits for it any more
    bool ending = false; // the Client is gone
};

struct Process
{
    std::mutex mutex;
    std::condition_variable changed;
    Worker* caller = nullptr; // the one whose call runs
};

// Never destroyed: a call that hangs may outlive everything else of the process.
inline Process& process()
{
    static Process& only = *new Process;
    return only;
}

// The library passes nothing of the host's to its callback, and calls it on the thread of the call.
inline void forward(std::uint32_t level, const char* message)
{
    Worker& worker = *process().caller;
    const std::lock_guard<std::mutex> lock(worker.logging);
    try
    {
        if (worker.log)
            worker.log(static_cast<Level>(level), message);
    }
    catch (...) // not into the library
    {
    }
}

inline Result collect(const Library& library, Kind kind)
{
    char* buffer = nullptr;
    std::size_t size = 0;
    Result result;
    result.status = static_cast<Status>(library.find[static_cast<std::size_t>(kind)](&buffer, &size));
    if (result)
    {
        const std::unique_ptr<char, decltype(library.release)> owner(buffer, library.release);
        result.document.assign(buffer, size - 1);
        return result;
    }
    Error& error = result.error;
    error.text = "status " + std::to_string(static_cast<std::uint32_t>(result.status));
    if (size != 0) // memory for the document was lacking, and the record is that of an earlier failure
        return result;
    const ExceptionRecord& record = *library.get_exception();
    const auto text = [](const char* field) { return std::string(field ? field : ""); };
    error.message = text(record.message);
    error.error_text = text(record.errorText);
    error.file = text(record.file);
    error.function = text(record.function);
    error.line = record.line;
    error.stack_trace = text(record.stackTrace);
    for (const std::string& part : {error.error_text, error.message.substr(0, error.message.find_last_not_of(" \r\n") + 1)})
        error.text += part.empty() ? "" : ": " + part;
    return result;
}

// The Client's thread.
inline void run(const std::shared_ptr<Worker>& worker)
{
    Process& all = process();
    std::unique_lock<std::mutex> lock(all.mutex);
    while (true)
    {
        all.changed.wait(lock, [&] { return worker->ending || (worker->call && !all.caller); });
        if (worker->ending)
            return;
        const std::shared_ptr<Call> call = worker->call;
        all.caller = worker.get();
        lock.unlock();
        if (worker->logs)
            worker->library.set_logger(forward);
        try
        {
            call->result = collect(worker->library, call->kind);
        }
        catch (const std::exception&) // std::bad_alloc: the result is that from the start
        {
        }
        if (worker->logs)
            worker->library.set_logger(nullptr);
        lock.lock();
        all.caller = nullptr;
        worker->call = nullptr;
        worker->late = false;
        call->done = true;
        all.changed.notify_all();
    }
}
}

class Client
{
public:
    explicit Client(const Library& library, Log log = {})
        : worker_(new detail::Worker{library, static_cast<bool>(log), std::move(log), {}, {}}), thread_(detail::run, worker_)
    {
    }

    // No thread may be in collect. Does not wait for a call that has timed out: its thread ends after it. The log function is not
    // called any more.
    ~Client()
    {
        std::unique_lock<std::mutex> lock(detail::process().mutex);
        worker_->ending = true;
        const bool late = worker_->late;
        detail::process().changed.notify_all();
        lock.unlock();
        late ? thread_.detach() : thread_.join();
        const std::lock_guard<std::mutex> logging(worker_->logging);
        worker_->log = nullptr;
    }

    // Reads the machine. The limit, of a year at most, counts from now on, with the wait for earlier calls.
    Result collect(Kind kind, std::chrono::milliseconds limit = std::chrono::minutes(1))
    {
        const auto end = std::chrono::steady_clock::now() + (std::min<std::chrono::milliseconds>)(limit, std::chrono::hours(8760));
        const std::shared_ptr<detail::Call> call(new detail::Call{kind});
        detail::Process& all = detail::process();
        std::unique_lock<std::mutex> lock(all.mutex);
        const bool next = all.changed.wait_until(lock, end, [&] { return !worker_->call || worker_->late; });
        if (worker_->late)
            return detail::failure(Status::busy, "busy");
        if (next)
        {
            worker_->call = call;
            all.changed.notify_all();
            if (all.changed.wait_until(lock, end, [&] { return call->done; }))
                return std::move(call->result);
            worker_->late = all.caller == worker_.get();
            if (!worker_->late)
                worker_->call = nullptr;
            all.changed.notify_all();
        }
        return detail::failure(Status::timed_out, "timed out");
    }

private:
    std::shared_ptr<detail::Worker> worker_;
    std::thread thread_;
};
}

#endif

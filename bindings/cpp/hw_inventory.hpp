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
#include <cstdint>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

#ifdef _WIN32
#ifndef NOMINMAX
#define NOMINMAX
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

// Those of the library (hw_inventory_interface.h), and two of the Client's own.
enum class Status : std::uint32_t
{
    success = EXPORT_STATUS_SUCCESS,
    wmi_connection = EXPORT_STATUS_WMI_CONNECTION,
    wmi_query = EXPORT_STATUS_WMI_QUERY,
    other = EXPORT_STATUS_OTHER,
    timed_out = 1000, // the call took longer than its limit; it goes on, and its result is dropped
    busy = 1001       // an earlier call that timed out has not come back
};

enum class Level : std::uint32_t
{
    information,
    warning,
    error,
    trace
};

// Why a call failed: a copy of the library's record. Where the library has none, as for a time-out, only text is set.
struct Error
{
    std::string text; // of one line or more, for a log
    std::string message;
    std::string error_text;
    std::string file;
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

// The functions of the library, linked or loaded. A loaded library stays loaded until the process ends.
struct Library
{
    std::array<decltype(&hardware_inventory_find_cpus), 8> find; // by Kind
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

    // Throws std::runtime_error, which names the file that is missing: the library, or one that the library needs.
    static Library load(const std::filesystem::path& path);
};

namespace detail
{
inline std::string utf8(const std::filesystem::path& path)
{
    const auto text = path.u8string();
    return {text.begin(), text.end()};
}

#ifdef _WIN32
using Module = HMODULE;

inline Module open(const std::filesystem::path& path)
{
    const Module module = LoadLibraryExW(path.c_str(), nullptr, LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32);
    const DWORD error = GetLastError();
    const std::filesystem::path needed = path.parent_path() / "vm_detect.dll";
    if (!module && error == ERROR_MOD_NOT_FOUND && exists(path) && !exists(needed))
        throw std::runtime_error("cannot load " + utf8(path) + ", which needs the missing " + utf8(needed));
    if (!module)
        throw std::runtime_error("cannot load " + utf8(path) + (exists(path) ? "" : ", which is missing") + ": system error " +
                                 std::to_string(error));
    return module;
}

inline void* find(Module module, const char* name)
{
    return reinterpret_cast<void*>(GetProcAddress(module, name));
}
#else
using Module = void*;

inline Module open(const std::filesystem::path& path)
{
    const Module module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    return module ? module : throw std::runtime_error("cannot load " + utf8(path) + ": " + dlerror());
}

inline void* find(Module module, const char* name)
{
    return dlsym(module, name);
}
#endif

inline std::string text(const char* field)
{
    return field ? field : "";
}

struct Worker;

struct Job
{
    std::function<void(Worker&)> work;
    bool begun = false;
    bool done = false;
};

// What a Client and its thread share. It lives as long as either of them.
struct Worker
{
    explicit Worker(Library functions) : library(functions) {}

    const Library library;
    std::mutex mutex; // of the next four and of every job
    std::condition_variable changed;
    std::deque<std::shared_ptr<Job>> queue;
    bool late = false;   // the running call has outlived its limit
    bool ending = false; // the Client is going or gone
    std::mutex logging;  // of the last one, held while the host's function runs
    std::function<void(Level, const std::string&)> log;
};

// The worker whose thread this is: the library calls the logger on the thread of the call, and passes nothing on to it.
inline Worker*& current()
{
    thread_local Worker* worker = nullptr;
    return worker;
}

inline void forward(std::uint32_t level, const char* message)
{
    Worker& worker = *current();
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

// One call at a time in a process. Never destroyed: a call that hangs may hold it when the process ends.
inline std::mutex& oneCall()
{
    static std::mutex& mutex = *new std::mutex;
    return mutex;
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
    const ExceptionRecord& record = *library.get_exception();
    Error& error = result.error;
    error = {"status " + std::to_string(static_cast<std::uint32_t>(result.status)),
             text(record.message),
             text(record.errorText),
             text(record.file),
             text(record.function),
             record.line,
             text(record.stackTrace)};
    for (const std::string& part : {error.error_text, error.message})
        error.text += part.empty() ? "" : ": " + part;
    return result;
}

inline void run(const std::shared_ptr<Worker>& worker)
{
    current() = worker.get();
    std::unique_lock<std::mutex> lock(worker->mutex);
    while (true)
    {
        worker->changed.wait(lock, [&] { return worker->ending || !worker->queue.empty(); });
        if (worker->ending)
            return;
        const std::shared_ptr<Job> job = worker->queue.front();
        worker->queue.pop_front();
        job->begun = true;
        lock.unlock();
        {
            const std::lock_guard<std::mutex> call(oneCall());
            try
            {
                job->work(*worker);
            }
            catch (const std::bad_alloc&) // the job's result is this failure until it has another
            {
            }
        }
        lock.lock();
        job->done = true;
        worker->late = false;
        worker->changed.notify_all();
    }
}
}

inline Library Library::load(const std::filesystem::path& path)
{
    const std::filesystem::path whole = std::filesystem::absolute(path);
    const detail::Module module = detail::open(whole);
    const auto function = [&](const char* name, auto example)
    {
        const auto found = reinterpret_cast<decltype(example)>(detail::find(module, name));
        return found ? found : throw std::runtime_error(detail::utf8(whole) + " has no function " + name);
    };
    Library library{};
    constexpr const char* names[] = {"hardware_inventory_find_cpus",
                                     "hardware_inventory_find_gpus",
                                     "hardware_inventory_find_ram",
                                     "hardware_inventory_find_disks",
                                     "hardware_inventory_find_network_adapters",
                                     "hardware_inventory_find_base_boards",
                                     "hardware_inventory_find_system",
                                     "hardware_inventory_find_hotfixes"};
    for (std::size_t kind = 0; kind < library.find.size(); ++kind)
        library.find[kind] = function(names[kind], library.find[kind]);
    library.release = function("release_buffer", library.release);
    library.get_exception = function("hardware_inventory_get_exception", library.get_exception);
    library.set_logger = function("hardware_inventory_set_logger", library.set_logger);
    return library;
}

class Client
{
public:
    explicit Client(Library library) : worker_(std::make_shared<detail::Worker>(library)), thread_(detail::run, worker_) {}
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    // Does not wait for a call that has timed out: its thread ends when the call does. No other call may be running.
    ~Client()
    {
        std::unique_lock<std::mutex> lock(worker_->mutex);
        worker_->ending = true;
        worker_->changed.notify_all();
        const bool late = worker_->late;
        lock.unlock();
        {
            const std::lock_guard<std::mutex> logging(worker_->logging);
            worker_->log = nullptr;
        }
        late ? thread_.detach() : thread_.join();
    }

    // Collects one kind. A limit counts from now, the wait for earlier calls included; no_limit waits for as long as it takes.
    Result collect(Kind kind, std::chrono::milliseconds limit = std::chrono::minutes(1))
    {
        const auto result = std::make_shared<Result>(failed(Status::other, "out of memory"));
        const auto job = std::make_shared<detail::Job>();
        job->work = [result, kind](detail::Worker& worker) { *result = detail::collect(worker.library, kind); };

        std::unique_lock<std::mutex> lock(worker_->mutex);
        if (!worker_->late)
            worker_->queue.push_back(job);
        worker_->changed.notify_all();
        const auto settled = [&] { return job->done || (worker_->late && !job->begun); };
        if (limit == no_limit)
            worker_->changed.wait(lock, settled);
        else
            worker_->changed.wait_for(lock, limit, settled);
        if (job->done)
            return std::move(*result);
        const bool busy = worker_->late;
        worker_->late = worker_->late || job->begun;
        worker_->queue.erase(std::remove(worker_->queue.begin(), worker_->queue.end(), job), worker_->queue.end());
        worker_->changed.notify_all();
        if (busy)
            return failed(Status::busy, "an earlier call that timed out has not come back");
        return failed(Status::timed_out, "timed out after " + std::to_string(limit.count()) + " ms");
    }

    // The host's log function, from the next call on; an empty one switches the log off. It runs on the Client's thread, and must
    // not call the Client. What it throws is dropped.
    void set_log(std::function<void(Level, const std::string&)> log)
    {
        const bool on = static_cast<bool>(log);
        {
            const std::lock_guard<std::mutex> logging(worker_->logging);
            worker_->log = std::move(log);
        }
        const auto job = std::make_shared<detail::Job>();
        job->work = [on](detail::Worker& worker) { worker.library.set_logger(on ? detail::forward : nullptr); };
        const std::lock_guard<std::mutex> lock(worker_->mutex);
        worker_->queue.push_back(job);
        worker_->changed.notify_all();
    }

    static constexpr std::chrono::milliseconds no_limit = std::chrono::milliseconds::max();

private:
    static Result failed(Status status, const char* text) { return {status, {}, {text, {}, {}, {}, {}, 0, {}}}; }
    static Result failed(Status status, const std::string& text) { return failed(status, text.c_str()); }

    std::shared_ptr<detail::Worker> worker_;
    std::thread thread_;
};
}

#endif

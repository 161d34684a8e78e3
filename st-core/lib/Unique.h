#pragma once

#include <cstdint>
#include <utility>

namespace ZelStdCore
{
// The values by which the system reports "no handle". Each kind of handle has one of them.
constexpr std::intptr_t kNull = 0;
constexpr std::intptr_t kInvalidHandle = -1; // INVALID_HANDLE_VALUE

// Owns a handle or a buffer of the system and closes it with the function that belongs to its kind:
// using RegistryKey = Unique<HKEY, RegCloseKey>;
template <class Handle, auto Close, std::intptr_t Empty = kNull>
class Unique
{
public:
    Unique() = default;
    explicit Unique(Handle handle) : handle_(handle) {}
    Unique(Unique&& other) noexcept : handle_(std::exchange(other.handle_, empty())) {}
    Unique& operator=(Unique&&) = delete;
    ~Unique() { reset(); }

    explicit operator bool() const { return handle_ != empty(); }
    Handle get() const { return handle_; }

    // Where a system call stores the handle that it opens; only for an empty object.
    Handle* put() { return &handle_; }

    void reset(Handle handle = empty())
    {
        if (const Handle earlier = std::exchange(handle_, handle); earlier != empty())
            Close(earlier);
    }

private:
    // NOLINTNEXTLINE(performance-no-int-to-ptr): INVALID_HANDLE_VALUE is a number.
    static Handle empty() { return reinterpret_cast<Handle>(Empty); }

    Handle handle_ = empty();
};
}

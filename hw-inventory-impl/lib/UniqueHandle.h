#pragma once

#include <cstdint>
#include <utility>

namespace HardwareInventory
{
// Owns a system handle and closes it with the function that belongs to its kind. Null and -1, the system's two ways of saying
// "no handle", are both empty.
template <class Handle, auto Close>
class UniqueHandle
{
public:
    UniqueHandle() = default;
    explicit UniqueHandle(Handle handle) : handle_(handle) {}
    UniqueHandle(UniqueHandle&& other) noexcept : handle_(std::exchange(other.handle_, Handle{})) {}
    UniqueHandle& operator=(UniqueHandle&&) = delete;
    ~UniqueHandle()
    {
        if (*this)
            Close(handle_);
    }

    explicit operator bool() const
    {
        const auto value = reinterpret_cast<std::intptr_t>(handle_);
        return value != 0 && value != -1;
    }

    Handle get() const { return handle_; }

    // Where a system call stores the handle that it opens; only for an empty object.
    Handle* put() { return &handle_; }

private:
    Handle handle_{};
};
}

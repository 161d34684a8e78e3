#pragma once

#include <utility>

namespace HardwareInventory::Providers
{
// Owns one reference to a COM interface. The libraries' own pointers disagree between compilers on whether attaching counts.
template <class Interface>
class ComPointer
{
public:
    ComPointer() = default;
    explicit ComPointer(Interface* owned) : interface_(owned) {}
    ComPointer(ComPointer&& other) noexcept : interface_(other.detach()) {}
    ComPointer& operator=(ComPointer&&) = delete;
    ~ComPointer() { reset(); }

    Interface* get() const { return interface_; }
    Interface* operator->() const { return interface_; }

    // Where a call stores the reference that it gives; only for an empty object.
    Interface** put() { return &interface_; }

    void reset()
    {
        if (Interface* const owned = detach())
            owned->Release();
    }

    // Gives the reference up without releasing it.
    Interface* detach() { return std::exchange(interface_, nullptr); }

private:
    Interface* interface_ = nullptr;
};
}

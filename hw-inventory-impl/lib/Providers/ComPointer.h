#pragma once

#include <utility>

namespace HardwareInventory::Providers
{
// Owns one reference to a COM interface. The compilers' own smart pointers differ in whether attaching adds a reference.
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

    // For a call that stores a reference here. Only for an empty pointer.
    Interface** put() { return &interface_; }

    void reset()
    {
        if (Interface* const owned = detach())
            owned->Release();
    }

    // Returns the reference without releasing it.
    Interface* detach() { return std::exchange(interface_, nullptr); }

private:
    Interface* interface_ = nullptr;
};
}

#pragma once

#include <atomic>
#include <memory>

namespace HardwareInventory
{
// The process's one object of a type, built on first use and destroyed when the process ends.
//
// The pointer is set after the object is built. A function-local static would be locked meanwhile, but building logs, and the
// host's callback may collect again or leave by longjmp: that call, or every later one, would wait for ever. If several calls build
// at the same time, all of them get the object that was finished first.
template <class Object>
class BuiltOnce
{
public:
    constexpr BuiltOnce() = default;
    BuiltOnce(const BuiltOnce&) = delete;
    BuiltOnce& operator=(const BuiltOnce&) = delete;
    ~BuiltOnce() { delete object_.load(); }

    // The object. The first call gets it from build(), which returns a std::unique_ptr or throws.
    template <class Build>
    Object& get(Build build)
    {
        Object* object = object_.load();
        if (object)
            return *object;
        std::unique_ptr<Object> built = build();
        return object_.compare_exchange_strong(object, built.get()) ? *built.release() : *object;
    }

private:
    std::atomic<Object*> object_ = nullptr;
};
}

#pragma once

#include <atomic>
#include <memory>

namespace HardwareInventory
{
// An object of which the process has one, built on first use and destroyed when the process ends.
//
// It is kept when it is built, not while it is being built as a function-local static would be. Building logs, and the host's
// callback may collect again, which would wait for ever for the object, or leave by longjmp, after which every later call would.
// Where several calls build one at the same time, they all get the one that was finished first.
template <class Object>
class BuiltOnce
{
public:
    constexpr BuiltOnce() = default;
    BuiltOnce(const BuiltOnce&) = delete;
    BuiltOnce& operator=(const BuiltOnce&) = delete;
    ~BuiltOnce() { delete kept_.load(); }

    // The object, from build() where there is none yet: a function that returns a std::unique_ptr, or throws.
    template <class Build>
    Object& get(Build build)
    {
        Object* kept = kept_.load();
        if (kept)
            return *kept;
        std::unique_ptr<Object> built = build();
        return kept_.compare_exchange_strong(kept, built.get()) ? *built.release() : *kept;
    }

private:
    std::atomic<Object*> kept_ = nullptr;
};
}

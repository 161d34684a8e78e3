#pragma once

#include <windows.h>

#include <objbase.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>

// WMI in this process, which the built library finds through COM as it finds the system's own: by class, in the apartment where it
// is registered. Every query yields one object, and every property of it is the text "42", apart from an odd release date of the
// firmware.
//
// COM searches the thread's apartment for the class: the thread that registers it joins one first.
class FakeWmi
{
public:
    // The names of the calls that can fail: "CreateInstance", "ConnectServer", "SetBlanket", "ExecQuery", "Next",
    // "Get". Set before any call; none fails without it.
    static void failWhen(std::function<bool(const std::string& call)> condition);

    struct Counts
    {
        std::atomic<std::size_t> connections{0};     // made
        std::atomic<std::size_t> living{0};          // objects with references, class factories left out
        std::atomic<std::size_t> underLoaderLock{0}; // last references released while the thread held the loader lock
    };
    static Counts& counts();

    // Registers the service in the calling thread's apartment, until the end of the object.
    FakeWmi();
    FakeWmi(const FakeWmi&) = delete;
    FakeWmi& operator=(const FakeWmi&) = delete;
    ~FakeWmi();

private:
    DWORD registration_ = 0;
};

// Membership of the calling thread in one of COM's apartments.
class Apartment
{
public:
    explicit Apartment(DWORD kind);
    Apartment(const Apartment&) = delete;
    Apartment& operator=(const Apartment&) = delete;
    ~Apartment();
};

// A host of the multithreaded apartment, with the service registered there.
struct FakeWmiHost
{
    const Apartment apartment{COINIT_MULTITHREADED};
    const FakeWmi wmi;
};

bool holdsLoaderLock();

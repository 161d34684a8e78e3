#pragma once

#include <windows.h>

#include <wbemcli.h>

#include <cstddef>
#include <string>

// The least that any client must ask Windows for what the library's collections contain: the same queries with the same properties,
// in the same order, and the same other calls: like the library it joins COM and creates a locator for each namespace. It keeps
// only the results that a later call needs, and connects once, on the thread that uses it. Throws std::runtime_error if a call
// fails on which the library would fail.
class BareClient
{
public:
    BareClient();
    BareClient(const BareClient&) = delete;
    ~BareClient();

    // Each collects one kind and returns the number of entries.
    std::size_t cpus();
    std::size_t gpus();
    std::size_t ram();
    std::size_t disks();
    std::size_t networkAdapters();
    std::size_t baseBoards();
    std::size_t system();
    std::size_t hotfixes();

private:
    void usedSpace(const std::wstring& volume);

    IWbemServices* cimv2_;
    IWbemServices* standardCimv2_; // null if there is no such namespace
    bool virtualHost_;             // never changes: read once
};

#pragma once

#include <windows.h>

#include <wbemcli.h>

#include <cstddef>
#include <string>

// The least that a client of its own must ask Windows for what the library's collections tell: the same queries with the same
// properties, in the same order, and the same other questions. It keeps no answer but those that the next question needs, and
// connects once, on the thread that uses it. Throws std::runtime_error where a question fails that the library would fail on.
class BareClient
{
public:
    BareClient();
    BareClient(const BareClient&) = delete;
    ~BareClient();

    // Each asks for one kind, and answers for how many entries.
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

    IWbemLocator* locator_ = nullptr;
    IWbemServices* cimv2_ = nullptr;
    IWbemServices* standardCimv2_ = nullptr; // null where there is no such namespace
    bool virtualHost_;                       // no host changes its kind: asked once
};

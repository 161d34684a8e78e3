#include "tests/system/product/Balance.h"

#include <windows.h>

#include <psapi.h>

#include <algorithm>
#include <vector>

namespace
{
// winternl.h has neither this class of information, number 64, nor its layout.
using QuerySystemInformation = LONG(NTAPI*)(ULONG kind, void* information, ULONG size, ULONG* needed);
constexpr ULONG kExtendedHandleInformation = 64;

struct HandleEntry
{
    void* object;
    ULONG_PTR process;
    ULONG_PTR handle;
    ULONG access;
    USHORT creatorBackTrace;
    USHORT type;
    ULONG attributes;
    ULONG reserved;
};

struct HandleInformation
{
    ULONG_PTR count;
    ULONG_PTR reserved;
    HandleEntry entries[1];
};

std::size_t countHandles()
{
    static const auto query =
        reinterpret_cast<QuerySystemInformation>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQuerySystemInformation"));
    static std::vector<char> buffer(1 << 20);
    ULONG size = 0;
    while (query(kExtendedHandleInformation, buffer.data(), static_cast<ULONG>(buffer.size()), &size) < 0)
        buffer.resize(buffer.size() * 2);
    const auto& information = *reinterpret_cast<const HandleInformation*>(buffer.data());
    std::size_t count = 0;
    for (ULONG_PTR index = 0; index < information.count; ++index)
        count += information.entries[index].process == GetCurrentProcessId();
    return count;
}

std::size_t countModules()
{
    HMODULE modules[1024];
    DWORD size = 0;
    EnumProcessModules(GetCurrentProcess(), modules, sizeof(modules), &size);
    return size / sizeof(HMODULE);
}
}

Balance Balance::take()
{
    Balance balance{0, 0, countHandles(), countModules()};
    HANDLE heaps[256];
    const DWORD count = GetProcessHeaps(256, heaps);
    for (DWORD index = 0; index < count; ++index)
    {
        HeapLock(heaps[index]);
        PROCESS_HEAP_ENTRY entry{};
        while (HeapWalk(heaps[index], &entry))
            if (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY)
            {
                ++balance.heapBlocks;
                balance.heapBytes += entry.cbData;
            }
        HeapUnlock(heaps[index]);
    }
    return balance;
}

Balance Balance::since(const Balance& then) const
{
    return {heapBlocks - then.heapBlocks, heapBytes - then.heapBytes, handles - then.handles, modules - then.modules};
}

bool Balance::operator==(const Balance& other) const
{
    constexpr std::size_t kLocks = 5;
    return heapBlocks == other.heapBlocks && heapBytes == other.heapBytes && modules == other.modules &&
           std::max(handles, other.handles) - std::min(handles, other.handles) <= kLocks;
}

std::ostream& operator<<(std::ostream& stream, const Balance& balance)
{
    return stream << balance.heapBlocks << " heap blocks of " << balance.heapBytes << " bytes, " << balance.handles << " handles, "
                  << balance.modules << " modules";
}

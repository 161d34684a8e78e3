#pragma once

#include <windows.h>

#include <gtest/gtest.h>
#include <psapi.h>

// The resources of this process. The system's strings, VARIANTs and COM objects are blocks of its heaps like the library's own.
struct Balance
{
    std::size_t blocks = 0;
    std::size_t bytes = 0;
    std::size_t handles = 0;
    std::size_t modules = 0;

    static Balance take()
    {
        Balance balance;
        HANDLE heaps[256];
        for (DWORD index = GetProcessHeaps(256, heaps); index-- > 0;)
        {
            PROCESS_HEAP_ENTRY entry{};
            while (HeapWalk(heaps[index], &entry))
                if (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY)
                {
                    ++balance.blocks;
                    balance.bytes += entry.cbData;
                }
        }
        // Wine does not count handles, but gives out the lowest free one.
        DWORD unused = 0;
        for (std::uintptr_t handle = 4; handle < 0x4000; handle += 4)
            balance.handles += GetHandleInformation(reinterpret_cast<HANDLE>(handle), &unused) != 0;
        HMODULE modules[1024];
        EnumProcessModules(GetCurrentProcess(), modules, sizeof modules, &unused);
        balance.modules = unused / sizeof(HMODULE);
        return balance;
    }

    // A system lock takes a handle when it is first contended, so that a few handles may differ.
    void expectSame(const Balance& after = take(), std::size_t locks = 5) const
    {
        EXPECT_EQ(after.blocks, blocks);
        EXPECT_EQ(after.bytes, bytes);
        EXPECT_NEAR(static_cast<double>(after.handles), static_cast<double>(handles), static_cast<double>(locks));
        EXPECT_EQ(after.modules, modules);
    }
};

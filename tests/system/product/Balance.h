#pragma once

#include <windows.h>

#include <gtest/gtest.h>
#include <psapi.h>

// The resources of this process. The system's strings, VARIANTs and COM objects are blocks of its heaps like the library's own.
struct Balance
{
    std::size_t blocks = 0, bytes = 0, handles = 0;
    DWORD modules = 0;

    Balance()
    {
        HANDLE heaps[256];
        for (DWORD index = GetProcessHeaps(256, heaps); index-- > 0;)
            for (PROCESS_HEAP_ENTRY entry{}; HeapWalk(heaps[index], &entry);)
                if (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY)
                    bytes += (++blocks, entry.cbData);
        // Wine does not count handles, but gives out the lowest free one.
        DWORD flags = 0;
        for (std::uintptr_t handle = 4; handle < 0x4000; handle += 4)
            handles += GetHandleInformation(reinterpret_cast<HANDLE>(handle), &flags) != 0;
        HMODULE list[1024];
        EnumProcessModules(GetCurrentProcess(), list, sizeof list, &modules);
    }

    // A system lock takes a handle when it is first contended, so that a few handles may differ.
    void expectSame(bool heap = true) const
    {
        const Balance now;
        EXPECT_TRUE(!heap || (now.blocks == blocks && now.bytes == bytes)) << now.blocks << " blocks, before " << blocks;
        EXPECT_NEAR(static_cast<double>(now.handles), static_cast<double>(handles), 5);
        EXPECT_EQ(now.modules, modules);
    }
};

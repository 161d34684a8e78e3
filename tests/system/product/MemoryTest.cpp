#include "tests/system/product/Balance.h"
#include "tests/system/product/FakeWmi.h"
#include "tests/system/product/Imports.h"
#include "tests/system/product/Product.h"
#include "vm-detect/vm_detect.h"

#include <gtest/gtest.h>

#include <malloc.h>
#include <winternl.h>

#include <algorithm>
#include <limits>
#include <thread>

namespace
{
// The bytes left of the heap of the two libraries' runtime. Freed bytes are added.
constexpr std::size_t kPlenty = std::numeric_limits<std::size_t>::max() / 2;
std::size_t bytesLeft = kPlenty;

void* counted(void* block)
{
    if (block)
        bytesLeft -= std::min(bytesLeft, _msize(block));
    return block;
}

void* limitedMalloc(std::size_t size)
{
    return size > bytesLeft ? nullptr : counted(std::malloc(size));
}

void* limitedCalloc(std::size_t count, std::size_t size)
{
    return count * size > bytesLeft ? nullptr : counted(std::calloc(count, size));
}

void limitedFree(void* block)
{
    bytesLeft += block ? _msize(block) : 0;
    std::free(block);
}

void* limitedRealloc(void* block, std::size_t size)
{
    const std::size_t before = block ? _msize(block) : 0;
    if (size > bytesLeft + before)
        return nullptr;
    void* const resized = std::realloc(block, size);
    bytesLeft += resized ? before : 0;
    return counted(resized);
}

BOOL WINAPI pinNothing(DWORD, const wchar_t*, HMODULE* module)
{
    *module = nullptr;
    return TRUE;
}

// The loader's notification, which no header declares.
struct Loaded
{
    ULONG flags;
    const UNICODE_STRING* path;
    const UNICODE_STRING* name;
    HMODULE base;
    ULONG size;
};
constexpr ULONG kLoaded = 1;
using Notify = void(CALLBACK*)(ULONG reason, const Loaded* module, void* context);
using RegisterNotification = LONG(NTAPI*)(ULONG flags, Notify notify, void* context, void** cookie);

// Called before the library's own first instruction. Nothing pins it: each load is the first of the process.
void CALLBACK limitLibrary(ULONG reason, const Loaded* module, void*)
{
    const std::wstring_view name(module->name->Buffer, module->name->Length / sizeof(wchar_t));
    const bool product = name == L"hw_inventory_interface.dll";
    if (reason != kLoaded || (!product && name != L"vm_detect.dll"))
        return;
    replaceImport(module->base, "malloc", reinterpret_cast<void*>(&limitedMalloc));
    replaceImport(module->base, "calloc", reinterpret_cast<void*>(&limitedCalloc));
    replaceImport(module->base, "realloc", reinterpret_cast<void*>(&limitedRealloc));
    replaceImport(module->base, "free", reinterpret_cast<void*>(&limitedFree));
    replaceImport(module->base, "GetModuleHandleExW", reinterpret_cast<void*>(&pinNothing));
    if (product)
        takeDbgHelpFrom(module->base);
}

void limitLibraries()
{
    const auto watch =
        reinterpret_cast<RegisterNotification>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "LdrRegisterDllNotification"));
    static void* cookie = nullptr;
    ASSERT_EQ(watch(0, limitLibrary, nullptr, &cookie), 0);
}

std::int32_t hypervisor()
{
    const HMODULE library = GetModuleHandleW(L"vm_detect.dll");
    return reinterpret_cast<decltype(&VmProbe_GetHostVMType)>(GetProcAddress(library, "VmProbe_GetHostVMType"))();
}

void ignoreLine(std::uint32_t, const char*)
{
}

// The outputs before a call.
char untouched[] = "untouched";

struct Outcome
{
    ExportStatus status = 0;
    char* buffer = untouched;
    std::size_t size = sizeof untouched;
    ExportStatus textStatus = 0;
    std::int32_t hypervisor = 0;
};

// Calls everything that a host can call.
Outcome collectHere(std::size_t bytes, const Product& product, std::size_t kind)
{
    Outcome outcome;
    char text[8192];
    std::size_t size = sizeof text;
    bytesLeft = bytes;
    product.setLogger(ignoreLine);
    outcome.status = product.find(kind)(&outcome.buffer, &outcome.size);
    outcome.textStatus = product.exceptionString(text, &size);
    outcome.hypervisor = hypervisor();
    bytesLeft = kPlenty;
    return outcome;
}

// On a new thread, so that it connects again.
Outcome collectWith(std::size_t bytes, const Product& product, std::size_t kind)
{
    Outcome outcome;
    std::thread([&] { outcome = collectHere(bytes, product, kind); }).join();
    return outcome;
}

std::string documentOf(const Product& product, std::size_t kind)
{
    std::string document;
    std::thread([&] { document = product.collect(kind).document; }).join();
    return document;
}

void expectWhole(const Outcome& outcome, const Product& product, const std::string& document)
{
    EXPECT_TRUE(outcome.textStatus == EXPORT_STATUS_SUCCESS || outcome.textStatus == EXPORT_STATUS_OTHER) << outcome.textStatus;
    EXPECT_EQ(outcome.hypervisor, hypervisor());
    if (outcome.status == EXPORT_STATUS_SUCCESS)
    {
        EXPECT_EQ(outcome.buffer, document);
        product.releaseBuffer(outcome.buffer);
        return;
    }
    EXPECT_EQ(outcome.status, EXPORT_STATUS_OTHER);
    EXPECT_TRUE(!outcome.buffer || outcome.buffer == untouched);
    EXPECT_EQ(outcome.size, outcome.buffer ? sizeof untouched : document.size() + 1);
}
}

// However little of the heap is left, at the load of the library, in its first call and in a later one: the call succeeds or fails
// as documented, and the next one succeeds.
TEST(Memory, RunsOutAnywhere)
{
    const FakeWmiHost host;
    limitLibraries();
    for (const std::size_t bytes : {0, 500, 5000, 20'000, 100'000, 300'000, 1'000'000, 3'000'000})
        for (std::size_t kind = 0; kind < Product::kindCount; ++kind)
        {
            SCOPED_TRACE(std::to_string(bytes) + " bytes, " + Product::kinds[kind].function);
            ASSERT_EQ(GetModuleHandleW(L"hw_inventory_interface.dll"), nullptr);
            bytesLeft = kind % 2 == 0 ? kPlenty : bytes;
            const Product product;
            bytesLeft = kPlenty;
            const Outcome first = collectWith(bytes, product, kind);
            const std::string document = documentOf(product, kind);
            EXPECT_TRUE(document.starts_with(std::string("{\"") + Product::kinds[kind].key)) << document;
            expectWhole(first, product, document);
            expectWhole(collectWith(bytes, product, kind), product, document);
            EXPECT_EQ(documentOf(product, kind), document);
            if (bytes == 0)
                EXPECT_EQ(first.status, EXPORT_STATUS_OTHER);
        }
}

TEST(Memory, AThreadsFirstFailureTakesNothingOfTheProcess)
{
    limitLibraries();
    const Product product;
    collectWith(0, product, Product::cpus); // the runtime's locks
    std::thread(
        [&]
        {
            const Balance before = Balance::take();
            EXPECT_EQ(collectHere(0, product, Product::cpus).status, EXPORT_STATUS_OTHER);
            const Balance growth = Balance::take().since(before);
            EXPECT_EQ(growth.handles, 0u);
            EXPECT_EQ(growth.heapBlocks, 0u);
        })
        .join();
}

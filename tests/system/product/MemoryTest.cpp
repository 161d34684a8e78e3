#include "tests/com/Service.h"
#include "tests/system/product/Balance.h"
#include "tests/system/product/Product.h"
#include "vm-detect/vm_detect.h"

#include <malloc.h>
#include <winternl.h>

#include <cstring>
#include <limits>
#include <thread>

namespace
{
using fakes::replaceImport;

// The heap of the two libraries' runtime, of which so many bytes are left. Freed bytes are added.
constexpr std::size_t kPlenty = std::numeric_limits<std::size_t>::max() / 2;
std::size_t bytesLeft = kPlenty;

struct Limited
{
    static std::size_t sizeOf(void* block) { return block ? _msize(block) : 0; }
    static void* malloc(std::size_t size) { return realloc(nullptr, size); }
    static void* calloc(std::size_t count, std::size_t size) { return count * size > bytesLeft ? nullptr : cleared(count * size); }
    static void* cleared(std::size_t size) { return std::memset(malloc(size), 0, size); }
    static void free(void* block) { std::free((bytesLeft += sizeOf(block), block)); }
    static void* realloc(void* block, std::size_t size)
    {
        const std::size_t all = bytesLeft + sizeOf(block);
        void* const resized = size > all ? nullptr : std::realloc(block, size);
        bytesLeft = resized ? all - std::min(all, _msize(resized)) : bytesLeft;
        return resized;
    }
    static BOOL WINAPI pinNothing(DWORD, const wchar_t*, HMODULE*) { return TRUE; }
    static HMODULE WINAPI loadNothing(const wchar_t*, HANDLE, DWORD) { return nullptr; }
};

// The loader's notification, which no header declares.
struct Loaded
{
    ULONG flags;
    const UNICODE_STRING* path;
    const UNICODE_STRING* name;
    HMODULE base;
};

// Called before the library's own first instruction. Nothing pins it: each load is the first of the process.
void CALLBACK limitLibrary(ULONG reason, const Loaded* module, void*)
{
    const std::wstring_view name(module->name->Buffer, module->name->Length / sizeof(wchar_t));
    const bool product = name == L"hw_inventory_interface.dll";
    if (reason != 1 || (!product && name != L"vm_detect.dll"))
        return;
    replaceImport(module->base, "msvcrt.dll", "malloc", &Limited::malloc);
    replaceImport(module->base, "msvcrt.dll", "calloc", &Limited::calloc);
    replaceImport(module->base, "msvcrt.dll", "realloc", &Limited::realloc);
    replaceImport(module->base, "msvcrt.dll", "free", &Limited::free);
    replaceImport(module->base, "kernel32.dll", "GetModuleHandleExW", &Limited::pinNothing);
    if (product)
        replaceImport(module->base, "kernel32.dll", "LoadLibraryExW", &Limited::loadNothing), fakes::serve(module->base);
}

std::int32_t hypervisor()
{
    const auto address = GetProcAddress(GetModuleHandleW(L"vm_detect.dll"), "VmProbe_GetHostVMType");
    return reinterpret_cast<decltype(&VmProbe_GetHostVMType)>(address)();
}

char untouched[] = "untouched";

// Everything that a host can call, and what it leaves in the outputs.
struct Outcome
{
    ExportStatus status = 0;
    char* buffer = untouched;
    std::size_t size = sizeof untouched;
    ExportStatus textStatus = 0;
    std::int32_t hypervisor = 0;

    void collect(std::size_t bytes, const Product& product, const char* kind)
    {
        const auto find = product.find(kind);
        char text[8192];
        std::size_t textSize = sizeof text;
        bytesLeft = bytes;
        product.setLogger([](std::uint32_t, const char*) {});
        status = find(&buffer, &size);
        textStatus = product.exceptionString(text, &textSize);
        hypervisor = ::hypervisor();
        bytesLeft = kPlenty;
    }
};

struct Memory : testing::Test
{
    Memory()
    {
        using Register = LONG(NTAPI*)(ULONG flags, decltype(&limitLibrary) notify, void* context, void** cookie);
        const auto watch = GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "LdrRegisterDllNotification");
        void* cookie = nullptr;
        EXPECT_EQ(reinterpret_cast<Register>(watch)(0, limitLibrary, nullptr, &cookie), 0);
    }
};

// However little of the heap is left, at the load of the library, in its first call and in a later one: the call succeeds or fails
// as documented, and the next one succeeds.
TEST_F(Memory, RunsOutAnywhere)
{
    for (const std::size_t bytes : {0, 500, 5000, 20'000, 100'000, 300'000, 1'000'000, 3'000'000})
        for (std::size_t index = 0; index < std::size(Product::kinds); ++index)
        {
            const char* const kind = Product::kinds[index];
            SCOPED_TRACE(std::to_string(bytes) + " bytes, " + kind);
            ASSERT_EQ(GetModuleHandleW(L"hw_inventory_interface.dll"), nullptr);
            bytesLeft = index % 2 == 0 ? kPlenty : bytes;
            const Product product;
            bytesLeft = kPlenty;
            for (int call = 0; call < 2; ++call)
            {
                Outcome outcome;
                std::string document;
                std::thread([&] { outcome.collect(bytes, product, kind); }).join(); // connects again
                std::thread([&] { document = product.collect(kind); }).join();
                EXPECT_EQ(document.substr(0, 2), "{\"") << document;
                EXPECT_TRUE(outcome.textStatus == EXPORT_STATUS_SUCCESS || outcome.textStatus == EXPORT_STATUS_OTHER);
                EXPECT_EQ(outcome.hypervisor, hypervisor());
                if (outcome.status == EXPORT_STATUS_SUCCESS)
                {
                    EXPECT_EQ(outcome.buffer, document);
                    EXPECT_NE(bytes, 0u);
                    product.releaseBuffer(outcome.buffer);
                    continue;
                }
                EXPECT_EQ(outcome.status, EXPORT_STATUS_OTHER);
                EXPECT_TRUE(!outcome.buffer || outcome.buffer == untouched);
                EXPECT_EQ(outcome.size, outcome.buffer ? sizeof untouched : document.size() + 1);
            }
        }
}

TEST_F(Memory, AThreadsFirstFailureTakesNothingOfTheProcess)
{
    const Product product;
    const auto fail = [&] { Outcome().collect(0, product, "cpus"); };
    std::thread(fail).join(); // the runtime's locks
    std::thread(
        [&]
        {
            const Balance before;
            fail();
            const Balance after;
            EXPECT_EQ(after.handles, before.handles);
            EXPECT_EQ(after.blocks, before.blocks);
        })
        .join();
}
}

#include "tests/com/Service.h"
#include "tests/system/product/Balance.h"
#include "tests/system/product/Product.h"
#include "vm-detect/vm_detect.h"

#include <winternl.h>

#include <thread>

namespace
{
// In place of the heap of the two libraries' runtime, which gives so many bytes more.
struct Limited
{
    static inline std::size_t left = SIZE_MAX;

    static bool take(std::size_t size) { return size <= left && (left -= size, true); }
    static void* malloc(std::size_t size) { return take(size) ? std::malloc(size) : nullptr; }
    static void* calloc(std::size_t count, std::size_t size) { return take(count * size) ? std::calloc(count, size) : nullptr; }
    static void* realloc(void* block, std::size_t size) { return take(size) ? std::realloc(block, size) : nullptr; }
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
    fakes::replaceImport(module->base, "msvcrt.dll", "malloc", &Limited::malloc);
    fakes::replaceImport(module->base, "msvcrt.dll", "calloc", &Limited::calloc);
    fakes::replaceImport(module->base, "msvcrt.dll", "realloc", &Limited::realloc);
    fakes::replaceImport(module->base, "kernel32.dll", "GetModuleHandleExW", &Limited::pinNothing);
    if (!product)
        return;
    fakes::replaceImport(module->base, "kernel32.dll", "LoadLibraryExW", &Limited::loadNothing); // dbghelp
    fakes::serve(module->base);
}

std::int32_t hypervisor()
{
    const auto address = GetProcAddress(GetModuleHandleW(L"vm_detect.dll"), "VmProbe_GetHostVMType");
    return reinterpret_cast<decltype(&VmProbe_GetHostVMType)>(address)();
}

struct Memory : testing::Test
{
    Memory()
    {
        using Register = LONG(NTAPI*)(ULONG flags, decltype(&limitLibrary) notify, void* context, void** cookie);
        const auto watch = GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "LdrRegisterDllNotification");
        void* cookie = nullptr;
        EXPECT_EQ(reinterpret_cast<Register>(watch)(0, limitLibrary, nullptr, &cookie), 0);
    }

    // Calls everything that a host can call, and returns the document or nothing.
    static std::string collect(std::size_t bytes, const Product& product, const char* kind)
    {
        const auto find = product.find(kind);
        char text[8192];
        char* buffer = nullptr;
        std::size_t size = 0;
        Limited::left = bytes;
        product.setLogger([](std::uint32_t, const char*) {});
        const ExportStatus status = find(&buffer, &size);
        size = sizeof text;
        const ExportStatus textStatus = product.exceptionString(text, &size);
        const std::int32_t found = hypervisor();
        Limited::left = SIZE_MAX;
        EXPECT_EQ(found, hypervisor());
        EXPECT_TRUE(textStatus == EXPORT_STATUS_SUCCESS || textStatus == EXPORT_STATUS_OTHER) << textStatus;
        EXPECT_EQ(status, buffer ? EXPORT_STATUS_SUCCESS : EXPORT_STATUS_OTHER);
        const std::string document = buffer ? buffer : "";
        product.releaseBuffer(buffer);
        return document;
    }
};

// However little of the heap is left, at the load of the library, in its first call and in a later one: the call succeeds or fails
// as documented, and the next one succeeds.
TEST_F(Memory, RunsOutAnywhere)
{
    for (const std::size_t bytes : {0, 500, 5000, 20'000, 100'000, 300'000, 1'000'000, 3'000'000, 10'000'000})
        for (std::size_t kind = 0; kind < std::size(Product::kinds); ++kind)
        {
            SCOPED_TRACE(std::to_string(bytes) + " bytes, " + Product::kinds[kind]);
            ASSERT_EQ(GetModuleHandleW(L"hw_inventory_interface.dll"), nullptr);
            Limited::left = kind % 2 == 0 ? SIZE_MAX : bytes;
            const Product product;
            for (int call = 0; call < 2; ++call)
            {
                // On new threads, which connect again.
                std::string limited, document;
                std::thread([&] { limited = collect(bytes, product, Product::kinds[kind]); }).join();
                std::thread([&] { document = collect(SIZE_MAX, product, Product::kinds[kind]); }).join();
                EXPECT_EQ(document.substr(0, 2), "{\"");
                EXPECT_TRUE(limited.empty() || (limited == document && bytes != 0)) << limited;
            }
        }
}

TEST_F(Memory, AThreadsFirstFailureTakesNothingOfTheProcess)
{
    const Product product;
    std::thread([&] { collect(0, product, "cpus"); }).join(); // the runtime's locks
    std::thread(
        [&]
        {
            const Balance before;
            collect(0, product, "cpus");
            const Balance after;
            EXPECT_EQ(after.handles, before.handles);
            EXPECT_EQ(after.blocks, before.blocks);
        })
        .join();
}
}

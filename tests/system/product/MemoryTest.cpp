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

// The bytes left of the heap of the two libraries' runtime. Freed bytes are added.
constexpr std::size_t kPlenty = std::numeric_limits<std::size_t>::max() / 2;
std::size_t bytesLeft = kPlenty;

void* limitedRealloc(void* block, std::size_t size)
{
    const std::size_t before = block ? _msize(block) : 0;
    void* const resized = size > bytesLeft + before ? nullptr : std::realloc(block, size);
    if (resized)
        bytesLeft -= std::min(bytesLeft + before, _msize(resized)) - before;
    return resized;
}

void* limitedMalloc(std::size_t size)
{
    return limitedRealloc(nullptr, size);
}

void* limitedCalloc(std::size_t count, std::size_t size)
{
    void* const block = limitedMalloc(count * size);
    return block ? std::memset(block, 0, count * size) : nullptr;
}

void limitedFree(void* block)
{
    bytesLeft += block ? _msize(block) : 0;
    std::free(block);
}

BOOL WINAPI pinNothing(DWORD, const wchar_t*, HMODULE*)
{
    return TRUE;
}

HMODULE WINAPI loadNothing(const wchar_t*, HANDLE, DWORD)
{
    return nullptr;
}

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
    replaceImport(module->base, "msvcrt.dll", "malloc", &limitedMalloc);
    replaceImport(module->base, "msvcrt.dll", "calloc", &limitedCalloc);
    replaceImport(module->base, "msvcrt.dll", "realloc", &limitedRealloc);
    replaceImport(module->base, "msvcrt.dll", "free", &limitedFree);
    replaceImport(module->base, "kernel32.dll", "GetModuleHandleExW", &pinNothing);
    if (!product)
        return;
    replaceImport(module->base, "kernel32.dll", "LoadLibraryExW", &loadNothing); // dbghelp
    fakes::serve(module->base);
}

template <class Function>
Function* exported(const char* library, const char* name)
{
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA(library), name)));
}

std::int32_t hypervisor()
{
    return exported<decltype(VmProbe_GetHostVMType)>("vm_detect.dll", "VmProbe_GetHostVMType")();
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
        using Register = LONG NTAPI(ULONG flags, decltype(limitLibrary) notify, void* context, void** cookie);
        void* cookie = nullptr;
        EXPECT_EQ(exported<Register>("ntdll.dll", "LdrRegisterDllNotification")(0, limitLibrary, nullptr, &cookie), 0);
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

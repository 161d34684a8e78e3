#include "tests/com/Service.h"
#include "tests/system/product/Balance.h"
#include "tests/system/product/Product.h"
#include "vm-detect/vm_detect.h"

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

void* limitedRealloc(void* block, std::size_t size)
{
    const std::size_t before = block ? _msize(block) : 0;
    void* const resized = size > bytesLeft + before ? nullptr : std::realloc(block, size);
    if (resized)
        bytesLeft -= std::min(bytesLeft + before, _msize(resized)) - before;
    return resized;
}

void* limitedCalloc(std::size_t count, std::size_t size)
{
    void* const block = limitedRealloc(nullptr, count * size);
    return block ? std::memset(block, 0, count * size) : nullptr;
}

void limitedFree(void* block)
{
    bytesLeft += block ? _msize(block) : 0;
    std::free(block);
}

// The loader's notification, which no header declares.
struct Loaded
{
    ULONG flags;
    const UNICODE_STRING* path;
    const UNICODE_STRING* name;
    HMODULE base;
};

// Called before the library's own first instruction. Nothing pins it: each load is the first of the process. Nor does anything load
// dbghelp.
void CALLBACK limitLibrary(ULONG reason, const Loaded* module, void*)
{
    const std::wstring_view name(module->name->Buffer, module->name->Length / sizeof(wchar_t));
    const bool product = name == L"hw_inventory_interface.dll";
    if (reason != 1 || (!product && name != L"vm_detect.dll"))
        return;
    replaceImport(
        module->base, "malloc", +[](std::size_t size) { return limitedRealloc(nullptr, size); });
    replaceImport(module->base, "calloc", &limitedCalloc);
    replaceImport(module->base, "realloc", &limitedRealloc);
    replaceImport(module->base, "free", &limitedFree);
    replaceImport(
        module->base, "GetModuleHandleExW", +[](DWORD, const wchar_t*, HMODULE*) -> BOOL { return FALSE; });
    if (product)
        replaceImport(
            module->base, "LoadLibraryExW", +[](const wchar_t*, HANDLE, DWORD) -> HMODULE { return nullptr; });
    if (product)
        fakes::serve(module->base);
}

std::int32_t hypervisor()
{
    const auto address = GetProcAddress(GetModuleHandleW(L"vm_detect.dll"), "VmProbe_GetHostVMType");
    return reinterpret_cast<decltype(&VmProbe_GetHostVMType)>(reinterpret_cast<void*>(address))();
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
    const auto find = product.find(kind);
    bytesLeft = bytes;
    product.setLogger([](std::uint32_t, const char*) {});
    outcome.status = find(&outcome.buffer, &outcome.size);
    outcome.textStatus = product.exceptionString(text, &size);
    outcome.hypervisor = hypervisor();
    bytesLeft = kPlenty;
    return outcome;
}

class Memory : public testing::Test
{
protected:
    Memory()
    {
        const auto address = GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "LdrRegisterDllNotification");
        using Register = LONG(NTAPI*)(ULONG flags, decltype(&limitLibrary) notify, void* context, void** cookie);
        void* cookie = nullptr;
        EXPECT_EQ(reinterpret_cast<Register>(reinterpret_cast<void*>(address))(0, limitLibrary, nullptr, &cookie), 0);
    }
};

// However little of the heap is left, at the load of the library, in its first call and in a later one: the call succeeds or fails
// as documented, and the next one succeeds.
TEST_F(Memory, RunsOutAnywhere)
{
    for (const std::size_t bytes : {0, 500, 5000, 20'000, 100'000, 300'000, 1'000'000, 3'000'000})
        for (std::size_t kind = 0; kind < Product::kindCount; ++kind)
        {
            SCOPED_TRACE(std::to_string(bytes) + " bytes, " + Product::kNames[kind]);
            ASSERT_EQ(GetModuleHandleW(L"hw_inventory_interface.dll"), nullptr);
            bytesLeft = kind % 2 == 0 ? kPlenty : bytes;
            const Product product;
            bytesLeft = kPlenty;
            const auto onNewThread = [&](const auto& collect) { std::thread(collect).join(); }; // connects again
            std::string document;
            Outcome outcomes[2];
            for (Outcome& outcome : outcomes)
            {
                onNewThread([&] { outcome = collectHere(bytes, product, kind); });
                onNewThread([&] { document = product.collect(kind).document; });
                EXPECT_TRUE(document.starts_with(std::string("{\"") + Product::kKeys[kind])) << document;
            }
            if (bytes == 0)
                EXPECT_EQ(outcomes[0].status, EXPORT_STATUS_OTHER);
            for (const Outcome& outcome : outcomes)
            {
                EXPECT_TRUE(outcome.textStatus == EXPORT_STATUS_SUCCESS || outcome.textStatus == EXPORT_STATUS_OTHER);
                EXPECT_EQ(outcome.hypervisor, hypervisor());
                if (outcome.status == EXPORT_STATUS_SUCCESS)
                {
                    EXPECT_EQ(outcome.buffer, document);
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
    std::thread([&] { collectHere(0, product, Product::cpus); }).join(); // the runtime's locks
    std::thread(
        [&]
        {
            const Balance before = Balance::take();
            EXPECT_EQ(collectHere(0, product, Product::cpus).status, EXPORT_STATUS_OTHER);
            const Balance after = Balance::take();
            EXPECT_EQ(after.handles, before.handles);
            EXPECT_EQ(after.blocks, before.blocks);
        })
        .join();
}
}

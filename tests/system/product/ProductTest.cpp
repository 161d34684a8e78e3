#include "tests/system/product/Product.h"
#include "tests/com/Service.h"
#include "vm-detect/vm_detect.h"

#include <gmock/gmock.h>

#include <barrier>
#include <mutex>
#include <random>
#include <regex>
#include <thread>

#include <dbghelp.h>
#include <psapi.h>
#include <winternl.h>

namespace
{
using fakes::failing, fakes::replaceImport, fakes::service;
using testing::AllOf, testing::HasSubstr, testing::StartsWith;

// The resources of this process. The system's strings, VARIANTs and COM objects are blocks of its heaps like the library's own.
struct Balance
{
    std::size_t blocks = 0, bytes = 0, handles = 0;
    DWORD modules = 0, flags = 0, tlsIndex = TlsAlloc(); // the lowest free one

    Balance()
    {
        TlsFree(tlsIndex);
        HANDLE heaps[256];
        for (DWORD index = GetProcessHeaps(256, heaps); index-- > 0;)
            for (PROCESS_HEAP_ENTRY entry{}; HeapWalk(heaps[index], &entry);)
                if (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY)
                    bytes += (++blocks, entry.cbData);
        // Wine does not count handles, but gives out the lowest free one.
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
        EXPECT_EQ(std::pair(now.modules, now.tlsIndex), std::pair(modules, tlsIndex));
    }
};

void collectAll(const Product& product)
{
    for (const char* kind : Product::kinds)
        EXPECT_THAT(product.collect(kind), StartsWith("{\"")) << kind;
}

// Its connections and its record go with the thread, which may be in an apartment of its own until it ends.
void onThread(const std::function<void()>& work, bool inApartment = false)
{
    const auto enter = [] { return CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED); };
    const auto inside = [&]
    {
        EXPECT_EQ(enter(), S_OK);
        work();
        EXPECT_EQ(enter(), S_FALSE) << "the host's apartment is closed";
        CoUninitialize();
    };
    (inApartment ? std::thread(inside) : std::thread(work)).join();
}

// The library with WMI of the test. Wine's dbghelp keeps blocks of each session: functions replace it that find nothing.
struct ServedProduct : Product
{
    static inline const HMODULE program = GetModuleHandleW(nullptr);
    static inline int sessions = 0;

    static INT_PTR WINAPI succeed() { return 1; }
    static INT_PTR WINAPI begin() { return ++sessions; }
    static INT_PTR WINAPI end() { return sessions--; }
    static FARPROC WINAPI find(HMODULE module, const char* name)
    {
        const auto stub = name == std::string("SymInitializeW") ? &begin : name == std::string("SymCleanup") ? &end : &succeed;
        return module == program ? stub : GetProcAddress(module, name);
    }
    static HMODULE WINAPI load(const wchar_t* name, HANDLE file, DWORD flags)
    {
        return name == std::wstring(L"dbghelp.dll") ? program : LoadLibraryExW(name, file, flags);
    }
    ServedProduct()
    {
        fakes::serve(module);
        replaceImport(module, "kernel32.dll", "GetProcAddress", &ServedProduct::find);
        replaceImport(module, "kernel32.dll", "LoadLibraryExW", &load);
    }
};

TEST(Threads, KeepTheirOwnConnectionsToTheirEnd)
{
    const ServedProduct product;
    constexpr std::size_t kThreads = 100;
    const auto together = [&]
    {
        std::barrier ready(kThreads);
        std::mutex calls; // the host's duty
        const auto collect = [&](const char* kind)
        {
            ready.arrive_and_wait();
            EXPECT_THAT((std::scoped_lock(calls), product.collect(kind)), StartsWith("{\""));
            ready.arrive_and_wait();
        };
        std::vector<std::jthread> threads;
        for (std::size_t index = 0; index < kThreads; ++index)
            threads.emplace_back(
                onThread, [=] { collect(Product::kinds[index % 8]); }, index % 3 == 0);
    };
    together(), together();
    const Balance before;
    together();
    before.expectSame();
    EXPECT_EQ(service.connections, 3 * 2 * kThreads);
    EXPECT_EQ(service.living + service.underLoaderLock, 0u);
}

// The first line comes while the thread connects, another one while the process's first call for disks builds the vendor registry.
TEST(Threads, ACollectionOutOfTheCallbackMakesTheConnectionsForBoth)
{
    static const ServedProduct product;
    static int nested = 0;
    product.setLogger(
        [](std::uint32_t, const char* line)
        {
            if (nested == 0 || (nested == 1 && std::string(line).find("has already been registered") != std::string::npos))
                collectAll((++nested, product));
        });
    const auto collectNested = [](std::size_t living)
    {
        nested = 0;
        service.connections = 0;
        service.answer = failing(L"ConnectServer", 2);
        collectAll(product);
        EXPECT_EQ(service.connections, 3u);
        EXPECT_EQ(service.living, living);
    };
    collectNested(4); // on the thread that loaded the library
    EXPECT_EQ(nested, 2);
    onThread([&] { collectNested(8); }, true);
    EXPECT_EQ(service.living, 4u) << "only the loading thread's";
}

TEST(Lifetime, LoadingCollectingFailingAndFreeingLosesNothing)
{
    const ExceptionRecord* kept = nullptr;
    const auto fail = [&]
    {
        const ServedProduct product;
        service.answer = failing(L"CoCreateInstance");
        onThread([&] { EXPECT_EQ(product.collect("cpus"), std::to_string(EXPORT_STATUS_WMI_CONNECTION)); });
        kept = product.getException();
    };
    std::mt19937 random(20260101);
    int faults = 0, failures = 0;
    const auto collectFifty = [&]
    {
        const ServedProduct product;
        service.answer = [&](const std::wstring&) { return random() % 100 == 0 ? (++faults, E_FAIL) : S_OK; };
        for (int index = 0; index < 50; ++index)
            onThread([&] { failures += product.collect(Product::kinds[index % 8])[0] != '{'; });
        fail(); // the record of the last failure is a part of the balance
    };
    const int soak = std::getenv("HW_INVENTORY_SOAK") ? 200 : 20;
    const std::tuple<const char*, int, std::function<void()>> actions[] = {
        {"the VM detection alone", 1200, [] { FreeLibrary(LoadLibraryW((programFolder() / "vm_detect.dll").c_str())); }},
        {"the library", 1200, [] { const Product product; }},
        {"a collection that fails", 1200, fail},
        {"collections on ever new threads, with faults", soak, collectFifty}};
    for (const auto& [what, count, action] : actions)
    {
        SCOPED_TRACE(what);
        Balance before;
        for (int done = -count / 10; done < count; ++done, action())
            if (done == 0)
                before = Balance();
        before.expectSame();
    }
    EXPECT_GT(faults, 5 * soak);
    EXPECT_GT(failures, soak / 2);
    EXPECT_EQ(ServedProduct::sessions, 0);
    EXPECT_STREQ(kept->errorText, "failed to create WMI locator") << "a host may keep the record";
}

TEST(Lifetime, AHostWithAnApartmentAndSecurityOfItsOwnIsServedAndKeepsThem)
{
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    ASSERT_EQ(CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_PKT_PRIVACY, RPC_C_IMP_LEVEL_IDENTIFY, nullptr,
                                   EOAC_NONE, nullptr),
              S_OK);
    const Product product;
    collectAll(product);
    EXPECT_TRUE(std::regex_search(product.collect("cpus"), std::regex("\"cores\":[1-9].*\"name\":\"[^\"]")));
    onThread([&] { collectAll(product); }, true);
}

// A line of a trace with the function, its file and the line in it.
MATCHER_P2(HasFrame, file, function, "")
{
    const std::string frame = std::string("\\[[0-9]+\\] [^\n]*") + file + ":[^\n]*" + function + "[^\n]*:[1-9][0-9]*\n";
    return std::regex_search(std::string(arg), std::regex(frame));
}

// The whole process shares dbghelp: here with a copy of the library in another component, and with a session of the host's own.
TEST(Evidence, NamesFunctionFileAndLineThoughTwoCopiesAndAHostShareDbgHelp)
{
    OwnFolder folder;
    folder.add("vm_detect.dll");
    const Product copies[] = {Product(folder.add("hw_inventory_interface.dll")),
                              Product(folder.add("hw_inventory_interface.dll", "other_copy.dll"))};
    SymSetOptions(SYMOPT_CASE_INSENSITIVE | SYMOPT_LOAD_LINES);
    ASSERT_TRUE(SymInitialize(GetCurrentProcess(), programFolder().string().c_str(), TRUE));
    service.answer = failing(L"ExecQuery");
    const auto frames =
        AllOf(HasFrame("DeviceReaders\\.cpp", "getProcessors"), HasFrame("Exports\\.cpp", "hardware_inventory_find_cpus"));
    static std::string lastError;
    const auto fail = [&](const Product& copy)
    {
        fakes::serve(copy.module);
        copy.setLogger([](std::uint32_t level, const char* message) { level == 2 ? void(lastError = message) : void(); });
        EXPECT_EQ(copy.collect("cpus"), std::to_string(EXPORT_STATUS_WMI_QUERY));
        EXPECT_THAT(copy.getException()->message, HasSubstr("SELECT * FROM Win32_Processor"));
        EXPECT_THAT(copy.getException()->stackTrace, frames);
        EXPECT_THAT(std::exchange(lastError, ""), frames);
    };
    std::ranges::for_each(copies, fail);
    const Balance before;
    for (int count = 0; count < 5; ++count)
        std::ranges::for_each(copies, fail);
    before.expectSame(false); // Wine's dbghelp keeps some blocks of each session
    EXPECT_EQ(SymGetOptions(), DWORD{SYMOPT_CASE_INSENSITIVE | SYMOPT_LOAD_LINES});
    EXPECT_TRUE(SymCleanup(GetCurrentProcess())) << "the host's session has ended";
}

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

// Called before the library's own first instruction. Nothing pins it: each load is the first of the process. No header declares
// the notification: its third field is the module's name, its fourth the address.
void CALLBACK limitLibrary(ULONG reason, void* const* module, void*)
{
    const std::wstring_view name(static_cast<const UNICODE_STRING*>(module[2])->Buffer);
    const bool product = name.starts_with(L"hw_inventory_interface.dll");
    const auto base = static_cast<HMODULE>(module[3]);
    if (reason != 1 || (!product && !name.starts_with(L"vm_detect.dll")))
        return;
    replaceImport(base, "msvcrt.dll", "malloc", &Limited::malloc);
    replaceImport(base, "msvcrt.dll", "calloc", &Limited::calloc);
    replaceImport(base, "msvcrt.dll", "realloc", &Limited::realloc);
    replaceImport(base, "kernel32.dll", "GetModuleHandleExW", &Limited::pinNothing);
    if (product)
        fakes::serve((replaceImport(base, "kernel32.dll", "LoadLibraryExW", &Limited::loadNothing), base)); // dbghelp
}

// Calls everything that a host can call, and returns the document or nothing.
std::string collect(std::size_t bytes, const Product& product, const char* kind)
{
    const auto find = product.find(kind);
    const decltype(&VmProbe_GetHostVMType) hypervisor = Export(GetModuleHandleW(L"vm_detect.dll"), "VmProbe_GetHostVMType");
    char text[8192];
    char* buffer = nullptr;
    std::size_t size = 0, textSize = sizeof text;
    Limited::left = bytes;
    product.setLogger([](std::uint32_t, const char*) {});
    const ExportStatus status = find(&buffer, &size), textStatus = product.exceptionString(text, &textSize);
    const std::int32_t found = hypervisor();
    Limited::left = SIZE_MAX;
    EXPECT_EQ(found, hypervisor());
    EXPECT_TRUE(textStatus == EXPORT_STATUS_SUCCESS || textStatus == EXPORT_STATUS_OTHER) << textStatus;
    EXPECT_EQ(status, buffer ? EXPORT_STATUS_SUCCESS : EXPORT_STATUS_OTHER);
    const std::string document = buffer ? buffer : "";
    product.releaseBuffer(buffer);
    return document;
}

// However little is left, at the load of the library, in its first call and in a later one: a call fails as documented at worst.
TEST(Memory, RunsOutAnywhere)
{
    LONG(NTAPI * watch)
    (ULONG, decltype(&limitLibrary), void* context, void** cookie) =
        Export(GetModuleHandleW(L"ntdll.dll"), "LdrRegisterDllNotification");
    void* cookie = nullptr;
    ASSERT_EQ(watch(0, limitLibrary, nullptr, &cookie), 0);
    for (const std::size_t bytes : {0, 500, 5000, 20'000, 100'000, 300'000, 1'000'000, 3'000'000, 10'000'000})
        for (std::size_t kind = 0; kind < std::size(Product::kinds); ++kind)
        {
            SCOPED_TRACE(std::to_string(bytes) + " bytes, " + Product::kinds[kind]);
            ASSERT_EQ(GetModuleHandleW(L"hw_inventory_interface.dll"), nullptr);
            Limited::left = kind % 2 == 0 ? SIZE_MAX : bytes;
            const Product product;
            std::string limited, document;
            for (int call = 0; call < 2; ++call)
            {
                std::thread([&] { limited = collect(bytes, product, Product::kinds[kind]); }).join();
                std::thread([&] { document = collect(SIZE_MAX, product, Product::kinds[kind]); }).join();
                EXPECT_EQ(document.substr(0, 2), "{\"");
                EXPECT_TRUE(limited.empty() || (limited == document && bytes != 0)) << limited;
            }
        }
    // A thread's first failure takes nothing of the process.
    const Product product;
    std::thread([&] { collect(0, product, "cpus"); }).join(); // the runtime's locks
    const auto fail = [&](const Balance& before) { before.expectSame((collect(0, product, "cpus"), true)); };
    std::thread([&] { fail(Balance()); }).join();
}
}

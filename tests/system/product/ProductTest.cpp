#include "tests/system/product/Product.h"
#include "tests/com/Service.h"
#include "tests/system/product/Balance.h"

#include <gmock/gmock.h>

#include <barrier>
#include <csetjmp>
#include <cstring>
#include <mutex>
#include <random>
#include <regex>
#include <thread>

#include <dbghelp.h>

namespace
{
using fakes::failing, fakes::service;
using testing::AllOf, testing::HasSubstr, testing::Not, testing::StartsWith;

void collectAll(const Product& product)
{
    for (const char* kind : Product::kinds)
        EXPECT_THAT(product.collect(kind), StartsWith("{\"")) << kind;
}

// Without its connections and its record, which go with their thread.
void onThread(const std::function<void()>& work)
{
    std::thread(work).join();
}

// The library with WMI of the test. Wine's dbghelp keeps blocks of each session; it is replaced by functions that succeed and
// find nothing.
struct ServedProduct : Product
{
    static HMODULE program() { return GetModuleHandleW(nullptr); }
    static inline int sessions = 0;

    static INT_PTR WINAPI succeed() { return 1; }
    static INT_PTR WINAPI begin() { return ++sessions; }
    static INT_PTR WINAPI end() { return sessions--; }
    static FARPROC WINAPI find(HMODULE module, const char* name)
    {
        if (module != program())
            return GetProcAddress(module, name);
        return name == std::string("SymInitializeW") ? &begin : name == std::string("SymCleanup") ? &end : &succeed;
    }
    static HMODULE WINAPI load(const wchar_t* name, HANDLE file, DWORD flags)
    {
        return name == std::wstring_view(L"dbghelp.dll") ? program() : LoadLibraryExW(name, file, flags);
    }

    ServedProduct()
    {
        fakes::serve(module);
        fakes::replaceImport(module, "kernel32.dll", "GetProcAddress", &ServedProduct::find);
        fakes::replaceImport(module, "kernel32.dll", "LoadLibraryExW", &load);
    }
};

// A thread's first collection connects to two namespaces, with a locator and a proxy each.
TEST(Threads, KeepTheirOwnConnectionsToTheirEnd)
{
    const ServedProduct product;
    constexpr std::size_t kThreads = 100;
    const auto together = [&]
    {
        std::barrier ready(kThreads);
        std::mutex calls; // the host's duty
        std::vector<std::jthread> threads;
        const auto work = [&](std::size_t index)
        {
            // The thread is already in its own apartment, and stays there until it ends.
            if (index % 3 == 0)
                EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
            ready.arrive_and_wait();
            std::unique_lock lock(calls);
            EXPECT_THAT(product.collect(Product::kinds[index % 8]), StartsWith("{\""));
            lock.unlock();
            ready.arrive_and_wait();
        };
        for (std::size_t index = 0; index < kThreads; ++index)
            threads.emplace_back(work, index);
    };
    together();
    together();
    const Balance before;
    together();
    before.expectSame();
    EXPECT_EQ(service.connections, 3 * 2 * kThreads);
    EXPECT_EQ(service.living, 0u);
    EXPECT_EQ(service.underLoaderLock, 0u);
}

TEST(Threads, ReleaseWhatIsHalfMadeAndNothingIntoAnApartmentThatIsClosed)
{
    const ServedProduct product;
    // The first connection is established when the second fails, and the thread goes on: here the one that loaded the library.
    service.answer = failing(L"CoSetProxyBlanket", 2);
    EXPECT_EQ(product.collect("cpus"), std::to_string(EXPORT_STATUS_WMI_CONNECTION));
    EXPECT_EQ(service.living, 0u);
    // As a runtime's own worker that leaves its thread's apartment before the thread ends.
    onThread(
        [&]
        {
            ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
            collectAll(product);
            CoUninitialize();
        });
    EXPECT_EQ(service.living, 4u);
}

// The first line comes while the thread connects, another one while the first call for disks builds the vendor registry, once in a
// process.
TEST(Threads, ACollectionOutOfTheCallbackMakesTheConnectionsForBoth)
{
    static const ServedProduct product;
    static int nested = 0;
    product.setLogger(
        [](std::uint32_t, const char* line)
        {
            if (nested == 0 || (nested == 1 && std::strstr(line, "has already been registered")))
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
    onThread(
        [&]
        {
            ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
            collectNested(8);
            EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_FALSE) << "the host's apartment is closed";
            CoUninitialize();
        });
    EXPECT_EQ(service.living, 4u) << "only the loading thread's";
}

// The number of TLS indexes that the process has left.
std::size_t freeTlsIndexes()
{
    std::vector<DWORD> taken;
    for (DWORD index = TlsAlloc(); index != TLS_OUT_OF_INDEXES; index = TlsAlloc())
        taken.push_back(index);
    std::ranges::for_each(taken, TlsFree);
    return taken.size();
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
    std::size_t faults = 0, failures = 0;
    const auto collectWithFaults = [&]
    {
        const ServedProduct product;
        service.answer = [&](const std::wstring&) { return random() % 100 == 0 ? (++faults, E_FAIL) : S_OK; };
        onThread(
            [&]
            {
                for (std::size_t done = 0; done < 50; ++done)
                    failures += product.collect(Product::kinds[done % 8]).front() != '{';
            });
        fail(); // the record of the last failure is a part of the balance
    };
    const std::tuple<const char*, int, std::function<void()>> actions[] = {
        {"the VM detection alone", 1200, [] { FreeLibrary(LoadLibraryW((programFolder() / "vm_detect.dll").c_str())); }},
        {"the library", 1200, [] { const Product product; }},
        {"a collection that fails", 1200, fail},
        {"ten thousand collections on ever new threads, with faults", 200, collectWithFaults}};
    for (const auto& [what, count, action] : actions)
    {
        SCOPED_TRACE(what);
        for (int done = 0; done < count / 10; ++done)
            action();
        const std::size_t indexes = freeTlsIndexes();
        const Balance before;
        for (int done = 0; done < count; ++done)
            action();
        before.expectSame();
        EXPECT_EQ(freeTlsIndexes(), indexes);
    }
    EXPECT_GT(faults, 1000u);
    EXPECT_GT(failures, 100u);
    EXPECT_EQ(ServedProduct::sessions, 0);
    EXPECT_STREQ(kept->errorText, "failed to create WMI locator") << "a host may keep the record";
}

// By the system's own WMI.
TEST(Lifetime, AHostWithAnApartmentAndSecurityOfItsOwnIsServedAndKeepsThem)
{
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    ASSERT_EQ(CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_PKT_PRIVACY, RPC_C_IMP_LEVEL_IDENTIFY, nullptr,
                                   EOAC_NONE, nullptr),
              S_OK);
    const Product product;
    collectAll(product);
    EXPECT_TRUE(std::regex_search(product.collect("cpus"), std::regex("\"cores\":[1-9].*\"name\":\"[^\"]")));
    onThread(
        [&]
        {
            ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
            collectAll(product);
            EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_FALSE);
        });
}

std::jmp_buf beforeTheCall;
int linesToCome;

// Whether the collection logged a line of that number, from which the callback does not return.
bool isLeftAtLine(int line, const Product& product, const char* kind)
{
    linesToCome = line;
    if (setjmp(beforeTheCall) != 0)
        return true;
    EXPECT_THAT(product.collect(kind), StartsWith("{\"")) << kind;
    return false;
}

// A host can put a VM detection of its own beside the library. With one that finds a physical machine nothing is made up and
// nothing left out.
TEST(Host, OnAPhysicalMachineMayLeaveTheCallbackByALongJump)
{
    OwnFolder folder;
    folder.add("physical/vm_detect.dll", "vm_detect.dll");
    const Product product(folder.add("hw_inventory_interface.dll"));
    EXPECT_THAT(product.collect("system"), HasSubstr("\"serialNumber\":\""));
    EXPECT_THAT(product.collect("base_boards"), Not(HasSubstr("Virtual")));
    product.setLogger(
        [](std::uint32_t, const char*)
        {
            if (linesToCome-- == 0)
                std::longjmp(beforeTheCall, 1);
        });
    onThread(
        [&]
        {
            fakes::serve(product.module);
            for (const char* kind : Product::kinds)
                for (int line = 0; isLeftAtLine(line, product, kind); ++line)
                    ;
        });
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
        EXPECT_GT(copy.getException()->line, 0);
        EXPECT_THAT(copy.getException()->stackTrace, frames);
        EXPECT_THAT(std::exchange(lastError, ""), frames);
    };
    std::ranges::for_each(copies, fail);
    const Balance before;
    for (int count = 0; count < 5; ++count)
        std::ranges::for_each(copies, fail);
    before.expectSame(false); // Wine's dbghelp keeps some blocks of each session
    EXPECT_EQ(SymGetOptions(), DWORD{SYMOPT_CASE_INSENSITIVE | SYMOPT_LOAD_LINES});
    SYMBOL_INFO symbol{};
    symbol.SizeOfStruct = sizeof symbol;
    EXPECT_TRUE(SymFromAddr(GetCurrentProcess(), reinterpret_cast<DWORD64>(&isLeftAtLine), nullptr, &symbol));
    EXPECT_TRUE(SymCleanup(GetCurrentProcess()));
}
}

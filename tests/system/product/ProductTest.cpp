#include "tests/system/product/Product.h"
#include "tests/com/Service.h"
#include "tests/system/product/Balance.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <barrier>
#include <csetjmp>
#include <mutex>
#include <random>
#include <regex>
#include <thread>

#include <dbghelp.h>

namespace
{
using fakes::failing;
using fakes::service;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

// A thread's first collection connects to two namespaces.
constexpr std::size_t kConnections = 2;

void collectAll(const Product& product)
{
    for (std::size_t kind = 0; kind < Product::kindCount; ++kind)
    {
        const Product::Answer answer = product.collect(kind);
        EXPECT_EQ(answer.status, EXPORT_STATUS_SUCCESS) << Product::kNames[kind];
        EXPECT_TRUE(answer.document.starts_with(std::string("{\"") + Product::kKeys[kind])) << answer.document;
    }
}

FARPROC WINAPI findStub(HMODULE module, const char* name)
{
    static const auto succeed = +[]() -> INT_PTR { return 1; };
    return module == GetModuleHandleW(nullptr) ? reinterpret_cast<FARPROC>(succeed) : GetProcAddress(module, name);
}

HMODULE WINAPI loadNoDbgHelp(const wchar_t* name, HANDLE file, DWORD flags)
{
    return name == std::wstring_view(L"dbghelp.dll") ? GetModuleHandleW(nullptr) : LoadLibraryExW(name, file, flags);
}

// The library with WMI of the test. Wine's dbghelp keeps blocks of each session; it is replaced by functions that succeed and
// find nothing.
struct ServedProduct : Product
{
    explicit ServedProduct(bool symbols = false)
    {
        fakes::serve(module);
        if (!symbols)
        {
            replaceImport(module, "GetProcAddress", &findStub);
            replaceImport(module, "LoadLibraryExW", &loadNoDbgHelp);
        }
    }
};

struct Threads : testing::Test
{
    const ServedProduct product;

    void collect(std::size_t kind) const { EXPECT_EQ(product.collect(kind % Product::kindCount).status, 0u); }
};

TEST_F(Threads, OneAfterAnotherTakeTheirConnectionsWithThem)
{
    Balance before;
    for (std::size_t index = 0; index < 200; ++index)
    {
        std::thread(
            [&]
            {
                // The thread is already in its own apartment, and stays there until it ends.
                if (index % 3 == 0)
                    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
                collect(index);
            })
            .join();
        ASSERT_EQ(service().connections, kConnections * (index + 1));
        ASSERT_EQ(service().living, 0u) << "thread " << index;
        if (index == 48)
            before = Balance::take();
    }
    EXPECT_EQ(service().underLoaderLock, 0u);
    before.expectSame();
}

// The first connection is established when the second fails, and the thread goes on: here the one that loaded the library.
TEST_F(Threads, AFirstCollectionThatFailsHalfWayLeavesNothing)
{
    service().answer = failing("CoSetProxyBlanket", 2);
    EXPECT_EQ(product.collect(Product::cpus).status, EXPORT_STATUS_WMI_CONNECTION);
    EXPECT_EQ(service().living, 0u);
}

// As a runtime's own worker that leaves its thread's apartment before the thread ends.
TEST_F(Threads, ReleaseNothingIntoAnApartmentThatIsClosed)
{
    std::thread(
        [&]
        {
            ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
            collect(Product::cpus);
            CoUninitialize();
        })
        .join();
    EXPECT_EQ(service().living, 2 * kConnections) << "a locator and a proxy each";
}

TEST_F(Threads, ACollectionOutOfTheCallbackMakesTheConnectionsForBoth)
{
    static const Product* nested = nullptr;
    product.setLogger(
        [](std::uint32_t, const char*)
        {
            if (const Product* const once = std::exchange(nested, nullptr))
                EXPECT_EQ(once->collect(Product::hotfixes).status, 0u);
        });
    const auto work = [&]
    {
        nested = &product;
        service().answer = failing("ConnectServer", 2);
        collect(Product::cpus);
        EXPECT_EQ(nested, nullptr);
    };
    work(); // on the thread that loaded the library
    EXPECT_EQ(service().connections, kConnections + 1);
    EXPECT_EQ(service().living, 2 * kConnections);
    std::thread(
        [&]
        {
            ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
            work();
            EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_FALSE) << "the host's apartment is closed";
            CoUninitialize();
        })
        .join();
    EXPECT_EQ(service().living, 2 * kConnections) << "only the loading thread's";
}

TEST_F(Threads, AHundredAtOnceKeepTheirOwnConnections)
{
    constexpr std::size_t kThreads = 100;
    const auto together = [&]
    {
        std::barrier ready(kThreads);
        std::mutex calls; // the host's duty
        std::vector<std::jthread> threads;
        const auto work = [&](std::size_t index)
        {
            ready.arrive_and_wait();
            std::unique_lock lock(calls);
            collect(index);
            lock.unlock();
            ready.arrive_and_wait();
        };
        for (std::size_t index = 0; index < kThreads; ++index)
            threads.emplace_back(work, index);
    };
    together();
    together();
    const Balance before = Balance::take();
    together();
    before.expectSame();
    EXPECT_EQ(service().connections, 3 * kThreads * kConnections);
    EXPECT_EQ(service().living, 0u);
    EXPECT_EQ(service().underLoaderLock, 0u);
}

TEST(LoaderLock, IsNoticed)
{
    const auto call = [](const char* function, auto... arguments)
    {
        const auto address = GetProcAddress(GetModuleHandleW(L"ntdll.dll"), function);
        return reinterpret_cast<LONG(NTAPI*)(ULONG, decltype(arguments)...)>(reinterpret_cast<void*>(address))(0, arguments...);
    };
    ULONG_PTR magic = 0;
    EXPECT_FALSE(fakes::holdsLoaderLock());
    ASSERT_EQ(call("LdrLockLoaderLock", static_cast<ULONG*>(nullptr), &magic), 0);
    EXPECT_TRUE(fakes::holdsLoaderLock());
    call("LdrUnlockLoaderLock", magic);
}

// Ten thousand collections on ever new threads, while one in a hundred of the calls into WMI fails.
TEST(Soak, AThousandFaultsLeaveNothing)
{
    const ServedProduct product;
    std::mt19937 random(20260101);
    std::size_t faults = 0;
    std::size_t failures = 0;
    const auto collect = [&](std::size_t collections)
    {
        service().answer = [&](const std::string&)
        {
            const bool fails = random() % 100 == 0;
            faults += fails;
            return fails ? E_FAIL : S_OK;
        };
        for (std::size_t done = 0; done < collections; done += 50)
            std::thread(
                [&]
                {
                    for (std::size_t kind = 0; kind < 50; ++kind)
                        failures += product.collect(kind % Product::kindCount).status != EXPORT_STATUS_SUCCESS;
                })
                .join();
        // The record of the last failure is a part of the balance.
        service().answer = failing("ExecQuery");
        std::thread([&] { product.collect(Product::cpus); }).join();
    };
    collect(1000);
    const Balance before = Balance::take();
    collect(9000);
    before.expectSame();
    EXPECT_GT(faults, 1000u);
    EXPECT_GT(failures, 100u);
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

TEST(Lifetime, LoadingCollectingAndFreeingInALoopLosesNothing)
{
    const ExceptionRecord* kept = nullptr;
    const auto fail = [&]
    {
        const ServedProduct product;
        service().answer = failing("CoCreateInstance");
        std::thread([&] { EXPECT_EQ(product.collect(Product::cpus).status, EXPORT_STATUS_WMI_CONNECTION); }).join();
        kept = product.getException();
        service().answer = nullptr;
    };
    const auto rounds = [](const char* what, int count, const auto& round)
    {
        SCOPED_TRACE(what);
        round();
        const std::size_t indexes = freeTlsIndexes();
        const Balance before = Balance::take();
        while (count-- > 0)
            round();
        before.expectSame();
        EXPECT_EQ(freeTlsIndexes(), indexes);
    };
    rounds("the VM detection alone", 1200, [] { FreeLibrary(LoadLibraryW((programFolder() / "vm_detect.dll").c_str())); });
    rounds("the library", 1200, [] { const Product product; });
    rounds("a collection that fails", 1200, fail);
    rounds("collections", 50, [] { collectAll(ServedProduct()); });
    EXPECT_STREQ(kept->errorText, "failed to create WMI locator") << "a host may keep the record";
    EXPECT_NE(GetModuleHandleW(L"hw_inventory_interface.dll"), nullptr);
}

TEST(Lifetime, AHostWithAnApartmentAndSecurityOfItsOwnIsServedAndKeepsThem)
{
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    ASSERT_EQ(CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_PKT_PRIVACY, RPC_C_IMP_LEVEL_IDENTIFY, nullptr,
                                   EOAC_NONE, nullptr),
              S_OK);
    const Product product;
    collectAll(product);
    std::thread(
        [&]
        {
            ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
            collectAll(product);
            EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_FALSE);
        })
        .join();
}

TEST(Callback, CanBeSwappedAndRemovedBetweenCalls)
{
    const ServedProduct product;
    static std::string callers;
    const auto callersAfter = [&](HardwareInventoryLogger logger)
    {
        callers.clear();
        product.setLogger(logger);
        product.collect(Product::system);
        return callers.substr(0, 1) + callers.substr(callers.empty() ? 0 : callers.size() - 1);
    };
    EXPECT_EQ(callersAfter([](std::uint32_t, const char*) { callers += "1"; }), "11");
    EXPECT_EQ(callersAfter(nullptr), "");
    EXPECT_EQ(callersAfter([](std::uint32_t, const char*) { callers += "2"; }), "22");
}

// Even for a line that is logged while the first call for disks builds the vendor registry, once in a process.
TEST(Callback, CanCollectEveryKind)
{
    static const ServedProduct product;
    static bool nested = false;
    product.setLogger(
        [](std::uint32_t, const char* line)
        {
            if (std::strstr(line, "has already been registered") && !std::exchange(nested, true))
                collectAll(product);
        });
    collectAll(product);
    EXPECT_TRUE(nested);
}

// A host can put a VM detection of its own beside the library, here one that finds a physical machine.
struct PhysicalMachine : testing::Test
{
    const OwnFolder folder;
    const Product product{(folder.add("physical/vm_detect.dll", "vm_detect.dll"), folder.add("hw_inventory_interface.dll"))};
};

// Nothing is made up and nothing left out.
TEST_F(PhysicalMachine, HasItsOwnSystemAndNoEmulatedDevices)
{
    const std::string system = product.collect(Product::system).document;
    for (const char* key : {"\"serialNumber\":\"", "\"productID\":\"", "\"type\":\""})
        EXPECT_THAT(system, HasSubstr(key));
    // Wine's firmware table lists no modules.
    EXPECT_THAT(product.collect(Product::ram).document, Not(HasSubstr("Physical Memory Slot")));
    EXPECT_THAT(product.collect(Product::baseBoards).document, AllOf(HasSubstr("\"manufacturer\""), Not(HasSubstr("Virtual"))));
}

std::jmp_buf beforeTheCall;
int linesToCome;

// Whether the collection logged a line of that number, from which the callback does not return.
bool isLeftAtLine(int line, const Product& product, std::size_t kind)
{
    linesToCome = line;
    if (setjmp(beforeTheCall) != 0)
        return true;
    EXPECT_EQ(product.collect(kind).status, EXPORT_STATUS_SUCCESS) << Product::kNames[kind];
    return false;
}

// The memory is the firmware's.
TEST_F(PhysicalMachine, TheCallbackCanLeaveByALongJump)
{
    fakes::serve(product.module);
    product.setLogger(
        [](std::uint32_t, const char*)
        {
            if (linesToCome-- == 0)
                std::longjmp(beforeTheCall, 1);
        });
    for (std::size_t kind = 0; kind < Product::kindCount; ++kind)
        for (int line = 0; isLeftAtLine(line, product, kind); ++line)
            ;
}

// A line of a trace with the function, its file and the line in it.
MATCHER_P2(HasFrame, file, function, "")
{
    const std::string frame = std::string("\\[[0-9]+\\] [^\n]*") + file + ":[^\n]*" + function + "[^\n]*:[1-9][0-9]*\n";
    return std::regex_search(std::string(arg), std::regex(frame));
}

// The name that dbghelp has for a function of this program, in the host's own session.
__declspec(noinline) std::string nameOfOwnFunction()
{
    char buffer[sizeof(SYMBOL_INFO) + 256] = {};
    auto& symbol = *reinterpret_cast<SYMBOL_INFO*>(buffer);
    symbol.SizeOfStruct = sizeof(SYMBOL_INFO);
    symbol.MaxNameLen = 256;
    SymFromAddr(GetCurrentProcess(), reinterpret_cast<DWORD64>(&nameOfOwnFunction), nullptr, &symbol);
    return symbol.Name;
}

// The whole process shares dbghelp: here with a copy of the library in another component, and with a session of the host's own.
TEST(Evidence, NamesFunctionFileAndLineThoughTwoCopiesAndAHostShareDbgHelp)
{
    const OwnFolder folder;
    folder.add("vm_detect.dll");
    const Product copies[] = {Product(folder.add("hw_inventory_interface.dll")),
                              Product(folder.add("hw_inventory_interface.dll", "other_copy.dll"))};
    SymSetOptions(SYMOPT_CASE_INSENSITIVE | SYMOPT_LOAD_LINES);
    const DWORD options = SymGetOptions();
    ASSERT_TRUE(SymInitialize(GetCurrentProcess(), programFolder().string().c_str(), TRUE));
    const std::string name = nameOfOwnFunction();
    EXPECT_THAT(name, HasSubstr("nameOfOwnFunction"));

    service().answer = failing("ExecQuery");
    const auto frames =
        AllOf(HasFrame("DeviceReaders\\.cpp", "getProcessors"), HasFrame("Exports\\.cpp", "hardware_inventory_find_cpus"));
    static std::string lastError;
    const auto fail = [&]
    {
        for (const Product& copy : copies)
        {
            EXPECT_EQ(copy.collect(Product::cpus).status, EXPORT_STATUS_WMI_QUERY);
            const ExceptionRecord& record = *copy.getException();
            EXPECT_STREQ(record.function, "HardwareInventory::Providers::WMIProvider::WMIConnection::query");
            EXPECT_STREQ(record.file, "hw-inventory-impl\\lib\\Providers\\WMIProvider.cpp");
            EXPECT_GT(record.line, 0);
            EXPECT_THAT(record.message, HasSubstr("SELECT * FROM Win32_Processor"));
            EXPECT_THAT(record.stackTrace, frames);
            EXPECT_THAT(std::exchange(lastError, ""), frames);
        }
    };
    for (const Product& copy : copies)
    {
        fakes::serve(copy.module);
        copy.setLogger(
            [](std::uint32_t level, const char* message)
            {
                if (level == 2)
                    lastError = message;
            });
    }
    fail();
    const Balance before = Balance::take();
    for (int count = 1; count < 10; ++count)
        fail();
    // Wine's dbghelp keeps some blocks of each session.
    Balance after = Balance::take();
    after.blocks = before.blocks;
    after.bytes = before.bytes;
    before.expectSame(after);
    EXPECT_EQ(SymGetOptions(), options);
    EXPECT_EQ(nameOfOwnFunction(), name);
    EXPECT_TRUE(SymCleanup(GetCurrentProcess()));
}
}

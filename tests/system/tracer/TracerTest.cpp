#include "hw-inventory-interface/ErrorHandling/Exception.h"
#include "st-core/lib/HostLogger.h"
#include "st-core/lib/OSError.h"
#include "st-core/lib/Text.h"
#include "st-core/lib/WinTracer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include <windows.h>

#include <dbghelp.h>

using namespace ZelStdCore;
using HardwareInventory::ErrorHandling::ErrorCode;
using HardwareInventory::ErrorHandling::Exception;

namespace
{
// The stack of the tests is kept as it is written: functions are called through volatile pointers, so that none is built into
// its caller, and end with writing this, so that none ends in a jump.
volatile int returned = 0;

// The line of the call in tracedFunction, and of what comes after: the frame's address is where the call returns to.
std::uint32_t tracedLine = 0;

std::vector<StackFrame> tracedFunction()
{
    tracedLine = __LINE__ + 1;
    auto frames = Tracer::traceCurrentThread(); returned = 1;
    return frames;
}

std::vector<StackFrame> (*volatile const kTracedFunction)() = &tracedFunction;

std::vector<StackFrame> callerOfTracedFunction()
{
    auto frames = kTracedFunction();
    returned = 1;
    return frames;
}

void throwRuntimeException()
{
    throw RuntimeException(L"message", L"file", L"throwRuntimeException", __LINE__, true, 2);
}

void throwInventoryException()
{
    throw Exception(ErrorCode::openFile, L"message", L"file", L"throwInventoryException", __LINE__);
}

void (*volatile const kThrowers[])() = {&throwRuntimeException, &throwInventoryException};
constexpr std::size_t kRuntimeException = 0;
constexpr std::size_t kInventoryException = 1;

RuntimeException callerOfThrower(std::size_t kind)
{
    try
    {
        kThrowers[kind]();
    }
    catch (const RuntimeException& error)
    {
        returned = 1;
        return error;
    }
    throw std::logic_error("nothing thrown");
}

std::vector<StackFrame> (*volatile const kCallerOfTracedFunction)() = &callerOfTracedFunction;
RuntimeException (*volatile const kCallerOfThrower)(std::size_t) = &callerOfThrower;

// The unqualified name.
std::wstring functionOf(const StackFrame& frame)
{
    return frame.completeName.substr(frame.completeName.rfind(L':') + 1);
}

template <class Call>
std::wstring messageOf(Call call)
{
    try
    {
        call();
        return L"no exception";
    }
    catch (const RuntimeException& error)
    {
        EXPECT_TRUE(error.trace().empty());
        EXPECT_EQ(error.file(), L"st-core\\lib\\WinTracer.cpp");
        return error.message();
    }
}

// The value that the next handle gets. It moves on by what has been left open in between.
HANDLE nextHandle()
{
    const HANDLE handle = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    CloseHandle(handle);
    return handle;
}

Tracer tracerOfThisProcess(std::uint32_t options)
{
    return Tracer(options, L"", GetCurrentProcessId(), GetCurrentProcess());
}

// A trace takes a fifth of a second under Wine.
constexpr int kRounds = 10;

constexpr std::uint32_t kEverything = Tracer::symbolNames | Tracer::sourceLines | Tracer::moduleInformation;
}

TEST(Tracer, NamesFunctionFileAndLineOfEachFrame)
{
    const auto frames = kCallerOfTracedFunction();
    ASSERT_GT(frames.size(), 4u);
    EXPECT_EQ(functionOf(frames[0]), L"tracedFunction");
    EXPECT_EQ(functionOf(frames[1]), L"callerOfTracedFunction");
    EXPECT_EQ(functionOf(frames[2]), L"TestBody");
    EXPECT_TRUE(std::ranges::count(frames, L"main", &StackFrame::completeName)) << "the walk ends too early";

    const StackFrame& traced = frames[0];
    EXPECT_EQ(traced.lineNumber, tracedLine);
    EXPECT_TRUE(traced.fileName.ends_with(L"TracerTest.cpp"));
    EXPECT_EQ(traced.shortName, traced.completeName);
    EXPECT_FALSE(traced.symbolName.empty());
    EXPECT_EQ(traced.moduleName, L"tracer-tests");
    EXPECT_TRUE(traced.imageName.ends_with(L"tracer-tests.exe"));
    EXPECT_EQ(traced.symbolType, L"PDB");
    EXPECT_EQ(traced.moduleBase, reinterpret_cast<std::uintptr_t>(GetModuleHandleW(nullptr)));
    EXPECT_EQ(traced.address - traced.symbolDisplacement, reinterpret_cast<std::uintptr_t>(&tracedFunction));
}

TEST(Tracer, ExceptionsLeaveTheirConstructorsOut)
{
    // The thrower is told by the exception's own fields; an inventory exception's constructor is one more frame than the other's.
    const RuntimeException plain = kCallerOfThrower(kRuntimeException);
    ASSERT_FALSE(plain.frames().empty());
    EXPECT_EQ(functionOf(plain.frames()[0]), L"callerOfThrower");
    EXPECT_EQ(plain.trace(), renderFrames(plain.frames()));

    const RuntimeException inventory = kCallerOfThrower(kInventoryException);
    ASSERT_FALSE(inventory.frames().empty());
    EXPECT_EQ(functionOf(inventory.frames()[0]), L"throwInventoryException");
    EXPECT_EQ(functionOf(inventory.frames()[1]), L"callerOfThrower");

    for (const std::uint32_t code : {0u, 1234u})
    {
        SetLastError(code);
        const RuntimeException error(L"", L"", L"", 0, true, 2);
        EXPECT_EQ(GetLastError(), code);
        EXPECT_FALSE(error.trace().empty());
    }
}

TEST(Tracer, OptionsDecideWhatIsResolved)
{
    CONTEXT here{};
    RtlCaptureContext(&here);
    for (std::uint32_t options = 0; options <= kEverything; ++options)
    {
        SCOPED_TRACE(options);
        SetLastError(5);
        const auto frames = tracerOfThisProcess(options).getTrace(GetCurrentThread(), &here);
        EXPECT_EQ(GetLastError(), 0u);
        ASSERT_FALSE(frames.empty());
        EXPECT_EQ(frames[0].address, here.Rip);
        EXPECT_NE(frames[0].symbolDisplacement, 0u);
        EXPECT_EQ(frames[0].completeName.empty(), !(options & Tracer::symbolNames));
        EXPECT_EQ(frames[0].lineNumber == 0, !(options & Tracer::sourceLines));
        EXPECT_EQ(frames[0].symbolType.empty(), !(options & Tracer::moduleInformation));
    }
}

TEST(Tracer, WalksAnotherThread)
{
    struct Sleeper
    {
        static DWORD WINAPI sleepingFunction(void* event)
        {
            SetEvent(static_cast<HANDLE*>(event)[0]);
            WaitForSingleObject(static_cast<HANDLE*>(event)[1], INFINITE);
            returned = 1;
            return 7;
        }
    };
    HANDLE events[] = {CreateEventW(nullptr, TRUE, FALSE, nullptr), CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    const HANDLE thread = CreateThread(nullptr, 0, &Sleeper::sleepingFunction, events, 0, nullptr);
    WaitForSingleObject(events[0], INFINITE);
    const auto frames = tracerOfThisProcess(kEverything).getTrace(thread);
    EXPECT_TRUE(std::ranges::count(frames, L"sleepingFunction", functionOf));

    // It runs on afterwards.
    SetEvent(events[1]);
    EXPECT_EQ(WaitForSingleObject(thread, 60000), WAIT_OBJECT_0);
    for (const HANDLE handle : {events[0], events[1], thread})
        CloseHandle(handle);

    const auto invalid = reinterpret_cast<HANDLE>(std::uintptr_t{0xABCD0});
    EXPECT_EQ(messageOf([&] { tracerOfThisProcess(0).getTrace(invalid); }), L"failed to get 0xabcd0 thread context");
}

TEST(Tracer, LeavesNothingBehind)
{
    // Whatever is made once and kept is made now.
    kCallerOfThrower(kRuntimeException);
    const HANDLE before = nextHandle();
    for (int round = 0; round < kRounds; ++round)
        kCallerOfThrower(kRuntimeException);
    EXPECT_EQ(nextHandle(), before);
}

TEST(Tracer, LeavesTheHostsSessionAlone)
{
    const DWORD options = SYMOPT_DEBUG | SYMOPT_UNDNAME | SYMOPT_LOAD_LINES;
    SymSetOptions(options);
    ASSERT_TRUE(SymInitializeW(GetCurrentProcess(), nullptr, TRUE));
    const auto nameInHostsSession = [] {
        alignas(SYMBOL_INFO) char buffer[sizeof(SYMBOL_INFO) + 256] = {};
        auto& symbol = *reinterpret_cast<SYMBOL_INFO*>(buffer);
        symbol.SizeOfStruct = sizeof(SYMBOL_INFO);
        symbol.MaxNameLen = 256;
        DWORD64 displacement = 0;
        const auto address = reinterpret_cast<std::uintptr_t>(&tracedFunction);
        const BOOL known = SymFromAddr(GetCurrentProcess(), address, &displacement, &symbol);
        return known ? std::string(symbol.Name) : "unknown";
    };
    const std::string name = nameInHostsSession();
    EXPECT_NE(name.find("tracedFunction"), std::string::npos);

    EXPECT_EQ(functionOf(kTracedFunction()[0]), L"tracedFunction");
    EXPECT_EQ(SymGetOptions(), options);
    EXPECT_EQ(nameInHostsSession(), name);

    // A tracer that fails half-way restores the options, too.
    const auto invalid = reinterpret_cast<HANDLE>(std::uintptr_t{0xABCD0});
    messageOf([&] { tracerOfThisProcess(0).getTrace(invalid); });
    EXPECT_EQ(SymGetOptions(), options);
    EXPECT_TRUE(SymCleanup(GetCurrentProcess()));
}

TEST(Tracer, NamesTheObjectAtAnAddress)
{
    Tracer tracer = tracerOfThisProcess(0);
    const auto address = reinterpret_cast<std::uintptr_t>(&tracedFunction);
    const SymbolObject object = tracer.getObject(address + 1);
    EXPECT_NE(object.name.find(L"tracedFunction"), std::wstring::npos);
    EXPECT_EQ(object.address, address);
    EXPECT_EQ(object.displacement, 1u);
    EXPECT_EQ(object.moduleBase, reinterpret_cast<std::uintptr_t>(GetModuleHandleW(nullptr)));
    EXPECT_TRUE(messageOf([&] { tracer.getObject(0x10); }).starts_with(L"failed to get object at 0x10: "));
}

TEST(Tracer, ListsModulesThroughTheProcessStatusInterface)
{
    Tracer tracer = tracerOfThisProcess(0);
    EXPECT_TRUE(tracer.getModuleListPSAPI(GetCurrentProcess()));
    // Once more, with all of them loaded already.
    EXPECT_TRUE(tracer.getModuleListPSAPI(GetCurrentProcess()));
    EXPECT_EQ(messageOf([&] { tracer.getModuleListPSAPI(nullptr); }),
              L"failed to retrieve required memory amount for modules enumeration");

    // Neither a snapshot nor a list can be had of a process that there is not.
    Tracer nowhere(0, L"", 0xFFFFFFF0, nullptr);
    EXPECT_EQ(messageOf([&] { nowhere.loadModules(); }),
              L"failed to initialize tracer: " + LastError{ERROR_INVALID_HANDLE}.text());
}

TEST(Tracer, ItsLinesReachItsOwnReceiverAlone)
{
    static std::vector<std::wstring> lines;
    static int hostLines = 0; // callbacks capture nothing
    HostLogger::instance().set([](std::uint32_t, const char*) { ++hostLines; });
    kTracedFunction();
    Tracer::setLog([](const std::wstring& line) { lines.push_back(line); });
    const auto frames = kTracedFunction();
    EXPECT_TRUE(std::ranges::any_of(lines, [](const std::wstring& line) {
        return line.starts_with(L"Loaded ") && line.find(L"tracer-tests.exe:tracer-tests.exe (0x") != std::wstring::npos
               && line.find(L" (result: 0), symbol type: '-deferred-', PDB: '', version: 0\n") != std::wstring::npos;
    }));

    // The start-up code of the program has no source here.
    const auto sourceless = std::ranges::find(frames, 0u, &StackFrame::lineNumber);
    ASSERT_NE(sourceless, frames.end());
    EXPECT_EQ(sourceless->fileName, L"");
    const std::wstring begin = format(L"failed to collect symbol line information (%p): ",
                                      reinterpret_cast<const void*>(static_cast<std::uintptr_t>(sourceless->address)));
    EXPECT_TRUE(std::ranges::any_of(lines, [&begin](const std::wstring& line) {
        return line.starts_with(begin) && line.size() > begin.size();
    }));
    EXPECT_EQ(hostLines, 0);
}

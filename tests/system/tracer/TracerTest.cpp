// In the same file as its throwers, as a link-time optimiser sees it, and compiled to inline everything that may be.
#include "hw-inventory-interface/ErrorHandling/Exception.cpp"
#include "st-core/lib/RuntimeException.cpp"

#include "st-core/lib/DbgHelpWin.h"
#include "st-core/lib/Format.h"
#include "st-core/lib/HostLogger.h"
#include "st-core/lib/LastError.h"
#include "st-core/lib/WinTracer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>

namespace
{
using namespace ZelStdCore;
using HardwareInventory::ErrorHandling::ErrorCode;
using HardwareInventory::ErrorHandling::Exception;
namespace files = std::filesystem;
using Names = std::vector<std::wstring>;

// Each function of the tests has a frame of its own: it is called through a volatile pointer, so that it is not inlined, and ends
// with a write to this, so that it makes no tail call.
volatile int returned = 0;

std::vector<StackFrame> traceAtDepth(int depth);
std::vector<StackFrame> (*volatile const kTraceAtDepth)(int) = &traceAtDepth;

// The address of a frame is where its call returns to: all is on one line.
// clang-format off
const std::uint32_t kTracedLine = __LINE__ + 3;
std::vector<StackFrame> traceAtDepth(int depth)
{
    auto frames = depth == 0 ? currentStack() : kTraceAtDepth(depth - 1); returned = 1;
    return frames;
}
// clang-format on

void throwRuntimeException()
{
    throw RuntimeException(L"message", L"file", L"throwRuntimeException", __LINE__);
}

void throwInventoryException()
{
    throw Exception(ErrorCode::openFile, L"message", L"file", L"throwInventoryException", __LINE__);
}

void (*volatile const kThrowers[])() = {&throwRuntimeException, &throwInventoryException};

// The unqualified name.
std::wstring functionOf(const StackFrame& frame)
{
    return frame.completeName.substr(frame.completeName.rfind(L':') + 1);
}

void expectFailure(const std::function<void()>& call, const std::wstring& message)
{
    try
    {
        call();
        ADD_FAILURE() << "no exception";
    }
    catch (const RuntimeException& error)
    {
        EXPECT_TRUE(error.trace().empty());
        EXPECT_EQ(error.file(), L"st-core\\lib\\WinTracer.cpp");
        EXPECT_EQ(error.message().substr(0, message.size()), message);
    }
}

struct ThisProcess : Tracer
{
    explicit ThisProcess(std::uint32_t options = 0) : Tracer(options, L"", GetCurrentProcessId(), GetCurrentProcess()) {}
};

// A library with few symbols, which are quick to load.
struct HostModule
{
    const HMODULE module;

    explicit HostModule(const files::path& path = L"host-module.dll") : module(LoadLibraryW(path.c_str())) {}
    HostModule(const HostModule&) = delete;
    ~HostModule() { FreeLibrary(module); }

    // The only frame of a stack with one function of the library.
    StackFrame trace(std::uint32_t options = Tracer::symbolNames) const
    {
        const std::uint64_t end[16] = {};
        CONTEXT context{};
        context.Rip = reinterpret_cast<std::uintptr_t>(GetProcAddress(module, "hostAnswer"));
        context.Rsp = reinterpret_cast<std::uintptr_t>(end);
        const auto frames = ThisProcess(options).getTrace(GetCurrentThread(), &context);
        EXPECT_EQ(frames.size(), 1u);
        EXPECT_EQ(frames[0].address, context.Rip);
        return frames[0];
    }
};

const auto kThisModule = reinterpret_cast<std::uintptr_t>(GetModuleHandleW(nullptr));
const auto kTracedAddress = reinterpret_cast<std::uintptr_t>(&traceAtDepth);

TEST(Tracer, NamesFunctionFileAndLineOfEachFrame)
{
    static Names lines; // callbacks capture nothing
    HostLogger::instance().set([](std::uint32_t, const char* line) { ADD_FAILURE() << line; });
    Tracer::setLog([](const std::wstring& line) { lines.push_back(line); });
    const auto frames = kTraceAtDepth(1);
    ASSERT_GT(frames.size(), 4u);
    EXPECT_EQ(functionOf(frames[1]), L"traceAtDepth");
    EXPECT_EQ(functionOf(frames[2]), L"TestBody");
    EXPECT_TRUE(std::ranges::count(frames, L"main", &StackFrame::completeName)) << "the walk ends too early";

    const StackFrame& traced = frames[0];
    EXPECT_EQ(functionOf(traced), L"traceAtDepth");
    EXPECT_EQ(traced.lineNumber, kTracedLine);
    EXPECT_TRUE(traced.fileName.ends_with(L"TracerTest.cpp"));
    EXPECT_EQ(traced.shortName, traced.completeName);
    EXPECT_FALSE(traced.symbolName.empty());
    EXPECT_EQ(traced.moduleName, L"tracer-tests");
    EXPECT_TRUE(traced.imageName.ends_with(L"tracer-tests.exe"));
    EXPECT_EQ(traced.symbolType, L"PDB");
    EXPECT_EQ(traced.moduleBase, kThisModule);
    EXPECT_EQ(traced.address - traced.symbolDisplacement, kTracedAddress);

    // The tracer's lines reach only its own receiver. The start-up code of the program has no source here.
    const auto sourceless = std::ranges::find(frames, 0u, &StackFrame::lineNumber);
    ASSERT_NE(sourceless, frames.end());
    const auto address = reinterpret_cast<const void*>(static_cast<std::uintptr_t>(sourceless->address));
    const std::pair<std::wstring, std::wstring> expected[] = {
        {L"Loaded ", L"tracer-tests.exe:tracer-tests.exe (0x"},
        {L"Loaded ", L" (result: 0), symbol type: '-deferred-', PDB: '', version: 0\n"},
        {format(L"failed to collect symbol line information (%p): ", address), L""}};
    for (const auto& [begin, rest] : expected)
        EXPECT_TRUE(std::ranges::any_of(lines, [&](const std::wstring& line)
                                        { return line.starts_with(begin) && line.find(rest, begin.size()) != line.npos; }));
}

TEST(Tracer, ExceptionsLeaveTheirConstructorsOut)
{
    // The thrower is in the exception's own fields. An inventory exception's constructor is one more frame than the other's.
    const Names expected[] = {{L"TestBody"}, {L"throwInventoryException", L"TestBody"}};
    for (std::size_t kind = 0; kind < std::size(expected); ++kind)
        try
        {
            SetLastError(1234);
            kThrowers[kind]();
        }
        catch (const RuntimeException& error)
        {
            EXPECT_EQ(GetLastError(), 1234u);
            Names names;
            std::ranges::transform(error.frames(), std::back_inserter(names), functionOf);
            names.resize(expected[kind].size());
            EXPECT_EQ(names, expected[kind]);
        }
}

TEST(Tracer, AWalkHasABound)
{
    EXPECT_EQ(kTraceAtDepth(2 * Tracer::kMostFrames).size(), Tracer::kMostFrames - 1);
}

TEST(Tracer, AFailureHasAMessageAndLeavesTheFramesBeforeIt)
{
    auto& dbghelp = const_cast<DbgHelp&>(*DbgHelp::instance());
    static const DbgHelp whole = dbghelp;
    static int left = 0; // of the calls that succeed
    const HostModule module;
    const auto expectFrames = [&](const std::wstring& message, std::size_t frames)
    {
        left = 0;
        expectFailure([&] { module.trace(); }, message);
        left = 5;
        EXPECT_EQ(kTraceAtDepth(0).size(), frames); // the walk has one more
        dbghelp = whole;
    };
    dbghelp.walkStack = [](auto... arguments) -> BOOL { return left-- > 0 && whole.walkStack(arguments...); };
    expectFrames(L"StackWalk64 failed at ", 4);
    dbghelp.undecorate = [](auto... arguments) -> DWORD { return left-- > 0 ? whole.undecorate(arguments...) : 0; };
    expectFrames(L"failed to get undecorated symbol short name: ", 2);

    ThisProcess tracer;
    expectFailure([&] { tracer.getObject(0x10); }, L"failed to get object at 0x10: ");
    expectFailure([&] { tracer.getModuleListPSAPI(nullptr); },
                  L"failed to retrieve required memory amount for modules enumeration");
    // A process that does not exist has neither a snapshot nor a list of modules.
    expectFailure([] { Tracer(0, L"", 0xFFFFFFF0, nullptr).loadModules(); },
                  L"failed to initialize tracer: " + LastError{ERROR_INVALID_HANDLE}.text());
    // A tracer that fails half-way restores the options of dbghelp.
    SymSetOptions(SYMOPT_DEBUG);
    const auto invalid = reinterpret_cast<HANDLE>(std::uintptr_t{0xABCD0});
    expectFailure([&] { ThisProcess().getTrace(invalid); }, L"failed to get 0xabcd0 thread context");
    EXPECT_EQ(SymGetOptions(), DWORD{SYMOPT_DEBUG});
}

TEST(Tracer, UsesOnlyThePdbBesideAModule)
{
    const files::path built = files::current_path(); // where its PDB is
    const files::path folder = files::temp_directory_path() / "st-core-pdb";
    files::create_directories(folder);
    files::copy_file(built / "host-module.dll", folder / "host-module.dll");
    {
        const HostModule module(folder / "host-module.dll");
        EXPECT_EQ(module.trace().completeName, L"");
        files::copy_file(built / "host-module.pdb", folder / "host-module.pdb");
        files::current_path(folder);
        EXPECT_EQ(module.trace().completeName, L"hostAnswer");
    }
    files::current_path(built);
    files::remove_all(folder);
}

TEST(Tracer, OptionsDecideWhatIsResolved)
{
    const HostModule module;
    for (std::uint32_t options = 0; options < 8; ++options)
    {
        SetLastError(5);
        const StackFrame frame = module.trace(options);
        EXPECT_EQ(GetLastError(), 0u);
        EXPECT_EQ(frame.completeName.empty(), !(options & Tracer::symbolNames)) << options;
        EXPECT_EQ(frame.lineNumber == 0, !(options & Tracer::sourceLines)) << options;
        EXPECT_EQ(frame.symbolType.empty(), !(options & Tracer::moduleInformation)) << options;
    }
}

DWORD WINAPI sleepingFunction(void* events)
{
    SignalObjectAndWait(static_cast<HANDLE*>(events)[0], static_cast<HANDLE*>(events)[1], INFINITE, FALSE);
    returned = 1;
    return 0;
}

TEST(Tracer, WalksAnotherThreadWhichRunsOn)
{
    HANDLE events[] = {CreateEventW(nullptr, TRUE, FALSE, nullptr), CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    const HANDLE thread = CreateThread(nullptr, 0, &sleepingFunction, events, 0, nullptr);
    WaitForSingleObject(events[0], INFINITE);
    EXPECT_TRUE(std::ranges::count(ThisProcess(Tracer::symbolNames).getTrace(thread), L"sleepingFunction", functionOf));
    SetEvent(events[1]);
    EXPECT_EQ(WaitForSingleObject(thread, 60000), WAIT_OBJECT_0);
}

TEST(Tracer, NamesTheObjectAtAnAddressAndListsModulesThroughPsapi)
{
    ThisProcess tracer;
    EXPECT_TRUE(tracer.getModuleListPSAPI(GetCurrentProcess()));
    EXPECT_TRUE(tracer.getModuleListPSAPI(GetCurrentProcess())) << "with all of them loaded already";
    const SymbolObject object = tracer.getObject(kTracedAddress + 1);
    EXPECT_NE(object.name.find(L"traceAtDepth"), std::wstring::npos);
    EXPECT_EQ(object.address, kTracedAddress);
    EXPECT_EQ(object.displacement, 1u);
    EXPECT_EQ(object.moduleBase, kThisModule);
}
}

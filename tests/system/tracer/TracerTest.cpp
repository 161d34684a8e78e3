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

using namespace ZelStdCore;
using HardwareInventory::ErrorHandling::ErrorCode;
using HardwareInventory::ErrorHandling::Exception;

namespace
{
// Each function of the tests has a frame of its own: it is called through a volatile pointer, so that it is not inlined, and ends
// with a write to this, so that it makes no tail call.
volatile int returned = 0;

using Names = std::vector<std::wstring>;

std::uint32_t tracedLine = 0;

// The address of a frame is where its call returns to: both statements are on one line.
// clang-format off
std::vector<StackFrame> tracedFunction()
{
    tracedLine = __LINE__ + 1;
    auto frames = currentStack(); returned = 1;
    return frames;
}
// clang-format on

std::vector<StackFrame> (*volatile const kTracedFunction)() = &tracedFunction;

std::vector<StackFrame> callerOfTracedFunction()
{
    auto frames = kTracedFunction();
    returned = 1;
    return frames;
}

std::vector<StackFrame> (*volatile const kCallerOfTracedFunction)() = &callerOfTracedFunction;

std::size_t framesAtDepth(int depth);
std::size_t (*volatile const kFramesAtDepth)(int) = &framesAtDepth;

std::size_t framesAtDepth(int depth)
{
    const std::size_t count = depth == 0 ? currentStack().size() : kFramesAtDepth(depth - 1);
    returned = 1;
    return count;
}

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

Tracer tracerOfThisProcess(std::uint32_t options)
{
    return Tracer(options, L"", GetCurrentProcessId(), GetCurrentProcess());
}

// A library with few symbols, which are quick to load.
struct HostModule
{
    explicit HostModule(const std::filesystem::path& path) : module(LoadLibraryW(path.c_str())) {}
    HostModule(const HostModule&) = delete;
    ~HostModule() { FreeLibrary(module); }

    // The only frame of a stack with one function of the library.
    StackFrame trace(std::uint32_t options) const
    {
        const std::uint64_t end[16] = {};
        CONTEXT context{};
        context.Rip = reinterpret_cast<std::uintptr_t>(GetProcAddress(module, "hostAnswer"));
        context.Rsp = reinterpret_cast<std::uintptr_t>(end);
        const auto frames = tracerOfThisProcess(options).getTrace(GetCurrentThread(), &context);
        EXPECT_EQ(frames.size(), 1u);
        EXPECT_EQ(frames[0].address, context.Rip);
        return frames[0];
    }

    HMODULE module;
};

const auto kThisModule = reinterpret_cast<std::uintptr_t>(GetModuleHandleW(nullptr));
const auto kTracedAddress = reinterpret_cast<std::uintptr_t>(&tracedFunction);
constexpr std::uint32_t kEverything = Tracer::symbolNames | Tracer::sourceLines | Tracer::moduleInformation;
}

TEST(Tracer, NamesFunctionFileAndLineOfEachFrame)
{
    const auto frames = kCallerOfTracedFunction();
    ASSERT_GT(frames.size(), 4u);
    EXPECT_EQ(functionOf(frames[1]), L"callerOfTracedFunction");
    EXPECT_EQ(functionOf(frames[2]), L"TestBody");
    EXPECT_TRUE(std::ranges::count(frames, L"main", &StackFrame::completeName)) << "the walk ends too early";

    const StackFrame& traced = frames[0];
    EXPECT_EQ(functionOf(traced), L"tracedFunction");
    EXPECT_EQ(traced.lineNumber, tracedLine);
    EXPECT_TRUE(traced.fileName.ends_with(L"TracerTest.cpp"));
    EXPECT_EQ(traced.shortName, traced.completeName);
    EXPECT_FALSE(traced.symbolName.empty());
    EXPECT_EQ(traced.moduleName, L"tracer-tests");
    EXPECT_TRUE(traced.imageName.ends_with(L"tracer-tests.exe"));
    EXPECT_EQ(traced.symbolType, L"PDB");
    EXPECT_EQ(traced.moduleBase, kThisModule);
    EXPECT_EQ(traced.address - traced.symbolDisplacement, kTracedAddress);
}

TEST(Tracer, ExceptionsLeaveTheirConstructorsOut)
{
    // The thrower is in the exception's own fields. An inventory exception's constructor is one more frame than the other's.
    const Names expected[] = {{L"TestBody"}, {L"throwInventoryException", L"TestBody"}};
    for (std::size_t kind = 0; kind < std::size(expected); ++kind)
    {
        try
        {
            kThrowers[kind]();
        }
        catch (const RuntimeException& error)
        {
            Names names;
            std::ranges::transform(error.frames(), std::back_inserter(names), functionOf);
            names.resize(expected[kind].size());
            EXPECT_EQ(names, expected[kind]);
        }
    }
    SetLastError(1234);
    EXPECT_FALSE(RuntimeException(L"", L"", L"", 0).trace().empty());
    EXPECT_EQ(GetLastError(), 1234u);
}

TEST(Tracer, AFailureLeavesTheFramesBeforeIt)
{
    static const DbgHelp whole = *DbgHelp::instance();
    static int left = 0; // of the calls that succeed
    DbgHelp unwalkable = whole, undecorated = whole;
    unwalkable.walkStack = [](auto... arguments) -> BOOL { return left-- > 0 && whole.walkStack(arguments...); };
    undecorated.undecorate = [](auto... arguments) -> DWORD { return left-- > 0 ? whole.undecorate(arguments...) : 0; };
    const struct
    {
        DbgHelp functions;
        std::wstring message;
        std::size_t frames; // currentStack has one more
    } cases[] = {{unwalkable, L"StackWalk64 failed at ", 4}, {undecorated, L"failed to get undecorated symbol short name: ", 2}};
    const HostModule module(L"host-module.dll");
    for (const auto& [functions, message, frames] : cases)
    {
        const_cast<DbgHelp&>(*DbgHelp::instance()) = functions;
        left = 0;
        EXPECT_TRUE(messageOf([&] { module.trace(kEverything); }).starts_with(message));
        left = 5;
        EXPECT_EQ(kTracedFunction().size(), frames);
    }
    const_cast<DbgHelp&>(*DbgHelp::instance()) = whole;
}

TEST(Tracer, AWalkHasABound)
{
    EXPECT_EQ(framesAtDepth(2 * Tracer::kMostFrames), Tracer::kMostFrames - 1);
}

TEST(Tracer, UsesOnlyThePdbBesideAModule)
{
    wchar_t program[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    namespace files = std::filesystem;
    const files::path built = files::path(program).parent_path();
    const files::path folder = files::temp_directory_path() / "st-core-pdb";
    files::create_directories(folder);
    files::copy_file(built / "host-module.dll", folder / "host-module.dll");
    files::current_path(built); // where its PDB is
    {
        const HostModule module(folder / "host-module.dll");
        EXPECT_EQ(module.trace(kEverything).completeName, L"");
        files::copy_file(built / "host-module.pdb", folder / "host-module.pdb");
        files::current_path(folder);
        EXPECT_EQ(module.trace(kEverything).completeName, L"hostAnswer");
    }
    files::current_path(built);
    files::remove_all(folder);
}

TEST(Tracer, OptionsDecideWhatIsResolved)
{
    const HostModule module(L"host-module.dll");
    for (std::uint32_t options = 0; options <= kEverything; ++options)
    {
        SCOPED_TRACE(options);
        SetLastError(5);
        const StackFrame frame = module.trace(options);
        EXPECT_EQ(GetLastError(), 0u);
        EXPECT_EQ(frame.completeName.empty(), !(options & Tracer::symbolNames));
        EXPECT_EQ(frame.lineNumber == 0, !(options & Tracer::sourceLines));
        EXPECT_EQ(frame.symbolType.empty(), !(options & Tracer::moduleInformation));
    }
}

TEST(Tracer, WalksAnotherThread)
{
    struct Sleeper
    {
        static DWORD WINAPI sleepingFunction(void* events)
        {
            SignalObjectAndWait(static_cast<HANDLE*>(events)[0], static_cast<HANDLE*>(events)[1], INFINITE, FALSE);
            returned = 1;
            return 7;
        }
    };
    HANDLE events[] = {CreateEventW(nullptr, TRUE, FALSE, nullptr), CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    const HANDLE thread = CreateThread(nullptr, 0, &Sleeper::sleepingFunction, events, 0, nullptr);
    WaitForSingleObject(events[0], INFINITE);
    const auto frames = tracerOfThisProcess(kEverything).getTrace(thread);
    EXPECT_TRUE(std::ranges::count(frames, L"sleepingFunction", functionOf));

    // The thread runs on afterwards.
    SetEvent(events[1]);
    EXPECT_EQ(WaitForSingleObject(thread, 60000), WAIT_OBJECT_0);

    // A tracer that fails half-way restores the options of dbghelp.
    SymSetOptions(SYMOPT_DEBUG);
    const auto invalid = reinterpret_cast<HANDLE>(std::uintptr_t{0xABCD0});
    EXPECT_EQ(messageOf([&] { tracerOfThisProcess(0).getTrace(invalid); }), L"failed to get 0xabcd0 thread context");
    EXPECT_EQ(SymGetOptions(), DWORD{SYMOPT_DEBUG});
}

TEST(Tracer, NamesTheObjectAtAnAddress)
{
    Tracer tracer = tracerOfThisProcess(0);
    const SymbolObject object = tracer.getObject(kTracedAddress + 1);
    EXPECT_NE(object.name.find(L"tracedFunction"), std::wstring::npos);
    EXPECT_EQ(object.address, kTracedAddress);
    EXPECT_EQ(object.displacement, 1u);
    EXPECT_EQ(object.moduleBase, kThisModule);
    EXPECT_TRUE(messageOf([&] { tracer.getObject(0x10); }).starts_with(L"failed to get object at 0x10: "));
}

TEST(Tracer, ListsModulesThroughPsapi)
{
    Tracer tracer = tracerOfThisProcess(0);
    EXPECT_TRUE(tracer.getModuleListPSAPI(GetCurrentProcess()));
    // Once more, with all of them loaded already.
    EXPECT_TRUE(tracer.getModuleListPSAPI(GetCurrentProcess()));
    EXPECT_EQ(messageOf([&] { tracer.getModuleListPSAPI(nullptr); }),
              L"failed to retrieve required memory amount for modules enumeration");

    // A process that does not exist has neither a snapshot nor a list of modules.
    Tracer nowhere(0, L"", 0xFFFFFFF0, nullptr);
    EXPECT_EQ(messageOf([&] { nowhere.loadModules(); }), L"failed to initialize tracer: " + LastError{ERROR_INVALID_HANDLE}.text());
}

TEST(Tracer, ItsLinesReachOnlyItsOwnReceiver)
{
    static Names lines; // callbacks capture nothing
    HostLogger::instance().set([](std::uint32_t, const char* line) { ADD_FAILURE() << line; });
    Tracer::setLog([](const std::wstring& line) { lines.push_back(line); });
    const auto frames = kTracedFunction();
    const auto hasLine = [](const std::wstring& begin, const std::wstring& rest)
    {
        return std::ranges::any_of(lines, [&](const std::wstring& line)
                                   { return line.starts_with(begin) && line.find(rest, begin.size()) != line.npos; });
    };
    EXPECT_TRUE(hasLine(L"Loaded ", L"tracer-tests.exe:tracer-tests.exe (0x"));
    EXPECT_TRUE(hasLine(L"Loaded ", L" (result: 0), symbol type: '-deferred-', PDB: '', version: 0\n"));

    // The start-up code of the program has no source here.
    const auto sourceless = std::ranges::find(frames, 0u, &StackFrame::lineNumber);
    ASSERT_NE(sourceless, frames.end());
    const auto address = reinterpret_cast<const void*>(static_cast<std::uintptr_t>(sourceless->address));
    EXPECT_TRUE(hasLine(format(L"failed to collect symbol line information (%p): ", address), L""));
}

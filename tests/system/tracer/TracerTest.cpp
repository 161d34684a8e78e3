// In the same file as its throwers, as a link-time optimiser sees it, and compiled to inline everything that may be.
#include "hw-inventory-interface/ErrorHandling/Exception.cpp"
#include "st-core/lib/RuntimeException.cpp"

#include "st-core/lib/Format.h"
#include "st-core/lib/HostLogger.h"
#include "st-core/lib/LastError.h"
#include "st-core/lib/MemoryMappedFile.h"
#include "st-core/lib/ModuleVersionWin.h"
#include "st-core/lib/OSError.h"
#include "st-core/lib/SymbolNamesWin.h"
#include "st-core/lib/SymbolSearchPathWin.h"
#include "st-core/lib/WinTracer.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include <process.h>

namespace
{
using namespace ZelStdCore;
using HardwareInventory::ErrorHandling::ErrorCode;
using HardwareInventory::ErrorHandling::Exception;
using testing::AllOf, testing::Contains, testing::HasSubstr, testing::IsEmpty, testing::Property, testing::StartsWith;
namespace files = std::filesystem;
using Names = std::vector<std::wstring>;

// Each function of the tests has a frame of its own: it is called through a volatile pointer, so that it is not inlined, and ends
// with a write to this, so that it makes no tail call. The address of a frame is where its call returns to: all is on one line.
volatile int returned = 0;
std::vector<StackFrame> traceAtDepth(int depth);
std::vector<StackFrame> (*volatile const kTraceAtDepth)(int) = &traceAtDepth;

// clang-format off
constexpr std::uint32_t kTracedLine = __LINE__ + 3;
std::vector<StackFrame> traceAtDepth(int depth)
{
    auto frames = depth == 0 ? currentStack() : kTraceAtDepth(depth - 1); returned = 1;
    return frames;
}
// clang-format on

struct Throw
{
    static void runtimeException() { throw RuntimeException(L"message", L"file", L"function", __LINE__); }
    static void inventoryException() { throw Exception(ErrorCode::openFile, L"message", L"file", L"function", __LINE__); }
};

// The unqualified names.
Names functionsOf(const std::vector<StackFrame>& frames)
{
    Names names;
    for (const StackFrame& frame : frames)
        names.push_back(frame.completeName.substr(frame.completeName.rfind(L':') + 1));
    return names;
}

// A call fails with a message that begins so, and without a trace.
template <class Call>
void expectFailure(Call call, const std::wstring& message)
{
    EXPECT_THAT(call, testing::Throws<RuntimeException>(AllOf(Property(&RuntimeException::message, StartsWith(message)),
                                                              Property(&RuntimeException::trace, IsEmpty()))));
}

struct ThisProcess : Tracer
{
    explicit ThisProcess(std::uint32_t options = 0) : Tracer(options, L"", GetCurrentProcessId(), GetCurrentProcess()) {}
};

// The only frame of a stack with one function of a library with few symbols, which are quick to load.
StackFrame frameOf(HMODULE module, std::uint32_t options = Tracer::symbolNames)
{
    const std::uint64_t end[16] = {};
    CONTEXT context{};
    context.Rip = reinterpret_cast<std::uintptr_t>(GetProcAddress(module, "hostAnswer"));
    context.Rsp = reinterpret_cast<std::uintptr_t>(end);
    const auto frames = ThisProcess(options).getTrace(GetCurrentThread(), &context);
    EXPECT_TRUE(frames.size() == 1 && frames[0].address == context.Rip);
    return frames.at(0);
}

const HMODULE hostModule = LoadLibraryW(L"host-module.dll");
const auto kThisModule = reinterpret_cast<std::uintptr_t>(GetModuleHandleW(nullptr));
const auto kTracedAddress = reinterpret_cast<std::uintptr_t>(&traceAtDepth);

TEST(Tracer, NamesFunctionFileAndLineOfEachFrame)
{
    static Names lines; // callbacks capture nothing
    HostLogger::instance().set([](std::uint32_t, const char* line) { ADD_FAILURE() << line; });
    Tracer::setLog([](const std::wstring& line) { lines.push_back(line); });
    const auto frames = kTraceAtDepth(1);
    const Names names = functionsOf(frames);
    ASSERT_GT(names.size(), 4u);
    EXPECT_EQ(Names(names.begin(), names.begin() + 3), (Names{L"traceAtDepth", L"traceAtDepth", L"TestBody"}));
    EXPECT_THAT(names, Contains(L"main")) << "the walk ends too early";

    const StackFrame& traced = frames[0];
    EXPECT_TRUE(!traced.symbolName.empty() && traced.shortName == traced.completeName) << traced.shortName;
    EXPECT_EQ(std::tuple(traced.lineNumber, files::path(traced.fileName).filename()), std::tuple(kTracedLine, "TracerTest.cpp"));
    EXPECT_EQ(std::tuple(traced.moduleName, traced.symbolType), std::tuple(L"tracer-tests", L"PDB"));
    EXPECT_EQ(std::tuple(traced.moduleBase, files::path(traced.imageName).filename()), std::tuple(kThisModule, "tracer-tests.exe"));
    EXPECT_EQ(traced.address - traced.symbolDisplacement, kTracedAddress);

    // The tracer's lines reach only its own receiver. The start-up code of the program has no source here.
    EXPECT_THAT(lines, Contains(AllOf(StartsWith(L"Loaded "), HasSubstr(L"tracer-tests.exe:tracer-tests.exe (0x"),
                                      HasSubstr(L" (result: 0), symbol type: '"), HasSubstr(L", version: 0\n"))));
    const auto sourceless = std::ranges::find(frames, 0u, &StackFrame::lineNumber);
    ASSERT_NE(sourceless, frames.end());
    EXPECT_THAT(lines, Contains(StartsWith(format(L"failed to collect symbol line information (0x%x): ", sourceless->address))));
}

// The thrower is in the exception's own fields. An inventory exception's constructor is one more frame than the other's.
TEST(Tracer, ExceptionsLeaveTheirConstructorsOut)
{
    const struct
    {
        void (*volatile thrower)();
        Names expected;
    } cases[] = {{&Throw::runtimeException, {L"TestBody"}}, {&Throw::inventoryException, {L"inventoryException", L"TestBody"}}};
    for (const auto& [thrower, expected] : cases)
        try
        {
            thrower();
        }
        catch (const RuntimeException& error)
        {
            Names names = functionsOf(error.frames());
            names.resize(expected.size());
            EXPECT_EQ(names, expected);
        }
    SetLastError(1234);
    EXPECT_FALSE(RuntimeException(L"", L"", L"", 0).trace().empty());
    EXPECT_EQ(GetLastError(), 1234u);
    // A walk has a bound.
    EXPECT_EQ(kTraceAtDepth(2 * Tracer::kMostFrames).size(), Tracer::kMostFrames - 1);
}

TEST(Tracer, AFailureHasAMessageAndLeavesTheFramesBeforeIt)
{
    auto& dbghelp = const_cast<DbgHelp&>(*DbgHelp::instance());
    static const DbgHelp whole = dbghelp;
    static int left = 0; // of the calls that succeed
    const auto expectFrames = [&](const std::wstring& message, std::size_t frames)
    {
        left = 0;
        expectFailure([&] { frameOf(hostModule); }, message);
        left = 5;
        EXPECT_EQ(kTraceAtDepth(0).size(), frames); // the walk has one more
        dbghelp = whole;
    };
    dbghelp.walkStack = [](auto... arguments) -> BOOL { return left-- > 0 && whole.walkStack(arguments...); };
    expectFrames(L"StackWalk64 failed at ", 4);
    dbghelp.undecorate = [](auto... arguments) -> DWORD { return left-- > 0 ? whole.undecorate(arguments...) : 0; };
    expectFrames(L"failed to get undecorated symbol short name: ", 2);

    // A process that does not exist has neither a snapshot nor a list of modules.
    expectFailure([] { Tracer(0, L"", 0xFFFFFFF0, nullptr).loadModules(); },
                  L"failed to initialize tracer: " + LastError{ERROR_INVALID_HANDLE}.text());
    // A tracer that fails half-way restores the options of dbghelp.
    SymSetOptions(SYMOPT_DEBUG);
    const auto invalid = reinterpret_cast<HANDLE>(std::uintptr_t{0xABCD0});
    expectFailure([&] { ThisProcess().getTrace(invalid); }, L"failed to get 0xabcd0 thread context");
    EXPECT_EQ(SymGetOptions(), DWORD{SYMOPT_DEBUG});
}

TEST(Tracer, NamesTheObjectAtAnAddressAndListsModulesThroughPsapi)
{
    ThisProcess tracer;
    EXPECT_TRUE(tracer.getModuleListPSAPI(GetCurrentProcess()));
    EXPECT_TRUE(tracer.getModuleListPSAPI(GetCurrentProcess())) << "with all of them loaded already";
    expectFailure([&] { tracer.getModuleListPSAPI(nullptr); },
                  L"failed to retrieve required memory amount for modules enumeration");
    const SymbolObject object = tracer.getObject(kTracedAddress + 1);
    EXPECT_NE(object.name.find(L"traceAtDepth"), std::wstring::npos);
    EXPECT_EQ(std::tuple(object.address, object.displacement, object.moduleBase), std::tuple(kTracedAddress, 1u, kThisModule));
    expectFailure([&] { tracer.getObject(0x10); }, L"failed to get object at 0x10: ");
}

TEST(Tracer, ResolvesByItsOptionsAndThePdbBesideAModule)
{
    for (std::uint32_t options = 0; options < 8; ++options)
    {
        SetLastError(5);
        const StackFrame frame = frameOf(hostModule, options);
        EXPECT_EQ(GetLastError(), 0u);
        const std::uint32_t resolved = (frame.completeName.empty() ? 0 : Tracer::symbolNames) |
                                       (frame.lineNumber == 0 ? 0 : Tracer::sourceLines) |
                                       (frame.symbolType.empty() ? 0 : Tracer::moduleInformation);
        EXPECT_EQ(resolved, options);
    }
    const files::path library = frameOf(hostModule, Tracer::moduleInformation).imageName;
    const files::path symbols = files::path(library).replace_extension(".pdb");
    const files::path folder = files::temp_directory_path() / ("st-core-" + std::to_string(GetCurrentProcessId()));
    files::create_directories(folder);
    files::copy_file(library, folder / "copy.dll");
    const HMODULE copy = LoadLibraryW((folder / "copy.dll").c_str());
    files::current_path(library.parent_path());
    EXPECT_EQ(frameOf(copy).completeName, L"");
    files::copy_file(symbols, folder / symbols.filename());
    files::current_path(folder);
    EXPECT_EQ(frameOf(copy).completeName, L"hostAnswer");
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
    EXPECT_THAT(functionsOf(ThisProcess(Tracer::symbolNames).getTrace(thread)), Contains(L"sleepingFunction"));
    SetEvent(events[1]);
    EXPECT_EQ(WaitForSingleObject(thread, 60000), WAIT_OBJECT_0);
}

TEST(Symbols, OfBothKindsOfDecorationHaveNames)
{
    const DbgHelp& dbghelp = *DbgHelp::instance();
    const std::wstring cases[][3] = {
        {L"", L"", L""},
        {L"ns::function<int>", L"ns::function<int>", L"ns::function<int>"},
        {L"?f@ns@@YAHH@Z", L"ns::f", L"int __cdecl ns::f(int)"},
#if defined(__GNUC__)
        {L"_ZN10ZelStdCore6Tracer11loadModulesEv", L"ZelStdCore::Tracer::loadModules", L"ZelStdCore::Tracer::loadModules()"},
        {L"_ZNK2ns5ClassclEPFviE", L"ns::Class::operator()", L"ns::Class::operator()(void (*)(int)) const"},
        {L"_ZN12_GLOBAL__N_15valueE", L"(anonymous namespace)::value", L"(anonymous namespace)::value"},
        {L"_Zebra", L"_Zebra", L"_Zebra"},
#endif
    };
    for (const auto& [name, shortName, completeName] : cases)
    {
        EXPECT_TRUE(shortSymbolName(dbghelp, name).known && completeSymbolName(dbghelp, name).known);
        EXPECT_EQ(shortSymbolName(dbghelp, name).text, shortName);
        EXPECT_EQ(completeSymbolName(dbghelp, name).text, completeName);
    }
    const Names types{symbolTypeName(SymNone), symbolTypeName(SymVirtual), symbolTypeName(SymVirtual + 1)};
    EXPECT_EQ(types, (Names{L"-nosymbols-", L"Virtual", L"-unknown-"}));
}

// Runs itself again in a deep folder, since a program's path is cut.
TEST(SymbolSearchPath, PutsItsElementsInOrder)
{
    const auto set = [](const wchar_t* name, const wchar_t* value) { SetEnvironmentVariableW(name, value); };
    wchar_t path[MAX_PATH] = {};
    const bool deep = GetModuleFileNameW(nullptr, path, MAX_PATH) > 200;
    const std::wstring program = files::path(std::wstring(path).substr(0, 129)).parent_path().wstring() + L";";
    const std::wstring root = L"C:\\root;C:\\root\\System32;";
    const std::wstring server = L"\\websymbols*https://msdl.microsoft.com/download/symbols;";
    set(L"SYSTEMROOT", L"C:\\root");
    set(L"SYSTEMDRIVE", L"D:");
    set(L"_NT_SYMBOL_PATH", L"first");
    set(L"_NT_ALTERNATE_SYMBOL_PATH", L"second");
    EXPECT_EQ(composeSymbolSearchPath(L"user", true), L"user;" + program + L"first;second;" + root + L"SRV*D:" + server);
    set(L"_NT_SYMBOL_PATH", nullptr);
    set(L"_NT_ALTERNATE_SYMBOL_PATH", std::wstring(130, L'x').c_str()); // too long
    set(L"SYSTEMDRIVE", nullptr);
    EXPECT_EQ(composeSymbolSearchPath(L"", true), program + root + L"SRV*C:" + server);
    EXPECT_EQ(composeSymbolSearchPath(L"", false), program + root);
    if (deep)
        return;
    const auto copy = files::temp_directory_path() / std::wstring(100, L'a') / std::wstring(100, L'b') / "deep.exe";
    files::create_directories(copy.parent_path());
    files::copy_file(path, copy, files::copy_options::overwrite_existing);
    EXPECT_EQ(_wspawnl(_P_WAIT, copy.c_str(), L"deep", L"--gtest_filter=SymbolSearchPath.*", nullptr), 0);
}

TEST(Answers, VersionsAndErrorTexts)
{
    EXPECT_GE(moduleVersion(L"C:\\windows\\system32\\kernel32.dll") >> 48, 6u);
    EXPECT_EQ(moduleVersion(L"tracer-tests.exe"), 0u);
    EXPECT_EQ(moduleVersion(L"C:\\none.dll"), 0u);
    SetLastError(ERROR_FILE_NOT_FOUND);
    const std::wstring text = lastErrorText();
    EXPECT_TRUE(text.size() > 2 && text.ends_with(L"\r\n"));
    EXPECT_EQ(LastError{ERROR_FILE_NOT_FOUND}.text(), text);
    EXPECT_THAT(LastError{ERROR_BAD_EXE_FORMAT}.text(), HasSubstr(L"%1")) << "nothing fills the placeholder";
    EXPECT_EQ(LastError{0xDEADBEEF}.text(), L"");
    EXPECT_EQ(ZelStdCore::strerror(ENOENT), L"No such file or directory");
}

TEST(MappedFile, IsSharedForReadingWhileOpen)
{
    const auto path = files::temp_directory_path() / (L"st-core \u00E4\u4E2D" + std::to_wstring(GetCurrentProcessId()));
    const auto open = [&path](DWORD access, DWORD share)
    { return CreateFileW(path.c_str(), access, share, nullptr, OPEN_EXISTING, 0, nullptr); };
    // As another program would, which closes it again.
    const auto canOpen = [&](DWORD access)
    {
        const HANDLE other = open(access, FILE_SHARE_READ | FILE_SHARE_WRITE);
        return other != INVALID_HANDLE_VALUE && CloseHandle(other);
    };
    MemoryMappedFile file;
    std::ofstream(path) << "mapped bytes";
    file.open(path.wstring());
    EXPECT_EQ(std::string(file.data(), file.size()), "mapped bytes");
    EXPECT_TRUE(canOpen(GENERIC_READ) && !canOpen(GENERIC_WRITE));
    file.close();
    EXPECT_TRUE(canOpen(GENERIC_WRITE));

    std::ofstream(path, std::ios::trunc).flush(); // an empty file cannot be mapped
    EXPECT_THROW(file.open(path.wstring()), RuntimeException);
    EXPECT_TRUE(canOpen(GENERIC_WRITE)) << "the file stays open";
    // No one else may open it: the open fails unnoticed, then the mapping.
    const HANDLE holder = open(GENERIC_READ, 0);
    EXPECT_THROW(file.open(path.wstring()), RuntimeException);
    EXPECT_TRUE(CloseHandle(holder));
    files::remove(path);
}
}

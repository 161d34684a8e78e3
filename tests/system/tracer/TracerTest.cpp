// In the same file as its throwers, as a link-time optimiser sees it, and compiled to inline everything that may be.
#include "hw-inventory-interface/ErrorHandling/Exception.cpp"
#include "st-core/lib/RuntimeException.cpp"

#include "st-core/lib/HostLogger.h"
#include "st-core/lib/MemoryMappedFile.h"
#include "st-core/lib/ModuleVersionWin.h"
#include "st-core/lib/OSError.h"
#include "st-core/lib/SymbolNamesWin.h"
#include "st-core/lib/SymbolSearchPathWin.h"
#include "st-core/lib/WinTracer.h"
#include "tests/com/Service.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

namespace
{
using namespace ZelStdCore;
using HardwareInventory::ErrorHandling::ErrorCode, HardwareInventory::ErrorHandling::Exception;
using testing::AllOf, testing::Contains, testing::ElementsAre, testing::EndsWith, testing::HasSubstr, testing::StartsWith;
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

Names functionsOf(const std::vector<StackFrame>& frames)
{
    Names names;
    for (const StackFrame& frame : frames)
        names.push_back(frame.completeName.substr(frame.completeName.rfind(L':') + 1));
    return names;
}

struct Made
{
    static Names runtimeException() { return functionsOf(RuntimeException(L"", L"", L"", 0).frames()); }
    static Names inventoryException() { return functionsOf(Exception(ErrorCode::openFile, L"", L"", L"", 0).frames()); }
};

// A call fails with a message that begins so, and without a trace.
void expectFailure(auto call, const std::wstring& message)
{
    using Is = RuntimeException;
    EXPECT_THAT(
        call, testing::Throws<Is>(AllOf(testing::Property(&Is::message, StartsWith(message)), testing::Property(&Is::trace, L""))));
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
    ASSERT_THAT(names, Contains(L"main")) << "the walk ends too early";
    EXPECT_EQ(Names(names.begin(), names.begin() + 3), (Names{L"traceAtDepth", L"traceAtDepth", L"TestBody"}));

    const StackFrame& traced = frames[0];
    EXPECT_TRUE(!traced.symbolName.empty() && traced.shortName == traced.completeName) << traced.shortName;
    EXPECT_THAT((Names{traced.fileName, traced.moduleName, traced.imageName, traced.symbolType}),
                ElementsAre(EndsWith(L"TracerTest.cpp"), L"tracer-tests", EndsWith(L"tracer-tests.exe"), L"PDB"));
    EXPECT_EQ(std::tuple(traced.lineNumber, traced.moduleBase, traced.address - traced.symbolDisplacement),
              std::tuple(kTracedLine, kThisModule, kTracedAddress));

    EXPECT_THAT(lines, Contains(AllOf(StartsWith(L"Loaded "), HasSubstr(L"tracer-tests.exe:tracer-tests.exe (0x"),
                                      HasSubstr(L" (result: 0), symbol type: '"), HasSubstr(L", version: 0\n"))));
    const auto sourceless = std::ranges::find(frames, 0u, &StackFrame::lineNumber);
    ASSERT_NE(sourceless, frames.end());
    EXPECT_THAT(lines, Contains(StartsWith(format(L"failed to collect symbol line information (0x%x): ", sourceless->address))));
}

TEST(Tracer, NamesTheObjectAtAnAddressAndListsModulesThroughPsapi)
{
    ThisProcess tracer;
    EXPECT_TRUE(tracer.getModuleListPSAPI(GetCurrentProcess()));
    expectFailure([&] { tracer.getModuleListPSAPI(nullptr); }, L"failed to retrieve required memory amount for modules enum");
    const SymbolObject object = tracer.getObject(kTracedAddress + 1);
    EXPECT_THAT(object.name, HasSubstr(L"traceAtDepth"));
    EXPECT_EQ(std::tuple(object.address, object.displacement, object.moduleBase), std::tuple(kTracedAddress, 1u, kThisModule));
    expectFailure([&] { tracer.getObject(0x10); }, L"failed to get object at 0x10: ");
}

// The thrower is in the exception's own fields. An inventory exception's constructor is one more frame than the other's.
TEST(Tracer, ExceptionsLeaveTheirConstructorsOut)
{
    Names (*volatile const make[])() = {&Made::runtimeException, &Made::inventoryException};
    EXPECT_EQ(make[0]().at(0), L"TestBody");
    const Names names = make[1]();
    EXPECT_EQ((Names{names.at(0), names.at(1)}), (Names{L"inventoryException", L"TestBody"}));
    SetLastError(1234);
    EXPECT_FALSE(RuntimeException(L"", L"", L"", 0).trace().empty());
    EXPECT_EQ(GetLastError(), 1234u);
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

TEST(Tracer, ResolvesByItsOptionsAndThePdbBesideAModule)
{
    for (std::uint32_t options = 0; options < 8; ++options)
    {
        SetLastError(5);
        const StackFrame frame = frameOf(hostModule, options);
        EXPECT_EQ(GetLastError(), 0u);
        EXPECT_EQ(frame.completeName.empty(), (options & Tracer::symbolNames) == 0);
        EXPECT_EQ(frame.lineNumber == 0, (options & Tracer::sourceLines) == 0);
        EXPECT_EQ(frame.symbolType.empty(), (options & Tracer::moduleInformation) == 0);
    }
    files::current_path(files::path(frameOf(hostModule, Tracer::moduleInformation).imageName).parent_path());
    const auto folder = files::temp_directory_path() / ("st-core-" + std::to_string(GetCurrentProcessId()));
    files::create_directories(folder);
    files::copy_file("host-module.dll", folder / "copy.dll");
    const HMODULE copy = LoadLibraryW((folder / "copy.dll").c_str());
    EXPECT_EQ(frameOf(copy).completeName, L"");
    files::copy_file("host-module.pdb", folder / "host-module.pdb");
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
    EXPECT_EQ(SignalObjectAndWait(events[1], thread, 60000, FALSE), WAIT_OBJECT_0);
}

TEST(Symbols, OfBothKindsOfDecorationHaveNames)
{
    const DbgHelp& dbghelp = *DbgHelp::instance();
    const std::wstring cases[][3] = {
        {L"ns::function<int>", L"ns::function<int>", L"ns::function<int>"},
        {L"?f@ns@@YAHH@Z", L"ns::f", L"int __cdecl ns::f(int)"},
#if defined(__GNUC__)
        {L"_ZNK2ns5ClassclEPFviE", L"ns::Class::operator()", L"ns::Class::operator()(void (*)(int)) const"},
        {L"_ZN12_GLOBAL__N_15valueE", L"(anonymous namespace)::value", L"(anonymous namespace)::value"},
        {L"_Zebra", L"_Zebra", L"_Zebra"},
#endif
    };
    for (const auto& [name, shortName, completeName] : cases)
    {
        EXPECT_EQ(shortSymbolName(dbghelp, name).text, shortName);
        EXPECT_EQ(completeSymbolName(dbghelp, name).text, completeName);
    }
    EXPECT_EQ(std::wstring(symbolTypeName(SymVirtual)) + symbolTypeName(SymVirtual + 1), L"Virtual-unknown-");
}

TEST(SymbolSearchPath, PutsItsElementsInOrder)
{
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    const std::wstring program = files::path(path).parent_path().wstring() + L";", root = L"C:\\root;C:\\root\\System32;";
    const std::wstring server = L"\\websymbols*https://msdl.microsoft.com/download/symbols;";
    SetEnvironmentVariableW(L"SYSTEMROOT", L"C:\\root");
    SetEnvironmentVariableW(L"SYSTEMDRIVE", L"D:");
    SetEnvironmentVariableW(L"_NT_SYMBOL_PATH", L"first");
    SetEnvironmentVariableW(L"_NT_ALTERNATE_SYMBOL_PATH", L"second");
    EXPECT_EQ(composeSymbolSearchPath(L"user", true), L"user;" + program + L"first;second;" + root + L"SRV*D:" + server);
    SetEnvironmentVariableW(L"_NT_SYMBOL_PATH", nullptr);
    SetEnvironmentVariableW(L"_NT_ALTERNATE_SYMBOL_PATH", std::wstring(130, L'x').c_str()); // too long
    SetEnvironmentVariableW(L"SYSTEMDRIVE", nullptr);
    EXPECT_EQ(composeSymbolSearchPath(L"", true), program + root + L"SRV*C:" + server);
    EXPECT_EQ(composeSymbolSearchPath(L"", false), program + root);
}

TEST(Answers, VersionsAndErrorTexts)
{
    EXPECT_THAT(moduleVersion(L"C:\\windows\\system32\\kernel32.dll") >> 48, AllOf(testing::Ge(6u), testing::Lt(100u)));
    EXPECT_EQ(moduleVersion(L"tracer-tests.exe") + moduleVersion(L"C:\\none.dll"), 0u);
    SetLastError(ERROR_FILE_NOT_FOUND);
    EXPECT_THAT(lastErrorText(),
                AllOf(testing::SizeIs(testing::Gt(2u)), EndsWith(L"\r\n"), LastError{ERROR_FILE_NOT_FOUND}.text()));
    EXPECT_THAT(LastError{ERROR_BAD_EXE_FORMAT}.text(), HasSubstr(L"%1")) << "nothing fills the placeholder";
    EXPECT_EQ(LastError{0xDEADBEEF}.text(), L"");
    EXPECT_EQ(ZelStdCore::strerror(ENOENT), L"No such file or directory");
}

template <DWORD error>
BOOL WINAPI fail()
{
    SetLastError(error);
    return FALSE;
}

TEST(MappedFile, IsSharedForReadingAndGivesItsHandlesBack)
{
    const auto path = files::temp_directory_path() / (L"st-core \u00E4\u4E2D" + std::to_wstring(GetCurrentProcessId()));
    using File = Unique<HANDLE, CloseHandle, kInvalidHandle>;
    const auto open = [&](DWORD access)
    { return File(CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr)); };
    MemoryMappedFile file;
    const auto map = [&] { file.open(path.wstring()); };
    std::ofstream(path) << "mapped bytes";
    map();
    EXPECT_EQ(std::string(file.data(), file.size()), "mapped bytes");
    EXPECT_TRUE(open(GENERIC_READ) && !open(GENERIC_WRITE));
    file.close();
    EXPECT_TRUE(open(GENERIC_WRITE));

    // Without dbghelp there is no trace. A closed handle leaves an error of its own.
    static std::string closed;
    static HANDLE mapping = nullptr;
    static const auto close = &CloseHandle;
    static const auto createMapping = &CreateFileMappingW;
    const auto replace = [](const char* name, auto* function)
    { fakes::replaceImport(GetModuleHandleW(nullptr), "kernel32.dll", name, function); };
    replace("LoadLibraryExW", &fail<ERROR_MOD_NOT_FOUND>);
    replace(
        "CreateFileMappingW", +[](HANDLE of, SECURITY_ATTRIBUTES* security, DWORD access, DWORD high, DWORD low,
                                  const wchar_t* name) { return mapping = createMapping(of, security, access, high, low, name); });
    replace(
        "CloseHandle",
        +[](HANDLE handle) -> BOOL
        { return closed += handle == mapping ? "mapping " : "file ", close(handle) && !fail<ERROR_INVALID_HANDLE>(); });
    replace("GetFileSizeEx", &fail<ERROR_GEN_FAILURE>); // goes unnoticed
    map();
    file.close();
    EXPECT_THAT(closed, EndsWith("mapping file "));
    replace("MapViewOfFile", &fail<ERROR_ACCESS_DENIED>);
    expectFailure(map, format(L"failed to get map view of file (%s): %s", path.wstring(), LastError{ERROR_ACCESS_DENIED}.text()));
    EXPECT_TRUE(open(GENERIC_WRITE)) << "the file stays open";
    std::ofstream(path, std::ios::trunc).flush();
    expectFailure(map, format(L"failed to create file mapping (%s): %s", path.wstring(), LastError{ERROR_FILE_INVALID}.text()));
    EXPECT_TRUE(open(GENERIC_WRITE)) << "the file stays open";
    files::remove(path);
}
}

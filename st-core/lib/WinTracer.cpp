#include "st-core/lib/WinTracer.h"

#include "st-core/lib/Format.h"
#include "st-core/lib/LastError.h"
#include "st-core/lib/ModuleVersionWin.h"
#include "st-core/lib/RuntimeException.h"
#include "st-core/lib/SymbolNamesWin.h"
#include "st-core/lib/SymbolSearchPathWin.h"
#include "st-core/lib/ThreadContextWin.h"
#include "st-core/lib/Unique.h"

#include <boost/filesystem/operations.hpp>

#include <cstddef>
#include <new>
#include <utility>

#include <psapi.h>
#include <tlhelp32.h>

namespace ZelStdCore
{
namespace
{
constexpr wchar_t kSourceFile[] = L"st-core\\lib\\WinTracer.cpp";
constexpr std::uint32_t kExceptionOptions =
    Tracer::symbolNames | Tracer::sourceLines | Tracer::moduleInformation | Tracer::logModules;
constexpr std::uint32_t kSymbolOptions = SYMOPT_UNDNAME | SYMOPT_DEFERRED_LOADS | SYMOPT_LOAD_LINES | SYMOPT_LOAD_ANYTHING |
                                         SYMOPT_FAIL_CRITICAL_ERRORS | SYMOPT_INCLUDE_32BIT_MODULES | SYMOPT_NO_PROMPTS |
                                         SYMOPT_FAVOR_COMPRESSED;
static_assert(kSymbolOptions == 0x882256);
constexpr std::size_t kLongestSymbolName = 4096;
constexpr std::size_t kLongestPath = 32768;

Tracer::LogReceiver logReceiver = nullptr;

template <class... Arguments>
void log(const wchar_t* pattern, const Arguments&... arguments)
{
    if (logReceiver)
        logReceiver(format(pattern, arguments...));
}

const void* pointer(std::uint64_t address)
{
    return reinterpret_cast<const void*>(static_cast<std::uintptr_t>(address));
}

using Snapshot = Unique<HANDLE, CloseHandle, kInvalidHandle>;

using SymbolBuffer = std::unique_ptr<std::byte[]>;

// Null if memory runs out.
SymbolBuffer newSymbolBuffer()
{
    SymbolBuffer buffer(new (std::nothrow) std::byte[sizeof(SYMBOL_INFOW) + kLongestSymbolName * sizeof(wchar_t)]);
    if (!buffer)
        return nullptr;
    auto& symbol = *new (buffer.get()) SYMBOL_INFOW{};
    symbol.SizeOfStruct = sizeof(SYMBOL_INFOW);
    symbol.MaxNameLen = kLongestSymbolName;
    return buffer;
}

// Whether the symbols come from the PDB in the folder of the module. Wine reports the PDB name in the module instead of the file
// that it read, and resolves a relative name against the current folder first.
bool hasItsOwnPdb(const IMAGEHLP_MODULEW64& module)
{
    namespace files = boost::filesystem;
    boost::system::error_code ignored;
    const files::path loaded = module.LoadedPdbName;
    const files::path own = files::path(module.LoadedImageName).parent_path() / loaded.filename();
    return files::exists(loaded, ignored) ? files::equivalent(loaded, own, ignored) : files::exists(own, ignored);
}

STACKFRAME64 firstFrame(const CONTEXT& context)
{
    STACKFRAME64 frame{};
    frame.AddrPC = {context.Rip, 0, AddrModeFlat};
    frame.AddrFrame = {context.Rbp, 0, AddrModeFlat};
    frame.AddrStack = {context.Rsp, 0, AddrModeFlat};
    return frame;
}
}

Tracer::Tracer(std::uint32_t options, std::wstring searchPath, std::uint32_t processId, HANDLE process)
    : options_(options), searchPath_(std::move(searchPath)), processId_(processId), process_(process)
{
}

void Tracer::setLog(LogReceiver receiver)
{
    logReceiver = receiver;
}

void Tracer::beginSession()
{
    if (session_)
        return;
    const DbgHelp* dbghelp = DbgHelp::instance();
    std::unique_ptr<SymbolSession> session;
    if (dbghelp)
        session = std::make_unique<SymbolSession>(
            *dbghelp, process_,
            options_ & composeSearchPath ? composeSymbolSearchPath(searchPath_, (options_ & symbolServer) != 0) : std::wstring(),
            kSymbolOptions);
    if (!session || !session->handle())
        throw RuntimeException(format(L"failed to initialize tracer: %1%", lastErrorText()), kSourceFile,
                               L"ZelStdCore::Tracer::loadModules", __LINE__, Trace::none);
    session_ = std::move(session);
}

void Tracer::loadModules()
{
    if (initialised_)
        return;
    beginSession();
    if (!loadFromSnapshot() && !getModuleListPSAPI(process_))
        throw RuntimeException(format(L"failed to initialize tracer: %1%", lastErrorText()), kSourceFile,
                               L"ZelStdCore::Tracer::loadModules", __LINE__, Trace::none);
    initialised_ = true;
}

bool Tracer::loadFromSnapshot()
{
    const Snapshot snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPMODULE, processId_));
    if (!snapshot)
        return false;
    MODULEENTRY32W module{};
    module.dwSize = sizeof(module);
    for (BOOL found = Module32FirstW(snapshot.get(), &module); found; found = Module32NextW(snapshot.get(), &module))
        loadModule(module.szExePath, module.szModule, reinterpret_cast<std::uintptr_t>(module.modBaseAddr), module.modBaseSize);
    return true;
}

bool Tracer::getModuleListPSAPI(HANDLE process)
{
    constexpr const wchar_t* kFunction = L"ZelStdCore::Tracer::getModuleListPSAPI";
    beginSession();

    DWORD size = 0;
    if (!K32EnumProcessModules(process, nullptr, 0, &size))
        throw RuntimeException(L"failed to retrieve required memory amount for modules enumeration", kSourceFile, kFunction,
                               __LINE__, Trace::none);
    std::vector<HMODULE> modules(size / sizeof(HMODULE));
    if (!K32EnumProcessModules(process, modules.data(), size, &size))
        throw RuntimeException(L"failed to enumerate process modules", kSourceFile, kFunction, __LINE__, Trace::none);
    // Modules may have been unloaded in between.
    if (size / sizeof(HMODULE) < modules.size())
        modules.resize(size / sizeof(HMODULE));

    std::wstring path(kLongestPath, L'\0');
    std::wstring name(kLongestPath, L'\0');
    for (HMODULE module : modules)
    {
        MODULEINFO information{};
        if (!K32GetModuleInformation(process, module, &information, sizeof(information)))
            throw RuntimeException(L"failed to retrieve module information", kSourceFile, kFunction, __LINE__, Trace::none);
        if (K32GetModuleFileNameExW(process, module, path.data(), kLongestPath) == 0)
            throw RuntimeException(L"failed to retrieve module name", kSourceFile, kFunction, __LINE__, Trace::none);
        if (K32GetModuleBaseNameW(process, module, name.data(), kLongestPath) == 0)
            throw RuntimeException(L"failed to retrieve modile base name", kSourceFile, kFunction, __LINE__, Trace::none);
        const std::uint32_t result = loadModule(path.c_str(), name.c_str(),
                                                reinterpret_cast<std::uintptr_t>(information.lpBaseOfDll), information.SizeOfImage);
        if (result != ERROR_SUCCESS)
            throw RuntimeException(format(L"failed to load module %1% (%2%): %3%", path.c_str(), name.c_str(),
                                          LastError{result}.text()),
                                   kSourceFile, kFunction, __LINE__, Trace::none);
    }
    return !modules.empty();
}

std::uint32_t Tracer::loadModule(const wchar_t* image, const wchar_t* name, std::uint64_t base, std::uint32_t size)
{
    const std::uint32_t result = session_->load(image, name, base, size);
    if (options_ & logModules && logReceiver)
        logModule(image, name, base, size, result);
    return result;
}

void Tracer::logModule(const wchar_t* image, const wchar_t* name, std::uint64_t base, std::uint32_t size,
                       std::uint32_t result) const
{
    IMAGEHLP_MODULEW64 module{};
    module.SizeOfStruct = sizeof(module);
    const BOOL known = session_->dbghelp().moduleInformation(session_->handle(), base, &module);
    log(L"Loaded %s:%s (%p), size: %d (result: %d), symbol type: '%s', PDB: '%s', version: %x\n", image, name, pointer(base), size,
        result, symbolTypeName(known ? module.SymType : SymNone), module.LoadedPdbName, moduleVersion(image));
}

std::vector<StackFrame> Tracer::getTrace(HANDLE thread, const CONTEXT* context)
{
    std::vector<StackFrame> frames;
    appendTrace(thread, context, frames);
    return frames;
}

void Tracer::appendTrace(HANDLE thread, const CONTEXT* given, std::vector<StackFrame>& frames)
{
    constexpr const wchar_t* kFunction = L"ZelStdCore::Tracer::getTrace";
    loadModules();

    CONTEXT context{};
    if (given)
        context = *given;
    else if (isCallingThread(thread))
        RtlCaptureContext(&context);
    else if (!readContext(thread, context))
        throw RuntimeException(format(L"failed to get %p thread context", thread), kSourceFile, kFunction, __LINE__, Trace::none);

    const SymbolBuffer buffer = newSymbolBuffer();
    if (!buffer)
        throw RuntimeException(format(L"failed to allocate memory for symbol capture: %1%", lastErrorText()), kSourceFile,
                               kFunction, __LINE__, Trace::none);

    auto& symbol = *reinterpret_cast<SYMBOL_INFOW*>(buffer.get());
    const DbgHelp& dbghelp = session_->dbghelp();
    STACKFRAME64 step = firstFrame(context);
    do
    {
        if (!dbghelp.walkStack(IMAGE_FILE_MACHINE_AMD64, session_->handle(), thread, &step, &context, nullptr,
                               dbghelp.functionTable, dbghelp.moduleBase, nullptr))
            throw RuntimeException(format(L"StackWalk64 failed at %1%", step.AddrPC.Offset), kSourceFile, kFunction, __LINE__,
                                   Trace::none);
        StackFrame& frame = frames.emplace_back();
        frame.address = step.AddrPC.Offset;
        if (frame.address != 0)
            describe(frame, symbol);
    } while (step.AddrReturn.Offset != 0 && frames.size() < kMostFrames);

    SetLastError(ERROR_SUCCESS);
}

void Tracer::describe(StackFrame& frame, SYMBOL_INFOW& symbol) const
{
    describeSymbol(frame, symbol);
    if (options_ & sourceLines)
        describeLine(frame);
    if (options_ & moduleInformation)
        describeModule(frame);
    if (!(options_ & composeSearchPath))
        dropForeignSymbols(frame);
}

void Tracer::describeSymbol(StackFrame& frame, SYMBOL_INFOW& symbol) const
{
    constexpr const wchar_t* kFunction = L"ZelStdCore::Tracer::getTrace";
    const DbgHelp& dbghelp = session_->dbghelp();
    DWORD64 displacement = 0;
    if (!dbghelp.symbolAt(session_->handle(), frame.address, &displacement, &symbol))
    {
        log(L"failed to collect symbol information (%p): %s", pointer(frame.address), lastErrorText());
        return;
    }
    frame.symbolDisplacement = displacement;
    if (!(options_ & symbolNames))
        return;

    frame.symbolName = symbol.Name;
    UndecoratedName name = shortSymbolName(dbghelp, frame.symbolName);
    if (!name.known)
        throw RuntimeException(format(L"failed to get undecorated symbol short name: %1%", lastErrorText()), kSourceFile, kFunction,
                               __LINE__, Trace::none);
    frame.shortName = std::move(name.text);
    name = completeSymbolName(dbghelp, frame.symbolName);
    if (!name.known)
        throw RuntimeException(format(L"failed to get undecorated symbol complete name: %1%", lastErrorText()), kSourceFile,
                               kFunction, __LINE__, Trace::none);
    frame.completeName = std::move(name.text);
}

void Tracer::describeLine(StackFrame& frame) const
{
    IMAGEHLP_LINEW64 line{};
    line.SizeOfStruct = sizeof(line);
    DWORD displacement = 0;
    if (!session_->dbghelp().lineAt(session_->handle(), frame.address, &displacement, &line))
    {
        log(L"failed to collect symbol line information (%p): %s", pointer(frame.address), lastErrorText());
        return;
    }
    frame.fileName = line.FileName ? line.FileName : L"";
    frame.lineNumber = line.LineNumber;
    frame.lineDisplacement = displacement;
}

void Tracer::describeModule(StackFrame& frame) const
{
    IMAGEHLP_MODULEW64 module{};
    module.SizeOfStruct = sizeof(module);
    if (!session_->dbghelp().moduleInformation(session_->handle(), frame.address, &module))
    {
        log(L"failed to get module info to symbol (%p): %s", pointer(frame.address), lastErrorText());
        return;
    }
    frame.moduleBase = module.BaseOfImage;
    frame.symbolType = symbolTypeName(module.SymType);
    frame.moduleName = module.ModuleName;
    frame.imageName = module.LoadedImageName;
}

// Without a search path only the PDB beside a module counts. dbghelp also opens one in the current folder, where anybody may
// have put it.
void Tracer::dropForeignSymbols(StackFrame& frame) const
{
    IMAGEHLP_MODULEW64 module{};
    module.SizeOfStruct = sizeof(module);
    if (!session_->dbghelp().moduleInformation(session_->handle(), frame.address, &module) || module.LoadedPdbName[0] == 0 ||
        hasItsOwnPdb(module))
        return;
    StackFrame bare;
    bare.address = frame.address;
    bare.moduleBase = frame.moduleBase;
    bare.moduleName = std::move(frame.moduleName);
    bare.imageName = std::move(frame.imageName);
    frame = std::move(bare);
}

SymbolObject Tracer::getObject(std::uint64_t address)
{
    constexpr const wchar_t* kFunction = L"ZelStdCore::Tracer::getObject";
    loadModules();
    const SymbolBuffer buffer = newSymbolBuffer();
    if (!buffer)
        throw RuntimeException(L"failed to allocate memory for object image", kSourceFile, kFunction, __LINE__, Trace::none);

    auto& symbol = *reinterpret_cast<SYMBOL_INFOW*>(buffer.get());
    DWORD64 displacement = 0;
    if (!session_->dbghelp().symbolAt(session_->handle(), address, &displacement, &symbol))
        throw RuntimeException(format(L"failed to get object at %p: %s", pointer(address), lastErrorText()), kSourceFile, kFunction,
                               __LINE__, Trace::none);
    return {symbol.Name, symbol.Address, displacement, symbol.ModBase, symbol.Size};
}

std::vector<StackFrame> currentStack()
{
    CONTEXT context{};
    RtlCaptureContext(&context);
    std::vector<StackFrame> frames;
    try
    {
        Tracer tracer(kExceptionOptions, {}, GetCurrentProcessId(), GetCurrentProcess());
        tracer.appendTrace(GetCurrentThread(), &context, frames);
    }
    catch (...)
    {
        // Part of a trace is better than none.
    }
    // The first frame is this function.
    if (!frames.empty())
        frames.erase(frames.begin());
    return frames;
}
}

#include "bench/wine/BareSymbolSession.h"

#include <dbghelp.h>

namespace
{
void lookUp(HANDLE process, DWORD64 address)
{
    char buffer[sizeof(SYMBOL_INFOW) + 256 * sizeof(wchar_t)] = {};
    auto& symbol = *reinterpret_cast<SYMBOL_INFOW*>(buffer);
    symbol.SizeOfStruct = sizeof(SYMBOL_INFOW);
    symbol.MaxNameLen = 256;
    SymFromAddrW(process, address, nullptr, &symbol);
    IMAGEHLP_LINEW64 line{};
    line.SizeOfStruct = sizeof(line);
    DWORD displacement = 0;
    SymGetLineFromAddrW64(process, address, &displacement, &line);
}
}

void traceWithBareSession(HMODULE module)
{
    HANDLE process = nullptr;
    DuplicateHandle(GetCurrentProcess(), GetCurrentProcess(), GetCurrentProcess(), &process, 0, FALSE, DUPLICATE_SAME_ACCESS);
    const DWORD options = SymGetOptions();
    SymSetOptions(SYMOPT_DEFERRED_LOADS | SYMOPT_LOAD_LINES | SYMOPT_UNDNAME);
    SymInitializeW(process, L"", TRUE);
    CONTEXT context{};
    RtlCaptureContext(&context);
    STACKFRAME64 frame{};
    frame.AddrPC = {context.Rip, 0, AddrModeFlat};
    frame.AddrFrame = {context.Rbp, 0, AddrModeFlat};
    frame.AddrStack = {context.Rsp, 0, AddrModeFlat};
    while (StackWalk64(IMAGE_FILE_MACHINE_AMD64, process, GetCurrentThread(), &frame, &context, nullptr, SymFunctionTableAccess64,
                       SymGetModuleBase64, nullptr))
    {
        lookUp(process, frame.AddrPC.Offset);
        if (frame.AddrReturn.Offset == 0)
            break;
    }
    lookUp(process, reinterpret_cast<DWORD64>(module) + 0x1000);
    SymCleanup(process);
    SymSetOptions(options);
    CloseHandle(process);
}

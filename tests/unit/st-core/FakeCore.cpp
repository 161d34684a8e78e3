#include "tests/unit/st-core/FakeCore.h"

#include "st-core/lib/LastError.h"
#include "st-core/lib/MemoryMappedFile.h"
#include "st-core/lib/OSError.h"
#include "st-core/lib/RuntimeException.h"

#include <cstdio>
#include <filesystem>
#include <fstream>

using fakes::machine;

fakes::FakeCore& fakes::machine()
{
    static auto& instance = *new FakeCore;
    return instance;
}

namespace
{
// Notes the call and returns whether it fails; a failing call leaves 5 ("access denied") as the last error.
bool callFails(const char* operation)
{
    machine().calls.emplace_back(operation);
    return machine().fails(operation) && (machine().lastError = 5);
}

// A "file" is its bytes in memory, and each view has memory of its own, so that the sanitizer sees a use after unmapping.
struct File
{
    const char* kind;
    std::string bytes;
};

File invalid{"file", {}};

File& fileOf(void* handle)
{
    return *static_cast<File*>(handle);
}
}

std::vector<ZelStdCore::StackFrame> ZelStdCore::currentStack()
{
    return callFails("SymInitializeW") ? throw RuntimeException(L"", L"", L"", 0, Trace::none) : machine().stack;
}

namespace ZelStdCore::Platform
{
std::uint32_t lastErrorCode()
{
    return machine().lastError;
}

void setLastErrorCode(std::uint32_t code)
{
    machine().lastError = code;
}

std::wstring systemMessage(std::uint32_t code)
{
    return L"system message " + std::to_wstring(code) + L"\r\n"; // it has one for success, too
}

int errorNumberText(int errorNumber, char* buffer, std::size_t size)
{
    return callFails("strerror_s") ? 22 : std::snprintf(buffer, size, "errno %d", errorNumber) * 0;
}

void* openForReading(const std::wstring& path)
{
    std::ifstream stream(std::filesystem::path(path), std::ios::binary);
    return callFails("CreateFileW") || !stream ? &invalid : new File{"file", {std::istreambuf_iterator<char>(stream), {}}};
}

void* createReadOnlyMapping(void* file)
{
    return callFails("CreateFileMappingW") || fileOf(file).bytes.empty() ? nullptr : new File{"mapping", fileOf(file).bytes};
}

int fileSize(void* file, std::uint64_t& size)
{
    return !callFails("GetFileSizeEx") && (size = fileOf(file).bytes.size());
}

const char* mapView(void* mapping, std::uint64_t size) // no size maps the whole file
{
    const std::string& bytes = fileOf(mapping).bytes;
    char* const view = callFails("MapViewOfFile") ? nullptr : new char[bytes.size()];
    if (view)
        bytes.copy(view, size ? size : bytes.size());
    return view;
}

void unmapView(const char* view)
{
    machine().calls.emplace_back("UnmapViewOfFile");
    delete[] view;
}

void closeHandle(void* handle)
{
    machine().calls.emplace_back(std::string("CloseHandle(") + fileOf(handle).kind + ")");
    machine().lastError = 6; // a test notices an error that is read too late
    if (handle != &invalid)
        delete &fileOf(handle);
}
}

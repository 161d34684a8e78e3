#include "tests/unit/st-core/FakeCore.h"

#include "st-core/lib/LastError.h"
#include "st-core/lib/MemoryMappedFile.h"
#include "st-core/lib/OSError.h"
#include "st-core/lib/RuntimeException.h"
#include "st-core/lib/StackTrace.h"

#include <cstdio>
#include <cstring>
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
    const bool fails = machine().fails(operation);
    if (fails)
        machine().lastError = 5;
    return fails;
}
}

namespace ZelStdCore
{
std::vector<StackFrame> currentStack()
{
    if (callFails("SymInitializeW"))
        throw RuntimeException(L"failed to initialize tracer", L"st-core\\lib\\WinTracer.cpp", L"ZelStdCore::Tracer::loadModules",
                               __LINE__, Trace::none);
    return machine().stack;
}

namespace Platform
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
    if (callFails("strerror_s"))
        return 22;
    std::snprintf(buffer, size, "errno %d", errorNumber);
    return 0;
}

// A "file" is its bytes in memory. Closing a handle sets another last error, so that a test notices one that is read
// too late.
namespace
{
constexpr std::uint32_t kErrorAfterClosing = 6;

struct FakeHandle
{
    const char* kind;
    std::string bytes;
};

FakeHandle* invalidHandle()
{
    static FakeHandle invalid{"file", {}};
    return &invalid;
}

FakeHandle& handleOf(void* handle)
{
    return *static_cast<FakeHandle*>(handle);
}
}

void* openForReading(const std::wstring& path)
{
    std::ifstream stream(std::filesystem::path(path), std::ios::binary);
    if (callFails("CreateFileW") || !stream)
        return invalidHandle();
    return new FakeHandle{"file", std::string(std::istreambuf_iterator<char>(stream), {})};
}

void* createReadOnlyMapping(void* file)
{
    if (callFails("CreateFileMappingW") || handleOf(file).bytes.empty())
        return nullptr;
    return new FakeHandle{"mapping", handleOf(file).bytes};
}

int fileSize(void* file, std::uint64_t& size)
{
    if (callFails("GetFileSizeEx"))
        return 0;
    size = handleOf(file).bytes.size();
    return 1;
}

const char* mapView(void* mapping, std::uint64_t size)
{
    if (callFails("MapViewOfFile"))
        return nullptr;
    // A view of its own, so that a use after unmapping is a use after free. No size maps the whole file.
    const std::string& bytes = handleOf(mapping).bytes;
    char* view = new char[bytes.size()];
    std::memcpy(view, bytes.data(), size == 0 ? bytes.size() : size);
    return view;
}

void unmapView(const char* view)
{
    machine().calls.emplace_back("UnmapViewOfFile");
    delete[] view;
}

void closeHandle(void* handle)
{
    machine().calls.emplace_back(std::string("CloseHandle(") + handleOf(handle).kind + ")");
    machine().lastError = kErrorAfterClosing;
    if (handle != invalidHandle())
        delete &handleOf(handle);
}
}
}

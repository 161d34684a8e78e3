#include "st-core/lib/MemoryMappedFile.h"
#include "st-core/lib/OSError.h"
#include "st-core/lib/Text.h"
#include "st-core/lib/WinTracer.h"
#include "tests/fakes/FakeMachine.h"

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>

using fakes::callFails;
using fakes::machine;

namespace fakes
{
std::wstring messageOf(std::uint32_t code)
{
    return code == 0 ? L"" : L"system message " + std::to_wstring(code) + L"\r\n";
}
}

namespace ZelStdCore
{
std::vector<StackFrame> Tracer::traceCurrentThread()
{
    if (callFails("SymInitializeW"))
        throw RuntimeException(L"failed to initialize tracer", L"st-core\\lib\\WinTracer.cpp",
                               L"ZelStdCore::Tracer::loadModules", __LINE__, false, 2);
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
        return fakes::messageOf(code);
    }

    int errorNumberText(int errorNumber, char* buffer, std::size_t size)
    {
        if (callFails("strerror_s"))
            return 22;
        std::snprintf(buffer, size, "errno %d", errorNumber);
        return 0;
    }

    // A "file" is its bytes in memory; the mapping is the file itself.
    namespace
    {
        const char invalidHandle = 0;

        void* invalid()
        {
            return const_cast<char*>(&invalidHandle);
        }
    }

    void* openForReading(const std::wstring& path)
    {
        std::ifstream stream(std::filesystem::path(path), std::ios::binary);
        if (callFails("CreateFileW") || !stream)
            return invalid();
        return new std::string(std::istreambuf_iterator<char>(stream), {});
    }

    void* createReadOnlyMapping(void* file)
    {
        if (callFails("CreateFileMappingW") || file == invalid() || static_cast<std::string*>(file)->empty())
            return nullptr;
        return new std::string(*static_cast<std::string*>(file));
    }

    int fileSize(void* file, std::uint64_t& size)
    {
        size = static_cast<std::string*>(file)->size();
        return 1;
    }

    const char* mapView(void* mapping, std::uint64_t size)
    {
        if (callFails("MapViewOfFile"))
            return nullptr;
        // A view of its own, so that a use after unmapping is a use after free.
        char* view = new char[size];
        std::memcpy(view, static_cast<std::string*>(mapping)->data(), size);
        return view;
    }

    void unmapView(const char* view)
    {
        delete[] view;
    }

    void closeHandle(void* handle)
    {
        if (handle != invalid())
            delete static_cast<std::string*>(handle);
    }
}
}

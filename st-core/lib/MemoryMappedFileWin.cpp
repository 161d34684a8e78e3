#include "st-core/lib/MemoryMappedFile.h"

#include <windows.h>

namespace ZelStdCore::Platform
{
void* openForReading(const std::wstring& path)
{
    return CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
}

void* createReadOnlyMapping(void* file)
{
    return CreateFileMappingW(file, nullptr, PAGE_READONLY, 0, 0, nullptr);
}

int fileSize(void* file, std::uint64_t& size)
{
    LARGE_INTEGER queried{};
    const BOOL result = GetFileSizeEx(file, &queried);
    size = static_cast<std::uint64_t>(queried.QuadPart);
    return result;
}

const char* mapView(void* mapping, std::uint64_t size)
{
    return static_cast<const char*>(MapViewOfFile(mapping, FILE_MAP_READ, 0, 0, static_cast<SIZE_T>(size)));
}

void unmapView(const char* view)
{
    UnmapViewOfFile(view);
}

void closeHandle(void* handle)
{
    // The invalid handle of a failed open is at the same time the pseudo-handle of the process.
    if (handle != INVALID_HANDLE_VALUE)
        CloseHandle(handle);
}
}

#pragma once

#include "st-core/lib/Unique.h"

#include <cstdint>
#include <string>

namespace ZelStdCore
{
// Platform operations, in the file of each platform. Handles are opaque.
namespace Platform
{
// A failed open returns the platform's invalid handle, which is not null; closeHandle() ignores that one.
void* openForReading(const std::wstring& path);
void* createReadOnlyMapping(void* file);                // null on failure
int fileSize(void* file, std::uint64_t& size);          // the size query's own result
const char* mapView(void* mapping, std::uint64_t size); // null on failure
void unmapView(const char* view);
void closeHandle(void* handle);
}

// A read-only view of a whole file.
class MemoryMappedFile
{
public:
    MemoryMappedFile() = default;
    MemoryMappedFile(const MemoryMappedFile&) = delete;
    MemoryMappedFile& operator=(const MemoryMappedFile&) = delete;
    ~MemoryMappedFile() { close(); }

    // Closes what is held, then maps the file. Throws RuntimeException with the path and the system's error; nothing stays open
    // then.
    void open(const std::wstring& path);

    // Releases everything; harmless on a closed object.
    void close() noexcept;

    const char* data() const { return data_.get(); }
    std::uint64_t size() const { return size_; }

private:
    std::uint64_t size_ = 0;
    Unique<void*, Platform::closeHandle> file_;
    Unique<void*, Platform::closeHandle> mapping_;
    Unique<const char*, Platform::unmapView> data_;
};
}

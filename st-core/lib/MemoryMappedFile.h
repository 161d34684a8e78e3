#pragma once

#include <cstdint>
#include <string>

namespace ZelStdCore
{
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

    const char* data() const { return data_; }
    std::uint64_t size() const { return size_; }

private:
    std::wstring path_;
    std::uint64_t size_ = 0;
    const char* data_ = nullptr;
    void* file_ = nullptr;
    void* mapping_ = nullptr;
};

// Platform operations, implemented by the Windows file and by the tests. Handles are opaque.
namespace Platform
{
// On failure the platform's invalid handle, which is not null.
void* openForReading(const std::wstring& path);
void* createReadOnlyMapping(void* file);                // null on failure
int fileSize(void* file, std::uint64_t& size);          // the result of the size query: 0 on failure
const char* mapView(void* mapping, std::uint64_t size); // null on failure
void unmapView(const char* view);
void closeHandle(void* handle);
}
}

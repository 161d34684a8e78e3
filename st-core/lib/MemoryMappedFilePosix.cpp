#include "st-core/lib/MemoryMappedFile.h"

#include "st-core/lib/Utf8.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <map>
#include <mutex>

namespace ZelStdCore::Platform
{
namespace
{
// munmap() wants the length again.
std::mutex mutex;
std::map<const void*, std::size_t> lengths;

int descriptorOf(void* handle)
{
    return static_cast<int>(reinterpret_cast<std::intptr_t>(handle));
}

void* handleOf(int descriptor)
{
    return reinterpret_cast<void*>(static_cast<std::intptr_t>(descriptor)); // NOLINT(performance-no-int-to-ptr)
}
}

// A failed open returns -1, which is the invalid handle. Descriptor 0 would be null, which means failure elsewhere.
void* openForReading(const std::wstring& path)
{
    const int descriptor = open(toUtf8(path).c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor != 0)
        return handleOf(descriptor);
    const int other = fcntl(descriptor, F_DUPFD_CLOEXEC, 1);
    close(descriptor);
    return handleOf(other);
}

// As on Windows, an empty file has no mapping.
void* createReadOnlyMapping(void* file)
{
    std::uint64_t size = 0;
    if (!fileSize(file, size) || size == 0)
        return nullptr;
    const int descriptor = fcntl(descriptorOf(file), F_DUPFD_CLOEXEC, 1);
    return descriptor < 0 ? nullptr : handleOf(descriptor);
}

int fileSize(void* file, std::uint64_t& size)
{
    struct stat status = {};
    if (fstat(descriptorOf(file), &status) != 0)
        return 0;
    size = static_cast<std::uint64_t>(status.st_size);
    return 1;
}

const char* mapView(void* mapping, std::uint64_t size)
{
    void* const view = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, descriptorOf(mapping), 0);
    if (view == MAP_FAILED)
        return nullptr;
    const std::lock_guard lock(mutex);
    lengths[view] = size;
    return static_cast<const char*>(view);
}

void unmapView(const char* view)
{
    const std::lock_guard lock(mutex);
    const auto entry = lengths.extract(view);
    munmap(const_cast<char*>(view), entry.mapped());
}

void closeHandle(void* handle)
{
    if (descriptorOf(handle) >= 0)
        close(descriptorOf(handle));
}
}

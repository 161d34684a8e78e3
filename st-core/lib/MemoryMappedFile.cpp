#include "st-core/lib/MemoryMappedFile.h"

#include "st-core/lib/Format.h"
#include "st-core/lib/LastError.h"
#include "st-core/lib/RuntimeException.h"

#include <boost/filesystem/operations.hpp>

namespace ZelStdCore
{
namespace
{
constexpr wchar_t kSourceFile[] = L"st-core\\lib\\MemoryMappedFile.cpp";
constexpr const wchar_t* kFunction = L"ZelStdCore::MemoryMappedFile::open";
}

ST_CORE_OWN_FRAME
void MemoryMappedFile::open(const std::wstring& path)
{
    close();

    boost::system::error_code ignored;
    const auto status = boost::filesystem::status(path, ignored);
    if (!boost::filesystem::exists(status))
        throw RuntimeException(format(L"not a file: %1%", path), kSourceFile, kFunction, __LINE__);
    if (!boost::filesystem::is_regular_file(status))
        throw RuntimeException(format(L"not a regular file: %1%", path), kSourceFile, kFunction, __LINE__);

    file_.reset(Platform::openForReading(path));
    // A failed open returns the invalid handle, never null: the mapping then fails and is reported.
    if (!file_)
    {
        const LastError error = LastError::capture();
        close();
        throw RuntimeException(format(L"failed to open file (%1%): %2%", path, error.text()), kSourceFile, kFunction, __LINE__);
    }

    mapping_.reset(Platform::createReadOnlyMapping(file_.get()));
    if (!mapping_)
    {
        const LastError error = LastError::capture();
        close();
        throw RuntimeException(format(L"failed to create file mapping (%1%): %2%", path, error.text()), kSourceFile, kFunction,
                               __LINE__);
    }

    // The size query returns a boolean: a failure is never negative and goes unnoticed.
    if (Platform::fileSize(file_.get(), size_) < 0)
    {
        const LastError error = LastError::capture();
        close();
        throw RuntimeException(format(L"failed to get file size (%1%): %2%", path, error.text()), kSourceFile, kFunction, __LINE__);
    }

    data_.reset(Platform::mapView(mapping_.get(), size_));
    if (!data_)
    {
        const LastError error = LastError::capture();
        close();
        throw RuntimeException(format(L"failed to get map view of file (%1%): %2%", path, error.text()), kSourceFile, kFunction,
                               __LINE__);
    }
}

void MemoryMappedFile::close() noexcept
{
    size_ = 0;
    data_.reset();
    mapping_.reset();
    file_.reset();
}
}

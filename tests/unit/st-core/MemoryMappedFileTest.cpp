#include "st-core/lib/MemoryMappedFile.h"
#include "st-core/lib/Format.h"
#include "st-core/lib/RuntimeException.h"
#include "tests/fakes/FakeMachine.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <utility>

using namespace ZelStdCore;
using fakes::machine;

namespace
{
class MemoryMappedFileTest : public testing::Test
{
protected:
    MemoryMappedFileTest()
    {
        machine().stack.resize(3);
        std::filesystem::remove_all(folder_);
        std::filesystem::create_directories(folder_);
    }
    ~MemoryMappedFileTest() override { std::filesystem::remove_all(folder_); }

    std::wstring write(const char* name, const std::string& bytes) const
    {
        std::ofstream(folder_ / name, std::ios::binary) << bytes;
        return (folder_ / name).wstring();
    }

    // One folder per test: tests of this binary run side by side.
    const std::filesystem::path folder_ =
        std::filesystem::temp_directory_path() /
        (std::string("st-core-mapped-") + testing::UnitTest::GetInstance()->current_test_info()->name());
};

std::wstring failureOf(MemoryMappedFile& file, const std::wstring& path)
{
    try
    {
        file.open(path);
        return L"no exception";
    }
    catch (const RuntimeException& error)
    {
        EXPECT_EQ(error.function(), L"ZelStdCore::MemoryMappedFile::open");
        EXPECT_EQ(error.file(), L"st-core\\lib\\MemoryMappedFile.cpp");
        EXPECT_EQ(error.frames().size(), 1u);
        EXPECT_EQ(file.data(), nullptr);
        EXPECT_EQ(file.size(), 0u);
        return error.message();
    }
}

using Calls = std::vector<std::string>;

Calls takeCalls()
{
    Calls calls = std::exchange(machine().calls, {});
    std::erase(calls, "SymInitializeW");
    return calls;
}

std::string bytesOf(const MemoryMappedFile& file)
{
    return {file.data(), file.size()};
}
}

TEST_F(MemoryMappedFileTest, MapsTheWholeFile)
{
    const std::string bytes("first\0second\r\n", 14);
    MemoryMappedFile file;
    file.open(write("file", bytes));
    EXPECT_EQ(bytesOf(file), bytes);
    takeCalls();

    // Opening another one closes the first; so does a failure to.
    file.open(write("other", "2"));
    EXPECT_EQ(bytesOf(file), "2");
    EXPECT_EQ(failureOf(file, L""), L"not a file: ");
    file.close();
    const Calls closing{"UnmapViewOfFile", "CloseHandle(mapping)", "CloseHandle(file)"};
    Calls expected = closing;
    expected.insert(expected.end(), {"CreateFileW", "CreateFileMappingW", "GetFileSizeEx", "MapViewOfFile"});
    expected.insert(expected.end(), closing.begin(), closing.end());
    EXPECT_EQ(takeCalls(), expected);
}

TEST_F(MemoryMappedFileTest, TakesRegularFilesOnly)
{
    MemoryMappedFile file;
    EXPECT_EQ(failureOf(file, folder_.wstring()), L"not a regular file: " + folder_.wstring());
    EXPECT_EQ(takeCalls(), Calls{});

    // Links are followed. Creating one may need a privilege that the user lacks.
    write("file", "linked");
    std::error_code failed;
    std::filesystem::create_symlink(folder_ / "file", folder_ / "to-file", failed);
    if (!failed)
    {
        file.open((folder_ / "to-file").wstring());
        EXPECT_EQ(bytesOf(file), "linked");
    }
}

TEST_F(MemoryMappedFileTest, ReportsTheFailureOfEachStepAndKeepsNothingOpen)
{
    const wchar_t* const noMapping = L"failed to create file mapping (%1%): %2%";
    const struct
    {
        const char* operation;
        const wchar_t* message;
        Calls calls;
    } cases[] = {
        // A failed open returns a handle that is not null, and goes unnoticed until it is used.
        {"CreateFileW", noMapping, {"CreateFileW", "CreateFileMappingW", "CloseHandle(file)"}},
        {"CreateFileMappingW", noMapping, {"CreateFileW", "CreateFileMappingW", "CloseHandle(file)"}},
        {"MapViewOfFile",
         L"failed to get map view of file (%1%): %2%",
         {"CreateFileW", "CreateFileMappingW", "GetFileSizeEx", "MapViewOfFile", "CloseHandle(mapping)", "CloseHandle(file)"}},
    };
    const std::wstring path = write("file", "bytes");
    for (const auto& [operation, message, calls] : cases)
    {
        SCOPED_TRACE(operation);
        machine().fails = [operation](const std::string& asked) { return asked == operation; };
        MemoryMappedFile file;
        EXPECT_EQ(failureOf(file, path), format(message, path, fakes::messageOf(5)));
        EXPECT_EQ(takeCalls(), calls);
    }
}

TEST_F(MemoryMappedFileTest, AFailedSizeQueryGoesUnnoticed)
{
    machine().fails = [](const std::string& asked) { return asked == "GetFileSizeEx"; };
    MemoryMappedFile file;
    file.open(write("file", "bytes"));
    EXPECT_NE(file.data(), nullptr);
    EXPECT_EQ(file.size(), 0u);
}

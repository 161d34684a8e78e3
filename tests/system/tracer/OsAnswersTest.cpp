#include "st-core/lib/MemoryMappedFile.h"
#include "st-core/lib/OSError.h"
#include "st-core/lib/RuntimeException.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include <windows.h>

using namespace ZelStdCore;

namespace
{
class MappedFileTest : public testing::Test
{
protected:
    MappedFileTest() { std::filesystem::create_directories(folder_); }
    ~MappedFileTest() override { std::filesystem::remove_all(folder_); }

    std::wstring write(const std::string& bytes) const
    {
        const auto path = folder_ / L"file \u00E4\u4E2D";
        std::ofstream(path, std::ios::binary) << bytes;
        return path.wstring();
    }

    const std::filesystem::path folder_ = std::filesystem::temp_directory_path()
                                          / (std::string("st-core-system-")
                                             + testing::UnitTest::GetInstance()->current_test_info()->name());
};

std::wstring failureOf(const std::wstring& path)
{
    try
    {
        MemoryMappedFile().open(path);
        return L"no exception";
    }
    catch (const RuntimeException& error)
    {
        EXPECT_FALSE(error.trace().empty());
        return error.message();
    }
}

// Opens the file as another program would, and closes it; 0 or the error.
DWORD tryOpen(const std::wstring& path, DWORD access)
{
    const HANDLE file = CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return GetLastError();
    CloseHandle(file);
    return 0;
}
}

TEST(OSErrorAnswers, Texts)
{
    SetLastError(0);
    EXPECT_EQ(lastErrorText(), L"");
    SetLastError(ERROR_FILE_NOT_FOUND);
    const std::wstring text = lastErrorText();
    EXPECT_GT(text.size(), 2u);
    EXPECT_TRUE(text.ends_with(L"\r\n"));
    EXPECT_EQ(LastError{ERROR_FILE_NOT_FOUND}.text(), text);
    // Placeholders stay: "%1 is not a valid Win32 application" has nothing to fill them.
    EXPECT_NE(LastError{ERROR_BAD_EXE_FORMAT}.text().find(L"%1"), std::wstring::npos);
    EXPECT_EQ(LastError{0xDEADBEEF}.text(), L"");
    EXPECT_EQ(ZelStdCore::strerror(ENOENT), L"No such file or directory");
}

TEST_F(MappedFileTest, IsSharedForReadingWhileOpen)
{
    const std::wstring path = write("mapped bytes");
    MemoryMappedFile file;
    file.open(path);
    EXPECT_EQ(std::string(file.data(), file.size()), "mapped bytes");
    EXPECT_EQ(tryOpen(path, GENERIC_READ), 0u);
    EXPECT_EQ(tryOpen(path, GENERIC_WRITE), DWORD{ERROR_SHARING_VIOLATION});
    file.close();
    EXPECT_EQ(tryOpen(path, GENERIC_WRITE), 0u);
}

TEST_F(MappedFileTest, TellsWhatItCannotMap)
{
    EXPECT_EQ(failureOf(folder_.wstring()), L"not a regular file: " + folder_.wstring());
    const std::wstring none = (folder_ / "none").wstring();
    EXPECT_EQ(failureOf(none), L"not a file: " + none);

    const std::wstring empty = write("");
    EXPECT_EQ(failureOf(empty), L"failed to create file mapping (" + empty + L"): " + LastError{ERROR_FILE_INVALID}.text());
    EXPECT_EQ(tryOpen(empty, GENERIC_WRITE), 0u) << "the file stays open";

    // Nobody else may open this one: the open fails unnoticed, then the mapping of no file.
    const std::wstring held = write("held");
    const HANDLE holder = CreateFileW(held.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(holder, INVALID_HANDLE_VALUE);
    EXPECT_TRUE(failureOf(held).starts_with(L"failed to create file mapping (" + held + L"): "));
    CloseHandle(holder);
    EXPECT_EQ(failureOf(held), L"no exception");
}

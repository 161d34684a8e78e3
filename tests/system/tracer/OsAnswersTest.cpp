#include "st-core/lib/LastError.h"
#include "st-core/lib/MemoryMappedFile.h"
#include "st-core/lib/OSError.h"
#include "st-core/lib/RuntimeException.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include <windows.h>

using namespace ZelStdCore;

TEST(OSErrorAnswers, Texts)
{
    SetLastError(ERROR_FILE_NOT_FOUND);
    const std::wstring text = lastErrorText();
    EXPECT_TRUE(text.size() > 2 && text.ends_with(L"\r\n"));
    EXPECT_EQ(LastError{ERROR_FILE_NOT_FOUND}.text(), text);
    // Placeholders stay: "%1 is not a valid Win32 application" has nothing to fill them.
    EXPECT_NE(LastError{ERROR_BAD_EXE_FORMAT}.text().find(L"%1"), std::wstring::npos);
    EXPECT_EQ(LastError{0xDEADBEEF}.text(), L"");
    EXPECT_EQ(ZelStdCore::strerror(ENOENT), L"No such file or directory");
}

TEST(MappedFile, IsSharedForReadingWhileOpen)
{
    const auto path = std::filesystem::temp_directory_path() / L"st-core mapped \u00E4\u4E2D";
    // Opens and closes the file as another program would; false if it is not shared for that access.
    const auto canOpen = [&path](DWORD access)
    {
        const DWORD share = FILE_SHARE_READ | FILE_SHARE_WRITE;
        const HANDLE file = CreateFileW(path.c_str(), access, share, nullptr, OPEN_EXISTING, 0, nullptr);
        return file != INVALID_HANDLE_VALUE && CloseHandle(file);
    };
    MemoryMappedFile file;
    std::ofstream(path) << "mapped bytes";
    file.open(path.wstring());
    EXPECT_EQ(std::string(file.data(), file.size()), "mapped bytes");
    EXPECT_TRUE(canOpen(GENERIC_READ));
    EXPECT_FALSE(canOpen(GENERIC_WRITE));
    file.close();
    EXPECT_TRUE(canOpen(GENERIC_WRITE));

    std::ofstream(path, std::ios::trunc).flush();
    try
    {
        file.open(path.wstring());
        ADD_FAILURE() << "an empty file cannot be mapped";
    }
    catch (const RuntimeException& error)
    {
        EXPECT_TRUE(error.message().ends_with(L": " + LastError{ERROR_FILE_INVALID}.text()));
    }
    EXPECT_TRUE(canOpen(GENERIC_WRITE)) << "the file stays open";

    // No one else may open it: the open fails unnoticed, then the mapping.
    const HANDLE holder = CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_THROW(file.open(path.wstring()), RuntimeException);
    EXPECT_TRUE(CloseHandle(holder));
    std::filesystem::remove(path);
}

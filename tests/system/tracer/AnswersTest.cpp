#include "st-core/lib/DbgHelpWin.h"
#include "st-core/lib/LastError.h"
#include "st-core/lib/MemoryMappedFile.h"
#include "st-core/lib/ModuleVersionWin.h"
#include "st-core/lib/OSError.h"
#include "st-core/lib/RuntimeException.h"
#include "st-core/lib/SymbolNamesWin.h"
#include "st-core/lib/SymbolSearchPathWin.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include <process.h>

namespace
{
using namespace ZelStdCore;
namespace files = std::filesystem;

files::path programPath()
{
    std::wstring path(4096, L'\0');
    return path.substr(0, GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
}

TEST(Symbols, OfBothKindsOfDecorationAndTheirTypesHaveNames)
{
    const DbgHelp& dbghelp = *DbgHelp::instance();
    const std::wstring cases[][3] = {
        {L"", L"", L""},
        {L"ns::function<int>", L"ns::function<int>", L"ns::function<int>"},
        {L"?f@ns@@YAHH@Z", L"ns::f", L"int __cdecl ns::f(int)"},
#if defined(__GNUC__)
        {L"_ZN10ZelStdCore6Tracer11loadModulesEv", L"ZelStdCore::Tracer::loadModules", L"ZelStdCore::Tracer::loadModules()"},
        {L"_ZNK2ns5ClassclEPFviE", L"ns::Class::operator()", L"ns::Class::operator()(void (*)(int)) const"},
        {L"_ZN12_GLOBAL__N_15valueE", L"(anonymous namespace)::value", L"(anonymous namespace)::value"},
        {L"_Zebra", L"_Zebra", L"_Zebra"},
#endif
    };
    for (const auto& [name, shortName, completeName] : cases)
    {
        EXPECT_TRUE(shortSymbolName(dbghelp, name).known && completeSymbolName(dbghelp, name).known);
        EXPECT_EQ(shortSymbolName(dbghelp, name).text, shortName);
        EXPECT_EQ(completeSymbolName(dbghelp, name).text, completeName);
    }
    EXPECT_STREQ(symbolTypeName(SymNone), L"-nosymbols-");
    EXPECT_STREQ(symbolTypeName(SymVirtual), L"Virtual");
    EXPECT_STREQ(symbolTypeName(SymVirtual + 1), L"-unknown-");
}

// Runs itself again in a deep folder, since a program's path is cut.
TEST(SymbolSearchPath, PutsItsElementsInOrder)
{
    const auto set = [](const wchar_t* name, const wchar_t* value) { SetEnvironmentVariableW(name, value); };
    std::wstring program = programPath().parent_path().wstring() + L";";
    const bool deep = program.size() > 200;
    if (deep)
        program = files::path(programPath().wstring().substr(0, 129)).parent_path().wstring() + L";";
    const std::wstring root = L"C:\\root;C:\\root\\System32;";
    const std::wstring server = L"\\websymbols*https://msdl.microsoft.com/download/symbols;";
    set(L"SYSTEMROOT", L"C:\\root");
    set(L"SYSTEMDRIVE", L"D:");
    set(L"_NT_SYMBOL_PATH", L"first");
    set(L"_NT_ALTERNATE_SYMBOL_PATH", L"second");
    EXPECT_EQ(composeSymbolSearchPath(L"user", true), L"user;" + program + L"first;second;" + root + L"SRV*D:" + server);
    set(L"_NT_SYMBOL_PATH", nullptr);
    set(L"_NT_ALTERNATE_SYMBOL_PATH", std::wstring(130, L'x').c_str()); // too long
    set(L"SYSTEMDRIVE", nullptr);
    EXPECT_EQ(composeSymbolSearchPath(L"", true), program + root + L"SRV*C:" + server);
    EXPECT_EQ(composeSymbolSearchPath(L"", false), program + root);
    if (deep)
        return;

    const auto top = files::temp_directory_path() / "st-core-deep";
    const auto copy = top / std::wstring(100, L'a') / std::wstring(100, L'b') / "deep.exe";
    files::create_directories(copy.parent_path());
    files::copy_file(programPath(), copy, files::copy_options::overwrite_existing);
    EXPECT_EQ(_wspawnl(_P_WAIT, copy.c_str(), L"deep", L"--gtest_filter=SymbolSearchPath.*", nullptr), 0);
    files::remove_all(top);
}

TEST(ModuleVersion, OfASystemLibrary)
{
    EXPECT_GE(moduleVersion(L"C:\\windows\\system32\\kernel32.dll") >> 48, 6u);
    EXPECT_EQ(moduleVersion(programPath().c_str()), 0u);
    EXPECT_EQ(moduleVersion(L"C:\\none.dll"), 0u);
}

TEST(OSError, Texts)
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
    const auto path = files::temp_directory_path() / L"st-core mapped \u00E4\u4E2D";
    const auto open = [&path](DWORD access, DWORD share = FILE_SHARE_READ | FILE_SHARE_WRITE)
    { return CreateFileW(path.c_str(), access, share, nullptr, OPEN_EXISTING, 0, nullptr); };
    // As another program would, which closes it again.
    const auto canOpen = [&](DWORD access)
    {
        const HANDLE file = open(access);
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
    const HANDLE holder = open(GENERIC_READ, 0);
    EXPECT_THROW(file.open(path.wstring()), RuntimeException);
    EXPECT_TRUE(CloseHandle(holder));
    files::remove(path);
}
}

#include "st-core/lib/DbgHelpWin.h"
#include "st-core/lib/ModuleVersionWin.h"
#include "st-core/lib/SymbolNamesWin.h"
#include "st-core/lib/SymbolSearchPathWin.h"

#include <gtest/gtest.h>

#include <filesystem>

#include <process.h>

using namespace ZelStdCore;

namespace
{
std::wstring programPath()
{
    std::wstring path(4096, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return path;
}

const std::wstring kServer = L"\\websymbols*https://msdl.microsoft.com/download/symbols;";
}

TEST(SymbolNames, OfBothKindsOfDecoration)
{
    const DbgHelp* dbghelp = DbgHelp::instance();
    ASSERT_TRUE(dbghelp);
    const struct
    {
        const wchar_t* name;
        const wchar_t* shortName;
        const wchar_t* completeName;
    } cases[] = {
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
        EXPECT_TRUE(shortSymbolName(*dbghelp, name).known && completeSymbolName(*dbghelp, name).known);
        EXPECT_EQ(shortSymbolName(*dbghelp, name).text, shortName);
        EXPECT_EQ(completeSymbolName(*dbghelp, name).text, completeName);
    }
}

TEST(SymbolTypes, HaveNames)
{
    EXPECT_STREQ(symbolTypeName(SymNone), L"-nosymbols-");
    EXPECT_STREQ(symbolTypeName(SymVirtual), L"Virtual");
    EXPECT_STREQ(symbolTypeName(SymVirtual + 1), L"-unknown-");
}

TEST(SymbolSearchPath, PutsItsElementsInOrder)
{
    const std::wstring program = std::filesystem::path(programPath()).parent_path().wstring() + L";";
    SetEnvironmentVariableW(L"SYSTEMROOT", L"C:\\root");
    SetEnvironmentVariableW(L"SYSTEMDRIVE", L"D:");
    SetEnvironmentVariableW(L"_NT_SYMBOL_PATH", L"first");
    SetEnvironmentVariableW(L"_NT_ALTERNATE_SYMBOL_PATH", L"second");
    EXPECT_EQ(composeSymbolSearchPath(L"user", true),
              L"user;" + program + L"first;second;C:\\root;C:\\root\\System32;SRV*D:" + kServer);

    const std::wstring tooLong(130, L'x');
    SetEnvironmentVariableW(L"_NT_SYMBOL_PATH", nullptr);
    SetEnvironmentVariableW(L"_NT_ALTERNATE_SYMBOL_PATH", tooLong.c_str());
    SetEnvironmentVariableW(L"SYSTEMDRIVE", nullptr);
    EXPECT_EQ(composeSymbolSearchPath(L"", true), program + L"C:\\root;C:\\root\\System32;SRV*C:" + kServer);
    EXPECT_EQ(composeSymbolSearchPath(L"", false), program + L"C:\\root;C:\\root\\System32;");
}

// Runs itself again in a deep folder; elsewhere the path is too short to be cut.
TEST(SymbolSearchPath, CutsALongProgramPath)
{
    const std::wstring path = programPath();
    if (path.size() >= 130)
    {
        const std::wstring cut = path.substr(0, 129);
        EXPECT_TRUE(composeSymbolSearchPath(L"", false).starts_with(cut.substr(0, cut.rfind(L'\\')) + L";"));
        return;
    }

    const auto top = std::filesystem::temp_directory_path() / "st-core-deep";
    const auto program = top / std::wstring(100, L'a') / std::wstring(100, L'b') / "deep.exe";
    std::filesystem::create_directories(program.parent_path());
    std::filesystem::copy_file(path, program, std::filesystem::copy_options::overwrite_existing);
    EXPECT_EQ(_wspawnl(_P_WAIT, program.c_str(), L"deep", L"--gtest_filter=SymbolSearchPath.CutsALongProgramPath", nullptr), 0);
    std::filesystem::remove_all(top);
}

TEST(ModuleVersion, OfASystemLibrary)
{
    EXPECT_GE(moduleVersion(L"C:\\windows\\system32\\kernel32.dll") >> 48, 6u);
    EXPECT_EQ(moduleVersion(programPath().c_str()), 0u);
    EXPECT_EQ(moduleVersion(L"C:\\none.dll"), 0u);
}

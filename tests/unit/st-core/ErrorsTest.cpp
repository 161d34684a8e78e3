#include "hw-inventory-interface/ErrorHandling/Exception.h"
#include "st-core/lib/OSError.h"
#include "st-core/lib/RuntimeException.h"
#include "tests/fakes/FakeMachine.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>

using namespace ZelStdCore;
using HardwareInventory::ErrorHandling::ErrorCode;
using HardwareInventory::ErrorHandling::errorText;
using HardwareInventory::ErrorHandling::Exception;
using fakes::machine;

namespace
{
StackFrame frame(const wchar_t* completeName, const wchar_t* file = L"", std::uint32_t line = 0, std::uint64_t displacement = 0)
{
    StackFrame result;
    result.completeName = completeName;
    result.shortName = L"short";
    result.symbolName = L"symbol";
    result.fileName = file;
    result.lineNumber = line;
    result.symbolDisplacement = displacement;
    result.lineDisplacement = 77;
    return result;
}

std::vector<std::wstring> names(const std::vector<StackFrame>& frames)
{
    std::vector<std::wstring> result;
    for (const StackFrame& each : frames)
        result.push_back(each.completeName);
    return result;
}

using Names = std::vector<std::wstring>;
}

TEST(OSError, TextOfTheLastError)
{
    machine().lastError = 0;
    EXPECT_EQ(lastErrorText(), L"");
    machine().lastError = 2;
    const LastError saved = LastError::capture();
    machine().lastError = 5;
    EXPECT_EQ(lastErrorText(), L"system message 5\r\n");
    EXPECT_EQ(saved.text(), L"system message 2\r\n");
    EXPECT_EQ(LastError{0}.text(), L"");
}

TEST(OSError, TextOfAnErrorNumber)
{
    EXPECT_EQ(ZelStdCore::strerror(33), L"errno 33");
    machine().fails = [](const std::string& operation) { return operation == "strerror_s"; };
    machine().stack = {frame(L"a"), frame(L"b"), frame(L"c")};
    try
    {
        ZelStdCore::strerror(-1);
        FAIL() << "no exception";
    }
    catch (const RuntimeException& error)
    {
        EXPECT_EQ(error.message(), L"failed to get (-1) errno status description: status = 22");
        EXPECT_EQ(error.file(), L"st-core\\lib\\OSError.cpp");
        EXPECT_EQ(error.function(), L"ZelStdCore::strerror");
        EXPECT_GT(error.line(), 0);
        EXPECT_EQ(names(error.frames()), Names{L"c"});
    }
}

TEST(RuntimeException, TellsWhereItWasRaised)
{
    machine().stack = {frame(L"constructor"), frame(L"thrower"), frame(L"ns::caller(int)", L"C:\\caller.cpp", 12, 34),
                       frame(L"main"), frame(L"invoke_main"), frame(L"behind")};
    const RuntimeException error(L"message", L"file", L"function", -7, true, 2);
    EXPECT_EQ(error.message(), L"message");
    EXPECT_EQ(error.file(), L"file");
    EXPECT_EQ(error.function(), L"function");
    EXPECT_EQ(error.line(), -7);
    EXPECT_EQ(names(error.frames()), (Names{L"ns::caller(int)", L"main"}));
    EXPECT_EQ(error.trace(), L"[34] C:\\caller.cpp:ns::caller(int):12\n[0] :main:0\n");
}

TEST(RuntimeException, TraceOfEveryShapeOfStack)
{
    const struct
    {
        const char* what;
        std::vector<StackFrame> stack;
        bool captureTrace;
        std::uint32_t skipFrames;
        Names frames;
    } cases[] = {
        {"not asked for", {frame(L"a"), frame(L"b")}, false, 0, {}},
        {"none skipped", {frame(L"a"), frame(L"b")}, true, 0, {L"a", L"b"}},
        {"all skipped", {frame(L"a"), frame(L"b")}, true, 2, {}},
        {"more skipped than there are", {frame(L"a")}, true, 0xFFFFFFFF, {}},
        {"empty", {}, true, 2, {}},
        {"start-up code first", {frame(L"a"), frame(L"b"), frame(L"invoke_main"), frame(L"c")}, true, 2, {}},
        {"start-up code skipped", {frame(L"invoke_main"), frame(L"a"), frame(L"b")}, true, 2, {L"b"}},
        {"start-up code twice", {frame(L"a"), frame(L"invoke_main"), frame(L"b"), frame(L"invoke_main")}, true, 0, {L"a"}},
        {"similar names",
         {frame(L"invoke_main2"), frame(L"Invoke_main"), frame(L"ns::invoke_main"), frame(L"invoke_mai")},
         true,
         0,
         {L"invoke_main2", L"Invoke_main", L"ns::invoke_main", L"invoke_mai"}},
    };
    for (const auto& [what, stack, captureTrace, skipFrames, expected] : cases)
    {
        SCOPED_TRACE(what);
        machine().stack = stack;
        const RuntimeException error(L"", L"", L"", 0, captureTrace, skipFrames);
        EXPECT_EQ(names(error.frames()), expected);
        EXPECT_EQ(error.trace(), renderFrames(error.frames()));
        EXPECT_EQ(error.trace().empty(), expected.empty());
    }
}

TEST(RuntimeException, SurvivesItsTracer)
{
    const std::function<bool(const char*)> failures[] = {
        [](const char*) { return true; },
        [](const char*) -> bool { throw std::bad_alloc(); },
        [](const char*) -> bool { throw 42; },
        [](const char*) { return machine().lastError = 99, false; },
    };
    machine().stack = {frame(L"a"), frame(L"b")};
    for (const auto& failure : failures)
    {
        machine().fails = failure;
        machine().lastError = 1234;
        const RuntimeException error(L"message", L"file", L"function", 1, true, 2);
        EXPECT_EQ(error.message(), L"message");
        EXPECT_EQ(error.trace(), L"");
        EXPECT_TRUE(error.frames().empty());
        EXPECT_EQ(machine().lastError, 1234u);
    }
}

TEST(Exception, CarriesItsCodeAndTrace)
{
    machine().stack = {frame(L"a"), frame(L"b"), frame(L"c")};
    try
    {
        throw Exception(ErrorCode::wmiQuery, L"message", L"file", L"function", 5);
    }
    catch (const RuntimeException& error)
    {
        EXPECT_EQ(error.message(), L"message");
        EXPECT_EQ(error.file(), L"file");
        EXPECT_EQ(error.function(), L"function");
        EXPECT_EQ(error.line(), 5);
        EXPECT_EQ(names(error.frames()), Names{L"c"});
        EXPECT_EQ(static_cast<const Exception&>(error).code(), ErrorCode::wmiQuery);
    }
}

TEST(Exception, TextsOfCodes)
{
    const struct
    {
        ErrorCode code;
        std::uint64_t number;
        const wchar_t* text;
    } cases[] = {
        {ErrorCode::comInitialization, 0, L"failed to initialize COM library to WMI"},
        {ErrorCode::wmiSecurityBlanket, 4, L"failed to set security blanket to WMI"},
        {ErrorCode::wmiQuery, 5, L"failed to execute WMI query"},
        {ErrorCode::openFile, 6, L"failed to open file"},
        {ErrorCode::noSmbiosParser, 9, L"no SMBIOS parser available"},
        {ErrorCode::udevDevice, 14, L"failed to get device from UDev enumeration"},
        {ErrorCode::diskBind, 15, L"failed to bind to disk"},
        {ErrorCode::macSmbiosAddress, 19, L"failed to access macOS SMBIOS address"},
        {static_cast<ErrorCode>(20), 20, L"unknown hardware inventory error"},
        {static_cast<ErrorCode>(0x100000000), 0x100000000, L"unknown hardware inventory error"},
    };
    for (const auto& [code, number, text] : cases)
    {
        EXPECT_EQ(static_cast<std::uint64_t>(code), number);
        EXPECT_EQ(errorText(code), text);
    }
}

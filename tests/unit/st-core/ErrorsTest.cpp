#include "hw-inventory-interface/ErrorHandling/Exception.h"
#include "st-core/lib/LastError.h"
#include "st-core/lib/OSError.h"
#include "st-core/lib/RuntimeException.h"
#include "tests/fakes/FakeMachine.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>

using namespace ZelStdCore;
using fakes::machine;
using HardwareInventory::ErrorHandling::ErrorCode;
using HardwareInventory::ErrorHandling::errorText;
using HardwareInventory::ErrorHandling::Exception;

namespace
{
using Texts = std::vector<std::wstring>;

std::vector<StackFrame> stackOf(const Texts& names)
{
    std::vector<StackFrame> frames;
    for (const std::wstring& name : names)
        frames.emplace_back().completeName = name;
    return frames;
}

Texts namesOf(const std::vector<StackFrame>& frames)
{
    Texts names;
    for (const StackFrame& frame : frames)
        names.push_back(frame.completeName);
    return names;
}

Texts wordsOf(const RuntimeException& error)
{
    return {error.message(), error.file(), error.function()};
}
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
}

TEST(OSError, TextOfAnErrorNumber)
{
    EXPECT_EQ(ZelStdCore::strerror(33), L"errno 33");
    machine().fails = [](const std::string& operation) { return operation == "strerror_s"; };
    machine().stack = stackOf({L"a", L"b", L"c"});
    try
    {
        ZelStdCore::strerror(-1);
        FAIL() << "no exception";
    }
    catch (const RuntimeException& error)
    {
        EXPECT_EQ(wordsOf(error), (Texts{L"failed to get (-1) errno status description: status = 22", L"st-core\\lib\\OSError.cpp",
                                         L"ZelStdCore::strerror"}));
        EXPECT_GT(error.line(), 0);
        EXPECT_EQ(namesOf(error.frames()), Texts{L"c"});
    }
}

TEST(RuntimeException, ReportsWhereItWasRaised)
{
    machine().stack = stackOf({L"constructor", L"thrower", L"ns::caller(int)", L"main", L"invoke_main", L"behind"});
    machine().stack[2].fileName = L"C:\\caller.cpp";
    machine().stack[2].lineNumber = 12;
    machine().stack[2].symbolDisplacement = 34;
    const Exception error(ErrorCode::wmiQuery, L"message", L"file", L"function", -7);
    EXPECT_EQ(wordsOf(error), (Texts{L"message", L"file", L"function"}));
    EXPECT_EQ(error.line(), -7);
    EXPECT_EQ(error.code(), ErrorCode::wmiQuery);
    EXPECT_EQ(error.trace(), L"[34] C:\\caller.cpp:ns::caller(int):12\n[0] :main:0\n");
}

TEST(RuntimeException, TraceOfEveryShapeOfStack)
{
    const struct
    {
        Texts stack;
        Trace trace;
        std::uint32_t skipFrames;
        Texts frames;
    } cases[] = {
        {{L"a", L"b"}, Trace::none, 0, {}},
        {{L"a", L"b"}, Trace::capture, 0, {L"a", L"b"}},
        {{L"a", L"b"}, Trace::capture, 2, {}},
        {{L"a"}, Trace::capture, 0xFFFFFFFF, {}},
        {{L"a", L"b", L"invoke_main", L"c"}, Trace::capture, 2, {}},
        {{L"invoke_main", L"a", L"b"}, Trace::capture, 2, {L"b"}}, // the start-up code is skipped
        {{L"a", L"invoke_main", L"b", L"invoke_main"}, Trace::capture, 0, {L"a"}},
        {{L"invoke_main2", L"Invoke_main", L"ns::invoke_main"},
         Trace::capture,
         0,
         {L"invoke_main2", L"Invoke_main", L"ns::invoke_main"}},
    };
    for (const auto& [stack, trace, skipFrames, expected] : cases)
    {
        SCOPED_TRACE(testing::PrintToString(stack) + " without " + std::to_string(skipFrames));
        machine().stack = stackOf(stack);
        const RuntimeException error(L"", L"", L"", 0, trace, skipFrames);
        EXPECT_EQ(namesOf(error.frames()), expected);
        EXPECT_EQ(error.trace(), renderFrames(error.frames()));
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
    for (const auto& failure : failures)
    {
        machine().fails = failure;
        machine().lastError = 1234;
        const RuntimeException error(L"message", L"file", L"function", 1);
        EXPECT_EQ(error.message(), L"message");
        EXPECT_EQ(error.trace(), L"");
        EXPECT_EQ(machine().lastError, 1234u);
    }
}

TEST(Exception, TextsOfCodes)
{
    const std::pair<std::uint64_t, const wchar_t*> cases[] = {
        {0, L"failed to initialize COM library to WMI"},
        {4, L"failed to set security blanket to WMI"},
        {5, L"failed to execute WMI query"},
        {6, L"failed to open file"},
        {9, L"no SMBIOS parser available"},
        {14, L"failed to get device from UDev enumeration"},
        {15, L"failed to bind to disk"},
        {19, L"failed to access macOS SMBIOS address"},
        {20, L"unknown hardware inventory error"},
        {0x100000000, L"unknown hardware inventory error"},
    };
    for (const auto& [code, text] : cases)
        EXPECT_EQ(errorText(static_cast<ErrorCode>(code)), text) << code;
}

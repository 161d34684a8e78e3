#include "hw-inventory-interface/ErrorHandling/Exception.h"
#include "st-core/lib/HostLogger.h"
#include "st-core/lib/MemoryMappedFile.h"
#include "st-core/lib/Text.h"
#include "st-core/lib/Time.h"
#include "tests/runner/LogCapture.h"
#include "tests/unit/st-core/FakeCore.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>

using namespace ZelStdCore;
using HardwareInventory::ErrorHandling::ErrorCode, HardwareInventory::ErrorHandling::Exception;

namespace
{
void setStack(const std::wstring& names)
{
    fakes::stack.clear();
    for (const auto name : split(names, L" "))
        fakes::stack.emplace_back().completeName = name;
}

// What a call throws: "function|file|trace|message".
template <class Call>
std::wstring failureOf(Call call)
try
{
    return call(), L"no exception";
}
catch (const RuntimeException& error)
{
    return error.function() + L"|" + error.file() + L"|" + error.trace() + L"|" + error.message();
}
}

TEST(Errors, TextsOfTheSystem)
{
    setMessageSource([](std::uint32_t code) { return L"system message " + std::to_wstring(code) + L"\r\n"; });
    Platform::setLastErrorCode(2);
    const LastError saved = LastError::capture();
    Platform::setLastErrorCode(5);
    EXPECT_EQ(lastErrorText() + saved.text(), L"system message 5\r\nsystem message 2\r\n");
    Platform::setLastErrorCode(0);
    EXPECT_EQ(lastErrorText() + ZelStdCore::strerror(33), L"errno 33");
    setStack(L"a b c");
    EXPECT_EQ(failureOf([] { ZelStdCore::strerror(-1); }), L"ZelStdCore::strerror|st-core\\lib\\OSError.cpp|[0] :c:0\n|"
                                                           L"failed to get (-1) errno status description: status = 22");
}

TEST(Errors, TraceOfEveryShapeOfStack)
{
    const std::tuple<const wchar_t*, Trace, std::uint32_t, std::wstring> cases[] = {
        {L"a b", Trace::none, 0, L""},
        {L"a b", Trace::capture, 0, L"[0] :a:0\n[0] :b:0\n"},
        {L"a", Trace::capture, 0xFFFFFFFF, L""},
        {L"invoke_main a b", Trace::capture, 2, L"[0] :b:0\n"}, // the start-up code is skipped
        {L"a invoke_main b invoke_main", Trace::capture, 0, L"[0] :a:0\n"},
        {L"invoke_main2 Invoke_main ns::invoke_main", Trace::capture, 1, L"[0] :Invoke_main:0\n[0] :ns::invoke_main:0\n"}};
    for (const auto& [stack, trace, skipFrames, expected] : cases)
    {
        setStack(stack);
        const RuntimeException error(L"", L"", L"", 0, trace, skipFrames);
        EXPECT_EQ(error.trace(), expected);
        EXPECT_EQ(error.frames().size(), split(expected, L"\n").size() - 1);
    }
    fakes::stack.assign(3, {.completeName = L"f(int)", .symbolDisplacement = 34, .lineNumber = 12, .fileName = L"C:\\f.cpp"});
    const Exception error(ErrorCode::wmiQuery, L"message", L"file", L"function", -7);
    EXPECT_EQ(failureOf([&error] { throw error; }), L"function|file|[34] C:\\f.cpp:f(int):12\n|message");
    EXPECT_EQ(std::pair(error.code(), error.line()), std::pair(ErrorCode::wmiQuery, -7));

    // A tracer that fails cuts the trace short, and does not touch the last error.
    fakes::tracerFails = true;
    Platform::setLastErrorCode(1234);
    EXPECT_EQ(failureOf([] { throw RuntimeException(L"message", L"file", L"function", 1); }), L"function|file||message");
    EXPECT_EQ(LastError::capture().code, 1234u);
    fakes::tracerFails = false;
}

TEST(Time, ReadsAndWritesLocalTime)
{
    for (const auto& [text, time] : {std::pair(std::wstring(L"20210304101112"), CalendarTime{1614870672}),
                                     {L"20210704101112", 1625407872},
                                     {L"20240229235959", 1709269199},
                                     {L"21000101000000", 4102462800}})
    {
        EXPECT_EQ(stringToTime(text + L".000000+060", L"%Y%m%d%H%M%S"), time); // fraction and offset are not examined
        EXPECT_EQ(timeToString(time, L"%Y%m%d \u00E4 %H%M%S"), std::wstring(text).insert(8, L" \u00E4 "));
    }
    EXPECT_EQ(stringToTime(L"202103041011", L"%Y%m%d%H%M%S"), 1614870660); // missing fields are the least possible
    // Each month and day of the week by its name and by the name's first letters.
    int month = 0;
    for (const auto name : split(L"January February March April May June July August September October November December", L" "))
        EXPECT_EQ(stringToTime(format(L"2021 %s %s", name, name.substr(0, 3)), L"%Y %B %b"),
                  stringToTime(format(L"2021%02d", ++month), L"%Y%m"));
    for (const auto name : split(L"Sunday Monday Tuesday Wednesday Thursday Friday Saturday", L" "))
        EXPECT_EQ(stringToTime(format(L"2021 %s %s", name, name.substr(0, 3)), L"%Y %A %a"), 1609477200);
}

TEST(Time, ReportsWhatItCannotConvert)
{
    setStack(L"a b c");
    const std::wstring place = L"|st-core\\lib\\Time.cpp|[0] :c:0\n|failed to convert ";
    for (const std::wstring text : {L"abc", L"", L"20211304101112", L"20210230101112", L"2021-03-04 10:11:12", L"00000000000000.0"})
        EXPECT_EQ(failureOf([&text] { errno = 33, stringToTime(text, L"%Y%m%d%H%M%S"); }),
                  L"ZelStdCore::stringToTime" + place + L"'" + text + L"' to time using '%Y%m%d%H%M%S' format: errno 33");
    EXPECT_THROW(stringToTime(L"+infinity", L"%Y%m%d%H%M%S"), std::out_of_range);

    const std::wstring longest(1023, L'x');
    EXPECT_EQ(timeToString(0, longest), longest);
    for (const std::wstring& pattern : {std::wstring(), longest + L"x", longest + L"%Y"})
        EXPECT_TRUE(failureOf([&pattern] { timeToString(5, pattern); })
                        .starts_with(L"ZelStdCore::timeToString" + place + L"5 to time (format = " + pattern + L"): errno "));
    EXPECT_THROW(timeToString(std::numeric_limits<CalendarTime>::max(), L"%Y"), RuntimeException);
}

TEST(MemoryMappedFile, MapsTheWholeFileOrReportsTheStepThatFails)
{
    setStack(L"a b c");
    const auto folder = std::filesystem::temp_directory_path() / ("mapped-" + std::to_string(std::random_device()()));
    std::filesystem::create_directories(folder);
    const std::string bytes("first\0second\r\n", 14);
    std::ofstream(folder / "file", std::ios::binary) << bytes;
    std::ofstream(folder / "empty").flush();
    // Linux lists what a process holds open, and has files that cannot be opened or mapped.
    constexpr bool isLinux = std::filesystem::path::preferred_separator == '/';
    const auto held = [] { return isLinux ? std::ranges::distance(std::filesystem::directory_iterator("/proc/self/fd")) : 0; };
    const auto before = held();
    const std::pair<std::filesystem::path, std::wstring> cases[] = {
        {folder / "file", L"no exception"},
        {folder / "empty", L"failed to create file mapping ("},
        {isLinux ? "/sys/bus/cpu/drivers_probe" : folder / "empty", L"failed to create file mapping ("}, // only to be written
        {isLinux ? "/sys/devices/system/cpu/online" : "nowhere", isLinux ? L"failed to get map view of file (" : L"not a file: "},
        {folder, L"not a regular file: "},
        {"", L"not a file: "}};
    for (const auto& [path, outcome] : cases)
    {
        MemoryMappedFile file;
        file.open((folder / "file").wstring()); // a failure to open another one closes it
        const std::wstring failure = failureOf([&] { file.open(path.wstring()); });
        const bool isMapped = path.filename() == "file";
        const std::wstring place = L"ZelStdCore::MemoryMappedFile::open|st-core\\lib\\MemoryMappedFile.cpp|[0] :c:0\n|" + outcome;
        EXPECT_TRUE(isMapped ? failure == outcome : failure.starts_with(place + path.wstring())) << path;
        EXPECT_EQ(std::string(file.data(), file.size()), isMapped ? bytes : "");
        EXPECT_EQ(file.data() != nullptr, isMapped);
        EXPECT_EQ(held(), before + (isLinux && isMapped ? 2 : 0)) << path;
    }
    std::filesystem::remove_all(folder);
}

TEST(HostLogger, EachOperationHasItsLevelAndReachesTheHostAsUtf8)
{
    // Without a callback nothing is formatted: a pattern with fewer placeholders than arguments throws.
    EXPECT_NO_THROW(logWarning(L"none", 1));
    const LogCapture log;
    EXPECT_THROW(logWarning(L"none", 1), std::exception);
    logInfo(L"used %1% instead", L"SMBIOS");
    logWarning(L"'%s' property of %d", L"\u00E4", 7);
    logError(L"plain");
    logTrace(L"%1%", L"traced");
    HostLogger::instance().set(nullptr);
    logError(L"switched off");
    EXPECT_EQ(log.lines(),
              (LogCapture::Lines{{0, "used SMBIOS instead"}, {1, "'\xC3\xA4' property of 7"}, {2, "plain"}, {3, "traced"}}));
    EXPECT_EQ(severityName(Severity::trace) + std::wstring(severityName(static_cast<Severity>(6))), L"traceunknown");
}

#include "hw-inventory-impl/lib/DeviceStatus.h"
#include "hw-inventory-interface/ErrorHandling/Exception.h"
#include "st-core/lib/HostLogger.h"
#include "st-core/lib/LastError.h"
#include "st-core/lib/MemoryMappedFile.h"
#include "st-core/lib/OSError.h"
#include "st-core/lib/Text.h"
#include "st-core/lib/Time.h"
#include "tests/runner/LogCapture.h"
#include "tests/unit/st-core/FakeCore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ctime>
#include <filesystem>
#include <fstream>
#include <random>

using namespace HardwareInventory;
using namespace ZelStdCore;
using fakes::machine;

namespace
{
void setStack(const std::wstring& names)
{
    machine().stack.clear();
    for (const auto name : split(names, L" "))
        machine().stack.emplace_back().completeName = name;
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

void setZone(const char* zone)
{
#ifdef _WIN32
    _putenv_s("TZ", zone);
    _tzset();
#else
    setenv("TZ", zone, 1);
    tzset();
#endif
}
}

TEST(Errors, TextsOfTheSystem)
{
    machine().lastError = 2;
    const LastError saved = LastError::capture();
    machine().lastError = 5;
    EXPECT_EQ(lastErrorText() + saved.text(), L"system message 5\r\nsystem message 2\r\n");
    machine().lastError = 0;
    EXPECT_EQ(lastErrorText() + ZelStdCore::strerror(33), L"errno 33");
    machine().fails = [](const std::string& operation) { return operation == "strerror_s"; };
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
    machine().stack.assign(3, {.completeName = L"f(int)", .symbolDisplacement = 34, .lineNumber = 12, .fileName = L"C:\\f.cpp"});
    const ErrorHandling::Exception error(ErrorHandling::ErrorCode::wmiQuery, L"message", L"file", L"function", -7);
    EXPECT_EQ(failureOf([&error] { throw error; }), L"function|file|[34] C:\\f.cpp:f(int):12\n|message");
    EXPECT_EQ(std::pair(error.code(), error.line()), std::pair(ErrorHandling::ErrorCode::wmiQuery, -7));

    // A tracer that fails cuts the trace short, and does not touch the last error.
    machine().fails = [](const char*) -> bool { throw machine().lastError = 99; };
    machine().lastError = 1234;
    EXPECT_EQ(failureOf([] { throw RuntimeException(L"message", L"file", L"function", 1); }), L"function|file||message");
    EXPECT_EQ(machine().lastError, 1234u);
}

TEST(Facts, TextsOfCodes)
{
    EXPECT_EQ(errorText(ErrorHandling::ErrorCode{19}), L"failed to access macOS SMBIOS address");
    for (const auto code : {20ull, 1ull << 32})
        EXPECT_EQ(errorText(ErrorHandling::ErrorCode{code}), L"unknown hardware inventory error");
    std::wstring texts;
    for (const wchar_t* text : {L"OK", L"Degraded", L"Pred Fail", L"Error", L"Starting", L"Stopping", L"Service", L"ok", L"Error "})
        texts += statusText(statusFromWmiText(text)) + std::wstring(L",");
    EXPECT_EQ(texts + statusText(DeviceStatus{2}) + statusText(DeviceStatus{3}) + statusText(DeviceStatus{0xFFFFFFFF}),
              L"ok,ok,ok,has issues,has issues,has issues,has issues,,,disabled by user");
}

TEST(Time, ReadsAndWritesLocalTime)
{
    const std::tuple<const char*, std::wstring, CalendarTime> cases[] = {{"EST5EDT", L"20210304101112", 1614870672},
                                                                         {"EST5EDT", L"20210704101112", 1625407872},
                                                                         {"UTC", L"20240229235959", 1709251199},
                                                                         {"UTC", L"21000101000000", 4102444800}};
    for (const auto& [zone, text, time] : cases)
    {
        setZone(zone);
        EXPECT_EQ(stringToTime(text + L".000000+060", L"%Y%m%d%H%M%S"), time); // fraction and offset are not examined
        EXPECT_EQ(timeToString(time, L"%Y%m%d \u00E4 %H%M%S"), std::wstring(text).insert(8, L" \u00E4 "));
    }
    EXPECT_EQ(stringToTime(L"202103041011", L"%Y%m%d%H%M%S"), 1614852660); // missing fields are the least possible
    // Each month and day of the week by its name and by the name's first letters.
    int month = 0;
    for (const auto name : split(L"January February March April May June July August September October November December", L" "))
        EXPECT_EQ(stringToTime(format(L"2021 %s %s", name, name.substr(0, 3)), L"%Y %B %b"),
                  stringToTime(format(L"2021%02d", ++month), L"%Y%m"));
    for (const auto name : split(L"Sunday Monday Tuesday Wednesday Thursday Friday Saturday", L" "))
        EXPECT_EQ(stringToTime(format(L"2021 %s %s", name, name.substr(0, 3)), L"%Y %A %a"), 1609459200);
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
    const std::wstring path = (folder / "file").wstring();
    const std::string bytes("first\0second\r\n", 14);
    std::ofstream(folder / "file", std::ios::binary) << bytes;
    const std::string opening = "CreateFileW CreateFileMappingW ", mapping = "GetFileSizeEx MapViewOfFile ", then = "then ";
    const std::string closing = "CloseHandle(mapping) CloseHandle(file) ", unmapping = "UnmapViewOfFile " + closing;
    const std::wstring failed = L"ZelStdCore::MemoryMappedFile::open|st-core\\lib\\MemoryMappedFile.cpp|[0] :c:0\n|failed to ";
    const std::wstring ofFile = L" (" + path + L"): system message 5\r\n";
    const std::tuple<std::string, std::wstring, std::size_t, std::string> cases[] = {
        // A failed open returns a handle that is not null, and goes unnoticed until it is used.
        {"CreateFileW", failed + L"create file mapping" + ofFile, 0, opening + "CloseHandle(file) " + then},
        {"CreateFileMappingW", failed + L"create file mapping" + ofFile, 0, opening + "CloseHandle(file) " + then},
        {"GetFileSizeEx", L"no exception", 0, opening + mapping + then + unmapping}, // goes unnoticed
        {"MapViewOfFile", failed + L"get map view of file" + ofFile, 0, opening + mapping + closing + then},
        {"none", L"no exception", 14, opening + mapping + then + unmapping}};
    for (const auto& [operation, outcome, size, calls] : cases)
    {
        machine().fails = [&operation](const std::string& asked) { return asked == operation; };
        machine().calls.clear();
        MemoryMappedFile file;
        EXPECT_EQ(failureOf([&] { file.open(path); }), outcome);
        EXPECT_EQ(std::string(file.data(), file.size()), bytes.substr(0, size));
        machine().calls.emplace_back("then"); // a failure to open another one closes what is open
        EXPECT_TRUE(failureOf([&] { file.open(folder.wstring()); }).ends_with(L"|not a regular file: " + folder.wstring()));
        EXPECT_TRUE(failureOf([&] { file.open(L""); }).ends_with(L"|not a file: "));
        std::string called;
        for (const std::string& call : machine().calls)
            called += call == "SymInitializeW" ? "" : call + " ";
        EXPECT_EQ(called, calls) << operation;
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

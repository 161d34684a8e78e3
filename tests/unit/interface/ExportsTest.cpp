#include "tests/unit/interface/Collectors.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#ifndef _MSC_VER
#include <unwind.h>
#endif

using fakes::machine;
using fakes::management;
using Lines = fakes::LogCapture::Lines;

namespace
{
std::string exceptionString()
{
    std::string text(4096, 'x');
    std::size_t size = text.size();
    EXPECT_EQ(hardware_inventory_exception_string(text.data(), &size), EXPORT_STATUS_SUCCESS);
    return text.c_str();
}

// Every query without an entry in answers ends like this.
void failQueriesWith(std::function<void()> failure)
{
    management().cimv2.otherwise = [failure](const std::wstring&) { return failure(), fakes::FakeObjects(); };
    management().standardCimv2.otherwise = management().cimv2.otherwise;
}

std::string documentsOfAllKinds()
{
    std::string documents;
    for (const Collector& collector : kCollectors)
        documents += collect(collector).document;
    return documents;
}

class NestedCollection : public testing::TestWithParam<std::size_t>
{
};
}

// The machine is read before the arguments are checked; the document, whose writing can log, is written after.
TEST(Exports, WithoutASize)
{
    release_buffer(nullptr);
    management().cimv2.answers[L"SELECT * FROM Win32_DiskDrive"] = {{{L"Size", L"0"}}};
    for (const Collector& collector : kCollectors)
    {
        const fakes::LogCapture log;
        machine().calls.clear();
        char untouched = 'u';
        char* buffer = &untouched;
        EXPECT_EQ(collector.find(&buffer, nullptr), EXPORT_STATUS_NO_SIZE) << collector.name;
        EXPECT_EQ(buffer, &untouched) << collector.name;
        EXPECT_FALSE(machine().calls.empty()) << collector.name;

        const bool ram = collector.find == hardware_inventory_find_ram;
        const std::string text = std::string(ram ? "null buffer size" : "null buffer_size") + " provided to write JSON data to";
        ASSERT_FALSE(log.lines().empty()) << collector.name;
        EXPECT_EQ(log.lines().back(), std::pair(2u, text));
        for (const auto& line : log.lines())
            EXPECT_EQ(line.second.find("exceeds total size"), std::string::npos) << line.second;
    }
    EXPECT_EQ(exceptionString(), "(no meta)") << "no failure to record";
    failQueriesWith([] { throw 42; });
    EXPECT_EQ(hardware_inventory_find_cpus(nullptr, nullptr), EXPORT_STATUS_OTHER) << "collecting comes first";
}

TEST(Exports, FailureLeavesTheOutputsAndIsKept)
{
    failQueriesWith([] { throw HardwareInventory::ErrorHandling::Exception(fakes::ErrorCode::wmiQuery, L"m", L"f", L"g", 1); });
    for (const Collector& collector : kCollectors)
    {
        if (collector.find == hardware_inventory_find_ram)
            continue; // runs no query
        const fakes::LogCapture log;
        char untouched = 'u';
        char* buffer = &untouched;
        size_t size = 12345;
        EXPECT_EQ(collector.find(&buffer, &size), EXPORT_STATUS_WMI_QUERY) << collector.name;
        EXPECT_EQ(buffer, &untouched) << collector.name;
        EXPECT_EQ(size, 12345u) << collector.name;
        ASSERT_FALSE(log.lines().empty()) << collector.name;
        EXPECT_EQ(log.lines().back(), std::pair(2u, exceptionString())) << collector.name;
    }
    failQueriesWith([] {});
    EXPECT_EQ(collect(kCollectors[0]).status, EXPORT_STATUS_SUCCESS);
    EXPECT_STREQ(hardware_inventory_get_exception()->errorText, "failed to execute WMI query") << "a success keeps the record";
    EXPECT_EQ(exceptionString(), "f:g:1:m:failed to execute WMI query");
}

TEST(Exports, ExceptionStringAndItsBuffer)
{
    const fakes::LogCapture log;
    const std::string text = "(no meta)";
    const std::string untouched(text.size() + 2, 'x');
    struct Case
    {
        std::size_t size;
        bool given;
        ExportStatus status;
    };
    const Case cases[] = {{0, true, 6}, {text.size(), true, 6}, {4096, false, 6}, {text.size() + 1, true, 0}};
    for (const Case& each : cases)
    {
        std::string buffer = untouched;
        std::size_t size = each.size;
        EXPECT_EQ(hardware_inventory_exception_string(each.given ? buffer.data() : nullptr, &size), each.status) << each.size;
        EXPECT_EQ(size, each.size);
        EXPECT_EQ(buffer, each.status == 0 ? text + '\0' + 'x' : untouched);
    }
    EXPECT_TRUE(log.lines().empty());
    EXPECT_EQ(hardware_inventory_exception_string(nullptr, nullptr), EXPORT_STATUS_NO_SIZE);
    EXPECT_EQ(log.lines(), (Lines{{2, "null buffer_size provided to write exception info to"}}));
}

TEST(Exports, LoggerCanBeReplacedAndSwitchedOff)
{
    static std::vector<std::string> first, second;
    const auto log = [] { hardware_inventory_exception_string(nullptr, nullptr); };
    hardware_inventory_set_logger([](uint32_t level, const char* message) { first.push_back(std::to_string(level) + message); });
    log();
    hardware_inventory_set_logger([](uint32_t, const char* message) { second.push_back(message); });
    log();
    hardware_inventory_set_logger(nullptr);
    log();
    EXPECT_EQ(first, (std::vector<std::string>{"2null buffer_size provided to write exception info to"}));
    EXPECT_EQ(second.size(), 1u);
}

// The callback can collect every kind: while the first call builds the process-wide objects, and later.
TEST_P(NestedCollection, IsWholeAndLeavesTheOuterOneWhole)
{
    static bool nested = false;
    static std::vector<std::string> inner;
    std::size_t nestings = 0;
    setUpWholeMachine();
    management().cimv2.answers.erase(L"SELECT * FROM Win32_VideoController"); // a warning before the vendor libraries'
    for (const char* call : {"the first", "a later one"})
    {
        hardware_inventory_set_logger(
            [](uint32_t level, const char*)
            {
                if (level != 1 || std::exchange(nested, true))
                    return;
                inner.push_back(documentsOfAllKinds());
                nested = false;
            });
        const std::string outer = collect(kCollectors[GetParam()]).document;
        hardware_inventory_set_logger(nullptr);
        nestings += inner.size();
        EXPECT_EQ(outer, collect(kCollectors[GetParam()]).document) << call;
        EXPECT_THAT(std::exchange(inner, {}), testing::Each(documentsOfAllKinds())) << call;

        // Every property logs a warning from now on.
        management().cimv2.answers.clear();
        management().standardCimv2.answers.clear();
        management().cimv2.otherwise = [](const std::wstring&) { return fakes::FakeObjects(1); };
        management().standardCimv2.otherwise = management().cimv2.otherwise;
    }
    EXPECT_GT(nestings, 0u);
}

INSTANTIATE_TEST_SUITE_P(Exports, NestedCollection, testing::Range<std::size_t>(0, std::size(kCollectors)));

#ifndef _MSC_VER
// Two ways of a panic of another language: out of the source, and out of the callback wherever it is called, where the failure is
// logged too.
TEST(Exports, AForeignExceptionIsAFailure)
{
    setUpWholeMachine();
    static const auto raise = []
    {
        static _Unwind_Exception foreign;
        foreign = {};
        foreign.exception_class = 0x464F524549474E00; // "FOREIGN"
        _Unwind_RaiseException(&foreign);
    };
    char untouched = 'u';
    char* buffer = &untouched;
    size_t size = 12345;
    {
        const fakes::LogCapture log;
        management().cimv2.answers.clear();
        failQueriesWith(raise);
        EXPECT_EQ(hardware_inventory_find_cpus(&buffer, &size), EXPORT_STATUS_OTHER);
        EXPECT_EQ(log.lines(), (Lines{{2, "unknown exception"}}));
    }
    hardware_inventory_set_logger([](uint32_t, const char*) { raise(); });
    EXPECT_EQ(hardware_inventory_find_ram(&buffer, &size), EXPORT_STATUS_OTHER);
    EXPECT_EQ(buffer, &untouched);
    EXPECT_EQ(size, 12345u);
    EXPECT_EQ(exceptionString(), "unknown exception");
}
#endif

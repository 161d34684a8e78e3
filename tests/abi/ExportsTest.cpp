#include "machine/Kinds.h"
#include "tests/runner/Cases.h"
#include "tests/runner/Replay.h"

#include <gmock/gmock.h>

#include <csetjmp>
#include <utility>

#ifndef _MSC_VER
#include <unwind.h>
#endif

namespace
{
using HardwareInventory::Json;
using testing::ElementsAre;

const std::string kProcessors = "query ROOT\\CIMV2 SELECT * FROM Win32_Processor";
std::vector<std::string> lines;

void keepLine(uint32_t level, const char* message)
{
    lines.push_back(std::to_string(level) + " " + message);
}

Json wholeMachine()
{
    return cases::find("whole", "machine").recording;
}

std::string exceptionString()
{
    std::string text(4096, 'x');
    std::size_t size = text.size();
    EXPECT_EQ(hardware_inventory_exception_string(text.data(), &size), EXPORT_STATUS_SUCCESS);
    return text.c_str();
}

struct Exports : testing::Test
{
    ~Exports() override { hardware_inventory_set_logger(nullptr); }
};

struct NestedCollection : Exports, testing::WithParamInterface<std::size_t>
{
};
}

// The machine is read before the arguments are checked; the document, whose writing can log, is written after.
TEST_F(Exports, WithoutASizeAndAfterAFailure)
{
    Json recording = wholeMachine();
    recording["answers"]["query ROOT\\CIMV2 SELECT * FROM Win32_DiskDrive"] = Json::parse(R"([{"Size": "0"}])");
    recording["answers"][kProcessors] = {{"inTurn", {Json::array(), {{"exception", "wmiQuery"}, {"message", "m"}}, Json::array()}}};
    setMachine(recording);
    hardware_inventory_set_logger(keepLine);
    for (const Kind& kind : kKinds)
    {
        lines.clear();
        char untouched = 'u';
        char* buffer = &untouched;
        EXPECT_EQ(kind.find(&buffer, nullptr), EXPORT_STATUS_NO_SIZE) << kind.name;
        EXPECT_EQ(buffer, &untouched) << kind.name;
        EXPECT_EQ(lines.back(), std::string(kind.name == "ram" ? "2 null buffer size" : "2 null buffer_size") +
                                    " provided to write JSON data to");
        EXPECT_THAT(lines, testing::Not(testing::Contains(testing::HasSubstr("exceeds total size"))));
    }
    EXPECT_EQ(timesAsked(kProcessors), 1u);
    EXPECT_EQ(exceptionString(), "(no meta)") << "no failure to record";
    EXPECT_EQ(hardware_inventory_find_cpus(nullptr, nullptr), EXPORT_STATUS_WMI_QUERY) << "collecting comes first";
    EXPECT_TRUE(collect("cpus").statuses.empty()); // keeps the record of the last failure
    EXPECT_STREQ(hardware_inventory_get_exception()->errorText, "failed to execute WMI query");
    EXPECT_THAT(exceptionString(), testing::HasSubstr(":m:failed to execute WMI query"));
}

// The rest of a larger buffer is zeroed.
TEST_F(Exports, ExceptionStringAndItsBuffer)
{
    const std::string text = "(no meta)", untouched(text.size() + 4, 'x');
    for (const auto& [size, given, status] : {std::tuple(std::size_t{0}, true, 6),
                                              {text.size(), true, 6},
                                              {4096, false, 6},
                                              {text.size() + 1, true, 0},
                                              {text.size() + 3, true, 0}})
    {
        std::string buffer = untouched, written = untouched;
        std::size_t asked = size;
        EXPECT_EQ(hardware_inventory_exception_string(given ? buffer.data() : nullptr, &asked), ExportStatus(status)) << size;
        EXPECT_EQ(asked, size);
        if (status == 0)
            written.replace(0, size, text + std::string(size - text.size(), '\0'));
        EXPECT_EQ(buffer, written) << size;
    }
}

TEST_F(Exports, LoggerCanBeReplacedAndSwitchedOff)
{
    lines.clear();
    for (const HardwareInventoryLogger logger :
         {HardwareInventoryLogger(keepLine), HardwareInventoryLogger(nullptr),
          HardwareInventoryLogger([](uint32_t, const char*) { lines.emplace_back("second"); })})
    {
        hardware_inventory_set_logger(logger);
        EXPECT_EQ(hardware_inventory_exception_string(nullptr, nullptr), EXPORT_STATUS_NO_SIZE);
    }
    EXPECT_THAT(lines, ElementsAre("2 null buffer_size provided to write exception info to", "second"));
}

// The callback can collect every kind: while the first call builds the process-wide objects, and later.
TEST_P(NestedCollection, IsWholeAndLeavesTheOuterOneWhole)
{
    static bool nested = false;
    static std::vector<Json> inner;
    static const auto documents = []
    {
        Json all = Json::array();
        for (const Kind& kind : kKinds)
        {
            char* buffer = nullptr;
            std::size_t size = 0;
            all.push_back({kind.find(&buffer, &size), buffer ? buffer : ""});
            release_buffer(buffer);
        }
        return all;
    };
    Json recording = wholeMachine();
    for (auto& [question, answer] : recording["answers"].items())
        if (question.starts_with("query") && answer.is_array())
            answer.front().erase(question.ends_with("BIOS") ? "Manufacturer" : "Status"); // a warning in the middle of the reading
    setMachine(recording);
    const Kind& kind = kKinds[GetParam()];
    for (const char* call : {"the first", "a later one"})
    {
        hardware_inventory_set_logger(
            [](uint32_t level, const char*)
            {
                if (level != 1 || std::exchange(nested, true))
                    return;
                inner.push_back(documents());
                nested = false;
            });
        char* buffer = nullptr;
        std::size_t size = 0;
        EXPECT_EQ(kind.find(&buffer, &size), EXPORT_STATUS_SUCCESS);
        hardware_inventory_set_logger(nullptr);
        EXPECT_EQ(Json(buffer), documents()[GetParam()][1]) << call;
        release_buffer(buffer);
        EXPECT_FALSE(inner.empty() && call == std::string("the first") && kind.name != "hotfixes") << "nothing was nested";
        EXPECT_THAT(std::exchange(inner, {}), testing::Each(documents())) << call;
    }
}

INSTANTIATE_TEST_SUITE_P(Exports, NestedCollection, testing::Range<std::size_t>(0, std::size(kKinds)));

#ifndef _MSC_VER
// A panic of another language, out of the callback wherever it is called: in the reading, and where the failure is logged.
TEST_F(Exports, AForeignExceptionIsAFailure)
{
    Json recording = wholeMachine();
    recording["answers"][kProcessors][0].erase("Status");
    setMachine(recording);
    hardware_inventory_set_logger(
        [](uint32_t, const char*)
        {
            static _Unwind_Exception foreign;
            foreign = {};
            foreign.exception_class = 0x464F524549474E00; // "FOREIGN"
            _Unwind_RaiseException(&foreign);
        });
    char untouched = 'u';
    char* buffer = &untouched;
    std::size_t size = 7;
    EXPECT_EQ(hardware_inventory_find_cpus(&buffer, &size), EXPORT_STATUS_OTHER);
    EXPECT_EQ(hardware_inventory_find_ram(&buffer, &size), EXPORT_STATUS_OTHER);
    EXPECT_TRUE(buffer == &untouched && size == 7);
    EXPECT_EQ(exceptionString(), "unknown exception");
}
#endif

#ifdef _WIN32
namespace
{
std::jmp_buf beforeTheCall;
int linesToCome;

// Whether the collection logs a line of that number, from which the callback does not return.
bool isLeftAtLine(int line, const Kind& kind)
{
    linesToCome = line;
    if (setjmp(beforeTheCall) != 0)
        return true;
    char* buffer = nullptr;
    std::size_t size = 0;
    EXPECT_EQ(kind.find(&buffer, &size), EXPORT_STATUS_SUCCESS) << kind.name;
    release_buffer(buffer);
    return false;
}
}

// What the call holds is lost, so not where leaks are counted. The process-wide objects are built all the same.
TEST_F(Exports, TheCallbackCanLeaveByALongJump)
{
    setMachine(wholeMachine());
    hardware_inventory_set_logger([](uint32_t, const char*) { linesToCome-- == 0 ? std::longjmp(beforeTheCall, 1) : void(); });
    for (const Kind& kind : kKinds)
        for (int line = 0; isLeftAtLine(line, kind); ++line)
            ;
    EXPECT_EQ(Json::diff(cases::find("whole", "machine").documents, collect().documents).dump(), "[]");
}
#endif

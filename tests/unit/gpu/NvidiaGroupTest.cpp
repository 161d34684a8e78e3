#include "hw-inventory-impl/lib/GPU/NvidiaGroup.h"

#include "hw-inventory-impl/lib/GPU/GPUException.h"
#include "tests/unit/gpu/GpuTest.h"

#include <sstream>
#include <tuple>

using namespace HardwareInventory;
using namespace fakes;
using testing::IsEmpty;

namespace
{
const Section kFirst = {{"temperature", "45"},       {"utilization.gpu", "17"},  {"utilization.memory", "8"},
                        {"memory.total", "4096000"}, {"memory.free", "3072000"}, {"memory.used", "1024000"},
                        {"power", "31500"},          {"busId", "0000:01:00.0"},  {"serial", "0320718000001"}};
const Section kSecond = {{"temperature", "60"},
                         {"utilization.gpu", "99"},
                         {"utilization.memory", "50"},
                         {"memory.total", "8589934592"},
                         {"memory.free", "2147483648"},
                         {"memory.used", "6442450944"},
                         {"power", "120250"},
                         {"busId", "000A:0B:0C.0"},
                         {"serial", "SN-2"}};

// One value or group of values per line of update().
std::vector<std::string> describe(const NvidiaReadings& readings)
{
    std::ostringstream text[6];
    text[0] << (readings.temperature ? std::to_string(*readings.temperature) : "absent");
    text[1] << readings.gpuUtilization << ' ' << readings.memoryUtilization;
    text[2] << readings.memoryFreeKiB << ' ' << readings.memoryUsedKiB << ' ' << readings.memoryTotalKiB << ' '
            << readings.memoryUsedPercent;
    text[3] << readings.powerWatts;
    text[4] << readings.pciBusId;
    text[5] << readings.serial;
    std::vector<std::string> lines;
    for (const auto& line : text)
        lines.push_back(line.str());
    return lines;
}

const std::vector<std::string> kFirstReadings = {"45.000000", "17 8", "3000 1000 4000 25", "31.5", "0000:01:00.0", "0320718000001"};
const std::vector<std::string> kSecondReadings = {"60.000000", "99 50",        "2.09715e+06 6.29146e+06 8.38861e+06 75",
                                                  "120.25",    "000A:0B:0C.0", "SN-2"};
const std::vector<std::string> kNoReadings = {"absent", "0 0", "0 0 0 0", "0", "", ""};

// The calls of update() by line: a failing one leaves the values of its own line.
const std::vector<std::string> kReadingCalls = {"nvmlDeviceGetTemperature", "nvmlDeviceGetUtilizationRates",
                                                "nvmlDeviceGetMemoryInfo",  "nvmlDeviceGetPowerUsage",
                                                "nvmlDeviceGetPciInfo_v3",  "nvmlDeviceGetSerial"};

class NvidiaGroupTest : public GpuTest
{
protected:
    static std::string failure() { return failureOf<NvidiaGroup, NvidiaException>(); }
};

TEST_F(NvidiaGroupTest, NamesWhatTheLibraryLacks)
{
    EXPECT_EQ(failure(), "NVML Library not found!");

    // With all symbols absent the first in order is reported; each is then supplied in turn. Two messages have an extra space.
    auto& module = machine().modules[L"nvml.dll"];
    for (const std::string symbol :
         {"nvmlInit", "nvmlShutdown", "nvmlErrorString", "nvmlDeviceGetCount", "nvmlDeviceGetHandleByIndex",
          "nvmlDeviceGetTemperature", "nvmlDeviceGetUtilizationRates", "nvmlDeviceGetMemoryInfo", "nvmlDeviceGetPowerUsage",
          "nvmlDeviceGetPciInfo_v3", "nvmlDeviceGetSerial"})
    {
        const bool spaced = symbol == "nvmlDeviceGetPciInfo_v3" || symbol == "nvmlDeviceGetSerial";
        EXPECT_EQ(failure(), "ERROR: " + symbol + " not available" + (spaced ? " !" : "!"));
        module[symbol] = nvmlProcedures().at(symbol);
    }
    EXPECT_THAT(takeCalls(), IsEmpty());
    EXPECT_EQ(failure(), "");
    EXPECT_EQ(failure(), "") << "the library could not be loaded a second time";
}

TEST_F(NvidiaGroupTest, ReportsTheCallThatFailedAndWhy)
{
    installNvml();
    nvml().devices = {kFirst, kSecond};
    const std::tuple<Section&, const char*, const char*> cases[] = {
        {nvml().library, "nvmlInit", "Error on NVML initialization: reason 18 [18]"},
        {nvml().library, "nvmlDeviceGetCount", "Error on getting device count: reason 18 [18]"},
        {nvml().devices[1], "nvmlDeviceGetHandleByIndex", "Error on getting handle by index: reason 18 [18]"},
    };
    for (const auto& [section, call, message] : cases)
    {
        section[call] = "18";
        EXPECT_EQ(failure(), message);
        section.erase(call);
    }
}

// A text is cut to what the exception holds; one of the vendor's own length must not break it.
TEST_F(NvidiaGroupTest, CutsLongExceptionTexts)
{
    EXPECT_EQ(NvidiaException("%s", std::string(511, 'x').c_str()).what(), std::string(511, 'x'));
    EXPECT_EQ(NvidiaException("%s [%d]", std::string(600, 'x').c_str(), 3).what(), std::string(511, 'x'));
    const AMDException copy = AMDException("%s [%d]", "ADL", -8);
    EXPECT_STREQ(copy.what(), "ADL [-8]");
}

TEST_F(NvidiaGroupTest, ReadsEveryDevice)
{
    installNvml();
    NvidiaGroup empty;
    EXPECT_THAT(empty.gpus(), IsEmpty());

    nvml().devices = {kFirst, kSecond, {}};
    NvidiaGroup group;
    ASSERT_EQ(group.gpus().size(), 3u);
    EXPECT_EQ(describe(group.gpus()[0]->readings()), kFirstReadings);
    EXPECT_EQ(describe(group.gpus()[1]->readings()), kSecondReadings);
    EXPECT_EQ(describe(group.gpus()[2]->readings()), kNoReadings) << "a device that reports nothing";
    EXPECT_EQ(group.gpus()[1]->index(), 1u);
}

TEST_F(NvidiaGroupTest, KeepsWhatAFailingCallDoesNotRefresh)
{
    installNvml();
    for (std::size_t failing = 0; failing < kReadingCalls.size(); ++failing)
    {
        nvml().devices = {kFirst};
        NvidiaGroup group;
        nvml().devices = {kSecond};
        nvml().devices[0][kReadingCalls[failing]] = "15";

        // Only the last call's code is returned.
        EXPECT_EQ(group.gpus()[0]->update(), kReadingCalls[failing] == "nvmlDeviceGetSerial" ? 15 : 0);

        std::vector<std::string> expected = kSecondReadings;
        expected[failing] = kFirstReadings[failing];
        EXPECT_EQ(describe(group.gpus()[0]->readings()), expected) << kReadingCalls[failing];
    }
}

TEST_F(NvidiaGroupTest, SurvivesAHostileLibrary)
{
    installNvml();

    // Texts that fill their fields to the last character.
    Section unterminated = kFirst;
    unterminated["busId"] = std::string(40, 'B');
    unterminated["serial"] = std::string(40, 'S');
    unterminated["memory.total"] = "0";
    unterminated["memory.used"] = "-1"; // 2^64 - 1
    nvml().devices = {unterminated};
    {
        NvidiaGroup group;
        EXPECT_EQ(group.gpus()[0]->pciAddress(), std::string(16, 'B'));
        EXPECT_EQ(group.gpus()[0]->serial(), std::string(30, 'S'));
        EXPECT_EQ(group.gpus()[0]->readings().memoryUsedPercent, 0);
    }

    // A count beyond what there is.
    nvml().library["count"] = "-1";
    EXPECT_EQ(failure(), "Error on getting handle by index: reason 2 [2]");

    // A library without texts for its errors.
    const auto speechless = +[](Nvml::Return) -> const char* { return nullptr; };
    machine().modules[L"nvml.dll"]["nvmlErrorString"] = reinterpret_cast<void*>(speechless);
    EXPECT_EQ(failure(), "Error on getting handle by index:  [2]");
}
}

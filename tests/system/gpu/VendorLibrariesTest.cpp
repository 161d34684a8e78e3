#include <windows.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

// The vendor libraries as real modules, in a process of its own for each case.
namespace
{
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

const std::string kNvidia = "[nvml.device]\nbusId = 0000:01:00.0\ntemperature = 45\nserial = 0320718000001\n"
                            "[nvml.device]\nbusId = 0000:0A:00.0\ntemperature = 70\nserial = upper case\n";
const std::string kAmd = "[adl.adapter]\nindex = 4\nbus = 3\nversion = 8\nlog = 1\nlog.8 = 61\n"
                         "[adl.adapter]\nindex = 5\nbus = 4\nversion = 5\noverdrive5.temperature = 52750\n"
                         "[adl.adapter]\nindex = 6\nbus = 5\nvendor = 4098\nversion = 5\noverdrive5.temperature = 99000\n";

const std::string kNoAmd = "1 error retrieving AMD information: ADL Library not found!";
const std::string kNoNvidia = "1 error retrieving Nvidia information: NVML Library not found!";

struct Outcome
{
    int status = -1;
    std::vector<std::string> output;
    std::vector<std::string> trace;
};

std::vector<std::string> linesOf(std::istream& stream)
{
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line.substr(0, line.find('\r')));
    return lines;
}

class VendorLibraries : public testing::Test
{
protected:
    VendorLibraries() { std::filesystem::create_directories(folder_); }
    ~VendorLibraries() override { std::filesystem::remove_all(folder_); }

    // Runs the host on a recorded machine: the libraries that it has loaded already, and what it is asked for.
    Outcome run(const std::string& recording, const std::string& libraries, const std::string& task)
    {
        const auto recordingPath = folder_ / "recording.txt";
        const auto tracePath = folder_ / "trace.txt";
        const auto outputPath = folder_ / "output.txt";
        std::ofstream(recordingPath, std::ios::binary) << recording;
        std::filesystem::remove(tracePath);
        _putenv_s("HW_INVENTORY_VENDOR_RECORDING", recordingPath.string().c_str());
        _putenv_s("HW_INVENTORY_VENDOR_TRACE", tracePath.string().c_str());

        const auto command = "cd /d \"" + hostFolder() + "\" && gpu-host.exe " + libraries + " " + task + " > \""
                           + outputPath.string() + "\"";
        Outcome outcome;
        outcome.status = std::system(command.c_str());
        std::ifstream output(outputPath);
        outcome.output = linesOf(output);
        std::ifstream trace(tracePath);
        outcome.trace = linesOf(trace);
        return outcome;
    }

private:
    // The fake libraries lie beside the host, apart from the test.
    static std::string hostFolder()
    {
        char path[MAX_PATH];
        GetModuleFileNameA(nullptr, path, MAX_PATH);
        return (std::filesystem::path(path).parent_path() / "vendor").string();
    }

    const std::filesystem::path folder_ =
        std::filesystem::temp_directory_path() / ("gpu-libraries-" + std::to_string(GetCurrentProcessId()));
};

TEST_F(VendorLibraries, CompleteTheRecordsOfTheirAdapters)
{
    const Outcome outcome =
        run(kNvidia + kAmd, "nvml.dll atiadlxx.dll",
            "complete 0000:01:00.0 0000:0a:00.0 0000:03:00.0 0000:04:00.0 0000:05:00.0 0000:01:00.1");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.output, ElementsAre("0000:01:00.0: 45.000000, '0320718000001'", "0000:0a:00.0: absent, ''",
                                            "0000:03:00.0: 61.000000, ''", "0000:04:00.0: 52.750000, ''",
                                            "0000:05:00.0: absent, ''", "0000:01:00.1: absent, ''"));
}

TEST_F(VendorLibraries, TakeAmdsOtherNameSecond)
{
    EXPECT_THAT(run(kAmd, "atiadlxy.dll", "complete 0000:03:00.0").output,
                ElementsAre(kNoNvidia, "0000:03:00.0: 61.000000, ''"));

    // With both, the first name is asked and the other one is not.
    const Outcome both = run(kAmd, "atiadlxx.dll atiadlxy.dll", "complete 0000:03:00.0");
    EXPECT_THAT(both.output, ElementsAre(kNoNvidia, "0000:03:00.0: 61.000000, ''"));
    EXPECT_THAT(both.trace, Contains("atiadlxy.dll unloaded"));
    EXPECT_THAT(both.trace, Not(Contains("atiadlxx.dll unloaded")));
}

// Whoever can write beside the program must not decide what runs in it.
TEST_F(VendorLibraries, AreNotTakenFromTheProgramsFolder)
{
    const Outcome outcome = run(kNvidia + kAmd, "", "complete 0000:01:00.0");
    EXPECT_THAT(outcome.output, ElementsAre(kNoAmd, kNoNvidia, "0000:01:00.0: absent, ''"));
    EXPECT_THAT(outcome.trace, IsEmpty());
}

TEST_F(VendorLibraries, AreRefusedWithoutOneOfTheirFunctions)
{
    struct Case
    {
        const char* recording;
        const char* warning;
    };
    const Case cases[] = {
        {"[nvml]\nmissing = nvmlDeviceGetSerial\n",
         "1 error retrieving Nvidia information: ERROR: nvmlDeviceGetSerial not available !"},
        {"[nvml]\nnvmlInit = 9\n", "1 error retrieving Nvidia information: Error on NVML initialization: reason 9 [9]"},
        {"[adl]\nmissing = ADL_Overdrive_Caps ADL_Main_Control_Destroy\n",
         "1 error retrieving AMD information: ERROR: ADL_Overdrive_Caps not available!"},
    };
    for (const Case& one : cases)
    {
        const bool isNvidia = std::string(one.recording).starts_with("[nvml]");
        const Outcome outcome =
            run(one.recording + kNvidia + kAmd, "nvml.dll atiadlxx.dll", "complete 0000:01:00.0 0000:03:00.0");
        EXPECT_EQ(outcome.status, 0);
        EXPECT_THAT(outcome.output,
                    ElementsAre(one.warning, isNvidia ? "0000:01:00.0: absent, ''" : "0000:01:00.0: 45.000000, '0320718000001'",
                                isNvidia ? "0000:03:00.0: 61.000000, ''" : "0000:03:00.0: absent, ''"));
    }
}

// In a program the registry ends before the process does: Nvidia's library is shut down and given back, AMD's stays.
TEST_F(VendorLibraries, AreGivenBackAsTheSlotHasThem)
{
    const Outcome outcome = run(kNvidia + kAmd, "nvml.dll atiadlxx.dll", "complete 0000:01:00.0");
    ASSERT_GE(outcome.trace.size(), 2u);
    EXPECT_THAT(std::vector(outcome.trace.end() - 2, outcome.trace.end()), ElementsAre("nvmlShutdown", "nvml.dll unloaded"));
    EXPECT_THAT(outcome.trace, Not(Contains("atiadlxx.dll unloaded")));
    EXPECT_THAT(outcome.trace, Not(Contains("ADL_Main_Control_Destroy")));
}

// Wine's device setup interface knows no PCI addresses. The one adapter of its WMI is matched by a device whose library tells
// none either: the address of both is the same empty text.
TEST_F(VendorLibraries, ReachTheDocumentOfTheProduct)
{
    const std::string device = "[nvml.device]\ntemperature = 45\nserial = 0320718000001\n";
    const Outcome outcome = run(device + kAmd, "nvml.dll atiadlxx.dll", "document ..\\hw_inventory_interface.dll");
    EXPECT_EQ(outcome.status, 0);
    ASSERT_FALSE(outcome.output.empty());
    const std::string& document = outcome.output.back();
    EXPECT_THAT(document, testing::AllOf(testing::StartsWith("{\"gpus\":[{"), testing::HasSubstr("\"temperature\":45.0"),
                                         testing::HasSubstr("\"serialNumber\":\"0320718000001\"")));
    EXPECT_THAT(outcome.output, Not(Contains(testing::HasSubstr("error retrieving"))));

    // The process ended with the product in it: nothing of the vendors' is called or unloaded by then.
    EXPECT_THAT(outcome.trace, Contains("nvmlDeviceGetTemperature 0").Times(2));
    EXPECT_THAT(outcome.trace, Contains("ADL2_New_QueryPMLogData_Get 4").Times(2));
    EXPECT_THAT(outcome.trace, Not(Contains("nvmlShutdown")));
    EXPECT_THAT(outcome.trace, Not(Contains(testing::EndsWith("unloaded"))));
}

TEST_F(VendorLibraries, LeaveTheDocumentAloneWhereTheyAreMissing)
{
    const Outcome outcome = run("", "", "document ..\\hw_inventory_interface.dll");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.output, testing::IsSupersetOf({kNoAmd, kNoNvidia}));
    EXPECT_THAT(outcome.output.back(), Not(testing::HasSubstr("temperature")));
}
}

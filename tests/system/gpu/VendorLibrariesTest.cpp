#include <windows.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

// The vendor libraries as real modules, in a process of its own for each case.
namespace
{
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using Lines = std::vector<std::string>;

const std::string kNvidia = "[nvml.device]\nbusId = 0000:01:00.0\ntemperature = 45\nserial = 0320718000001\n"
                            "[nvml.device]\nbusId = 0000:0A:00.0\ntemperature = 70\nserial = upper case\n";
const std::string kAMD = "[adl.adapter]\nindex = 4\nbus = 3\nversion = 8\nlog = 1\nlog.8 = 61\n"
                         "[adl.adapter]\nindex = 5\nbus = 4\nversion = 5\noverdrive5.temperature = 52750\n"
                         "[adl.adapter]\nindex = 6\nbus = 5\nvendor = 4098\nversion = 5\noverdrive5.temperature = 99000\n";

Lines linesOf(const std::filesystem::path& path)
{
    std::ifstream file(path);
    Lines lines;
    for (std::string line; std::getline(file, line);)
        lines.push_back(line.substr(0, line.find('\r')));
    return lines;
}

class VendorLibraries : public testing::Test
{
protected:
    VendorLibraries() { std::filesystem::create_directories(folder_); }
    ~VendorLibraries() override { std::filesystem::remove_all(folder_); }

    // What the host prints on a recorded machine. The fake libraries lie beside it, apart from the test.
    Lines run(const std::string& recording, const std::string& task)
    {
        std::ofstream(folder_ / "recording.txt", std::ios::binary) << recording;
        _putenv_s("HW_INVENTORY_VENDOR_RECORDING", (folder_ / "recording.txt").string().c_str());
        _putenv_s("HW_INVENTORY_VENDOR_TRACE", (folder_ / "trace.txt").string().c_str());

        wchar_t program[MAX_PATH];
        GetModuleFileNameW(nullptr, program, MAX_PATH);
        const auto hostFolder = std::filesystem::path(program).parent_path() / "vendor";
        const auto output = folder_ / "output.txt";
        const std::string command =
            "cd /d \"" + hostFolder.string() + "\" && gpu-host.exe " + task + " > \"" + output.string() + "\"";
        EXPECT_EQ(std::system(command.c_str()), 0);
        return linesOf(output);
    }

    // What was asked of the libraries.
    Lines trace() const { return linesOf(folder_ / "trace.txt"); }

private:
    const std::filesystem::path folder_ =
        std::filesystem::temp_directory_path() / ("gpu-libraries-" + std::to_string(GetCurrentProcessId()));
};

TEST_F(VendorLibraries, CompleteTheRecordsOfTheirAdapters)
{
    EXPECT_THAT(run(kNvidia + kAMD, "complete 0000:01:00.0 0000:0a:00.0 0000:03:00.0 0000:04:00.0 0000:05:00.0 0000:01:00.1"),
                ElementsAre("0000:01:00.0: 45.000000, '0320718000001'", "0000:0a:00.0: absent, ''", "0000:03:00.0: 61.000000, ''",
                            "0000:04:00.0: 52.750000, ''", "0000:05:00.0: absent, ''", "0000:01:00.1: absent, ''"));

    // In a program the registry ends before the process does: Nvidia's library is shut down and given back, AMD's stays.
    Lines calls = trace();
    ASSERT_GE(calls.size(), 2u);
    EXPECT_EQ(Lines(calls.end() - 2, calls.end()), (Lines{"nvmlShutdown", "nvml.dll unloaded"}));
    EXPECT_THAT(calls, Not(Contains("atiadlxx.dll unloaded")));
    EXPECT_THAT(calls, Not(Contains("ADL_Main_Control_Destroy")));
}

TEST_F(VendorLibraries, ReachTheDocumentOfTheProduct)
{
    const Lines output = run(kNvidia + kAMD, "document ..\\hw_inventory_interface.dll");
    ASSERT_FALSE(output.empty());
    EXPECT_THAT(output.back(), testing::AllOf(testing::StartsWith("{\"gpus\":[{"), HasSubstr("\"temperature\":45.0"),
                                              HasSubstr("\"serialNumber\":\"0320718000001\"")));
    EXPECT_THAT(output, Not(Contains(HasSubstr("error retrieving"))));

    // The process ended with the product in it: nothing of the vendors' is called or unloaded by then.
    EXPECT_THAT(trace(), Contains("nvmlDeviceGetTemperature 0").Times(2));
    EXPECT_THAT(trace(), Contains("ADL2_New_QueryPMLogData_Get 4").Times(2));
    EXPECT_THAT(trace(), Not(Contains("nvmlShutdown")));
    EXPECT_THAT(trace(), Not(Contains(testing::EndsWith("unloaded"))));
}
}

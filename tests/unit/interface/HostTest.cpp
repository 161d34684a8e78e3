// The command-line host over the fakes: its main function is compiled under another name.
#include "tests/unit/interface/Collectors.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

int hostMain(int argc, char** argv);

namespace
{
struct Outcome
{
    int status;
    std::string output;
    std::string errors;
};

Outcome run(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), "hw-inventory");
    std::vector<char*> argv;
    for (std::string& argument : arguments)
        argv.push_back(argument.data());
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const int status = hostMain(static_cast<int>(argv.size()), argv.data());
    std::fflush(nullptr);
    return {status, testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
}

bool contains(const std::string& text, const char* part)
{
    return text.find(part) != std::string::npos;
}
}

TEST(Host, PrintsTheAskedKinds)
{
    setUpWholeMachine();
    fakes::management().cimv2.answers[L"SELECT * FROM Win32_BaseBoard"] = {{{L"Name", L"\u00FC\"{,"}}};
    EXPECT_EQ(run({"base-boards"}).output, "{\"motherBoards\":[{\"name\":\"\xC3\xBC\\\"{,\"}]}\n");
    EXPECT_EQ(run({"--pretty", "base-boards"}).output,
              "{\n    \"motherBoards\": [\n        {\n            \"name\": \"\xC3\xBC\\\"{,\"\n        }\n    ]\n}\n");

    const std::string all = run({}).output;
    EXPECT_EQ(std::count(all.begin(), all.end(), '\n'), std::ssize(kCollectors));
    const Outcome two = run({"hotfixes", "cpus", "--log"});
    EXPECT_EQ(two.status, 0);
    EXPECT_LT(two.output.find("hotfixes"), two.output.find("cpus"));
}

TEST(Host, TellsFailuresAndExitsWithTheWorst)
{
    fakes::machine().fails = [](const std::string& operation) { return operation == "ExecQuery"; };
    const Outcome failing = run({"cpus", "ram"});
    EXPECT_EQ(failing.status, EXPORT_STATUS_WMI_QUERY);
    EXPECT_TRUE(contains(failing.errors, "cpus: status 2: ")) << failing.errors;
    EXPECT_TRUE(contains(failing.errors, "failed to execute WMI query")) << failing.errors;
    EXPECT_EQ(failing.output, "{\"rams\":[],\"usableMemory\":8589934592}\n");
    EXPECT_TRUE(contains(run({"--log", "ram"}).errors, "<info> failed to resolve RAM")) << "the log";
}

TEST(Host, RefusesWhatItDoesNotKnow)
{
    for (const char* wrong : {"cpu", "--verbose", ""})
    {
        const Outcome refused = run({"cpus", wrong, "--help"});
        EXPECT_EQ(refused.status, 64) << wrong;
        EXPECT_EQ(refused.output, "") << wrong;
        EXPECT_TRUE(contains(refused.errors, "usage:")) << wrong;
    }
    const Outcome help = run({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_TRUE(contains(help.output, "usage:"));
}

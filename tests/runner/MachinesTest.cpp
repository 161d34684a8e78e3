#include "tests/runner/Cases.h"
#include "tests/runner/Replay.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace
{
using cases::Case;
using HardwareInventory::Json;

// One CTest entry a case, in a process of its own: tables and registries are read once in a process.
class MachineTest : public testing::Test
{
public:
    explicit MachineTest(const Case& machine) : case_(machine) {}

    void TestBody() override
    {
        setMachine(case_.recording);
        std::vector<std::string> described;
        for (const auto& [key, value] : case_.documents.items())
            if (key == "firmware" || key == "vendorGpus" || key == "vmType" || key.starts_with("entryPoint "))
                described.push_back(key);
        // Without an answer to the connection, a machine shows the keys alone.
        const char* const kinds = case_.recording["answers"].contains("connect ROOT\\CIMV2") ? "" : "none";
        const Replayed first = collect(kinds, described);
        EXPECT_EQ(Json::diff(case_.documents, first.documents).dump(1), "[]") << "the difference, from expected to found";
        EXPECT_EQ(first.statuses, case_.statuses);
        if (case_.logInOrder)
            EXPECT_EQ(first.log, case_.log);
        else
            EXPECT_THAT(first.log, testing::UnorderedElementsAreArray(case_.log));
        for (const auto& [question, times] : case_.asked.items())
            EXPECT_EQ(timesAsked(question), times) << question;
        if (case_.recording.dump().find("inTurn") == std::string::npos)
            for (const auto& [key, document] : collect(kinds).documents.items())
                EXPECT_EQ(document, first.documents.at(key)) << "the second time";
        for (const Json& row : case_.rows)
            EXPECT_EQ(hypervisorOf(row), row.at("type")) << row;
    }

private:
    const Case& case_;
};

std::string nameOf(std::string text)
{
    std::ranges::replace_if(
        text, [](unsigned char letter) { return !std::isalnum(letter); }, '_');
    return text;
}
}

int main(int argc, char** argv)
{
    testing::InitGoogleMock(&argc, argv);
    for (const Case& each : cases::all())
        testing::RegisterTest(nameOf(each.file).c_str(), nameOf(each.name).c_str(), nullptr, nullptr, MACHINES, 1,
                              [&each]() -> testing::Test* { return new MachineTest(each); });
    const int failed = RUN_ALL_TESTS();
    return failed || testing::UnitTest::GetInstance()->test_to_run_count() == 0; // a case of another name is none
}

#include "machine/Anonymiser.h"
#include "tests/runner/Cases.h"
#include "tests/runner/Replay.h"

#include <gmock/gmock.h>

#include <locale>
#include <regex>

namespace
{
using cases::Case;
using HardwareInventory::Json;

// Without an answer to the connection, a machine shows the keys alone that are no documents of the library.
const char* kindsOf(const Case& machine)
{
    return machine.recording["answers"].contains("connect ROOT\\CIMV2") ? "" : "none";
}

std::vector<std::string> describedBy(const Case& machine)
{
    std::vector<std::string> keys;
    for (const auto& [key, value] : machine.documents.items())
        if (key == "firmware" || key == "vendorGpus" || key == "vmType" || key.starts_with("entryPoint "))
            keys.push_back(key);
    return keys;
}

// A recording of the replayed machine, anonymised, gives the machine's documents and log lines, anonymised.
[[maybe_unused]] Case anonymised(Case machine)
try
{
    HardwareInventory::Anonymiser anonymiser("key");
    machine.recording = recordedAgain(machine.recording, kindsOf(machine), describedBy(machine));
    machine.recording = anonymiser.anonymise(machine.recording);
    machine.documents = anonymiser.inDocument(machine.documents);
    machine.documents.erase("vmType"); // hangs on strings that are replaced, so a recording contains the type itself
    for (std::string& line : machine.log)
        line = anonymiser.inText(line);
    machine.asked.clear();
    return machine;
}
catch (const std::runtime_error& error)
{
    EXPECT_STREQ(error.what(), "a firmware table without structures cannot be anonymised");
    return machine;
}

// One CTest entry a case, in a process of its own: tables and registries are read once in a process.
struct MachineTest : testing::Test
{
    explicit MachineTest(const Case& machine) : machine(machine) {}

    void TestBody() override
    {
        setMachine(machine.recording);
        const char* const kinds = kindsOf(machine);
        const Replayed first = collect(kinds, describedBy(machine));
        EXPECT_EQ(Json::diff(machine.documents, first.documents).dump(1), "[]") << "the difference, from expected to found";
        EXPECT_EQ(first.statuses, machine.statuses);
        EXPECT_THAT(first.log, testing::UnorderedElementsAreArray(machine.log));
        EXPECT_TRUE(!machine.logInOrder || first.log == machine.log) << "the order of the log";
        for (const auto& [question, times] : machine.asked.items())
            EXPECT_EQ(timesAsked(question), times) << question;
        if (machine.recording.dump().find("inTurn") == std::string::npos)
        {
            const Json again = collect(kinds).documents;
            for (const auto& [key, document] : again.items())
                EXPECT_EQ(document, first.documents.at(key)) << "the second time";
        }
        for (const Json& row : machine.rows)
            EXPECT_EQ(hypervisorOf(row), row.at("type")) << row;
    }

    Case machine;
};

// Of a host's own locale, which may change no number of the library's.
struct Grouping : std::numpunct<wchar_t>
{
    std::string do_grouping() const override { return "\3"; }
};
}

int main(int argc, char** argv)
{
    testing::InitGoogleMock(&argc, argv);
    std::locale::global(std::locale(std::locale::classic(), new Grouping));
    for (const Case& each : cases::all())
    {
        const std::string name = std::regex_replace(each.name, std::regex("\\W"), "_");
        const auto add = [&](const std::string& suite, Case (*made)(Case))
        {
            testing::RegisterTest(suite.c_str(), name.c_str(), nullptr, nullptr, MACHINES, 1,
                                  [=, &each]() -> testing::Test* { return new MachineTest(made(each)); });
        };
        add(each.file, [](Case machine) { return machine; });
#ifndef _WIN32 // under Wine, each process costs
        add("anonymised_" + each.file, anonymised);
#endif
    }
    const int failed = RUN_ALL_TESTS();
    return failed || testing::UnitTest::GetInstance()->test_to_run_count() == 0; // a case of another name is none
}

#include "machine/Anonymiser.h"
#include "tests/runner/Cases.h"
#include "tests/runner/Replay.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{
using cases::Case;
using HardwareInventory::Json;

// An anonymised machine gives the machine's documents and log lines, anonymised. One CTest entry a case, as for the machines.
class AnonymisedMachineTest : public testing::Test
{
public:
    explicit AnonymisedMachineTest(const Case& machine) : case_(machine) {}

    void TestBody() override
    {
        SCOPED_TRACE(case_.file + ", " + case_.name);
        HardwareInventory::Anonymiser anonymiser("key");
        try
        {
            setMachine(anonymiser.anonymise(case_.recording));
        }
        catch (const std::runtime_error& error)
        {
            EXPECT_STREQ(error.what(), "a firmware table without structures cannot be anonymised");
            return;
        }
        std::vector<std::string> described;
        for (const auto& [key, value] : case_.documents.items())
            if (key == "firmware" || key == "vendorGpus" || key.starts_with("entryPoint "))
                described.push_back(key);
        const Replayed replayed = collect({}, described);
        Json documents = anonymiser.inDocument(case_.documents);
        documents.erase("vmType"); // hangs on strings that are replaced, so a recording contains the type itself
        std::vector<std::string> log;
        for (const std::string& line : case_.log)
            log.push_back(anonymiser.inText(line));
        EXPECT_EQ(Json::diff(documents, replayed.documents).dump(1), "[]");
        EXPECT_EQ(replayed.statuses, case_.statuses);
        EXPECT_THAT(replayed.log, testing::UnorderedElementsAreArray(log));
    }

private:
    const Case& case_;
};
}

int main(int argc, char** argv)
{
    testing::InitGoogleMock(&argc, argv);
    for (std::size_t number = 0; number < cases::all().size(); ++number)
        testing::RegisterTest("Anonymised", std::to_string(number).c_str(), nullptr, nullptr, MACHINES, 1,
                              [number]() -> testing::Test* { return new AnonymisedMachineTest(cases::all()[number]); });
    return RUN_ALL_TESTS();
}

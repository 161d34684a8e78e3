#include "tests/unit/gpu/GpuTest.h"

#include <stdexcept>

using namespace fakes;

namespace
{
class VendorMachineTest : public GpuTest
{
};

// The recordings drive the fake libraries: one that is misread would prove nothing.
TEST_F(VendorMachineTest, ReadsRecordings)
{
    readRecording("# a machine\r\n[nvml]\r\nmissing = nvmlInit\r\n\r\n[nvml.device]\n busId=0000:01:00.0 \n[nvml.device]\n"
                  "[adl]\ncontext = none\n[adl.adapter]\nname = Radeon = fast\nindex = -2");
    EXPECT_EQ(nvml().library, (Section{{"missing", "nvmlInit"}}));
    EXPECT_THAT(nvml().devices, testing::ElementsAre(Section{{"busId", "0000:01:00.0"}}, Section{}));
    EXPECT_EQ(adl().library, (Section{{"context", "none"}}));
    EXPECT_THAT(adl().devices, testing::ElementsAre(Section{{"name", "Radeon = fast"}, {"index", "-2"}}));
    EXPECT_EQ(adl().devices[0].number("index"), -2);
    EXPECT_EQ(adl().devices[0].number("bus"), std::nullopt);

    for (const char* wrong : {"key = value", "[other]", "[nvml]\nno value"})
        EXPECT_THROW(readRecording(wrong), std::runtime_error) << wrong;
}
}

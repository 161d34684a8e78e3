#include "hw-inventory-interface/include/hw_inventory_interface.h"

#include "tests/fakes/FakeManagementSource.h"
#include "tests/unit/gpu/GpuTest.h"

#include <nlohmann/json.hpp>

using namespace fakes;
using nlohmann::json;
using testing::ElementsAre;

namespace
{
class GpuDocumentTest : public GpuTest
{
protected:
    // Lists a video adapter and places it on the bus; one without a place has no PCI address.
    static void addAdapter(const std::wstring& name, std::optional<DeviceLocation> location)
    {
        const std::wstring id = L"PCI\\VEN_10DE&DEV_1C82&SUBSYS_11BF10DE&REV_A1\\" + name;
        management().cimv2.answers[L"SELECT * FROM Win32_VideoController"].push_back(
            {{L"PNPDeviceID", id}, {L"Name", name}, {L"Status", std::wstring(L"OK")}});
        if (location)
            machine().locations[id] = *location;
    }

    // The collected adapters: of each its name and what the vendors' libraries add.
    static std::vector<std::string> collect()
    {
        char* buffer = nullptr;
        std::size_t size = 0;
        EXPECT_EQ(hardware_inventory_find_gpus(&buffer, &size), EXPORT_STATUS_SUCCESS);
        const json document = json::parse(buffer);
        release_buffer(buffer);

        std::vector<std::string> adapters;
        for (json gpu : document.at("gpus"))
        {
            for (const char* key : {"manufacturer", "model", "deviceID", "status", "pciAddress"})
                gpu.erase(key);
            adapters.push_back(gpu.dump());
        }
        return adapters;
    }
};

// From WMI and SetupAPI, over the vendors' libraries, to the document.
TEST_F(GpuDocumentTest, CarriesWhatTheVendorsReport)
{
    installNvml();
    installAdl();
    addAdapter(L"nvidia", DeviceLocation{0x01, 0});
    addAdapter(L"amd", DeviceLocation{0x000203, 0x00010001});
    addAdapter(L"integrated", DeviceLocation{0, 0x00020000});
    addAdapter(L"unplaced", std::nullopt);
    nvml().devices = {{{"busId", "0000:01:00.0"}, {"temperature", "0"}, {"serial", "0320718000001"}}};
    adl().devices = {{{"bus", "515"}, {"device", "1"}, {"function", "1"}, {"version", "5"}, {"overdrive5.temperature", "45300"}}};
    const auto integrated = R"({"name":"integrated"})";
    const auto unplaced = R"({"name":"unplaced"})";
    EXPECT_THAT(collect(), ElementsAre(R"({"name":"nvidia","serialNumber":"0320718000001","temperature":0.0})",
                                       R"({"name":"amd","temperature":45.29999923706055})", integrated, unplaced));

    // The next collection: other readings, and a serial number that is a placeholder.
    nvml().devices[0] = {{"temperature", "83"}, {"serial", "9876543210"}};
    adl().devices.clear();
    EXPECT_THAT(collect(), ElementsAre(R"({"name":"nvidia","temperature":83.0})",
                                       R"({"name":"amd","temperature":45.29999923706055})", integrated, unplaced));
}
}

#include "hw-inventory-interface/Documents.h"
#include "tests/unit/providers/Support.h"

#include <set>

namespace fakes
{
namespace
{
using ErrorHandling::Exception;

using WholeMachineTest = ProvidersTest;

const struct
{
    std::string (*document)(WMIConnections&);
    const char* ofNothing;                    // the document if no property of any object can be read
    std::initializer_list<const char*> asked; // the properties read, in order
} kReaders[] = {
    {[](WMIConnections& from) { return cpusDocument(from.getProcessors()); },
     R"({"cpus":[null]})",
     {"Name", "Manufacturer", "Status", "MaxClockSpeed", "NumberOfCores", "SocketDesignation", "ProcessorId"}},
    {[](WMIConnections& from) { return baseBoardsDocument(from.getBaseBoards()); },
     R"({"motherBoards":[null]})",
     {"Name", "Manufacturer", "Model", "Product", "SerialNumber", "Status"}},
    {[](WMIConnections& from) { return gpusDocument(from.getVideoControllers()); },
     R"({"gpus":[null]})",
     {"PNPDeviceID", "Name", "Manufacturer", "VideoProcessor", "Status"}},
    {[](WMIConnections& from) { return ramDocument(from.getMemory(), 0); }, R"({"rams":[],"usableMemory":0})", {}},
    {[](WMIConnections& from) { return disksDocument(from.getDisks()); },
     R"({"disks":[{"availableSpace":0,"partitions":[null],"size":0}]})",
     {"Antecedent", "Dependent", "DeviceID", "Model", "InterfaceType", "Name", "Size", "Status", "SerialNumber", "DeviceID", "Name",
      "Size", "Status"}},
    {[](WMIConnections& from) { return networkAdaptersDocument(from.getNetworkAdapters()); },
     R"({"networkAdapters":[{"type":"802.3"}]})", // a missing medium reads as 0
     {"Name", "Status", "Virtual", "PNPDeviceID", "DeviceID", "IPAddress", "NdisMedium", "PermanentAddress"}},
    {[](WMIConnections& from) { return systemDocument(from.getSystem()); },
     R"({"system":{"biosVersion":"01/01/1970","logonServer":"-","osInfo":null,"systemLocale":"en-US","type":"Unspecified"}})",
     {"Manufacturer",
      "SMBIOSBIOSVersion",
      "ReleaseDate",
      "SerialNumber",
      "Name",
      "PrimaryOwnerName",
      "Manufacturer",
      "Model",
      "Domain",
      "PCSystemTypeEx",
      "Name",
      "Version",
      "Manufacturer",
      "BuildType",
      "LastBootUpTime",
      "InstallDate",
      "WindowsDirectory",
      "SystemDirectory",
      "BootDevice",
      "Organization",
      "Name",
      "Caption"}},
    {[](WMIConnections& from) { return hotfixesDocument(from.getHotfixes()); },
     R"({"hotfixes":[null]})",
     {"HotFixID", "InstalledOn"}},
};
}

TEST_F(WholeMachineTest, ObjectsWithoutProperties)
{
    management().cimv2.otherwise = management().standardCimv2.otherwise = [](const std::wstring&) { return FakeObjects(1); };
    WMIConnections connections;
    for (const auto& reader : kReaders)
    {
        EXPECT_EQ(reader.document(connections), reader.ofNothing);
        Lines log = takeLog();
        std::erase_if(log, [](const std::string& line) { return !line.ends_with("OBJECT"); });
        EXPECT_EQ(log, unreadable(reader.asked));
    }
}

// Every platform call in turn fails once. If WMI fails, the reader throws, without half a list; everything else that fails leaves
// it with records. No connection is left behind.
TEST_F(WholeMachineTest, EveryCallThatFails)
{
    const std::set<std::string> fatal{"CoInitializeEx", "CoCreateInstance", "CoSetProxyBlanket", "ExecQuery"};
    std::size_t failing = 0;
    setUpOneOfEverything();
    do
    {
        machine().calls.clear();
        ++failing;
        machine().fails = [&](const char*) { return machine().calls.size() == failing; };
        std::string outcome;
        for (const auto& reader : kReaders)
        {
            try
            {
                WMIConnections connections;
                reader.document(connections);
            }
            catch (const Exception&)
            {
                outcome += "exception";
            }
            catch (const ComError&)
            {
                outcome += "COM error";
            }
        }
        ASSERT_EQ(liveConnections(), 0);
        const std::string operation = machine().calls.at(std::min(failing, machine().calls.size()) - 1);
        if (operation != "ConnectServer" && operation != "VariantClear") // of these, it depends on which one fails
            ASSERT_EQ(outcome, fatal.contains(operation) ? "exception" : "") << operation << failing;
    } while (failing < machine().calls.size());
    EXPECT_GT(failing, 150);
}
}

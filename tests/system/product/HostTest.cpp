#include "tests/system/product/Product.h"

#include <gmock/gmock.h>

#include <fstream>

namespace
{
using testing::AllOf, testing::Contains, testing::Each, testing::EndsWith, testing::HasSubstr, testing::Not;
using Lines = std::vector<std::string>;

// What the program prints in a folder. Through a file: Wine's desktop, if this starts it, would keep a pipe open.
Lines run(const std::filesystem::path& folder, const std::string& task, int status = 0)
{
    const auto output = std::filesystem::temp_directory_path() / ("hw-inventory-output-" + std::to_string(GetCurrentProcessId()));
    const std::string command = "cd /d \"" + folder.string() + "\" && ..\\product-host.exe " + task;
    EXPECT_EQ(std::system((command + " > \"" + output.string() + "\"").c_str()), status);
    Lines lines;
    std::ifstream file(output);
    for (std::string line; std::getline(file, line);)
        lines.push_back(line.substr(0, line.find('\r')));
    std::filesystem::remove((file.close(), output));
    return lines;
}

// Libraries planted wherever a search would find them: beside the program, in the current folder and on PATH. The product lies in a
// folder of its own.
TEST(Host, LoadsFromTheProductsAndTheSystemFolder)
{
    OwnFolder folder;
    const auto product = folder.add("hw_inventory_interface.dll", "product/hw_inventory_interface.dll");
    const auto detection = folder.add("vm_detect.dll", "product/vm_detect.dll");
    const auto current = folder.add("product-host.exe", "planted/product-host.exe").parent_path() / "current";
    std::string names;
    for (const std::string name :
         {"nvml.dll", "atiadlxx.dll", "atiadlxy.dll", "dbghelp.dll", "version.dll", "netapi32.dll", "vm_detect.dll"})
        for (const std::string where : {"planted/", "planted/current/", "planted/path/"})
            names += (folder.add("host-module.dll", where + name), where == "planted/" ? " " + name : "");
    _putenv_s("PATH", ((folder.path / "planted/path").string() + ";" + std::getenv("PATH")).c_str());

    auto paths = run(current, "collect " + product.string() + names);
    // Wine's own setupapi.dll imports this one, by its bare name.
    std::erase_if(paths, [](const std::string& path) { return path.ends_with("\\version.dll"); });
    EXPECT_THAT(paths, Not(Contains(HasSubstr("planted"))));
    // dbghelp for the trace of a failure, netapi32 for the domain.
    EXPECT_THAT(paths, testing::IsSupersetOf({EndsWith("\\product\\vm_detect.dll"), EndsWith("\\system32\\dbghelp.dll"),
                                              EndsWith("\\system32\\netapi32.dll")}));
    // Without this the test could not fail.
    paths = run(current, "careless" + names);
    EXPECT_THAT(paths, AllOf(testing::SizeIs(7), Each(HasSubstr("\\planted\\"))));

    std::filesystem::remove(detection);
    run(current, "collect " + product.string(), ERROR_MOD_NOT_FOUND);
}

TEST(Host, HasTheVendorsTemperatureAndLeavesTheLibraryAtItsEnd)
{
    // The process ends with the product in it: nothing of the vendors' is called or unloaded by then.
    const Lines lines = run(programFolder() / "vendor", "document " + (programFolder() / "hw_inventory_interface.dll").string());
    EXPECT_THAT(lines, AllOf(Contains(testing::ContainsRegex("\"serialNumber\":\"0320718000001\".*\"temperature\":45.0")),
                             Not(Contains("nvmlShutdown"))));
}
}

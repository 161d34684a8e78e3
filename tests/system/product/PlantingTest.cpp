#include "tests/system/product/Product.h"

#include <gmock/gmock.h>

#include <fstream>

namespace
{
using testing::Contains;
using testing::EndsWith;
using testing::HasSubstr;

const char* const kLibraries[] = {"nvml.dll",    "atiadlxx.dll", "atiadlxy.dll", "dbghelp.dll",
                                  "version.dll", "netapi32.dll", "vm_detect.dll"};

// A host with libraries planted wherever a search would find them: beside the program, in the current folder and on PATH. The
// product lies in a folder of its own.
TEST(Planting, ACollectionLoadsFromItsOwnAndTheSystemFolder)
{
    const OwnFolder folder;
    folder.add("product-host.exe", "planted/product-host.exe");
    for (const std::string file : {"hw_inventory_interface.dll", "vm_detect.dll"})
        folder.add(file, "product/" + file);
    for (const std::string where : {"planted/", "planted/current/", "planted/path/"})
        for (const char* library : kLibraries)
            folder.add("host-module.dll", where + library);
    _putenv_s("PATH", ((folder.path / "planted/path").string() + ";" + std::getenv("PATH")).c_str());

    // The paths of the libraries that the host has in the end.
    const auto run = [&](std::string task, int status)
    {
        for (const char* library : kLibraries)
            task += std::string(" ") + library;
        const auto output = folder.path / "output.txt";
        const std::string move = "cd /d \"" + (folder.path / "planted/current").string() + "\" && ";
        EXPECT_EQ(std::system((move + "..\\product-host.exe " + task + " > \"" + output.string() + "\"").c_str()), status);
        std::vector<std::string> paths;
        std::ifstream file(output);
        for (std::string line; std::getline(file, line);)
            paths.push_back(line.substr(0, line.find('\r')));
        return paths;
    };
    const std::string collect = "collect \"" + (folder.path / "product/hw_inventory_interface.dll").string() + "\"";
    auto paths = run(collect, 0);
    // Wine's own setupapi.dll imports this one, by its bare name.
    std::erase_if(paths, [](const std::string& path) { return path.ends_with("\\version.dll"); });
    EXPECT_THAT(paths, Not(Contains(HasSubstr("planted"))));
    EXPECT_THAT(paths, Contains(EndsWith("\\product\\vm_detect.dll")));
    // Loaded nevertheless: for the trace of a failure and for the domain.
    EXPECT_THAT(paths, Contains(EndsWith("\\system32\\dbghelp.dll")));
    EXPECT_THAT(paths, Contains(EndsWith("\\system32\\netapi32.dll")));

    // Without this the test could not fail.
    paths = run("careless", 0);
    EXPECT_THAT(paths, Each(HasSubstr("\\planted\\")));
    EXPECT_THAT(paths, testing::SizeIs(std::size(kLibraries)));

    std::filesystem::remove(folder.path / "product/vm_detect.dll");
    run(collect, ERROR_MOD_NOT_FOUND);
}
}

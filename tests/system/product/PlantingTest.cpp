#include "tests/system/product/Product.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

namespace
{
using testing::Contains;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

const char* const kLibraries[] = {"nvml.dll", "atiadlxx.dll", "atiadlxy.dll", "dbghelp.dll", "version.dll", "netapi32.dll"};

// A host in a folder that others can write to, with libraries planted where a search would find them: beside the program, in the
// current folder and on the path.
class Planting : public testing::Test
{
protected:
    Planting()
    {
        for (const char* file : {"planting-host.exe", "hw_inventory_interface.dll", "vm_detect.dll"})
            folder_.add(file, std::filesystem::path("planted") / file);
        for (const char* where : {"planted", "planted/current", "planted/path"})
            for (const char* library : kLibraries)
                folder_.add("host-module.dll", std::filesystem::path(where) / library);
        _putenv_s("PATH", ((folder_.path() / "planted/path").string() + ";" + std::getenv("PATH")).c_str());
    }

    // The paths of the libraries that the host has in the end.
    std::vector<std::string> load(const std::string& way) const
    {
        const auto program = folder_.path() / "planted";
        const auto output = folder_.path() / "output.txt";
        std::string command = "cd /d \"" + (program / "current").string() + "\" && ..\\planting-host.exe " + way;
        for (const char* library : kLibraries)
            command += std::string(" ") + library;
        EXPECT_EQ(std::system((command + " > \"" + output.string() + "\"").c_str()), 0);
        std::vector<std::string> paths;
        std::ifstream file(output);
        for (std::string line; std::getline(file, line);)
            paths.push_back(line.substr(0, line.find('\r')));
        return paths;
    }

private:
    const OwnFolder folder_;
};
}

TEST_F(Planting, ACollectionLoadsFromTheSystemFolderAlone)
{
    auto paths = load("collect");
    // Wine's own setup interface imports this one, by its bare name.
    std::erase_if(paths, [](const std::string& path) { return path.ends_with("\\version.dll"); });
    EXPECT_THAT(paths, Not(Contains(HasSubstr("planted"))));
    // Those that it needed even so: for the trace of a failure and for the domain.
    EXPECT_THAT(paths, Contains(EndsWith("\\system32\\dbghelp.dll")));
    EXPECT_THAT(paths, Contains(EndsWith("\\system32\\netapi32.dll")));
}

// Without this the test above could not fail.
TEST_F(Planting, ACarelessProgramLoadsWhatIsPlanted)
{
    EXPECT_THAT(load("careless"), testing::Each(HasSubstr("\\planted\\")));
    EXPECT_THAT(load("careless"), testing::SizeIs(std::size(kLibraries)));
}

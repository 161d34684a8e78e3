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

const char* const kLibraries[] = {"nvml.dll",    "atiadlxx.dll", "atiadlxy.dll", "dbghelp.dll",
                                  "version.dll", "netapi32.dll", "vm_detect.dll"};

// A host with libraries planted wherever a search would find them: beside the program, in the current folder and on PATH. The
// product lies in a folder of its own.
class Planting : public testing::Test
{
protected:
    Planting()
    {
        folder_.add("planting-host.exe", "planted/planting-host.exe");
        for (const char* file : {"hw_inventory_interface.dll", "vm_detect.dll"})
            folder_.add(file, product_ / file);
        for (const char* where : {"planted", "planted/current", "planted/path"})
            for (const char* library : kLibraries)
                folder_.add("host-module.dll", std::filesystem::path(where) / library);
        _putenv_s("PATH", ((folder_.path() / "planted/path").string() + ";" + std::getenv("PATH")).c_str());
    }

    int run(const std::string& way) const
    {
        std::string command = "cd /d \"" + (folder_.path() / "planted/current").string() + "\" && ..\\planting-host.exe " + way +
                              " \"" + (product_ / "hw_inventory_interface.dll").string() + "\"";
        for (const char* library : kLibraries)
            command += std::string(" ") + library;
        return std::system((command + " > \"" + output_.string() + "\"").c_str());
    }

    // The paths of the libraries that the host has in the end.
    std::vector<std::string> load(const std::string& way) const
    {
        EXPECT_EQ(run(way), 0);
        std::vector<std::string> paths;
        std::ifstream file(output_);
        for (std::string line; std::getline(file, line);)
            paths.push_back(line.substr(0, line.find('\r')));
        return paths;
    }

    const OwnFolder folder_;
    const std::filesystem::path product_ = folder_.path() / "product";

private:
    const std::filesystem::path output_ = folder_.path() / "output.txt";
};
}

TEST_F(Planting, ACollectionLoadsFromItsOwnAndTheSystemFolder)
{
    auto paths = load("collect");
    // Wine's own setupapi.dll imports this one, by its bare name.
    std::erase_if(paths, [](const std::string& path) { return path.ends_with("\\version.dll"); });
    EXPECT_THAT(paths, Not(Contains(HasSubstr("planted"))));
    EXPECT_THAT(paths, Contains(EndsWith("\\product\\vm_detect.dll")));
    // Loaded nevertheless: for the trace of a failure and for the domain.
    EXPECT_THAT(paths, Contains(EndsWith("\\system32\\dbghelp.dll")));
    EXPECT_THAT(paths, Contains(EndsWith("\\system32\\netapi32.dll")));
}

// Without this the test above could not fail.
TEST_F(Planting, ACarelessProgramLoadsWhatIsPlanted)
{
    EXPECT_THAT(load("careless"), testing::Each(HasSubstr("\\planted\\")));
    EXPECT_THAT(load("careless"), testing::SizeIs(std::size(kLibraries)));
}

TEST_F(Planting, WithoutItsOwnVmDetectTheProductDoesNotLoad)
{
    std::filesystem::remove(product_ / "vm_detect.dll");
    EXPECT_EQ(run("collect"), ERROR_MOD_NOT_FOUND);
}

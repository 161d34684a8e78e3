// Prints the hardware inventory of this machine, one document a line.
//     machine [--json] [--log] [--limit MS] [--retry MS] [--times N] LIBRARY [KIND...]
//     --json      for scripts that give it: documents are always printed as the library wrote them
//     --log       with the library's log
//     --limit     the longest that a collection may take
//     --retry     how long to try again while an earlier collection is not back
//     --times     how often to collect
#include <hw_inventory.hpp>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace hw = hw_inventory;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace
{
void printLog(hw::Level level, const std::string& message)
{
    std::cout << "log " << static_cast<unsigned>(level) << ": " << message << std::endl;
}

void print(hw::Client& client, hw::Kind kind, milliseconds limit, milliseconds retry)
{
    const char* const name = hw::kind_names[static_cast<std::size_t>(kind)];
    hw::Result result = client.collect(kind, limit);
    if (result.status == hw::Status::busy)
        std::cout << name << ": busy" << std::endl;
    for (const auto end = steady_clock::now() + retry; result.status == hw::Status::busy && steady_clock::now() < end;)
    {
        std::this_thread::sleep_for(milliseconds(50));
        result = client.collect(kind, limit);
    }
    const hw::Error& error = result.error;
    if (result)
        std::cout << result.document << std::endl;
    else if (!error.file.empty())
        std::cout << name << ": " << error.text << " (" << error.function << " in " << error.file << ", line " << error.line
                  << ")\n";
    else if (result.status != hw::Status::busy)
        std::cout << name << ": " << error.text << std::endl;
}

hw::Kind kindOf(const std::string& name)
{
    const auto found = std::find(hw::kind_names.begin(), hw::kind_names.end(), name);
    return found != hw::kind_names.end() ? static_cast<hw::Kind>(found - hw::kind_names.begin())
                                         : throw std::runtime_error("no kind " + name);
}
}

int main(int argc, char** argv)
{
    std::vector<std::string> words(argv + 1, argv + argc);
    std::map<std::string, int> options = {{"--json", 0}, {"--log", 0}, {"--limit", 60000}, {"--retry", 0}, {"--times", 1}};
    try
    {
        while (!words.empty() && options.count(words[0]))
        {
            const bool alone = words[0] == "--json" || words[0] == "--log";
            options[words[0]] = alone ? 1 : std::stoi(words.at(1));
            words.erase(words.begin(), words.begin() + (alone ? 1 : 2));
        }
        if (words.empty())
        {
            std::cout << "usage: machine [--json] [--log] [--limit MS] [--retry MS] [--times N] LIBRARY [KIND...]\n";
            return 64;
        }
        hw::Client client(hw::Library::load(words[0]), options["--log"] ? hw::Log(printLog) : hw::Log());
        std::vector<std::string> names(words.begin() + 1, words.end());
        if (names.empty())
            names.assign(hw::kind_names.begin(), hw::kind_names.end());
        for (int time = 0; time < options["--times"]; ++time)
            for (const std::string& name : names)
                print(client, kindOf(name), milliseconds(options["--limit"]), milliseconds(options["--retry"]));
        return 0;
    }
    catch (const std::exception& problem)
    {
        std::cout << problem.what() << std::endl;
        return 1;
    }
}

// Runs a fuzz target as an ordinary test (COUNT FILE...): on files, their beginnings, and COUNT inputs mutated from them.
#include "tests/fuzz/Target.h"

#include <algorithm>
#include <fstream>
#include <random>
#include <vector>

int main(int count, char** arguments)
{
    std::vector<std::string> seeds(1), inputs;
    for (int file = 2; file < count; ++file)
    {
        std::ifstream stream(arguments[file], std::ios::binary);
        seeds.emplace_back(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
        require(!seeds.back().empty(), "a file can be read");
        for (std::size_t size = seeds.back().size(); size > 0; size -= 1 + size / 512 * 64)
            inputs.push_back(seeds.back().substr(0, size));
    }
    std::mt19937 random(1);
    for (int left = std::stoi(arguments[1]); left > 0; --left)
    {
        std::string& input = inputs.emplace_back(seeds[random() % seeds.size()]);
        for (auto changes = 1 + random() % 4; changes > 0; --changes)
        {
            std::string piece(input.empty() ? random() % 160 : random() % 2 ? 1 : random() % 20, '\0');
            std::ranges::generate(piece, [&random] { return static_cast<char>(random()); });
            input.replace(random() % (input.size() + 1), random() % 2 ? piece.size() : random() % 16, piece);
        }
    }
    for (const std::string& input : inputs) // each in memory of its size, so that the sanitizer sees a read beyond it
        LLVMFuzzerTestOneInput(std::vector<std::uint8_t>(input.begin(), input.end()).data(), input.size());
}

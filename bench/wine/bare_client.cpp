#include "bench/wine/BareClient.h"

#include <cstdio>
#include <exception>

// Collects every kind once, as the command-line host does without arguments, and prints the number of entries of each.
int main()
try
{
    BareClient client;
    for (const auto ask : {&BareClient::cpus, &BareClient::gpus, &BareClient::ram, &BareClient::disks, &BareClient::networkAdapters,
                           &BareClient::baseBoards, &BareClient::system, &BareClient::hotfixes})
        std::printf("%zu\n", (client.*ask)());
}
catch (const std::exception& failure)
{
    std::printf("%s\n", failure.what());
    return 2;
}

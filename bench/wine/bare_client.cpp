#include "bench/wine/BareClient.h"

#include <cstdio>
#include <exception>

// Asks once for every kind, as the command-line host does without arguments, and prints how many entries each has.
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

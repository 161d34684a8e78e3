#pragma once

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>

namespace HardwareInventory
{
// What the program and its worker process send each other through pipes.
struct Message
{
    enum Type : unsigned char
    {
        library,  // to the worker, first: the path of the library; the number is 1 if its log is wanted
        kind,     // to the worker: collect this kind
        ready,    // from the worker: the library is loaded
        refused,  // from the worker, instead: why it cannot be loaded
        log,      // from the worker: a line and its level
        document, // from the worker: the result
        failure,  // from the worker: the result; the status and its text
        last = failure
    };

    Type type;
    std::uint32_t number = 0;
    std::string text = {};
};

// False if nobody reads any more.
bool send(std::FILE* pipe, const Message& message);

// Waits for a message; none if the other side has ended, or sends something else.
std::optional<Message> receive(std::FILE* pipe);
}

#pragma once

#include "machine/Recording.h"

#include <string>
#include <vector>

// The machines of tests/machines and what the library makes of them. README.md there describes the form of the files.
namespace cases
{
using HardwareInventory::Json;

struct Case
{
    std::string file;
    std::string name;
    Json recording;
    Json documents; // all eight in one object
    Json statuses;  // by kind; 0 where it is not listed
    std::vector<std::string> log;
    bool logInOrder;
    Json asked; // how often, by question
    Json cases; // of a file's machine
    Json rows;  // facts of hosts, each with its "type"
};

// Every case of every file, the files' own machines included.
const std::vector<Case>& all();
const Case& find(const std::string& file, const std::string& name);
}

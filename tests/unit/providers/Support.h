#pragma once

#include "hw-inventory-impl/lib/Providers/WMIConnections.h"
#include "tests/fakes/FakeMachine.h"
#include "tests/fakes/FakeManagementSource.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <memory>
#include <regex>
#include <string>
#include <vector>

namespace fakes
{
using namespace HardwareInventory;

using Lines = std::vector<std::string>;

// A new machine without any device, with a log.
class ProvidersTest : public testing::Test
{
protected:
    ProvidersTest()
    {
        machine() = {};
        management() = {};
    }

    // The messages since the last call, each behind its level unless that is 1 (warning), with "OBJECT" for an object's address.
    Lines takeLog()
    {
        static const std::regex address("property of (0x)?[0-9a-fA-F]+");
        Lines lines;
        for (const auto& [level, message] : log_.lines())
            lines.push_back((level == 1 ? "" : std::to_string(level) + " ") +
                            std::regex_replace(message, address, "property of OBJECT"));
        log_.clear();
        return lines;
    }

    // Makes the nth call of the operation from now on fail, and no other.
    static void failCall(const std::string& operation, int nth = 1)
    {
        machine().fails = [operation, left = std::make_shared<int>(nth)](const char* name)
        { return name == operation && --*left == 0; };
    }

    LogCapture log_;
};

// The answers to the query for all objects of a class.
inline FakeObjects& objectsOf(const std::wstring& wmiClass)
{
    return management().cimv2.answers[L"SELECT * FROM " + wmiClass];
}

// The warnings for reading these properties, one after the other, of an object that has none of them.
inline Lines unreadable(std::initializer_list<const char*> properties)
{
    Lines lines;
    for (const std::string property : properties)
        lines.push_back("failed to get '" + property + "' property of OBJECT");
    return lines;
}
}

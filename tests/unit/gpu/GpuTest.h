#pragma once

#include "tests/fakes/FakeMachine.h"
#include "tests/system/gpu/VendorMachine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace fakes
{
// A machine without vendor libraries, to which a test adds what it needs.
class GpuTest : public testing::Test
{
protected:
    GpuTest()
    {
        machine() = {};
        vendorMachine() = {};
    }

    static void installNvml() { machine().modules[L"nvml.dll"] = nvmlProcedures(); }
    static void installAdl(const wchar_t* name = L"atiadlxx.dll") { machine().modules[name] = adlProcedures(); }

    static VendorLibrary& nvml() { return vendorMachine().nvml; }
    static VendorLibrary& adl() { return vendorMachine().adl; }

    // What was asked of the vendor libraries since the last time.
    static std::vector<std::string> takeCalls() { return std::exchange(vendorMachine().calls, {}); }
};

// The text with which the making of a group fails; empty when it succeeds.
template <class Group, class Failure>
std::string failureOf()
{
    try
    {
        Group group;
        return {};
    }
    catch (const Failure& failure)
    {
        return failure.what();
    }
}
}

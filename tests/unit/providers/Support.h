#pragma once

#include "hw-inventory-impl/lib/Providers/WMIConnections.h"
#include "tests/fakes/FakeMachine.h"
#include "tests/fakes/FakeManagementSource.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

namespace fakes
{
using namespace HardwareInventory;

using Lines = std::vector<std::string>;

// A fresh machine without any device, its log kept.
class ProvidersTest : public testing::Test
{
protected:
    ProvidersTest();
    ~ProvidersTest() override;

    // The messages since the last call, each behind its level unless that is 1 (warning), with "OBJECT" for an object's address.
    Lines takeLog();

    // Makes the nth call of the operation from now on fail, and no other.
    static void failCall(const std::string& operation, int nth = 1);

    LogCapture log_;
};

// The warnings that reading these properties gives, one after the other, when the object has none of them.
Lines unreadable(std::initializer_list<const char*> properties);

// A record's fields in their order, numbers in decimal.
Texts fieldsOf(const CpuInfo& info);
Texts fieldsOf(const GpuInfo& info);
Texts fieldsOf(const MotherBoardInfo& info);
Texts fieldsOf(const DiskInfo& info); // without the partitions
Texts fieldsOf(const PartitionInfo& info);
Texts fieldsOf(const NetworkAdapterInfo& info); // the addresses at the end
Texts fieldsOf(const SystemInfo& info);
}

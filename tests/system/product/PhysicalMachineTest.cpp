#include "tests/system/product/Product.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::HasSubstr;
using testing::AllOf;
using testing::Not;

namespace
{
constexpr std::size_t kRam = 2;
constexpr std::size_t kBaseBoards = 5;
constexpr std::size_t kSystem = 6;
}

// A host can put a VM detection of its own beside the library. With one that finds a physical machine nothing is made up and
// nothing left out.
TEST(PhysicalMachine, HasItsOwnSystemAndNoEmulatedDevices)
{
    const OwnFolder folder;
    folder.add("physical/vm_detect.dll", "vm_detect.dll");
    const Product product(folder.add("hw_inventory_interface.dll"));
    const std::string system = product.collect(kSystem).document;
    for (const char* key : {"\"serialNumber\":\"", "\"productID\":\"", "\"type\":\""})
        EXPECT_THAT(system, HasSubstr(key));
    EXPECT_THAT(product.collect(kRam).document, Not(HasSubstr("Physical Memory Slot")));
    EXPECT_THAT(product.collect(kBaseBoards).document, AllOf(HasSubstr("\"manufacturer\""), Not(HasSubstr("Virtual"))));
}

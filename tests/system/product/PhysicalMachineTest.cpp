#include "tests/system/product/Product.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

// A host can put a VM detection of its own beside the library. With one that finds a physical machine nothing is made up and
// nothing left out.
TEST(PhysicalMachine, HasItsOwnSystemAndNoEmulatedDevices)
{
    const OwnFolder folder;
    folder.add("physical/vm_detect.dll", "vm_detect.dll");
    const Product product(folder.add("hw_inventory_interface.dll"));
    const std::string system = product.collect(Product::system).document;
    for (const char* key : {"\"serialNumber\":\"", "\"productID\":\"", "\"type\":\""})
        EXPECT_THAT(system, HasSubstr(key));
    // Wine's firmware table lists no modules.
    EXPECT_THAT(product.collect(Product::ram).document, Not(HasSubstr("Physical Memory Slot")));
    EXPECT_THAT(product.collect(Product::baseBoards).document, AllOf(HasSubstr("\"manufacturer\""), Not(HasSubstr("Virtual"))));
}

#include "tests/system/product/Balance.h"
#include "tests/system/product/FakeWmi.h"
#include "tests/system/product/Product.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <dbghelp.h>

#include <cstdlib>
#include <regex>

namespace
{
using testing::AllOf;
using testing::HasSubstr;

std::string lastError;

void keepErrors(std::uint32_t level, const char* message)
{
    if (level == 2)
        lastError = message;
}

// A line of a trace with the function, its file and the line in it.
MATCHER_P2(HasFrame, file, function, "")
{
    const std::string frame = std::string("\\[[0-9]+\\] [^\n]*") + file + ":[^\n]*" + function + "[^\n]*:[1-9][0-9]*\n";
    return std::regex_search(std::string(arg), std::regex(frame));
}

class Evidence : public testing::Test
{
protected:
    Evidence()
    {
        FakeWmi::failWhen([](const std::string& call) { return call == "ExecQuery"; });
    }

private:
    const FakeWmiHost host;
};

// The name that dbghelp has for a function of this program, in the host's own session.
__declspec(noinline) std::string nameOfOwnFunction()
{
    char buffer[sizeof(SYMBOL_INFO) + 256] = {};
    auto& symbol = *reinterpret_cast<SYMBOL_INFO*>(buffer);
    symbol.SizeOfStruct = sizeof(SYMBOL_INFO);
    symbol.MaxNameLen = 256;
    DWORD64 displacement = 0;
    SymFromAddr(GetCurrentProcess(), reinterpret_cast<DWORD64>(&nameOfOwnFunction), &displacement, &symbol);
    return symbol.Name;
}
}

TEST_F(Evidence, ARecordAndALogLineNameFunctionFileAndLine)
{
    const Product product;
    product.setLogger(keepErrors);
    ASSERT_EQ(product.collect(Product::cpus).status, EXPORT_STATUS_WMI_QUERY);

    const ExceptionRecord& record = *product.getException();
    EXPECT_STREQ(record.function, "HardwareInventory::Providers::WMIProvider::WMIConnection::query");
    EXPECT_STREQ(record.file, "hw-inventory-impl\\lib\\Providers\\WMIProvider.cpp");
    EXPECT_GT(record.line, 0);
    EXPECT_THAT(record.message, HasSubstr("SELECT * FROM Win32_Processor"));
    const auto frames =
        AllOf(HasFrame("DeviceReaders\\.cpp", "getProcessors"), HasFrame("Exports\\.cpp", "hardware_inventory_find_cpus"));
    EXPECT_THAT(record.stackTrace, frames);
    EXPECT_THAT(lastError, frames);
}

// The whole process shares dbghelp: here with a copy of the library in another component, and with a session of the host's own.
TEST_F(Evidence, TwoCopiesAndAHostShareDbgHelp)
{
    const OwnFolder folder;
    folder.add("vm_detect.dll");
    const Product copies[] = {Product(folder.add("hw_inventory_interface.dll")),
                              Product(folder.add("hw_inventory_interface.dll", "other_copy.dll"))};
    SymSetOptions(SYMOPT_CASE_INSENSITIVE | SYMOPT_LOAD_LINES);
    const DWORD options = SymGetOptions();
    ASSERT_TRUE(SymInitialize(GetCurrentProcess(), programFolder().string().c_str(), TRUE));
    const std::string name = nameOfOwnFunction();
    EXPECT_THAT(name, HasSubstr("nameOfOwnFunction"));

    const char* const wanted = std::getenv("HW_INVENTORY_TRACED_FAILURES");
    const int failures = wanted ? std::atoi(wanted) : 20;
    const auto fail = [&]
    {
        for (const Product& copy : copies)
        {
            EXPECT_EQ(copy.collect(Product::cpus).status, EXPORT_STATUS_WMI_QUERY);
            EXPECT_THAT(copy.getException()->stackTrace, HasFrame("Exports\\.cpp", "hardware_inventory_find_cpus"));
        }
    };
    fail();
    const Balance before = Balance::take();
    for (int count = 2; count < failures; count += 2)
        fail();
    // Wine's dbghelp keeps some blocks of each session.
    const Balance after = Balance::take();
    EXPECT_EQ(after, (Balance{after.heapBlocks, after.heapBytes, before.handles, before.modules}));
    EXPECT_EQ(SymGetOptions(), options);
    EXPECT_EQ(nameOfOwnFunction(), name);
    EXPECT_TRUE(SymCleanup(GetCurrentProcess()));
}

#include "hw-inventory-impl/lib/Platform/ManagementSource.h"
#include "hw-inventory-impl/lib/Platform/Platform.h"

#include "hw-inventory-interface/ErrorHandling/Exception.h"

#include <gtest/gtest.h>

namespace
{
using namespace HardwareInventory::Providers::WMIProvider;
using HardwareInventory::ErrorHandling::ErrorCode;
using HardwareInventory::ErrorHandling::Exception;

TEST(Management, ValuesOfTheSystemsOwnServiceAreRead)
{
    const auto source = HardwareInventory::Platform::connectManagementSource(L"ROOT\\CIMV2");
    std::size_t processors = 0;
    source->query(L"SELECT * FROM Win32_Processor",
                  [&](const ManagementObjectPtr& processor)
                  {
                      ++processors;
                      EXPECT_FALSE(std::get<std::wstring>(processor->get(L"Name")).empty());
                      EXPECT_GT(std::get<std::int32_t>(processor->get(L"NumberOfCores")), 0);
                      EXPECT_TRUE(std::holds_alternative<Unreadable>(processor->get(L"NoSuchProperty")));
                  });
    EXPECT_GT(processors, 0u);

    std::size_t addresses = 0;
    source->query(L"SELECT * FROM Win32_NetworkAdapterConfiguration",
                  [&](const ManagementObjectPtr& adapter) { addresses += adapter->getStringArray(L"IPAddress").value().size(); });
    EXPECT_GT(addresses, 0u);
}

TEST(Management, ANamespaceThatIsMissingFailsToBind)
{
    try
    {
        HardwareInventory::Platform::connectManagementSource(L"ROOT\\NoSuchNamespace");
        FAIL() << "nothing thrown";
    }
    catch (const Exception& exception)
    {
        EXPECT_EQ(exception.code(), ErrorCode::wmiBind);
    }
}
}

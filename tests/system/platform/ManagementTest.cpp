#include "hw-inventory-impl/lib/Providers/ManagementSource.h"

#include "hw-inventory-interface/ErrorHandling/Exception.h"

#include <windows.h>

#include <gtest/gtest.h>
#include <objbase.h>

#include <thread>

namespace
{
using namespace HardwareInventory::Providers::WMIProvider;
using HardwareInventory::ErrorHandling::ErrorCode;
using HardwareInventory::ErrorHandling::Exception;

// The error code with which the namespace cannot be connected; nothing where it can.
std::optional<ErrorCode> failureToConnect(const wchar_t* path)
{
    try
    {
        connectManagementSource(path);
        return std::nullopt;
    }
    catch (const Exception& exception)
    {
        return exception.code();
    }
}

void expectProcessors()
{
    const auto source = connectManagementSource(L"ROOT\\CIMV2");
    std::size_t processors = 0;
    source->query(L"SELECT * FROM Win32_Processor",
                  [&](const ManagementObjectPtr& processor)
                  {
                      ++processors;
                      const auto name = processor->get(L"Name");
                      EXPECT_TRUE(std::holds_alternative<std::wstring>(name) && !std::get<std::wstring>(name).empty());
                      const auto cores = processor->get(L"NumberOfCores");
                      EXPECT_TRUE(std::holds_alternative<std::int32_t>(cores) && std::get<std::int32_t>(cores) > 0);
                      EXPECT_TRUE(std::holds_alternative<Unreadable>(processor->get(L"NoSuchProperty")));
                  });
    EXPECT_GT(processors, 0u);
}

TEST(Management, ProcessorsAreReadOnAThreadOfEitherApartment)
{
    expectProcessors();
    std::thread(expectProcessors).join();
    std::thread(
        []
        {
            ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
            expectProcessors();
        })
        .join();
}

TEST(Management, AddressesAreReadAsTexts)
{
    std::size_t addresses = 0;
    connectManagementSource(L"ROOT\\CIMV2")
        ->query(L"SELECT * FROM Win32_NetworkAdapterConfiguration",
                [&](const ManagementObjectPtr& adapter)
                {
                    const auto texts = adapter->getStringArray(L"IPAddress");
                    ASSERT_TRUE(std::holds_alternative<std::vector<std::wstring>>(texts));
                    addresses += std::get<std::vector<std::wstring>>(texts).size();
                });
    EXPECT_GT(addresses, 0u);
}

TEST(Management, ANamespaceThatIsMissingFailsToBind)
{
    EXPECT_EQ(failureToConnect(L"ROOT\\NoSuchNamespace"), ErrorCode::wmiBind);
    const auto optionalNamespace = failureToConnect(L"ROOT\\StandardCIMV2");
    EXPECT_TRUE(!optionalNamespace || optionalNamespace == ErrorCode::wmiBind);
    EXPECT_EQ(failureToConnect(L"ROOT\\CIMV2"), std::nullopt);
}

TEST(Management, ABadQueryYieldsNothing)
{
    const auto source = connectManagementSource(L"ROOT\\CIMV2");
    bool called = false;
    try
    {
        source->query(L"this is no query", [&](const ManagementObjectPtr&) { called = true; });
    }
    catch (const Exception& exception)
    {
        EXPECT_EQ(exception.code(), ErrorCode::wmiQuery);
    }
    EXPECT_FALSE(called);
}
}

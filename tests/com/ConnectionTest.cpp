#include "hw-inventory-impl/lib/Providers/WMIProvider.h"

#include "hw-inventory-interface/ErrorHandling/Exception.h"
#include "st-core/lib/HostLogger.h"
#include "st-core/lib/OSError.h"
#include "tests/com/FakeCom.h"

#include <gtest/gtest.h>

#include <thread>

namespace
{
using namespace HardwareInventory::Providers::WMIProvider;
using HardwareInventory::ErrorHandling::ErrorCode;
using HardwareInventory::ErrorHandling::Exception;
using Trace = std::vector<std::string>;

const std::string kJoin = "CoInitializeEx 0";
const std::string kCreate = "CoCreateInstance locator 1";
const std::string kBind = "ConnectServer ROOT\\CIMV2";
const std::string kBlanket = "CoSetProxyBlanket 10 0 3 3 0";
const std::string kQuery = "ExecQuery WQL SELECT * FROM Win32_Fan 48";

std::vector<std::string>& logLines()
{
    static std::vector<std::string> lines;
    return lines;
}

class ConnectionTest : public testing::Test
{
protected:
    ConnectionTest()
    {
        ZelStdCore::HostLogger::instance().set([](std::uint32_t level, const char* text)
                                               { logLines().push_back(std::to_string(level) + " " + text); });
    }
    ~ConnectionTest() override { ZelStdCore::HostLogger::instance().set(nullptr); }

    // The text of the failing call's error, whatever the way back left.
    static std::wstring failureText()
    {
        const ZelStdCore::LastError error{fakes::kErrorOfFailure};
        return ZelStdCore::format(L"%1% (GetLastError() = %2%)", error.text(), error.code);
    }

    static Trace takeTrace() { return std::exchange(fakes::com().trace, {}); }
};

// Runs the action on a thread that did not load the library, as a host's worker would.
template <class Action>
void onWorker(Action action)
{
    std::thread(action).join();
}

TEST_F(ConnectionTest, AFailingStepTellsItsCodeAndLeavesNothingBehind)
{
    const struct
    {
        const char* failing;
        HRESULT result;
        HRESULT joined;
        ErrorCode code;
        Trace trace;
    } cases[] = {
        {"CoInitializeEx", E_OUTOFMEMORY, E_OUTOFMEMORY, ErrorCode::comInitialization, {kJoin}},
        {"CoCreateInstance", REGDB_E_CLASSNOTREG, S_OK, ErrorCode::wmiLocator, {kJoin, kCreate, "CoUninitialize"}},
        {"ConnectServer", E_ACCESSDENIED, S_FALSE, ErrorCode::wmiBind,
         {kJoin, kCreate, kBind, "~locator", "CoUninitialize"}},
        {"CoSetProxyBlanket", E_NOINTERFACE, S_OK, ErrorCode::wmiSecurityBlanket,
         {kJoin, kCreate, kBind, kBlanket, "~services", "~locator", "CoUninitialize"}},
        // The apartment of the host is not closed for a connection that never stood.
        {"ConnectServer", E_ACCESSDENIED, RPC_E_CHANGED_MODE, ErrorCode::wmiBind, {kJoin, kCreate, kBind, "~locator"}},
    };
    for (const auto& test : cases)
    {
        SCOPED_TRACE(test.failing);
        fakes::com().answers = {{"CoInitializeEx", test.joined}, {test.failing, test.result}};
        try
        {
            connectManagementSource(L"ROOT\\CIMV2");
            ADD_FAILURE() << "nothing thrown";
        }
        catch (const Exception& exception)
        {
            EXPECT_EQ(exception.code(), test.code);
            EXPECT_EQ(exception.message(), failureText());
            EXPECT_EQ(exception.function(), L"HardwareInventory::Providers::WMIProvider::WMIConnection::WMIConnection");
            EXPECT_EQ(exception.file(), L"hw-inventory-impl\\lib\\Providers\\WMIProvider.cpp");
            EXPECT_GT(exception.line(), 0);
        }
        EXPECT_EQ(takeTrace(), test.trace);
    }
}

TEST_F(ConnectionTest, AConnectionLeavesComOnceWhateverApartmentItFound)
{
    const Trace connected{kJoin, kCreate, kBind, kBlanket};
    for (const HRESULT joined : {S_OK, S_FALSE, RPC_E_CHANGED_MODE})
    {
        SCOPED_TRACE(joined);
        fakes::com().answers["CoInitializeEx"] = joined;
        onWorker(
            [&]
            {
                const auto source = connectManagementSource(L"ROOT\\CIMV2");
                EXPECT_EQ(takeTrace(), connected);
            });
        EXPECT_EQ(takeTrace(), Trace({"~services", "~locator", "CoUninitialize"}));
    }
}

TEST_F(ConnectionTest, TheLoadingThreadKeepsItsProxy)
{
    connectManagementSource(L"ROOT\\CIMV2");
    EXPECT_EQ(takeTrace(), Trace({kJoin, kCreate, kBind, kBlanket, "~locator", "CoUninitialize"}));
}

TEST_F(ConnectionTest, AQueryDeliversWhatCameBeforeItsEnd)
{
    const struct
    {
        std::size_t objects;
        HRESULT end;
        bool warns;
    } cases[] = {{0, WBEM_S_FALSE, false}, {3, WBEM_S_FALSE, false},          {2, WBEM_S_NO_ERROR, false},
                 {0, WBEM_S_TIMEDOUT, false}, {2, RPC_E_DISCONNECTED, true}, {0, E_FAIL, true}};
    const std::string warning = "1 failed to iterate SELECT * FROM Win32_Fan: " + ZelStdCore::toUtf8(failureText());

    const auto source = connectManagementSource(L"ROOT\\CIMV2");
    for (const auto& test : cases)
    {
        SCOPED_TRACE(testing::Message() << test.objects << " objects, then " << test.end);
        Trace expected{kQuery};
        for (std::size_t index = 0; index < test.objects; ++index)
        {
            fakes::com().results.push_back(fakes::makeObject("object " + std::to_string(index)));
            expected.push_back("callback");
        }
        expected.push_back("~enumerator");
        fakes::com().end = test.end;
        takeTrace();

        std::vector<const void*> delivered;
        source->query(L"SELECT * FROM Win32_Fan",
                      [&](const ManagementObjectPtr& object)
                      {
                          delivered.push_back(object->address());
                          fakes::com().trace.push_back("callback");
                      });

        EXPECT_EQ(takeTrace(), expected);
        std::vector<const void*> offered;
        for (const auto& object : fakes::com().results)
            offered.push_back(object.get());
        EXPECT_EQ(delivered, offered);
        EXPECT_EQ(std::exchange(logLines(), {}), test.warns ? Trace{warning} : Trace{});

        // No reference beside the test's own is left.
        fakes::com().results.clear();
        EXPECT_EQ(takeTrace().size(), test.objects);
    }
}

TEST_F(ConnectionTest, AnObjectLivesAsLongAsItsLastHolder)
{
    fakes::com().results.push_back(fakes::makeObject("kept"));
    fakes::com().results.push_back(fakes::makeObject("dropped"));
    ManagementObjectPtr kept;
    onWorker(
        [&]
        {
            connectManagementSource(L"ROOT\\CIMV2")
                ->query(L"SELECT * FROM Win32_Fan",
                        [&](const ManagementObjectPtr& object)
                        {
                            if (!kept)
                                kept = object;
                        });
        });
    takeTrace();
    fakes::com().results.clear();
    EXPECT_EQ(takeTrace(), Trace{"~dropped"});
    kept.reset();
    EXPECT_EQ(takeTrace(), Trace{"~kept"});
}

TEST_F(ConnectionTest, AQueryThatCannotRunTellsItsText)
{
    fakes::com().answers["ExecQuery"] = WBEM_E_INVALID_QUERY;
    const auto source = connectManagementSource(L"ROOT\\CIMV2");
    try
    {
        source->query(L"SELECT * FROM Win32_Fan", {});
        ADD_FAILURE() << "nothing thrown";
    }
    catch (const Exception& exception)
    {
        EXPECT_EQ(exception.code(), ErrorCode::wmiQuery);
        EXPECT_EQ(exception.message(), L"'SELECT * FROM Win32_Fan': " + failureText());
        EXPECT_EQ(exception.function(), L"HardwareInventory::Providers::WMIProvider::WMIConnection::query");
        EXPECT_EQ(exception.file(), L"hw-inventory-impl\\lib\\Providers\\WMIProvider.cpp");
    }
    EXPECT_EQ(logLines(), Trace{});
}

TEST_F(ConnectionTest, ACallbackThatThrowsEndsTheQueryWithoutALeak)
{
    const auto source = connectManagementSource(L"ROOT\\CIMV2");
    EXPECT_NO_THROW(source->query(L"SELECT * FROM Win32_Fan", {}));

    fakes::com().results.push_back(fakes::makeObject("first"));
    fakes::com().results.push_back(fakes::makeObject("second"));
    takeTrace();
    EXPECT_THROW(source->query(L"SELECT * FROM Win32_Fan", {}), std::bad_function_call);
    EXPECT_THROW(source->query(L"SELECT * FROM Win32_Fan", [](const ManagementObjectPtr&) { throw 1; }), int);
    EXPECT_EQ(takeTrace(), Trace({kQuery, "~enumerator", kQuery, "~enumerator"}));
    fakes::com().results.clear();
    EXPECT_EQ(takeTrace(), Trace({"~first", "~second"}));
    EXPECT_EQ(logLines(), Trace{});
}
}

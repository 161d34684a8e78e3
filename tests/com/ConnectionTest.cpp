#include "hw-inventory-impl/lib/Platform/Platform.h"
#include "hw-inventory-impl/lib/Providers/WMIProvider.h"

#include "hw-inventory-impl/lib/Providers/WMIConnections.h"
#include "hw-inventory-interface/ErrorHandling/Exception.h"
#include "st-core/lib/Format.h"
#include "st-core/lib/HostLogger.h"
#include "st-core/lib/LastError.h"
#include "st-core/lib/Utf8.h"
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
const std::string kBindStandard = "ConnectServer ROOT\\StandardCIMV2";
const std::string kBlanket = "CoSetProxyBlanket 10 0 3 3 0";
const std::string kQuery = "ExecQuery WQL SELECT * FROM Win32_Fan 48";
const std::string kLeave = "CoUninitialize";
const std::string kBindRefused = "IWbemLocator::ConnectServer 'ROOT\\CIMV2' failed: 0x80070005";

Trace logLines;

// The text of the failing call's error, not of the error that the cleanup leaves.
std::wstring failureText()
{
    const ZelStdCore::LastError error{fakes::kErrorOfFailure};
    return ZelStdCore::format(L"%1% (GetLastError() = %2%)", error.text(), error.code);
}

Trace takeTrace()
{
    return std::exchange(fakes::com().trace, {});
}

// The steps of a query on a thread that did not load the library, as a host's worker would.
void queryOnWorker(const ObjectCallback& callback)
{
    std::thread(
        [&] { HardwareInventory::Platform::connectManagementSource(L"ROOT\\CIMV2")->query(L"SELECT * FROM Win32_Fan", callback); })
        .join();
}

void keepLog()
{
    ZelStdCore::HostLogger::instance().set(
        [](std::uint32_t level, const char* text)
        {
            logLines.push_back(std::to_string(level) + " " + text);
            SetLastError(fakes::kErrorOfCleanup);
        });
}

TEST(Connection, AFailingStepTellsItsCodeAndLeavesNothingBehind)
{
    const wchar_t* const connect = L"HardwareInventory::Providers::WMIProvider::WMIConnection::WMIConnection";
    const wchar_t* const query = L"HardwareInventory::Providers::WMIProvider::WMIConnection::query";
    const struct
    {
        const char* failing;
        HRESULT result;
        HRESULT joined;
        ErrorCode code;
        Trace trace;
        std::wstring function;
        std::wstring prefix;
        std::string logged;
    } cases[] = {
        {"CoInitializeEx",
         E_OUTOFMEMORY,
         E_OUTOFMEMORY,
         ErrorCode::comInitialization,
         {kJoin},
         connect,
         L"",
         "CoInitializeEx failed: 0x8007000E"},
        {"CoCreateInstance",
         REGDB_E_CLASSNOTREG,
         S_OK,
         ErrorCode::wmiLocator,
         {kJoin, kCreate, kLeave},
         connect,
         L"",
         "CoCreateInstance failed: 0x80040154"},
        {"ConnectServer",
         E_ACCESSDENIED,
         S_FALSE,
         ErrorCode::wmiBind,
         {kJoin, kCreate, kBind, "~locator", kLeave},
         connect,
         L"",
         kBindRefused},
        {"CoSetProxyBlanket",
         E_NOINTERFACE,
         S_OK,
         ErrorCode::wmiSecurityBlanket,
         {kJoin, kCreate, kBind, kBlanket, "~services", "~locator", kLeave},
         connect,
         L"",
         "CoSetProxyBlanket failed: 0x80004002"},
        // A connection that was never established must not close the host's apartment.
        {"ConnectServer",
         E_ACCESSDENIED,
         RPC_E_CHANGED_MODE,
         ErrorCode::wmiBind,
         {kJoin, kCreate, kBind, "~locator"},
         connect,
         L"",
         kBindRefused},
        // The loading thread keeps its proxy.
        {"ExecQuery",
         HRESULT(WBEM_E_ACCESS_DENIED),
         S_OK,
         ErrorCode::wmiQuery,
         {kJoin, kCreate, kBind, kBlanket, kQuery, "~locator", kLeave},
         query,
         L"'SELECT * FROM Win32_Fan': ",
         "IWbemServices::ExecQuery 'SELECT * FROM Win32_Fan' failed: 0x80041003"},
    };
    keepLog();
    for (const auto& test : cases)
    {
        SCOPED_TRACE(test.failing);
        fakes::com().answers = {{"CoInitializeEx", test.joined}, {test.failing, test.result}};
        try
        {
            HardwareInventory::Platform::connectManagementSource(L"ROOT\\CIMV2")->query(L"SELECT * FROM Win32_Fan", {});
            ADD_FAILURE() << "nothing thrown";
        }
        catch (const Exception& exception)
        {
            EXPECT_EQ(exception.code(), test.code);
            EXPECT_EQ(exception.message(), test.prefix + failureText());
            EXPECT_EQ(exception.function(), test.function);
            EXPECT_EQ(exception.file(), L"hw-inventory-impl\\lib\\Providers\\WMIProvider.cpp");
        }
        EXPECT_EQ(takeTrace(), test.trace);
        ASSERT_FALSE(logLines.empty());
        EXPECT_EQ(std::exchange(logLines, {}).front(), "3 " + test.logged) << "before the lines of the stack trace";
    }
}

TEST(Connection, LeavesComOnceWhateverApartmentItFound)
{
    for (const HRESULT joined : {S_OK, S_FALSE, RPC_E_CHANGED_MODE})
    {
        SCOPED_TRACE(joined);
        fakes::com().answers["CoInitializeEx"] = joined;
        queryOnWorker({});
        EXPECT_EQ(takeTrace(), (Trace{kJoin, kCreate, kBind, kBlanket, kQuery, "~enumerator", "~services", "~locator", kLeave}));
    }
}

// The steps of both connections of a thread, and what is left of them in the end.
const Trace kBothConnect{kJoin, kCreate, kBind, kBlanket, kJoin, kCreate, kBindStandard, kBlanket};
const Trace kReleased{"~services", "~locator", "~services", "~locator"};

Trace operator+(Trace left, const Trace& right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

TEST(Connection, AThreadReleasesBeforeItLeavesComAndNothingIntoAClosedApartment)
{
    fakes::com().answers["CoInitializeEx"] = RPC_E_CHANGED_MODE;
    const std::optional<APTTYPE> none;
    for (const auto& atItsEnd : {std::optional(APTTYPE_STA), std::optional(APTTYPE_MTA), none})
    {
        fakes::com().apartment = APTTYPE_STA;
        std::thread(
            [&]
            {
                WMIConnections::forThisThread();
                fakes::com().apartment = atItsEnd;
            })
            .join();
        const bool stands = atItsEnd == APTTYPE_STA;
        EXPECT_EQ(takeTrace(), kBothConnect + (stands ? kReleased : Trace()) + Trace(2, kLeave));
    }
}

// The loading thread, too: it goes on, and its next call connects again.
TEST(Connection, AThreadThatCannotKeepItsConnectionsGivesThemBack)
{
    while (FlsAlloc(nullptr) != FLS_OUT_OF_INDEXES)
        continue;
    EXPECT_THROW(WMIConnections::forThisThread(), std::runtime_error);
    EXPECT_EQ(takeTrace(), (kBothConnect + Trace{"~services", "~locator", kLeave, "~services", "~locator", kLeave}));

    fakes::com().answers["CoInitializeEx"] = RPC_E_CHANGED_MODE;
    EXPECT_THROW(WMIConnections::forThisThread(), std::runtime_error);
    EXPECT_EQ(takeTrace(), kBothConnect + kReleased);
}

// The half-made connection is released before the warning is logged.
TEST(Connection, TheMissingOptionalNamespaceIsToldWithItsOwnError)
{
    keepLog();
    fakes::com().answers["ConnectServer ROOT\\StandardCIMV2"] = E_ACCESSDENIED;
    const WMIConnections connections;
    EXPECT_EQ(GetModuleHandleW(L"dbghelp.dll"), nullptr) << "a trace that nobody reads";
    EXPECT_EQ(logLines, (Trace{"3 IWbemLocator::ConnectServer 'ROOT\\StandardCIMV2' failed: 0x80070005",
                               "1 failed to bind to ROOT\\StandardCIMV2 WMI namespace: " + ZelStdCore::toUtf8(failureText())}));
}

TEST(Connection, AQueryDeliversWhatCameBeforeItsEnd)
{
    keepLog();
    const Trace warning{"1 failed to iterate SELECT * FROM Win32_Fan: " + ZelStdCore::toUtf8(failureText())};
    const struct
    {
        std::size_t objects;
        HRESULT end;
        Trace log;
    } cases[] = {{3, WBEM_S_FALSE, {}},
                 {2, WBEM_S_NO_ERROR, {}},
                 {0, WBEM_S_TIMEDOUT, {}},
                 {0, E_FAIL, warning},
                 {2, RPC_E_DISCONNECTED, warning}};
    for (const auto& test : cases)
    {
        SCOPED_TRACE(testing::Message() << test.objects << " objects, then " << test.end);
        std::vector<const void*> offered;
        for (std::size_t index = 0; index < test.objects; ++index)
            offered.push_back(fakes::com().results.emplace_back(fakes::makeObject("object")).get());
        fakes::com().end = test.end;

        std::vector<ManagementObjectPtr> held;
        std::vector<const void*> delivered;
        queryOnWorker(
            [&](const ManagementObjectPtr& object)
            {
                held.push_back(object);
                delivered.push_back(object->address());
            });
        EXPECT_EQ(delivered, offered);
        EXPECT_EQ(std::exchange(logLines, {}), test.log);
        takeTrace();

        // An object lives as long as its last owner.
        fakes::com().results.clear();
        EXPECT_EQ(takeTrace(), Trace{});
        held.clear();
        EXPECT_EQ(takeTrace(), Trace(test.objects, "~object"));
    }
}

TEST(Connection, ACallbackThatThrowsEndsTheQueryWithoutALeak)
{
    const auto source = HardwareInventory::Platform::connectManagementSource(L"ROOT\\CIMV2");
    fakes::com().results.push_back(fakes::makeObject("first"));
    fakes::com().results.push_back(fakes::makeObject("second"));
    takeTrace();
    EXPECT_THROW(source->query(L"SELECT * FROM Win32_Fan", [](const ManagementObjectPtr&) { throw 1; }), int);
    EXPECT_EQ(takeTrace(), Trace({kQuery, "~enumerator"}));
    fakes::com().results.clear();
    EXPECT_EQ(takeTrace(), Trace({"~first", "~second"}));
}
}

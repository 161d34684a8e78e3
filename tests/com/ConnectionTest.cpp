#include "hw-inventory-impl/lib/Platform/Platform.h"
#include "hw-inventory-impl/lib/Providers/WMIConnections.h"
#include "hw-inventory-interface/ErrorHandling/Exception.h"
#include "st-core/lib/Format.h"
#include "st-core/lib/HostLogger.h"
#include "st-core/lib/LastError.h"
#include "st-core/lib/Utf8.h"
#include "tests/com/Imports.h"
#include "tests/com/Service.h"

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <thread>

namespace
{
using namespace HardwareInventory::Providers::WMIProvider;
using fakes::kErrorOfFailure;
using HardwareInventory::ErrorHandling::ErrorCode;
using HardwareInventory::ErrorHandling::Exception;
using HardwareInventory::Platform::connectManagementSource;

const std::string kJoin = "CoInitializeEx 0; ";
const std::string kCreate = kJoin + "CoCreateInstance 1; ";
const std::string kBind = kCreate + "ConnectServer ROOT\\CIMV2; ";
const std::string kConnect = kBind + "CoSetProxyBlanket 10 0 3 3 0; ";
const std::string kConnectBoth = kConnect + kCreate + "ConnectServer ROOT\\StandardCIMV2; CoSetProxyBlanket 10 0 3 3 0; ";
const std::string kQuery = "ExecQuery WQL SELECT * FROM Win32_Fan 48; ";
const std::string kRelease = "~services; ~locator; ";
const std::string kLeave = "CoUninitialize; ";
const wchar_t* const kWql = L"SELECT * FROM Win32_Fan";

std::string trace, lines;
std::optional<APTTYPE> apartment; // of every thread

// The functions of COM, for this program.
class Connection : public testing::Test
{
protected:
    Connection()
    {
        const HMODULE program = GetModuleHandleW(nullptr);
        fakes::serve(program);
        replaceImport(
            program, "CoInitializeEx", +[](void*, DWORD kind) { return fakes::record("CoInitializeEx " + std::to_string(kind)); });
        replaceImport(
            program, "CoUninitialize", +[]() { SetLastError((fakes::record("CoUninitialize"), fakes::kErrorOfCleanup)); });
        replaceImport(
            program, "CoGetApartmentType",
            +[](APTTYPE* type, APTTYPEQUALIFIER*)
            {
                SetLastError(fakes::kErrorOfCleanup);
                *type = apartment.value_or(APTTYPE_CURRENT);
                return apartment ? S_OK : CO_E_NOTINITIALIZED;
            });
        apartment = APTTYPE_MTA;
        fakes::service().trace = &trace;
        ZelStdCore::HostLogger::instance().set(
            [](std::uint32_t level, const char* text)
            {
                lines += std::to_string(level) + " " + text + "\n";
                SetLastError(fakes::kErrorOfCleanup);
            });
    }

    static void answer(std::map<std::string, HRESULT> answers)
    {
        fakes::service().answer = [answers](const std::string& call)
        {
            for (const auto& [begin, result] : answers)
                if (call.starts_with(begin))
                    return result;
            return S_OK;
        };
    }

    static std::string takeTrace() { return std::exchange(trace, ""); }
};

// The text of the failing call's error, not of the error that the cleanup leaves.
const std::wstring kFailureText =
    ZelStdCore::format(L"%1% (GetLastError() = %2%)", ZelStdCore::LastError{kErrorOfFailure}.text(), kErrorOfFailure);

TEST_F(Connection, AFailingStepIsReportedAndLeavesNothingBehind)
{
    const std::string refused = "IWbemLocator::ConnectServer 'ROOT\\CIMV2' failed: 0x80070005";
    const std::string denied = "IWbemServices::ExecQuery 'SELECT * FROM Win32_Fan' failed: 0x80041003";
    const struct
    {
        std::string failing;
        std::uint32_t result;
        std::uint32_t joined;
        ErrorCode code;
        std::string calls;
        std::string logged;
    } cases[] = {
        {"CoInitializeEx", 0x8007000E, 0x8007000E, ErrorCode::comInitialization, kJoin, "CoInitializeEx failed: 0x8007000E"},
        {"CoCreateInstance", 0x80040154, 0, ErrorCode::wmiLocator, kCreate + kLeave, "CoCreateInstance failed: 0x80040154"},
        {"ConnectServer", 0x80070005, 1, ErrorCode::wmiBind, kBind + "~locator; " + kLeave, refused},
        // A connection that was never established must not close the host's apartment.
        {"ConnectServer", 0x80070005, 0x80010106, ErrorCode::wmiBind, kBind + "~locator; ", refused},
        {"CoSetProxyBlanket", 0x80004002, 0, ErrorCode::wmiSecurityBlanket, kConnect + kRelease + kLeave,
         "CoSetProxyBlanket failed: 0x80004002"},
        // The loading thread keeps its proxy.
        {"ExecQuery", 0x80041003, 0, ErrorCode::wmiQuery, kConnect + kQuery + "~locator; " + kLeave, denied},
    };
    for (const auto& test : cases)
    {
        SCOPED_TRACE(test.failing);
        answer({{"CoInitializeEx", test.joined}, {test.failing, test.result}});
        const bool query = test.code == ErrorCode::wmiQuery;
        lines.clear();
        try
        {
            connectManagementSource(L"ROOT\\CIMV2")->query(kWql, {});
            ADD_FAILURE() << "nothing thrown";
        }
        catch (const Exception& exception)
        {
            EXPECT_EQ(exception.code(), test.code);
            EXPECT_EQ(exception.message(), (query ? L"'SELECT * FROM Win32_Fan': " : L"") + kFailureText);
            EXPECT_EQ(exception.function(), std::wstring(L"HardwareInventory::Providers::WMIProvider::WMIConnection::") +
                                                (query ? L"query" : L"WMIConnection"));
            EXPECT_EQ(exception.file(), L"hw-inventory-impl\\lib\\Providers\\WMIProvider.cpp");
        }
        EXPECT_EQ(takeTrace(), test.calls);
        EXPECT_TRUE(lines.starts_with("3 " + test.logged + "\n")) << "before the lines of the stack trace: " << lines;
    }
}

TEST_F(Connection, LeavesComOnceWhateverApartmentItFound)
{
    for (const std::uint32_t joined : {0u, 1u, 0x80010106u})
    {
        answer({{"CoInitializeEx", joined}});
        std::thread([] { connectManagementSource(L"ROOT\\CIMV2")->query(kWql, [](const auto&) {}); }).join();
        EXPECT_EQ(takeTrace(), kConnect + kQuery + "Next; ~object0; End; ~enumerator; " + kRelease + kLeave);
    }
}

TEST_F(Connection, AThreadReleasesBeforeItLeavesComAndNothingIntoAClosedApartment)
{
    answer({{"CoInitializeEx", RPC_E_CHANGED_MODE}});
    for (const auto atItsEnd : {std::optional(APTTYPE_STA), std::optional(APTTYPE_MTA), std::optional<APTTYPE>()})
    {
        apartment = APTTYPE_STA;
        std::thread([&] { apartment = (WMIConnections::forThisThread(), atItsEnd); }).join();
        EXPECT_EQ(takeTrace(), kConnectBoth + (atItsEnd == APTTYPE_STA ? kRelease + kRelease : "") + kLeave + kLeave);
    }
}

// The loading thread, too: it goes on, and its next call connects again.
TEST_F(Connection, AThreadThatCannotKeepItsConnectionsGivesThemBack)
{
    while (FlsAlloc(nullptr) != FLS_OUT_OF_INDEXES)
        continue;
    EXPECT_THROW(WMIConnections::forThisThread(), std::runtime_error);
    EXPECT_EQ(takeTrace(), kConnectBoth + kRelease + kLeave + kRelease + kLeave);
    answer({{"CoInitializeEx", RPC_E_CHANGED_MODE}});
    EXPECT_THROW(WMIConnections::forThisThread(), std::runtime_error);
    EXPECT_EQ(takeTrace(), kConnectBoth + kRelease + kRelease);
}

// The half-made connection is released before the warning is logged.
TEST_F(Connection, TheMissingOptionalNamespaceIsLoggedWithItsOwnError)
{
    answer({{"ConnectServer ROOT\\StandardCIMV2", E_ACCESSDENIED}});
    const WMIConnections connections;
    EXPECT_EQ(GetModuleHandleW(L"dbghelp.dll"), nullptr) << "a trace that nobody reads";
    EXPECT_EQ(lines, "3 IWbemLocator::ConnectServer 'ROOT\\StandardCIMV2' failed: 0x80070005\n"
                     "1 failed to bind to ROOT\\StandardCIMV2 WMI namespace: " +
                         ZelStdCore::toUtf8(kFailureText) + "\n");
}

TEST_F(Connection, AQueryDeliversWhatCameBeforeItsEnd)
{
    const std::string warning = "1 failed to iterate SELECT * FROM Win32_Fan: " + ZelStdCore::toUtf8(kFailureText) + "\n";
    for (const HRESULT end : {S_OK, HRESULT{1}, HRESULT{0x40004}, E_FAIL, RPC_E_DISCONNECTED})
    {
        answer({{"End", end}});
        fakes::service().results = 2;
        std::vector<ManagementObjectPtr> held;
        std::thread([&] { connectManagementSource(L"ROOT\\CIMV2")->query(kWql, [&](const auto& one) { held.push_back(one); }); })
            .join();
        EXPECT_EQ(takeTrace(), kConnect + kQuery + "Next; Next; End; ~enumerator; " + kRelease + kLeave);
        EXPECT_EQ(std::exchange(lines, ""), FAILED(end) ? warning : "");
        // In their order, and alive as long as they are held.
        while (!held.empty())
            held.pop_back();
        EXPECT_EQ(takeTrace(), "~object1; ~object0; ");
    }
}

TEST_F(Connection, ACallbackThatThrowsEndsTheQueryWithoutALeak)
{
    const auto source = connectManagementSource(L"ROOT\\CIMV2");
    EXPECT_THROW(source->query(kWql, [](const auto&) { throw 1; }), int);
    EXPECT_EQ(takeTrace(), kConnect + kQuery + "Next; ~object0; ~enumerator; ");
}
}

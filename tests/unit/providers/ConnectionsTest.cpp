#include "tests/unit/providers/Support.h"

#include <set>
#include <stdexcept>
#include <thread>

namespace fakes
{
namespace
{
using ErrorHandling::Exception;

class ConnectionsTest : public ProvidersTest
{
};

const Texts kConnected{L"connected ROOT\\CIMV2", L"connected ROOT\\StandardCIMV2"};
const Texts kBoth{L"connected ROOT\\CIMV2", L"connected ROOT\\StandardCIMV2", L"disconnected ROOT\\StandardCIMV2",
                  L"disconnected ROOT\\CIMV2"};
const Texts kOne{L"connected ROOT\\CIMV2", L"disconnected ROOT\\CIMV2"};

using Reader = void (*)(WMIConnections&);
const Reader kReaders[] = {
    [](WMIConnections& connections) { connections.getProcessors(); },
    [](WMIConnections& connections) { connections.getBaseBoards(); },
    [](WMIConnections& connections) { connections.getVideoControllers(); },
    [](WMIConnections& connections) { connections.getMemory(); },
    [](WMIConnections& connections) { connections.getDisks(); },
    [](WMIConnections& connections) { connections.getNetworkAdapters(); },
    [](WMIConnections& connections) { connections.getSystem(); },
    [](WMIConnections& connections) { connections.getHotfixes(); },
};
}

// Whatever fails, at whichever of the two connections: only the second namespace's absence is put up with.
TEST_F(ConnectionsTest, EveryStepThatFails)
{
    const Lines absent{"failed to bind to ROOT\\StandardCIMV2 WMI namespace: system message 5\r\n (GetLastError() = 5)"};
    const struct
    {
        const char* operation;
        int nth;
        std::optional<ErrorCode> code;
        Texts events;
        Lines log;
    } cases[] = {
        {"none", 1, {}, kBoth, {}},
        {"CoInitializeEx", 1, ErrorCode::comInitialization, {}, {}},
        {"CoCreateInstance", 1, ErrorCode::wmiLocator, {}, {}},
        {"ConnectServer", 1, ErrorCode::wmiBind, {}, {}},
        {"CoSetProxyBlanket", 1, ErrorCode::wmiSecurityBlanket, {}, {}},
        {"CoInitializeEx", 2, ErrorCode::comInitialization, kOne, {}},
        {"CoCreateInstance", 2, ErrorCode::wmiLocator, kOne, {}},
        {"ConnectServer", 2, {}, kOne, absent},
        {"CoSetProxyBlanket", 2, ErrorCode::wmiSecurityBlanket, kOne, {}},
    };
    for (const auto& each : cases)
    {
        SCOPED_TRACE(testing::Message() << each.operation << " " << each.nth);
        management().events.clear();
        failCall(each.operation, each.nth);
        std::optional<ErrorCode> code;
        try
        {
            WMIConnections connections;
        }
        catch (const Exception& failure)
        {
            code = failure.code();
        }
        EXPECT_EQ(code, each.code);
        EXPECT_EQ(management().events, each.events);
        EXPECT_EQ(takeLog(), each.log);
        EXPECT_EQ(liveConnections(), 0);
    }
}

TEST_F(ConnectionsTest, AThreadKeepsItsOwnUntilItEnds)
{
    const WMIConnections* first = nullptr;
    std::thread(
        [&]
        {
            failCall("ConnectServer");
            EXPECT_THROW(WMIConnections::forThisThread(), Exception);
            EXPECT_EQ(liveConnections(), 0);
            failCall("FlsSetValue");
            EXPECT_THROW(WMIConnections::forThisThread(), std::runtime_error);
            EXPECT_EQ(liveConnections(), 0);

            management().events.clear();
            first = &WMIConnections::forThisThread();
            EXPECT_EQ(&WMIConnections::forThisThread(), first);
            EXPECT_EQ(management().events, kConnected);
            std::thread([&] { EXPECT_NE(&WMIConnections::forThisThread(), first); }).join();
            EXPECT_EQ(liveConnections(), 2);
            management().events = kConnected;
        })
        .join();
    EXPECT_EQ(management().events, kBoth);
    EXPECT_EQ(liveConnections(), 0);
}

TEST_F(ConnectionsTest, ABrokenIterationKeepsWhatCame)
{
    management().cimv2.answers[L"SELECT * FROM Win32_QuickFixEngineering"] =
        FakeObjects(3, {{L"HotFixID", L"KB1"}, {L"InstalledOn", L"20190321"}});
    WMIConnections connections;
    failCall("Next", 3);
    const auto hotfixes = connections.getHotfixes();
    ASSERT_EQ(hotfixes.size(), 2);
    EXPECT_EQ(hotfixes[1].name, L"KB1");
    EXPECT_EQ(hotfixes[1].installationDate, L"20190321");
    EXPECT_EQ(takeLog(), Lines{"failed to iterate SELECT * FROM Win32_QuickFixEngineering: system message 5\r\n "
                               "(GetLastError() = 5)"});
}

// Every platform call in turn fails once. Broken access to the service ends the reader, without half a list; everything else
// that fails leaves it with records. No connection stays behind.
TEST_F(ConnectionsTest, EveryCallThatFails)
{
    const std::set<std::string> fatal{"CoInitializeEx", "CoCreateInstance", "CoSetProxyBlanket", "ExecQuery"};
    for (const std::int32_t vmType : {0, 8})
    {
        for (std::size_t failing = 1;; ++failing)
        {
            machine() = {};
            machine().vmType = vmType;
            management() = {};
            setUpOneOfEverything();
            machine().fails = [&](const char*) { return machine().calls.size() == failing; };
            std::string outcome;
            for (const Reader reader : kReaders)
            {
                try
                {
                    WMIConnections connections;
                    reader(connections);
                }
                catch (const Exception&)
                {
                    outcome += "exception";
                }
                catch (const ComError&)
                {
                    outcome += "COM error";
                }
            }
            ASSERT_EQ(liveConnections(), 0);
            if (machine().calls.size() < failing)
            {
                EXPECT_GT(failing, 150);
                break;
            }
            const std::string operation = machine().calls[failing - 1];
            if (operation != "ConnectServer" && operation != "VariantClear") // of these it depends on which one fails
                ASSERT_EQ(outcome, fatal.contains(operation) ? "exception" : "") << operation << failing;
        }
    }
}
}

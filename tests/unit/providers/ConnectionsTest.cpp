#include "tests/unit/providers/Support.h"

#include <algorithm>
#include <stdexcept>
#include <thread>

namespace fakes
{
namespace
{
using ErrorHandling::Exception;

using ConnectionsTest = ProvidersTest;

const Texts kConnected{L"connected ROOT\\CIMV2", L"connected ROOT\\StandardCIMV2"};
const Texts kBoth{kConnected[0], kConnected[1], L"disconnected ROOT\\StandardCIMV2", L"disconnected ROOT\\CIMV2"};
const Texts kOne{kBoth[0], kBoth[3]};
}

// Each step fails, at each of the two connections: only the absence of the second namespace is tolerated.
TEST_F(ConnectionsTest, EveryStepThatFails)
{
    const Lines absent{"failed to bind to ROOT\\StandardCIMV2 WMI namespace: system message 5\r\n (GetLastError() = 5)"};
    const struct
    {
        const char* operation;
        int nth;
        std::optional<ErrorCode> code;
        int traces;
        Texts events;
        Lines log;
    } cases[] = {
        {"none", 1, {}, 0, kBoth, {}},
        {"ConnectServer", 1, ErrorCode::wmiBind, 1, {}, {}},
        {"CoInitializeEx", 2, ErrorCode::comInitialization, 1, kOne, {}},
        {"CoCreateInstance", 2, ErrorCode::wmiLocator, 1, kOne, {}},
        {"ConnectServer", 2, {}, 0, kOne, absent},
        {"CoSetProxyBlanket", 2, ErrorCode::wmiSecurityBlanket, 1, kOne, {}},
    };
    for (const auto& each : cases)
    {
        SCOPED_TRACE(testing::Message() << each.operation << " " << each.nth);
        management().events.clear();
        machine().calls.clear();
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
        EXPECT_EQ(std::ranges::count(machine().calls, "SymInitializeW"), each.traces);
        EXPECT_EQ(management().events, each.events);
        EXPECT_EQ(takeLog(), each.log);
    }
}

TEST_F(ConnectionsTest, AThreadKeepsItsOwnUntilItEnds)
{
    std::thread(
        []
        {
            failCall("ConnectServer");
            EXPECT_THROW(WMIConnections::forThisThread(), Exception);
            failCall("FlsSetValue");
            EXPECT_THROW(WMIConnections::forThisThread(), std::runtime_error);
            EXPECT_EQ(liveConnections(), 0);

            management().events.clear();
            const WMIConnections* first = &WMIConnections::forThisThread();
            EXPECT_EQ(&WMIConnections::forThisThread(), first);
            EXPECT_EQ(management().events, kConnected);
            std::thread([first] { EXPECT_NE(&WMIConnections::forThisThread(), first); }).join();
            EXPECT_EQ(liveConnections(), 2);
        })
        .join();
    EXPECT_EQ(liveConnections(), 0);
}
}

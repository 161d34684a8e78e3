#include "tests/unit/interface/Collectors.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

using fakes::machine;

namespace
{
// Lets exactly one platform call fail, counted from now.
class FailingCall
{
public:
    explicit FailingCall(std::size_t index)
    {
        machine().fails = [this, index](const char* operation)
        {
            if (count_++ != index)
                return false;
            operation_ = operation;
            return true;
        };
    }
    ~FailingCall()
    {
        machine().fails = [](const char*) { return false; };
    }
    FailingCall(const FailingCall&) = delete;

    const std::string& operation() const { return operation_; }
    bool happened() const { return !operation_.empty(); }

private:
    std::size_t count_ = 0;
    std::string operation_;
};

struct Machine
{
    const char* name;
    std::int32_t vmType;
    bool hasStandardCimv2;
};

constexpr Machine kMachines[] = {{"physical", 0, true}, {"virtual", 8, true}, {"without StandardCIMV2", 0, false}};

void setUp(const Machine& kind)
{
    setUpWholeMachine();
    machine().vmType = kind.vmType;
    if (!kind.hasStandardCimv2)
        fakes::management().standardCimv2.failure = fakes::ErrorCode::wmiBind;
}

// A new thread connects again.
Collected collectOnNewThread(const Collector& collector)
{
    Collected collected;
    std::thread([&] { collected = collect(collector); }).join();
    return collected;
}

// A failure has its place in the source, and is one of WMI: nothing else may fail a call here.
void expectDocumentedFailure(ExportStatus status, const std::string& context)
{
    const ExceptionRecord* record = hardware_inventory_get_exception();
    ASSERT_TRUE(status == EXPORT_STATUS_WMI_CONNECTION || status == EXPORT_STATUS_WMI_QUERY || status == EXPORT_STATUS_OTHER)
        << context << ": " << status;
    ASSERT_TRUE(record->message && *record->message) << context;
    if (status == EXPORT_STATUS_OTHER)
        return;
    EXPECT_TRUE(record->file && *record->file && record->function && *record->function && record->line > 0) << context;
    EXPECT_TRUE(record->errorText && *record->errorText) << context;
}
}

// Every platform call of every function fails once: the function returns, with a documented status if it fails, nothing is left
// behind, and the next call succeeds.
TEST(PlatformFailures, EachCallFailsOnce)
{
    for (const Machine& kind : kMachines)
    {
        setUp(kind);
        for (const Collector& collector : kCollectors)
        {
            const Collected whole = collectOnNewThread(collector);
            ASSERT_EQ(whole.status, EXPORT_STATUS_SUCCESS) << collector.name;

            std::size_t index = 0;
            for (bool happened = true; happened; ++index)
            {
                const fakes::LogCapture log;
                Collected hurt;
                std::string context;
                {
                    const FailingCall failing(index);
                    hurt = collectOnNewThread(collector);
                    happened = failing.happened();
                    context = std::string(kind.name) + ", " + collector.name + ", call " + std::to_string(index) + " " +
                              failing.operation();
                }
                if (hurt.status != EXPORT_STATUS_SUCCESS)
                    expectDocumentedFailure(hurt.status, context);
                else if (hurt.document != whole.document)
                    EXPECT_FALSE(log.lines().empty()) << context << ": a fact got lost without a word";
                EXPECT_EQ(hurt.document.empty(), hurt.status != EXPORT_STATUS_SUCCESS) << context;
                EXPECT_EQ(fakes::liveConnections(), 0) << context;
                EXPECT_EQ(collectOnNewThread(collector).document, whole.document) << context;
            }
            EXPECT_GT(index, 4u) << collector.name << ": the loop met no platform call";
        }
    }
}

// The same on one thread that lives on, as a host's does, and from the very first call: process-wide objects do not exist yet.
TEST(PlatformFailures, FirstCallsOfTheProcess)
{
    setUp(kMachines[0]);
    for (std::size_t index = 0; index < 60; ++index)
    {
        for (const Collector& collector : kCollectors)
        {
            const FailingCall failing(index);
            collect(collector);
        }
    }
    for (const Collector& collector : kCollectors)
        EXPECT_EQ(collect(collector).status, EXPORT_STATUS_SUCCESS) << collector.name;
}

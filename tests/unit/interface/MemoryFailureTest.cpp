#include "tests/unit/interface/Collectors.h"
#include "tests/unit/interface/FailingHeap.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <string>
#include <thread>

namespace
{
std::string lastMessage()
{
    const char* message = hardware_inventory_get_exception()->message;
    return message ? message : "";
}

// If not even the failure can be recorded, the record is empty.
bool lastFailureIsMemory()
{
    return lastMessage().empty() || lastMessage() == std::bad_alloc().what();
}

std::ptrdiff_t stringsOfRecord()
{
    const ExceptionRecord* record = hardware_inventory_get_exception();
    std::ptrdiff_t count = 0;
    for (const char* text : {record->stackTrace, record->file, record->function, record->message, record->errorText})
        count += text ? 1 : 0;
    return count;
}

// The fakes' own records are no leak.
void forgetCalls()
{
    fakes::machine().calls = {};
    fakes::management().queries = {};
    fakes::management().events = {};
}

// Messages are written only for a logger.
int errorLines = 0;

void countErrors(uint32_t level, const char*)
{
    errorLines += level == 2;
}

// The outputs before a call.
char untouched = 'u';
constexpr size_t kUntouched = 12345;

struct Attempt
{
    ExportStatus status;
    bool failed;
    std::string document;
    bool outputsUntouched;
    size_t sizeNeeded; // if only memory for the document was lacking
};

constexpr std::size_t kNever = static_cast<std::size_t>(-1);

// On its own thread, so that every attempt connects and disconnects.
Attempt attempt(const Collector& collector, std::size_t failingAllocation = kNever, bool forGood = false)
{
    ExportStatus status = EXPORT_STATUS_SUCCESS;
    char* buffer = &untouched;
    size_t size = kUntouched;
    std::thread(
        [&]
        {
            // The fakes' thread slot allocates when the thread first uses it.
            HardwareInventory::Platform::threadValue();
            heap.arm(failingAllocation, forGood);
            status = collector.find(&buffer, &size);
            heap.armed = false;
        })
        .join();
    forgetCalls();
    if (buffer == &untouched)
        return {status, heap.failed, "", size == kUntouched, 0};
    const std::unique_ptr<char, void (*)(void*)> owner(buffer, release_buffer);
    return {status, heap.failed, buffer ? buffer : "", false, buffer ? 0 : size};
}

bool isWhole(const Attempt& attempt)
{
    const bool success = attempt.status == EXPORT_STATUS_SUCCESS;
    if (success)
        return !attempt.document.empty();
    return attempt.status == EXPORT_STATUS_OTHER && lastFailureIsMemory() && attempt.outputsUntouched != (attempt.sizeNeeded > 0);
}

// Lets the allocations fail one after another, and checks each outcome.
template <class Check>
void failEachAllocation(const Collector& collector, Check check)
{
    attempt(collector);
    bool failed = true;
    for (std::size_t index = 0; failed; ++index)
    {
        const std::string context = std::string(collector.name) + ", allocation " + std::to_string(index);
        const std::ptrdiff_t before = heap.live - stringsOfRecord();
        {
            const Attempt hurt = attempt(collector, index);
            failed = hurt.failed;
            check(hurt, index, context);
        }
        ASSERT_EQ(heap.live - stringsOfRecord(), before) << context << " leaks";
    }
}

class MemoryFailures : public testing::Test
{
protected:
    MemoryFailures()
    {
        setUpWholeMachine();
        hardware_inventory_set_logger(countErrors);
    }
};
}

// One allocation fails; and, in larger steps, that one and all that follow it.
TEST_F(MemoryFailures, AnywhereInACollection)
{
    for (const Collector& collector : kCollectors)
    {
        const std::string whole = attempt(collector).document;
        int documentsLacking = 0;
        const auto check = [&](const Attempt& hurt, const std::string& context)
        {
            ASSERT_TRUE(isWhole(hurt)) << context << ": " << hurt.status << " " << lastMessage();
            if (hurt.sizeNeeded > 0)
            {
                ++documentsLacking;
                EXPECT_EQ(hurt.sizeNeeded, whole.size() + 1) << context;
                EXPECT_EQ(errorLines, 0) << context << ": no failure to record";
            }
            errorLines = 0;
        };
        failEachAllocation(collector,
                           [&](const Attempt& hurt, std::size_t index, const std::string& context)
                           {
                               check(hurt, context);
                               if (index % 4 == 0)
                                   check(attempt(collector, index, true), context + " and all that follow");
                               ASSERT_EQ(attempt(collector).document, whole) << context;
                           });
        EXPECT_GE(documentsLacking, 1) << collector.name;
    }
}

// From the first call of the process: process-wide objects can be built after a failure half-way. In growing steps, since it
// takes many thousand allocations.
TEST_F(MemoryFailures, FirstCallsOfTheProcess)
{
    for (std::size_t index = 0, failures = 1; failures > 0; index += index / 16 + 1)
    {
        failures = 0;
        for (const Collector& collector : kCollectors)
        {
            const Attempt hurt = attempt(collector, index, index % 2 != 0);
            ASSERT_TRUE(isWhole(hurt)) << collector.name << ", allocation " << index << ": " << hurt.status;
            failures += hurt.failed;
        }
    }
}

// Memory runs out while another failure is being reported: the host gets the one or the other, whole.
TEST_F(MemoryFailures, WhileAFailureIsTold)
{
    struct Case
    {
        void (*fail)();
        ExportStatus status;
        std::string message;
        std::ptrdiff_t strings;
    };
    const Case cases[] = {
        {[]
         {
             throw HardwareInventory::ErrorHandling::Exception(fakes::ErrorCode::wmiQuery, L"a cause of some length", L"file",
                                                               L"function", 1);
         },
         EXPORT_STATUS_WMI_QUERY, "a cause of some length", 5},
        {[] { throw std::runtime_error("a cause of some length"); }, EXPORT_STATUS_OTHER, "a cause of some length", 2},
        {[] { throw 42; }, EXPORT_STATUS_OTHER, "unknown exception", 1},
    };
    fakes::management().cimv2.answers.clear();
    fakes::machine().stack.resize(3);
    for (const Case& each : cases)
    {
        fakes::management().cimv2.otherwise = [fail = each.fail](const std::wstring&) { return fail(), fakes::FakeObjects(); };
        std::size_t reported = 0;
        failEachAllocation(kCollectors[0],
                           [&](const Attempt& hurt, std::size_t, const std::string& context)
                           {
                               if (lastMessage() != each.message)
                               {
                                   // If only memory for the record is lacking, the status is that of the failure.
                                   const bool empty = hardware_inventory_get_exception()->message == nullptr;
                                   EXPECT_TRUE(lastFailureIsMemory()) << context << ": " << lastMessage();
                                   EXPECT_EQ(hurt.status, empty ? each.status : EXPORT_STATUS_OTHER) << context;
                                   return;
                               }
                               ++reported;
                               EXPECT_EQ(hurt.status, each.status) << context;
                               EXPECT_EQ(stringsOfRecord(), each.strings) << context;
                           });
        EXPECT_GT(reported, 1u) << "a failing log must not change the outcome";
    }
}

TEST_F(MemoryFailures, FunctionsThatCollectNothing)
{
    heap.arm(0);
    hardware_inventory_set_logger(countErrors);
    heap.armed = false;

    bool failed = true;
    for (std::size_t index = 0; failed; ++index)
    {
        char text[64] = "";
        size_t size = sizeof text;
        heap.arm(index);
        const ExportStatus status = hardware_inventory_exception_string(text, &size);
        const bool textFailed = heap.failed;
        const ExportStatus noSize = hardware_inventory_exception_string(nullptr, nullptr);
        heap.armed = false;
        failed = heap.failed;
        EXPECT_EQ(status, textFailed ? EXPORT_STATUS_OTHER : EXPORT_STATUS_SUCCESS) << index;
        EXPECT_STREQ(text, textFailed ? "" : "(no meta)") << index;
        EXPECT_EQ(noSize, failed && !textFailed ? EXPORT_STATUS_OTHER : EXPORT_STATUS_NO_SIZE) << index;
    }
}

TEST_F(MemoryFailures, ACallbackClearedWhileItsLineIsWritten)
{
    heap.instead = [] { hardware_inventory_set_logger(nullptr); };
    heap.failed = true;
    for (std::size_t index = 0; heap.failed; ++index)
    {
        hardware_inventory_set_logger(countErrors);
        heap.arm(index);
        EXPECT_EQ(hardware_inventory_exception_string(nullptr, nullptr), EXPORT_STATUS_NO_SIZE) << index;
    }
    heap = {};
}

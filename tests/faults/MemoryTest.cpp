#include "hw-inventory-impl/lib/Platform/Platform.h"
#include "machine/Kinds.h"
#include "tests/runner/Cases.h"
#include "tests/runner/Replay.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <thread>

// Memory runs out: the n-th allocation of a call fails, or that one and all that follow it.
namespace
{
// Every operator new of the program, on any thread: the next but `left` fails, or that one and all that follow, or something else
// happens in it.
struct FailingHeap
{
    bool armed = false;
    bool failed = false; // since it was armed
    bool forGood = false;
    std::size_t left = 0;
    std::ptrdiff_t live = 0; // blocks allocated and not freed
    void (*instead)() = nullptr;

    void arm(std::size_t index, bool allThatFollow = false) { *this = {true, false, allThatFollow, index, live, instead}; }
} heap;

bool failsNow()
{
    if (!heap.armed || heap.left-- != 0)
        return false;
    heap.left = 0;
    heap.armed = heap.forGood;
    heap.failed = true;
    if (heap.instead)
        heap.instead();
    return !heap.instead;
}

const ExceptionRecord& record = *hardware_inventory_get_exception();

std::ptrdiff_t stringsOfRecord()
{
    std::ptrdiff_t count = 0;
    for (const char* text : {record.stackTrace, record.file, record.function, record.message, record.errorText})
        count += text != nullptr;
    return count;
}

char untouched = 'u';

struct Attempt
{
    ExportStatus status = EXPORT_STATUS_SUCCESS;
    char* buffer = &untouched;
    std::size_t size = 7;
    bool failed = false;
    std::string document;

    // If not even the failure can be recorded, the record is empty; if the document's memory alone is lacking, its size is given.
    bool isWhole() const
    {
        if (status == EXPORT_STATUS_SUCCESS)
            return !document.empty();
        const bool ofMemory = !record.message || record.message == std::string(std::bad_alloc().what());
        return status == EXPORT_STATUS_OTHER && ofMemory && (buffer == &untouched ? size == 7 : !buffer);
    }
};

// On its own thread, so that every attempt connects and disconnects.
Attempt attempt(const Kind& kind, std::size_t failing = static_cast<std::size_t>(-1), bool forGood = false)
{
    Attempt attempt;
    std::thread(
        [&]
        {
            HardwareInventory::Platform::threadValue(); // the thread's slot allocates when it is first used
            heap.arm(failing, forGood);
            attempt.status = kind.find(&attempt.buffer, &attempt.size);
            heap.armed = false;
        })
        .join();
    attempt.failed = heap.failed;
    if (attempt.buffer != &untouched && attempt.buffer)
    {
        attempt.document = attempt.buffer;
        release_buffer(attempt.buffer);
    }
    return attempt;
}

int lines = 0, errors = 0; // of the log

struct Memory : testing::Test
{
    Memory()
    {
        setMachine(cases::find("whole", "machine").recording);
        hardware_inventory_set_logger([](uint32_t level, const char*) { ++lines, errors += level == 2; });
    }
    ~Memory() override { hardware_inventory_set_logger(nullptr); }
};
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    void* const block = failsNow() ? nullptr : std::malloc(size ? size : 1);
    heap.live += block != nullptr;
    return block;
}

void* operator new(std::size_t size)
{
    void* const block = operator new(size, std::nothrow);
    return block ? block : throw std::bad_alloc();
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    return operator new(size, std::nothrow);
}

void* operator new[](std::size_t size)
{
    return operator new(size);
}

void operator delete[](void* block) noexcept
{
    operator delete(block);
}

void operator delete[](void* block, std::size_t) noexcept
{
    operator delete(block);
}

void operator delete(void* block) noexcept
{
    heap.live -= block != nullptr;
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    operator delete(block);
}

// From the first call of the process, whose objects can be left half-built. In growing steps: it takes many thousand allocations.
TEST_F(Memory, RunsOutInTheFirstCalls)
{
    for (std::size_t index = 0, failures = 1; failures > 0; index += index / 16 + 1)
    {
        failures = 0;
        for (const Kind& kind : kKinds)
        {
            const Attempt hurt = attempt(kind, index, index % 2 != 0);
            ASSERT_TRUE(hurt.isWhole()) << kind.name << ", allocation " << index << ": " << hurt.status;
            failures += hurt.failed;
        }
    }
}

// A document that lacks a fact then has a line in the log.
TEST_F(Memory, RunsOutAnywhereInACollection)
{
    for (const Kind& kind : kKinds)
    {
        attempt(kind);
        lines = 0;
        const std::string whole = attempt(kind).document;
        const int linesOfWhole = lines;
        int documentsLacking = 0;
        bool failed = true;
        const auto fail = [&](std::size_t index, bool forGood)
        {
            lines = errors = 0;
            const Attempt hurt = attempt(kind, index, forGood);
            failed = hurt.failed;
            EXPECT_TRUE(hurt.isWhole()) << kind.name << ", allocation " << index << ": " << hurt.status;
            if (hurt.status == EXPORT_STATUS_SUCCESS && hurt.document != whole)
                EXPECT_GT(lines, linesOfWhole) << kind.name << ", allocation " << index << ": " << hurt.document;
            if (!hurt.buffer)
                EXPECT_TRUE(hurt.size == whole.size() + 1 && errors == 0) << kind.name << ": no failure to record";
            documentsLacking += !hurt.buffer;
        };
        for (std::size_t index = 0; failed; ++index)
            for (const bool forGood : {true, false})
            {
                if (forGood && index % 4 != 0)
                    continue;
                std::ptrdiff_t left = 1;
                for (int time = 0; time < 2 && left != 0; ++time) // the first time may leave a cache of the C++ library
                {
                    const std::ptrdiff_t before = heap.live - stringsOfRecord();
                    fail(index, forGood);
                    left = heap.live - stringsOfRecord() - before;
                }
                ASSERT_EQ(left, 0) << kind.name << ", allocation " << index << " leaks";
            }
        EXPECT_EQ(attempt(kind).document, whole) << kind.name;
        EXPECT_GE(documentsLacking, 1) << kind.name;
    }
}

// The host gets the one failure or the other, whole, and the status is always that of the failure in the record.
TEST_F(Memory, RunsOutWhileAFailureIsReported)
{
    HardwareInventory::Json recording = cases::find("whole", "machine").recording;
    recording["answers"]["query ROOT\\CIMV2 SELECT * FROM Win32_Processor"] = {{"exception", "wmiQuery"},
                                                                               {"message", "a cause of some length"}};
    setMachine(recording);
    attempt(kKinds[0]);
    std::size_t reported = 0;
    bool failed = true;
    for (std::size_t index = 0; failed; ++index)
    {
        const std::ptrdiff_t before = heap.live - stringsOfRecord();
        {
            const Attempt hurt = attempt(kKinds[0], index);
            failed = hurt.failed;
            const std::string message = record.message ? record.message : "";
            const bool cause = message == "a cause of some length";
            reported += cause;
            EXPECT_TRUE(cause ? stringsOfRecord() == 5 : message.empty() || message == std::bad_alloc().what())
                << index << ": " << message;
            EXPECT_EQ(hurt.status, cause || message.empty() ? EXPORT_STATUS_WMI_QUERY : EXPORT_STATUS_OTHER) << index;
        }
        ASSERT_EQ(heap.live - stringsOfRecord(), before) << index << " leaks";
    }
    EXPECT_GT(reported, 1u) << "a failing log must not change the outcome";
}

TEST_F(Memory, RunsOutInTheFunctionsThatCollectNothing)
{
    heap.arm(0);
    hardware_inventory_set_logger([](uint32_t, const char*) {});
    heap.armed = false;
    bool failed = true;
    for (std::size_t index = 0; failed; ++index)
    {
        char text[64] = "";
        std::size_t size = sizeof text;
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

TEST_F(Memory, TheCallbackMayBeClearedWhileItsLineIsWritten)
{
    heap.instead = [] { hardware_inventory_set_logger(nullptr); };
    heap.failed = true;
    for (std::size_t index = 0; heap.failed; ++index)
    {
        hardware_inventory_set_logger([](uint32_t, const char*) {});
        heap.arm(index);
        EXPECT_EQ(hardware_inventory_exception_string(nullptr, nullptr), EXPORT_STATUS_NO_SIZE) << index;
    }
    heap = {};
}

#include "hw-inventory-interface/ErrorHandling/ExceptionRecord.h"

#include "hw-inventory-interface/ErrorHandling/Exception.h"
#include "tests/runner/LogCapture.h"
#include "tests/unit/st-core/FakeCore.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>

using namespace HardwareInventory::ErrorHandling;

namespace
{
// All fields in their order, "-" for a null one.
std::string fieldsOf(const ExceptionRecord& record)
{
    const auto text = [](const char* field) { return field ? "[" + std::string(field) + "]" : std::string("-"); };
    return text(record.stackTrace) + text(record.file) + text(record.function) + std::to_string(record.line) +
           text(record.message) + text(record.errorText);
}

ZelStdCore::StackFrame frame(const wchar_t* function)
{
    return {.completeName = function, .symbolDisplacement = 16, .lineNumber = 3, .fileName = L"s"};
}

Exception inventoryException(std::uint64_t code)
{
    return {static_cast<ErrorCode>(code), L"m\u00FC", L"lib\\f", L"N::f", 7};
}

template <class Thrown>
ExportStatus record(const Thrown& thrown)
{
    return recordFailure(std::make_exception_ptr(thrown));
}
}

TEST(ExceptionRecord, FieldsTextAndLogOfEachKindOfException)
{
    fakes::stack = {frame(L"inner"), frame(L"skipped too"), frame(L"outer"), frame(L"invoke_main"), frame(L"start")};
    const std::string outer = "[16] s:outer:3\n";
    const std::string whole = "[16] s:inner:3\n[16] s:skipped too:3\n" + outer;
    const std::string memory = std::bad_alloc().what();
    const std::string bind = "[m\xC3\xBC][failed to bind to WMI]";

    const std::tuple<std::exception_ptr, ExportStatus, std::string, std::string> cases[] = {
        {nullptr, 0, "---0--", ""}, // the record is empty in the beginning
        {std::make_exception_ptr(inventoryException(3)), 1, "[" + outer + "][lib\\f][N::f]7" + bind,
         "lib\\f:N::f:7:m\xC3\xBC:failed to bind to WMI:" + outer},
        {std::make_exception_ptr(ZelStdCore::RuntimeException(L"", L"g", L"N::g", 9, ZelStdCore::Trace::none)), 8,
         "[][g][N::g]9[]-", "g:N::g:9:(no meta)"},
        {std::make_exception_ptr(std::runtime_error("m\xC3\xBC")), 8, "[" + whole + "]--0[m\xC3\xBC]-", "m\xC3\xBC:" + whole},
        {std::make_exception_ptr(std::runtime_error("m\xFC")), 8, "[" + whole + "]--0[m\xC3\xBC]-", "m\xC3\xBC:" + whole},
        {std::make_exception_ptr(std::bad_alloc()), 8, "[" + whole + "]--0[" + memory + "]-", memory + ":" + whole},
        {std::make_exception_ptr(42), 8, "---0[unknown exception]-", "unknown exception"},
    };
    for (const auto& [exception, status, fields, exceptionText] : cases)
    {
        const LogCapture log;
        EXPECT_EQ(recordFailure(exception), status) << fields;
        EXPECT_EQ(fieldsOf(lastException()), fields);
        EXPECT_EQ(log.lines(), LogCapture::Lines(exception ? 1 : 0, {2, exceptionText}));
    }
    // An error while a failure is reported does not hide the failure.
    fakes::tracerFails = true;
    EXPECT_EQ(record(std::runtime_error("cause")), 8u);
    EXPECT_EQ(fieldsOf(lastException()), "[]--0[cause]-");
    EXPECT_EQ(record(inventoryException(5)), 2u);
    EXPECT_EQ(fieldsOf(lastException()), "[][lib\\f][N::f]7[m\xC3\xBC][failed to execute WMI query]");
}

TEST(ExceptionRecord, StatusOfEachInventoryCode)
{
    constexpr ExportStatus expected[] = {1, 1, 1, 1, 1, 2, 3, 4, 4, 4, 5, 5, 5, 5, 5, 8, 8, 8, 8, 8, 8};
    for (std::uint64_t code = 0; code < std::size(expected); ++code)
        EXPECT_EQ(record(inventoryException(code)), expected[code]) << code;
    EXPECT_EQ(record(inventoryException(1ull << 32)), 8u);
    EXPECT_STREQ(lastException().errorText, "unknown hardware inventory error");
    EXPECT_EQ(errorText(ErrorCode{19}) + errorText(ErrorCode{20}),
              L"failed to access macOS SMBIOS addressunknown hardware inventory error");
}

TEST(ExceptionRecord, TextOfAHandMadeRecord)
{
    const std::pair<ExceptionRecord, const char*> cases[] = {
        {{}, "(no meta)"},
        {{"", "f", "g", 0, "", ""}, "(no meta)"},
        {{"t", "f", "g", 1, "m", "e"}, "f:g:1:m:e:t"},
        {{"t", nullptr, "g", 1, "m", "e"}, "m:e:t"},
        {{"t", "f", "", 1, "m", nullptr}, "m:t"},
        {{nullptr, "f", "g", 1, nullptr, "e"}, "f:g:1:(no meta):e"},
        {{nullptr, "f", "g", -9223372036854775807, "m", nullptr}, "f:g:-9223372036854775807:m"},
    };
    for (const auto& [record, text] : cases)
        EXPECT_EQ(exceptionText(record), text);
}

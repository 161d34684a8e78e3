#include "hw-inventory-impl/lib/Providers/WMIObjectWin.h"

#include "st-core/lib/Format.h"
#include "st-core/lib/HostLogger.h"
#include "st-core/lib/Utf8.h"
#include "tests/com/Service.h"

#include <comdef.h>
#include <gtest/gtest.h>

#include <limits>

namespace
{
using namespace HardwareInventory::Providers::WMIProvider;
using fakes::number;
using fakes::text;
using fakes::texts;
using fakes::Value;
using ArrayFailure = ManagementObject::ArrayFailure;

// A value with something changed.
Value changed(const Value& make, void (*change)(VARIANT& value))
{
    return [=](VARIANT& value)
    {
        make(value);
        change(value);
    };
}

Value vector(VARTYPE type, VARTYPE elements, UINT dimensions = 1)
{
    return [=](VARIANT& value)
    {
        SAFEARRAYBOUND bounds[] = {{1, 0}, {1, 0}};
        value.vt = VT_ARRAY | type;
        value.parray = SafeArrayCreate(elements, dimensions, bounds);
    };
}

Value reference(VARIANT_BOOL value)
{
    return number(VT_BYREF | VT_BOOL, reinterpret_cast<long long>(new VARIANT_BOOL(value)));
}

// The results in the words of the cases below.
std::string described(const PropertyValue& answer)
{
    const char* const others[] = {"unreadable", "null", "", "", "", "other"};
    if (const auto* wide = std::get_if<std::wstring>(&answer))
        return "text " + ZelStdCore::toUtf8(*wide);
    if (const auto* integer = std::get_if<std::int32_t>(&answer))
        return "int " + std::to_string(*integer);
    if (const auto* flag = std::get_if<bool>(&answer))
        return *flag ? "true" : "false";
    return others[answer.index()];
}

std::string described(std::optional<bool> answer)
{
    return !answer ? "unreadable" : *answer ? "true" : "false";
}

std::string described(const ZelStdCore::Result<std::vector<std::wstring>, ArrayFailure>& answer)
{
    if (!answer)
        return answer.error() == ArrayFailure::unreadable ? "unreadable" : "not attached";
    std::string list;
    for (const std::wstring& text : answer.value())
        list += "[" + ZelStdCore::toUtf8(text) + "]";
    return list;
}

std::string lines;

// The result of a getter. The reason of an error is logged before it is thrown, and nothing else is logged.
template <class Getter>
std::string answerOf(Getter getter, const wchar_t* reason = L"")
{
    ZelStdCore::HostLogger::instance().set([](std::uint32_t level, const char* line)
                                           { lines += std::to_string(level) + " " + line; });
    lines.clear();
    const WMIObject object(HardwareInventory::Providers::ComPointer(static_cast<IWbemClassObject*>(fakes::makeObject("object"))));
    try
    {
        std::string answer = described((object.*getter)(L"P"));
        EXPECT_EQ(lines, "");
        return answer;
    }
    catch (const _com_error& error)
    {
        const auto code = static_cast<std::uint32_t>(error.Error());
        EXPECT_EQ(lines,
                  ZelStdCore::toUtf8(ZelStdCore::format(L"3 'P' property of %p %s: 0x%08X", object.address(), reason, code)));
        return code == 0x80020005 ? "mismatch" : code == 0x80070057 ? "invalid" : "error " + std::to_string(code);
    }
}

TEST(Values, EachGetterTakesWhatItCan)
{
    using namespace std::string_literals;
    const std::wstring zero(L"a\0b", 3);
    constexpr auto largest = std::numeric_limits<std::int32_t>::max();
    constexpr auto smallest = std::numeric_limits<std::int32_t>::min();
    const auto asVariants = [](VARIANT& value) { value.vt = VT_ARRAY | VT_VARIANT; };
    const auto lockedOut = [](VARIANT& value) { value.parray->cLocks = 0xFFFF; }; // one more lock fails
    const auto anObject = [](VARIANT& value) { value.punkVal = static_cast<IUnknown*>(fakes::makeObject("value")); };
    const struct
    {
        const char* name;
        Value make;
        std::string value;
        std::string flag = "mismatch";
        std::string list = "invalid";
    } cases[] = {
        {"missing", nullptr, "unreadable", "unreadable", "unreadable"},
        {"null", number(VT_NULL, 0), "null", "mismatch", ""},
        {"empty", number(VT_EMPTY, 0), "other", "false"},
        {"text", text(L"True"), "text True", "true"},
        {"text of a number", text(L"0"), "text 0", "false"},
        {"text with a zero", text(zero), "text a\0b"s},
        {"null text", number(VT_BSTR, 0), "text "},
        {"largest int", number(VT_I4, largest), "int 2147483647", "true"},
        {"smallest int", number(VT_I4, smallest), "int -2147483648", "true"},
        {"short", number(VT_I2, 0), "other", "false"},
        {"unsigned", number(VT_UI4, 7), "other", "true"},
        {"64 bits", number(VT_I8, 7), "other", "true"},
        {"true", number(VT_BOOL, VARIANT_TRUE), "true", "true"},
        {"one", number(VT_BOOL, 1), "true", "true"},
        {"false", number(VT_BOOL, VARIANT_FALSE), "false", "false"},
        {"reference to true", reference(VARIANT_TRUE), "other", "true"},
        {"reference to one", reference(1), "other", "false"}, // a converted value must be VARIANT_TRUE
        {"object", changed(number(VT_UNKNOWN, 0), anObject), "other"},
        {"texts", texts({L"10.0.0.7", L"", zero}), "other", "mismatch", "[10.0.0.7][][a\0b]"s},
        {"no element", texts({}), "other", "mismatch", ""},
        {"from 5", texts({L"a", L"b"}, 5), "other", "mismatch", "[a][b]"},
        {"from -1", texts({L"a", L"b"}, -1), "other", "mismatch", "[a][b]"},
        {"up to the last index", texts({L"a"}, largest), "other", "mismatch", "[a]"},
        {"null element", vector(VT_BSTR, VT_BSTR), "other", "mismatch", "[]"},
        {"named otherwise", changed(texts({L"a"}), asVariants), "other", "mismatch", "[a]"},
        {"missing array", number(VT_ARRAY | VT_BSTR, 0), "other"},
        {"reference to none", number(VT_BYREF | VT_ARRAY | VT_BSTR, 0), "other"},
        {"numbers", vector(VT_I4, VT_I4), "other"},
        {"numbers said to be texts", vector(VT_BSTR, VT_I4), "other"},
        {"dispatch objects", vector(VT_DISPATCH, VT_DISPATCH), "other"},
        {"two dimensions", vector(VT_BSTR, VT_BSTR, 2), "other"},
        {"locked out", changed(texts({L"a"}), lockedOut), "other", "mismatch", "error " + std::to_string(0x8000FFFF)},
    };
    std::string trace;
    fakes::service().trace = &trace;
    for (const auto& test : cases)
    {
        SCOPED_TRACE(test.name);
        fakes::service().values = [&](const wchar_t* property) { return property == std::wstring(L"P") ? test.make : nullptr; };
        EXPECT_EQ(answerOf(&WMIObject::get), test.value);
        EXPECT_EQ(answerOf(&WMIObject::getBool, L"does not convert to a boolean"), test.flag);
        EXPECT_EQ(answerOf(&WMIObject::getStringArray, L"cannot be read as an array of BSTR"), test.list);
        // Each value is cleared once; each object is released once.
        const std::string once = test.name == "object"s ? "Get; ~value; ~object; " : "Get; ~object; ";
        EXPECT_EQ(std::exchange(trace, ""), once + once + once);
    }
    EXPECT_EQ(fakes::service().living, 0u);
}
}

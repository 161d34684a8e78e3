#include "hw-inventory-impl/lib/Providers/WMIObjectWin.h"

#include "st-core/lib/Format.h"
#include "st-core/lib/HostLogger.h"
#include "st-core/lib/Utf8.h"
#include "tests/com/FakeCom.h"

#include <comdef.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

namespace
{
using namespace HardwareInventory::Providers::WMIProvider;
using Make = fakes::FakeObject::Value;
using Texts = std::vector<std::wstring>;
using ArrayFailure = ManagementObject::ArrayFailure;

Make number(VARTYPE type, long long value)
{
    return [=](VARIANT& variant)
    {
        variant.vt = type;
        variant.llVal = value;
    };
}

Make text(const std::wstring& value)
{
    return [=](VARIANT& variant)
    {
        variant.vt = VT_BSTR;
        variant.bstrVal = SysAllocStringLen(value.data(), static_cast<UINT>(value.size()));
    };
}

Make null(VARTYPE type)
{
    return number(type, 0);
}

Make reference(VARIANT_BOOL value)
{
    return [kept = std::make_shared<VARIANT_BOOL>(value)](VARIANT& variant)
    {
        variant.vt = VT_BYREF | VT_BOOL;
        variant.pboolVal = kept.get();
    };
}

// A value that records when it is cleared.
void object(VARIANT& variant)
{
    variant.vt = VT_UNKNOWN;
    variant.punkVal = new fakes::FakeObject("value", {});
}

Make array(VARTYPE type, std::function<SAFEARRAY*()> make)
{
    return [=](VARIANT& variant)
    {
        variant.vt = VT_ARRAY | type;
        variant.parray = make();
    };
}

Make vector(VARTYPE type, VARTYPE elements)
{
    return array(type, [=] { return SafeArrayCreateVector(elements, 0, 1); });
}

Make texts(LONG lowerBound, const Texts& values, VARTYPE type = VT_BSTR, USHORT locks = 0)
{
    return array(type,
                 [=]
                 {
                     SAFEARRAY* const array = SafeArrayCreateVector(VT_BSTR, lowerBound, static_cast<ULONG>(values.size()));
                     BSTR* elements = static_cast<BSTR*>(array->pvData);
                     for (const std::wstring& value : values)
                         *elements++ = SysAllocStringLen(value.data(), static_cast<UINT>(value.size()));
                     array->cLocks = locks;
                     return array;
                 });
}

SAFEARRAY* twoDimensions()
{
    SAFEARRAYBOUND bounds[] = {{1, 0}, {1, 0}};
    return SafeArrayCreate(VT_BSTR, 2, bounds);
}

// The results in the words of the cases below.
std::string described(const PropertyValue& answer)
{
    if (const auto* wide = std::get_if<std::wstring>(&answer))
        return "text " + ZelStdCore::toUtf8(*wide);
    if (const auto* integer = std::get_if<std::int32_t>(&answer))
        return "int " + std::to_string(*integer);
    if (const auto* flag = std::get_if<bool>(&answer))
        return *flag ? "true" : "false";
    return std::holds_alternative<Unreadable>(answer) ? "unreadable" : std::holds_alternative<Null>(answer) ? "null" : "other";
}

std::string described(std::optional<bool> answer)
{
    return !answer ? "unreadable" : *answer ? "true" : "false";
}

std::string described(const ZelStdCore::Result<Texts, ArrayFailure>& answer)
{
    if (!answer)
        return answer.error() == ArrayFailure::unreadable ? "unreadable" : "not attached";
    std::string list;
    for (const std::wstring& text : answer.value())
        list += "[" + ZelStdCore::toUtf8(text) + "]";
    return list;
}

std::string lines;

// The result of a getter for the property "P" of an object, which has none if there is no value. The reason of an error is logged
// before it is thrown, and nothing else is logged.
template <class Getter>
std::string answerOf(Getter getter, const Make& value, const wchar_t* reason = L"")
{
    ZelStdCore::HostLogger::instance().set([](std::uint32_t level, const char* text)
                                           { lines += std::to_string(level) + " " + text; });
    lines.clear();
    const WMIObject object(fakes::makeObject("object", value));
    try
    {
        std::string answer = described((object.*getter)(L"P"));
        EXPECT_EQ(lines, "");
        return answer;
    }
    catch (const _com_error& error)
    {
        EXPECT_EQ(lines, ZelStdCore::toUtf8(ZelStdCore::format(L"3 'P' property of %p %s: 0x%08X", object.address(), reason,
                                                               static_cast<std::uint32_t>(error.Error()))));
        return error.Error() == DISP_E_TYPEMISMATCH ? "mismatch"
               : error.Error() == E_INVALIDARG      ? "invalid"
                                                    : "error " + std::to_string(error.Error());
    }
}

TEST(Values, EachGetterTakesWhatItCan)
{
    using namespace std::string_literals;
    const std::wstring withZero(L"a\0b", 3);
    constexpr auto largest = std::numeric_limits<std::int32_t>::max();
    constexpr auto smallest = std::numeric_limits<std::int32_t>::min();
    const struct
    {
        const char* name;
        Make make;
        std::string value;
        std::string flag;
        std::string list;
    } cases[] = {
        {"missing", nullptr, "unreadable", "unreadable", "unreadable"},
        {"null", null(VT_NULL), "null", "mismatch", ""},
        {"empty", null(VT_EMPTY), "other", "false", "invalid"},
        {"text", text(L"True"), "text True", "true", "invalid"},
        {"text of a number", text(L"0"), "text 0", "false", "invalid"},
        {"text with a zero", text(withZero), "text a\0b"s, "mismatch", "invalid"},
        {"null text", null(VT_BSTR), "text ", "mismatch", "invalid"},
        {"largest int", number(VT_I4, largest), "int 2147483647", "true", "invalid"},
        {"smallest int", number(VT_I4, smallest), "int -2147483648", "true", "invalid"},
        {"short", number(VT_I2, 0), "other", "false", "invalid"},
        {"unsigned", number(VT_UI4, 7), "other", "true", "invalid"},
        {"64 bits", number(VT_I8, 7), "other", "true", "invalid"},
        {"true", number(VT_BOOL, VARIANT_TRUE), "true", "true", "invalid"},
        {"one", number(VT_BOOL, 1), "true", "true", "invalid"},
        {"false", number(VT_BOOL, VARIANT_FALSE), "false", "false", "invalid"},
        {"reference to true", reference(VARIANT_TRUE), "other", "true", "invalid"},
        {"reference to one", reference(1), "other", "false", "invalid"}, // a converted value must be VARIANT_TRUE
        {"object", object, "other", "mismatch", "invalid"},
        {"texts", texts(0, {L"10.0.0.7", L"", withZero}), "other", "mismatch", "[10.0.0.7][][a\0b]"s},
        {"no element", texts(0, {}), "other", "mismatch", ""},
        {"from 5", texts(5, {L"a", L"b"}), "other", "mismatch", "[a][b]"},
        {"from -1", texts(-1, {L"a", L"b"}), "other", "mismatch", "[a][b]"},
        {"up to the last index", texts(largest, {L"a"}), "other", "mismatch", "[a]"},
        {"null element", vector(VT_BSTR, VT_BSTR), "other", "mismatch", "[]"},
        {"named otherwise", texts(0, {L"a"}, VT_VARIANT), "other", "mismatch", "[a]"},
        {"missing array", null(VT_ARRAY | VT_BSTR), "other", "mismatch", "invalid"},
        {"reference to none", null(VT_BYREF | VT_ARRAY | VT_BSTR), "other", "mismatch", "invalid"},
        {"numbers", vector(VT_I4, VT_I4), "other", "mismatch", "invalid"},
        {"numbers said to be texts", vector(VT_BSTR, VT_I4), "other", "mismatch", "invalid"},
        {"dispatch objects", vector(VT_DISPATCH, VT_DISPATCH), "other", "mismatch", "invalid"},
        {"two dimensions", array(VT_BSTR, twoDimensions), "other", "mismatch", "invalid"},
        // The lock count is at its maximum: one more lock fails.
        {"locked out", texts(0, {L"a"}, VT_BSTR, 0xFFFF), "other", "mismatch", "error " + std::to_string(E_UNEXPECTED)},
    };
    for (const auto& test : cases)
    {
        SCOPED_TRACE(test.name);
        EXPECT_EQ(answerOf(&WMIObject::get, test.make), test.value);
        EXPECT_EQ(answerOf(&WMIObject::getBool, test.make, L"does not convert to a boolean"), test.flag);
        EXPECT_EQ(answerOf(&WMIObject::getStringArray, test.make, L"cannot be read as an array of BSTR"), test.list);
    }
    // Each value is cleared once; each object is released once.
    EXPECT_EQ(std::ranges::count(fakes::com().trace, "~value"), 3);
    EXPECT_EQ(std::ranges::count(fakes::com().trace, "~object"), 3 * std::ssize(cases));
}
}

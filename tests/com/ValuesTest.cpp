#include "hw-inventory-impl/lib/Providers/WMIValues.h"

#include "tests/com/FakeCom.h"

#include <comdef.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <optional>

namespace
{
using namespace HardwareInventory::Providers::WMIProvider;
using Make = fakes::FakeObject::Value;
using Texts = std::vector<std::wstring>;
using ArrayFailure = ManagementObject::ArrayFailure;

const std::wstring kWithZero(L"a\0b", 3);

Make number(VARTYPE type, long long value)
{
    return [=](VARIANT& variant)
    {
        variant.vt = type;
        variant.llVal = value;
    };
}

Make boolean(VARIANT_BOOL value)
{
    return number(VT_BOOL, value);
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

// A value that tells when it is cleared.
Make object()
{
    return [](VARIANT& variant)
    {
        variant.vt = VT_UNKNOWN;
        variant.punkVal = new fakes::FakeObject("value", {});
    };
}

SAFEARRAY* textArray(LONG lowerBound, const Texts& values)
{
    SAFEARRAY* array = SafeArrayCreateVector(VT_BSTR, lowerBound, static_cast<ULONG>(values.size()));
    BSTR* elements = static_cast<BSTR*>(array->pvData);
    for (const std::wstring& value : values)
        *elements++ = SysAllocStringLen(value.data(), static_cast<UINT>(value.size()));
    return array;
}

Make array(VARTYPE type, std::function<SAFEARRAY*()> make)
{
    return [=](VARIANT& variant)
    {
        variant.vt = VT_ARRAY | type;
        variant.parray = make();
    };
}

Make texts(LONG lowerBound, const Texts& values)
{
    return array(VT_BSTR, [=] { return textArray(lowerBound, values); });
}

SAFEARRAY* objectArray(VARTYPE type)
{
    SAFEARRAY* array = SafeArrayCreateVector(type, 0, 1);
    LONG index = 0;
    IUnknown* element = new fakes::FakeObject("value", {});
    SafeArrayPutElement(array, &index, element);
    element->Release();
    return array;
}

SAFEARRAY* twoDimensions()
{
    SAFEARRAYBOUND bounds[] = {{1, 0}, {1, 0}};
    return SafeArrayCreate(VT_BSTR, 2, bounds);
}

// An array that its owner has locked as often as the count goes: one more lock fails.
SAFEARRAY* lockedOut()
{
    SAFEARRAY* array = textArray(0, {L"a"});
    array->cLocks = std::numeric_limits<USHORT>::max();
    return array;
}

// Reads the property "P" of an object whose value it is; without a value the object has no such property.
template <class Read>
auto readFrom(const Make& value, Read read)
{
    const WMIObject object(fakes::makeObject("object", value ? std::map<std::wstring, Make>{{L"P", value}}
                                                             : std::map<std::wstring, Make>{}));
    return read(object);
}

// The error number of the COM error that the action raises; nothing when it returns.
template <class Action>
std::optional<HRESULT> comError(Action action)
{
    try
    {
        action();
        return std::nullopt;
    }
    catch (const _com_error& error)
    {
        return error.Error();
    }
}

const std::pair<const char*, Make> kEveryKind[] = {
    {"missing", nullptr},
    {"null", null(VT_NULL)},
    {"empty", null(VT_EMPTY)},
    {"text", text(L"42")},
    {"text with a zero", text(kWithZero)},
    {"null text", null(VT_BSTR)},
    {"largest int", number(VT_I4, std::numeric_limits<std::int32_t>::max())},
    {"smallest int", number(VT_I4, std::numeric_limits<std::int32_t>::min())},
    {"short", number(VT_I2, 7)},
    {"unsigned", number(VT_UI4, 7)},
    {"64 bits", number(VT_I8, 7)},
    {"true", boolean(VARIANT_TRUE)},
    {"one", boolean(1)},
    {"false", boolean(VARIANT_FALSE)},
    {"object", object()},
    {"array", texts(0, {L"a"})},
};

TEST(Values, AValueIsAnsweredAsItStands)
{
    std::vector<std::string> answers;
    for (const auto& [name, value] : kEveryKind)
    {
        const PropertyValue answer = readFrom(value, [](const WMIObject& object) { return object.get(L"P"); });
        std::string description = std::string(name) + ": ";
        if (const auto* wide = std::get_if<std::wstring>(&answer))
            description += "text " + std::string(wide->begin(), wide->end());
        else if (const auto* integer = std::get_if<std::int32_t>(&answer))
            description += "int " + std::to_string(*integer);
        else if (const auto* flag = std::get_if<bool>(&answer))
            description += *flag ? "true" : "false";
        else
            description += std::holds_alternative<Unreadable>(answer) ? "unreadable"
                           : std::holds_alternative<Null>(answer)     ? "null"
                                                                      : "other";
        answers.push_back(description);
    }
    const std::vector<std::string> expected = {"missing: unreadable",
                                               "null: null",
                                               "empty: other",
                                               "text: text 42",
                                               std::string("text with a zero: text a\0b", 26),
                                               "null text: text ",
                                               "largest int: int 2147483647",
                                               "smallest int: int -2147483648",
                                               "short: other",
                                               "unsigned: other",
                                               "64 bits: other",
                                               "true: true",
                                               "one: true",
                                               "false: false",
                                               "object: other",
                                               "array: other"};
    EXPECT_EQ(answers, expected);
    // The object's value was cleared before the object went; beyond that each object went once.
    EXPECT_EQ(std::ranges::count(fakes::com().trace, "~value"), 1);
    EXPECT_EQ(std::ranges::count(fakes::com().trace, "~object"), std::ssize(kEveryKind));
}

TEST(Values, ABooleanIsConvertedOnlyWhenItIsNone)
{
    static VARIANT_BOOL referredOne = 1;
    static VARIANT_BOOL referredTrue = VARIANT_TRUE;
    const auto reference = [](VARIANT_BOOL* target)
    {
        return [=](VARIANT& variant)
        {
            variant.vt = VT_BYREF | VT_BOOL;
            variant.pboolVal = target;
        };
    };
    const struct
    {
        const char* name;
        Make value;
        std::optional<bool> answer;
    } cases[] = {{"missing", nullptr, std::nullopt},
                 {"true", boolean(VARIANT_TRUE), true},
                 {"one", boolean(1), true},
                 {"false", boolean(VARIANT_FALSE), false},
                 {"int 1", number(VT_I4, 1), true},
                 {"int 0", number(VT_I4, 0), false},
                 {"empty", null(VT_EMPTY), false},
                 {"text", text(L"True"), true},
                 {"text of a number", text(L"0"), false},
                 {"reference to true", reference(&referredTrue), true},
                 {"reference to one", reference(&referredOne), false}};
    for (const auto& test : cases)
    {
        SCOPED_TRACE(test.name);
        EXPECT_EQ(readFrom(test.value, [](const WMIObject& object) { return object.getBool(L"P"); }), test.answer);
    }

    fakes::com().trace.clear();
    const std::pair<const char*, Make> unconvertible[] = {
        {"null", null(VT_NULL)}, {"word", text(L"perhaps")}, {"array", texts(0, {L"True"})}, {"object", object()}};
    for (const auto& [name, value] : unconvertible)
    {
        SCOPED_TRACE(name);
        const auto read = [](const WMIObject& object) { return object.getBool(L"P"); };
        EXPECT_EQ(comError([&] { readFrom(value, read); }), DISP_E_TYPEMISMATCH);
    }
    EXPECT_EQ(std::ranges::count(fakes::com().trace, "~value"), 1);
}

TEST(Values, AnArrayOfTextsIsReadWhereverItBegins)
{
    const struct
    {
        const char* name;
        Make value;
        std::variant<Texts, ArrayFailure> answer;
    } cases[] = {{"missing", nullptr, ArrayFailure::unreadable},
                 {"null", null(VT_NULL), Texts{}},
                 {"no element", texts(0, {}), Texts{}},
                 {"some", texts(0, {L"10.0.0.7", L"", kWithZero}), Texts{L"10.0.0.7", L"", kWithZero}},
                 {"from 5", texts(5, {L"a", L"b"}), Texts{L"a", L"b"}},
                 {"from -1", texts(-1, {L"a", L"b"}), Texts{L"a", L"b"}},
                 {"up to the last index", texts(std::numeric_limits<LONG>::max(), {L"a"}), Texts{L"a"}},
                 {"null element", array(VT_BSTR, [] { return SafeArrayCreateVector(VT_BSTR, 0, 1); }), Texts{L""}},
                 {"named otherwise", array(VT_VARIANT, [] { return textArray(0, {L"a"}); }), Texts{L"a"}}};
    for (const auto& test : cases)
    {
        SCOPED_TRACE(test.name);
        EXPECT_EQ(readFrom(test.value, [](const WMIObject& object) { return object.getStringArray(L"P"); }), test.answer);
    }
}

TEST(Values, WhatIsNoArrayOfTextsRaises)
{
    const struct
    {
        const char* name;
        Make value;
        HRESULT error;
    } cases[] = {
        {"empty", null(VT_EMPTY), E_INVALIDARG},
        {"text", text(L"10.0.0.7"), E_INVALIDARG},
        {"number", number(VT_I4, 1), E_INVALIDARG},
        {"missing array", null(VT_ARRAY | VT_BSTR), E_INVALIDARG},
        {"reference", null(VT_BYREF | VT_ARRAY | VT_BSTR), E_INVALIDARG},
        {"numbers", array(VT_I4, [] { return SafeArrayCreateVector(VT_I4, 0, 2); }), E_INVALIDARG},
        {"numbers said to be texts", array(VT_BSTR, [] { return SafeArrayCreateVector(VT_I4, 0, 2); }), E_INVALIDARG},
        {"objects", array(VT_UNKNOWN, [] { return objectArray(VT_UNKNOWN); }), E_INVALIDARG},
        {"dispatch objects", array(VT_DISPATCH, [] { return SafeArrayCreateVector(VT_DISPATCH, 0, 1); }), E_INVALIDARG},
        {"two dimensions", array(VT_BSTR, twoDimensions), E_INVALIDARG},
        {"locked out", array(VT_BSTR, lockedOut), E_UNEXPECTED},
    };
    for (const auto& test : cases)
    {
        SCOPED_TRACE(test.name);
        const auto read = [](const WMIObject& object) { return object.getStringArray(L"P"); };
        EXPECT_EQ(comError([&] { readFrom(test.value, read); }), test.error);
    }
    EXPECT_EQ(std::ranges::count(fakes::com().trace, "~value"), 1);
}
}

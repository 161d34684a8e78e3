#include "hw-inventory-impl/lib/Platform/Platform.h"
#include "hw-inventory-impl/lib/Providers/WMIConnections.h"
#include "hw-inventory-impl/lib/Providers/WMIObjectWin.h"
#include "hw-inventory-interface/ErrorHandling/Exception.h"
#include "st-core/lib/Format.h"
#include "st-core/lib/HostLogger.h"
#include "st-core/lib/Utf8.h"
#include "tests/com/Service.h"

#include <comdef.h>
#include <gtest/gtest.h>

#include <thread>

namespace
{
using namespace HardwareInventory::Providers::WMIProvider;
using fakes::failing, fakes::service, fakes::Value;
using HardwareInventory::ErrorHandling::ErrorCode;
using HardwareInventory::Platform::connectManagementSource;
using ZelStdCore::format, ZelStdCore::LastError;

const std::wstring kJoin = L"CoInitializeEx 0; ";
const std::wstring kCreate = kJoin + L"CoCreateInstance 1; ";
const std::wstring kBind = kCreate + L"ConnectServer ROOT\\CIMV2; ";
const std::wstring kConnect = kBind + L"CoSetProxyBlanket 10 0 3 3 0; ";
const std::wstring kConnectBoth = kConnect + kCreate + L"ConnectServer ROOT\\StandardCIMV2; CoSetProxyBlanket 10 0 3 3 0; ";
const std::wstring kQuery = kConnect + L"ExecQuery WQL SELECT * FROM Win32_Fan 48; ";
const std::wstring kRelease = L"~services; ~locator; ";
const std::wstring kLeave = L"CoUninitialize; ";
const wchar_t* const kWql = L"SELECT * FROM Win32_Fan";

// The text of the failing call's error, not of the error that the cleanup leaves.
const std::wstring kFailureText =
    format(L"%1% (GetLastError() = %2%)", LastError{fakes::kErrorOfFailure}.text(), fakes::kErrorOfFailure);

std::wstring trace, lines;
HRESULT joined = S_OK;                          // of every thread
std::optional<APTTYPE> apartment = APTTYPE_MTA; // of every thread

struct Management : testing::Test, fakes::Values
{
    static HRESULT WINAPI join(void*, DWORD kind)
    {
        const HRESULT result = fakes::record(L"CoInitializeEx " + std::to_wstring(kind));
        return FAILED(result) ? result : joined;
    }
    static void WINAPI leave() { SetLastError((fakes::record(L"CoUninitialize"), fakes::kErrorOfCleanup)); }
    static HRESULT WINAPI apartmentType(APTTYPE* type, APTTYPEQUALIFIER*)
    {
        SetLastError(fakes::kErrorOfCleanup);
        *type = apartment.value_or(APTTYPE_CURRENT);
        return apartment ? S_OK : CO_E_NOTINITIALIZED;
    }

    Management()
    {
        const HMODULE program = GetModuleHandleW(nullptr);
        fakes::serve(program);
        fakes::replaceImport(program, "ole32.dll", "CoInitializeEx", &join);
        fakes::replaceImport(program, "ole32.dll", "CoUninitialize", &leave);
        fakes::replaceImport(program, "ole32.dll", "CoGetApartmentType", &apartmentType);
        service.trace = &trace;
        ZelStdCore::HostLogger::instance().set(
            [](std::uint32_t level, const char* line)
            {
                lines += std::to_wstring(level) + L" " + ZelStdCore::widen(line) + L"\n";
                SetLastError(fakes::kErrorOfCleanup);
            });
    }

    static std::wstring taken(std::wstring& text) { return std::exchange(text, L""); }

    // A value with something changed.
    static Value changed(Value make, void (*change)(VARIANT& value))
    {
        return [=](VARIANT& place) { change((make(place), place)); };
    }
    static Value array(VARTYPE type, VARTYPE elements, UINT dimensions = 1)
    {
        return [=](VARIANT& place)
        {
            SAFEARRAYBOUND bounds[] = {{1, 0}, {1, 0}};
            place.parray = (place.vt = VT_ARRAY | type, SafeArrayCreate(elements, dimensions, bounds));
        };
    }
    static Value reference(VARIANT_BOOL flag)
    {
        return number(VT_BYREF | VT_BOOL, reinterpret_cast<long long>(new VARIANT_BOOL(flag)));
    }
};

TEST_F(Management, AFailingStepIsReportedAndLeavesNothingBehind)
{
    const std::wstring refused = L"IWbemLocator::ConnectServer 'ROOT\\CIMV2' failed: 0x80070005\n";
    const struct
    {
        const wchar_t* failing;
        HRESULT joined;
        ErrorCode code;
        std::wstring calls;
        std::wstring logged;
    } cases[] = {
        {L"CoInit", S_OK, ErrorCode::comInitialization, kJoin, L"CoInitializeEx failed: 0x80070005\n"},
        {L"CoCreate", S_OK, ErrorCode::wmiLocator, kCreate + kLeave, L"CoCreateInstance failed: 0x80070005\n"},
        {L"Connect", S_FALSE, ErrorCode::wmiBind, kBind + L"~locator; " + kLeave, refused},
        // A connection that was never established must not close the host's apartment.
        {L"Connect", RPC_E_CHANGED_MODE, ErrorCode::wmiBind, kBind + L"~locator; ", refused},
        {L"CoSet", S_OK, ErrorCode::wmiSecurityBlanket, kConnect + kRelease + kLeave, L"CoSetProxyBlanket failed: 0x80070005\n"},
        // The loading thread keeps its proxy.
        {L"Exec", S_OK, ErrorCode::wmiQuery, kQuery + L"~locator; " + kLeave,
         L"IWbemServices::ExecQuery 'SELECT * FROM Win32_Fan' failed: 0x80070005\n"},
    };
    for (const auto& test : cases)
    {
        service.answer = failing(test.failing);
        joined = test.joined;
        const bool query = test.code == ErrorCode::wmiQuery;
        try
        {
            connectManagementSource(L"ROOT\\CIMV2")->query(kWql, {});
            ADD_FAILURE() << "nothing thrown";
        }
        catch (const HardwareInventory::ErrorHandling::Exception& exception)
        {
            EXPECT_EQ(exception.code(), test.code);
            EXPECT_EQ(exception.message(), (query ? L"'SELECT * FROM Win32_Fan': " : L"") + kFailureText);
            EXPECT_EQ(exception.function(), std::wstring(L"HardwareInventory::Providers::WMIProvider::WMIConnection::") +
                                                (query ? L"query" : L"WMIConnection"));
            EXPECT_EQ(exception.file(), L"hw-inventory-impl\\lib\\Providers\\WMIProvider.cpp");
        }
        EXPECT_EQ(taken(trace), test.calls);
        EXPECT_EQ(taken(lines).substr(0, test.logged.size() + 2), L"3 " + test.logged) << "before the lines of the stack trace";
    }
}

TEST_F(Management, AThreadReleasesBeforeItLeavesComAndNothingIntoAClosedApartment)
{
    joined = RPC_E_CHANGED_MODE;
    for (const auto atItsEnd : {std::optional(APTTYPE_STA), std::optional(APTTYPE_MTA), std::optional<APTTYPE>()})
    {
        apartment = APTTYPE_STA;
        std::thread([&] { apartment = (WMIConnections::forThisThread(), atItsEnd); }).join();
        EXPECT_EQ(taken(trace), kConnectBoth + (atItsEnd == APTTYPE_STA ? kRelease + kRelease : L"") + kLeave + kLeave);
    }
}

// The loading thread, too: it goes on, and its next call connects again.
TEST_F(Management, AThreadThatCannotKeepItsConnectionsGivesThemBack)
{
    while (FlsAlloc(nullptr) != FLS_OUT_OF_INDEXES)
        continue;
    EXPECT_THROW(WMIConnections::forThisThread(), std::runtime_error);
    EXPECT_EQ(taken(trace), kConnectBoth + kRelease + kLeave + kRelease + kLeave);
    joined = RPC_E_CHANGED_MODE;
    EXPECT_THROW(WMIConnections::forThisThread(), std::runtime_error);
    EXPECT_EQ(taken(trace), kConnectBoth + kRelease + kRelease);
}

// The half-made connection is released before the warning is logged.
TEST_F(Management, TheMissingOptionalNamespaceIsLoggedWithItsOwnError)
{
    service.answer = failing(L"ConnectServer ROOT\\StandardCIMV2");
    const WMIConnections connections;
    EXPECT_EQ(GetModuleHandleW(L"dbghelp.dll"), nullptr) << "a trace that nobody reads";
    EXPECT_EQ(lines, L"3 IWbemLocator::ConnectServer 'ROOT\\StandardCIMV2' failed: 0x80070005\n"
                     L"1 failed to bind to ROOT\\StandardCIMV2 WMI namespace: " +
                         kFailureText + L"\n");
}

// And its thread leaves COM once, whatever apartment it was in.
TEST_F(Management, AQueryDeliversWhatCameBeforeItsEnd)
{
    service.results = 2;
    const std::pair<HRESULT, HRESULT> cases[] = {{S_OK, S_OK},
                                                 {S_FALSE, WBEM_S_FALSE},
                                                 {RPC_E_CHANGED_MODE, WBEM_S_TIMEDOUT},
                                                 {S_OK, E_FAIL},
                                                 {S_FALSE, RPC_E_DISCONNECTED}};
    for (const auto& [found, end] : cases)
    {
        joined = found;
        service.answer = [end = end](const std::wstring& call) { return call == L"End" ? end : S_OK; };
        std::vector<ManagementObjectPtr> held;
        const auto query = [&] { connectManagementSource(L"ROOT\\CIMV2")->query(kWql, [&](auto& one) { held.push_back(one); }); };
        std::thread(query).join();
        EXPECT_EQ(taken(trace), kQuery + L"Next; Next; End; ~enumerator; " + kRelease + kLeave);
        EXPECT_EQ(taken(lines), FAILED(end) ? L"1 failed to iterate SELECT * FROM Win32_Fan: " + kFailureText + L"\n" : L"");
        // In their order, and alive as long as they are held.
        while (!held.empty())
            held.pop_back();
        EXPECT_EQ(taken(trace), L"~object1; ~object0; ");
    }
}

TEST_F(Management, ACallbackThatThrowsEndsTheQueryWithoutALeak)
{
    const auto source = connectManagementSource(L"ROOT\\CIMV2");
    EXPECT_THROW(source->query(kWql, [](const auto&) { throw 1; }), int);
    EXPECT_EQ(trace, kQuery + L"Next; ~object0; ~enumerator; ");
}

// The results in the words of the cases below.
struct Described : std::wstring
{
    Described(const wchar_t* words) : std::wstring(words) {}
    Described(bool flag) : Described(flag ? L"true" : L"false") {}
    Described(std::int32_t value) : std::wstring(std::to_wstring(value)) {}
    Described(const std::wstring& text) : std::wstring(L"text " + text) {}
    Described(Unreadable) : Described(L"unreadable") {}
    Described(Null) : Described(L"null") {}
    Described(OtherType) : Described(L"other") {}
    Described(std::optional<bool> flag) : Described(flag ? Described(*flag) : Described(Unreadable())) {}
    Described(const PropertyValue& value) : Described(std::visit([](const auto& kind) { return Described(kind); }, value)) {}
    Described(const ZelStdCore::Result<std::vector<std::wstring>, ManagementObject::ArrayFailure>& list)
        : Described(list                                                         ? L""
                    : list.error() == ManagementObject::ArrayFailure::unreadable ? L"unreadable"
                                                                                 : L"not attached")
    {
        for (std::size_t index = 0; list && index < list.value().size(); ++index)
            *this += L"[" + list.value()[index] + L"]";
    }
};

// The result of a getter. The reason of an error is logged before it is thrown, and nothing else is logged.
template <class Getter>
std::wstring answerOf(Getter getter, const wchar_t* reason = L"")
{
    const WMIObject object(HardwareInventory::Providers::ComPointer(static_cast<IWbemClassObject*>(fakes::makeObject(L"object"))));
    lines.clear();
    try
    {
        const std::wstring answer = Described((object.*getter)(L"P"));
        EXPECT_EQ(lines, L"");
        return answer;
    }
    catch (const _com_error& error)
    {
        const auto code = static_cast<std::uint32_t>(error.Error());
        EXPECT_EQ(lines, format(L"3 'P' property of %p %s: 0x%08X\n", object.address(), reason, code));
        return code == 0x80020005 ? L"mismatch" : code == 0x80070057 ? L"invalid" : L"error " + std::to_wstring(code);
    }
}

TEST_F(Management, EachGetterTakesTheValuesItCan)
{
    const std::wstring zero(L"a\0b", 3);
    const auto asVariants = [](VARIANT& value) { value.vt = VT_ARRAY | VT_VARIANT; };
    const auto lockedOut = [](VARIANT& value) { value.parray->cLocks = 0xFFFF; }; // one more lock fails
    const auto anObject = [](VARIANT& value) { value.punkVal = static_cast<IUnknown*>(fakes::makeObject(L"value")); };
    const struct
    {
        const char* name;
        Value make;
        std::wstring value;
        std::wstring flag = L"mismatch";
        std::wstring list = L"invalid";
    } cases[] = {
        {"missing", nullptr, L"unreadable", L"unreadable", L"unreadable"},
        {"null", number(VT_NULL, 0), L"null", L"mismatch", L""},
        {"empty", number(VT_EMPTY, 0), L"other", L"false"},
        {"text", text(L"True"), L"text True", L"true"},
        {"text of a number", text(L"0"), L"text 0", L"false"},
        {"text with a zero", text(zero), L"text " + zero},
        {"null text", number(VT_BSTR, 0), L"text "},
        {"largest int", number(VT_I4, 0x7FFFFFFF), L"2147483647", L"true"},
        {"smallest int", number(VT_I4, 0x80000000), L"-2147483648", L"true"},
        {"short", number(VT_I2, 0), L"other", L"false"},
        {"unsigned", number(VT_UI4, 7), L"other", L"true"},
        {"64 bits", number(VT_I8, 7), L"other", L"true"},
        {"true", number(VT_BOOL, VARIANT_TRUE), L"true", L"true"},
        {"one", number(VT_BOOL, 1), L"true", L"true"},
        {"false", number(VT_BOOL, VARIANT_FALSE), L"false", L"false"},
        {"reference to true", reference(VARIANT_TRUE), L"other", L"true"},
        {"reference to one", reference(1), L"other", L"false"}, // a converted value must be VARIANT_TRUE
        {"object", changed(number(VT_UNKNOWN, 0), anObject), L"other"},
        {"texts", texts({L"10.0.0.7", L"", zero}), L"other", L"mismatch", L"[10.0.0.7][][" + zero + L"]"},
        {"no element", texts({}), L"other", L"mismatch", L""},
        {"from 5", texts({L"a", L"b"}, 5), L"other", L"mismatch", L"[a][b]"},
        {"from -1", texts({L"a", L"b"}, -1), L"other", L"mismatch", L"[a][b]"},
        {"up to the last index", texts({L"a"}, 0x7FFFFFFF), L"other", L"mismatch", L"[a]"},
        {"null element", array(VT_BSTR, VT_BSTR), L"other", L"mismatch", L"[]"},
        {"named otherwise", changed(texts({L"a"}), asVariants), L"other", L"mismatch", L"[a]"},
        {"missing array", number(VT_ARRAY | VT_BSTR, 0), L"other"},
        {"reference to none", number(VT_BYREF | VT_ARRAY | VT_BSTR, 0), L"other"},
        {"numbers", array(VT_I4, VT_I4), L"other"},
        {"numbers said to be texts", array(VT_BSTR, VT_I4), L"other"},
        {"dispatch objects", array(VT_DISPATCH, VT_DISPATCH), L"other"},
        {"two dimensions", array(VT_BSTR, VT_BSTR, 2), L"other"},
        {"locked out", changed(texts({L"a"}), lockedOut), L"other", L"mismatch", L"error " + std::to_wstring(0x8000FFFF)},
    };
    for (const auto& [name, make, value, flag, list] : cases)
    {
        SCOPED_TRACE(name);
        service.values = [&](const wchar_t* property) { return property == std::wstring(L"P") ? make : nullptr; };
        EXPECT_EQ(answerOf(&WMIObject::get), value);
        EXPECT_EQ(answerOf(&WMIObject::getBool, L"does not convert to a boolean"), flag);
        EXPECT_EQ(answerOf(&WMIObject::getStringArray, L"cannot be read as an array of BSTR"), list);
        // Each value is cleared once; each object is released once.
        const std::wstring once = name == std::string("object") ? L"Get; ~value; ~object; " : L"Get; ~object; ";
        EXPECT_EQ(taken(trace), once + once + once);
    }
}
}

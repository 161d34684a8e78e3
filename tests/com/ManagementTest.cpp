#include "hw-inventory-impl/lib/Platform/Platform.h"
#include "hw-inventory-impl/lib/Providers/WMIConnections.h"
#include "hw-inventory-impl/lib/Providers/WMIObjectWin.h"
#include "hw-inventory-interface/ErrorHandling/Exception.h"
#include "st-core/lib/HostLogger.h"
#include "tests/com/Service.h"

#include <comdef.h>
#include <gmock/gmock.h>

#include <thread>

namespace
{
using namespace HardwareInventory::Providers::WMIProvider;
using fakes::failing, fakes::service, fakes::Value;
using HardwareInventory::ErrorHandling::ErrorCode;
using HardwareInventory::Platform::connectManagementSource;
using testing::EndsWith, testing::StartsWith;
using ZelStdCore::format, ZelStdCore::LastError;

const std::wstring kRelease = L"~services; ~locator; ", kLeave = L"CoUninitialize; ", kJoin = L"CoInitializeEx 0; ";
const std::wstring kCreate = kJoin + L"CoCreateInstance 1; ";
const std::wstring kBind = kCreate + L"ConnectServer ROOT\\CIMV2; ";
const std::wstring kConnect = kBind + L"CoSetProxyBlanket 10 0 3 3 0; ";
const std::wstring kConnectBoth = kConnect + kCreate + L"ConnectServer ROOT\\StandardCIMV2; CoSetProxyBlanket 10 0 3 3 0; ";
const std::wstring kQuery = kConnect + L"ExecQuery WQL SELECT * FROM Win32_Fan 48; ";
const std::wstring kMismatch = L"80020005"; // DISP_E_TYPEMISMATCH
const wchar_t* const kWql = L"SELECT * FROM Win32_Fan";

// The failing call's error, not the one that the cleanup leaves.
const std::wstring kFailureText = LastError{fakes::kErrorOfFailure}.text() + L" (GetLastError() = 5)";

const std::wstring kSource =
    L"hw-inventory-impl\\lib\\Providers\\WMIProvider.cpp HardwareInventory::Providers::WMIProvider::WMIConnection::";

std::wstring trace, lines;
HRESULT joined = S_OK;                          // of every thread
std::optional<APTTYPE> apartment = APTTYPE_MTA; // of every thread

struct Management : testing::Test, fakes::Values
{
    static HRESULT WINAPI join(void*, DWORD kind)
    {
        return FAILED(fakes::record(L"CoInitializeEx " + std::to_wstring(kind))) ? E_ACCESSDENIED : joined;
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
            { SetLastError((lines += format(L"%u %s\n", level, line), fakes::kErrorOfCleanup)); });
    }

    static std::wstring taken(std::wstring& text) { return std::exchange(text, L""); }
    static Value changed(Value make, void (*change)(VARIANT& value))
    {
        return [=](VARIANT& place) { change((make(place), place)); };
    }
    static Value array(VARTYPE type, VARTYPE elements, UINT dimensions = 1)
    {
        static SAFEARRAYBOUND bounds[] = {{1, 0}, {1, 0}};
        return [=](VARIANT& place) { place.parray = (place.vt = VT_ARRAY | type, SafeArrayCreate(elements, dimensions, bounds)); };
    }
    static long long flag(VARIANT_BOOL value) { return reinterpret_cast<long long>(new VARIANT_BOOL(value)); }
};

TEST_F(Management, AFailingStepIsReportedAndLeavesNothingBehind)
{
    const std::wstring refused = L"IWbemLocator::ConnectServer 'ROOT\\CIMV2' failed: 0x80070005\n";
    const std::tuple<const wchar_t*, HRESULT, ErrorCode, std::wstring, std::wstring> cases[] = {
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
    for (const auto& [step, found, code, calls, logged] : cases)
    {
        service.answer = failing(step);
        joined = found;
        const auto end = code == ErrorCode::wmiQuery ? L"query 'SELECT * FROM Win32_Fan': " : L"WMIConnection ";
        try
        {
            connectManagementSource(L"ROOT\\CIMV2")->query(kWql, {});
        }
        catch (const HardwareInventory::ErrorHandling::Exception& exception)
        {
            lines += exception.file() + L" " + exception.function() + L" " + exception.message();
            EXPECT_EQ(exception.code(), code);
        }
        EXPECT_EQ(taken(trace), calls);
        // The lines of the stack trace are between the two.
        EXPECT_THAT(lines, StartsWith(L"3 " + logged));
        EXPECT_THAT(taken(lines), EndsWith(kSource + end + kFailureText));
    }
}

TEST_F(Management, TheOptionalNamespaceMayBeMissingAndNothingIsReleasedIntoAClosedApartment)
{
    // The half-made connection is released before the warning is logged with its own error.
    service.answer = failing(L"ConnectServer ROOT\\StandardCIMV2");
    WMIConnections{};
    EXPECT_EQ(GetModuleHandleW(L"dbghelp.dll"), nullptr) << "a trace that nobody reads";
    EXPECT_EQ(lines, L"3 IWbemLocator::ConnectServer 'ROOT\\StandardCIMV2' failed: 0x80070005\n"
                     L"1 failed to bind to ROOT\\StandardCIMV2 WMI namespace: " +
                         kFailureText + L"\n");
    service.answer = nullptr;
    trace.clear();
    joined = RPC_E_CHANGED_MODE;
    for (const auto atItsEnd : {std::optional(APTTYPE_STA), std::optional(APTTYPE_MTA), std::optional<APTTYPE>()})
    {
        apartment = APTTYPE_STA;
        std::thread([&] { apartment = (WMIConnections::forThisThread(), atItsEnd); }).join();
        EXPECT_EQ(taken(trace), kConnectBoth + (atItsEnd == APTTYPE_STA ? kRelease + kRelease : L"") + kLeave + kLeave);
    }
}

TEST_F(Management, AThreadThatCannotKeepItsConnectionsGivesThemBack)
{
    while (FlsAlloc(nullptr) != FLS_OUT_OF_INDEXES)
        continue;
    EXPECT_THROW(WMIConnections::forThisThread(), std::runtime_error);
    EXPECT_EQ(taken(trace), kConnectBoth + kRelease + kLeave + kRelease + kLeave);
    joined = RPC_E_CHANGED_MODE;
    EXPECT_THROW(WMIConnections::forThisThread(), std::runtime_error);
    EXPECT_EQ(taken(trace), kConnectBoth + kRelease + kRelease);
    service.answer = failing(L"CoSetProxyBlanket", 2);
    EXPECT_THROW(WMIConnections::forThisThread(), HardwareInventory::ErrorHandling::Exception);
    EXPECT_EQ(taken(trace), kConnectBoth + kRelease + kRelease);
}

// And its thread leaves COM once, whatever apartment it was in. A callback that throws ends the query without a leak.
TEST_F(Management, AQueryDeliversWhatCameBeforeItsEnd)
{
    service.results = 2;
    using Case = std::pair<HRESULT, HRESULT>;
    for (const auto& [found, end] : {Case{S_OK, S_OK}, {S_FALSE, WBEM_S_TIMEDOUT}, {RPC_E_CHANGED_MODE, RPC_E_DISCONNECTED}})
    {
        joined = found;
        service.answer = [end = end](const std::wstring& call) { return call == L"End" ? end : S_OK; };
        std::vector<ManagementObjectPtr> held; // in their order, and alive as long as they are held
        const auto query = [&] { connectManagementSource(L"ROOT\\CIMV2")->query(kWql, [&](auto& one) { held.push_back(one); }); };
        std::thread(query).join();
        EXPECT_EQ(taken(trace), kQuery + L"Next; Next; End; ~enumerator; " + kRelease + kLeave);
        EXPECT_EQ(taken(lines), FAILED(end) ? L"1 failed to iterate SELECT * FROM Win32_Fan: " + kFailureText + L"\n" : L"");
        while (!held.empty())
            held.pop_back();
        EXPECT_EQ(taken(trace), L"~object1; ~object0; ");
    }
    joined = S_OK;
    const auto source = connectManagementSource(L"ROOT\\CIMV2");
    EXPECT_THROW(source->query(kWql, [](const auto&) { throw 1; }), int);
    EXPECT_EQ(trace, kQuery + L"Next; ~object0; ~enumerator; ");
}

struct Described : std::wstring
{
    Described(bool flag) : std::wstring(flag ? L"true" : L"false") {}
    Described(std::int32_t value) : std::wstring(std::to_wstring(value)) {}
    Described(const std::wstring& text) : std::wstring(L"text " + text) {}
    Described(Unreadable) : std::wstring(L"unreadable") {}
    Described(Null) : std::wstring(L"null") {}
    Described(OtherType) : std::wstring(L"other") {}
    Described(std::optional<bool> flag) : Described(flag ? PropertyValue(*flag) : PropertyValue()) {}
    Described(const PropertyValue& value) : Described(std::visit([](const auto& kind) { return Described(kind); }, value)) {}
    Described(const ZelStdCore::Result<std::vector<std::wstring>, ManagementObject::ArrayFailure>& list)
    {
        for (const std::wstring& element : list ? list.value() : std::vector<std::wstring>())
            *this += L"[" + element + L"]";
        if (!list)
            assign(list.error() == ManagementObject::ArrayFailure::unreadable ? L"unreadable" : L"not attached");
    }
};

// The result of a getter. The reason of an error is logged before it is thrown, and nothing else is logged.
std::wstring answerOf(auto getter, const wchar_t* reason = L"")
{
    const WMIObject object(HardwareInventory::Providers::ComPointer(static_cast<IWbemClassObject*>(fakes::makeObject(L"object"))));
    std::wstring answer, logged;
    lines.clear();
    try
    {
        answer = Described((object.*getter)(L"P"));
    }
    catch (const _com_error& error)
    {
        answer = ZelStdCore::format(L"%08X", static_cast<std::uint32_t>(error.Error()));
        logged = ZelStdCore::format(L"3 'P' property of %p %s: 0x%s\n", object.address(), reason, answer);
    }
    EXPECT_EQ(lines, logged);
    return answer;
}

TEST_F(Management, EachGetterTakesTheValuesItCan)
{
    const std::wstring zero(L"a\0b", 3);
    const auto anObject = [](VARIANT& value) { value.punkVal = static_cast<IUnknown*>(fakes::makeObject(L"value")); };
    const auto lockedOut = [](VARIANT& value) { value.parray->cLocks = 0xFFFF; }; // one more lock fails
    const struct
    {
        const char* name;
        Value make;
        std::wstring value;
        std::wstring flag = kMismatch;
        std::wstring list = L"80070057";
    } cases[] = {
        {"missing", nullptr, L"unreadable", L"unreadable", L"unreadable"},
        {"null", number(VT_NULL, 0), L"null", kMismatch, L""},
        {"empty", number(VT_EMPTY, 0), L"other", L"false"},
        {"text", text(L"True"), L"text True", L"true"},
        {"text with a zero", text(zero), L"text " + zero},
        {"null text", number(VT_BSTR, 0), L"text "},
        {"largest int", number(VT_I4, 0x7FFFFFFF), L"2147483647", L"true"},
        {"one", number(VT_BOOL, 1), L"true", L"true"},
        {"false", number(VT_BOOL, VARIANT_FALSE), L"false", L"false"},
        {"reference to true", number(VT_BYREF | VT_BOOL, flag(VARIANT_TRUE)), L"other", L"true"},
        {"reference to one", number(VT_BYREF | VT_BOOL, flag(1)), L"other", L"false"}, // no VARIANT_TRUE
        {"object", changed(number(VT_UNKNOWN, 0), anObject), L"other"},
        {"texts", texts({L"10.0.0.7", L"", zero}), L"other", kMismatch, L"[10.0.0.7][][" + zero + L"]"},
        {"from 5", texts({L"a", L"b"}, 5), L"other", kMismatch, L"[a][b]"},
        {"up to the last index", texts({L"a"}, 0x7FFFFFFF), L"other", kMismatch, L"[a]"},
        {"null element", array(VT_BSTR, VT_BSTR), L"other", kMismatch, L"[]"},
        {"missing array", number(VT_ARRAY | VT_BSTR, 0), L"other"},
        {"numbers", array(VT_I4, VT_I4), L"other"},
        {"numbers said to be texts", array(VT_BSTR, VT_I4), L"other"},
        {"two dimensions", array(VT_BSTR, VT_BSTR, 2), L"other"},
        {"locked out", changed(texts({L"a"}), lockedOut), L"other", kMismatch, L"8000FFFF"},
    };
    for (const auto& [name, make, value, flag, list] : cases)
    {
        SCOPED_TRACE(name);
        service.values = [&](const wchar_t* property) { return property == std::wstring(L"P") ? make : nullptr; };
        EXPECT_EQ(answerOf(&WMIObject::get), value);
        EXPECT_EQ(answerOf(&WMIObject::getBool, L"does not convert to a boolean"), flag);
        EXPECT_EQ(answerOf(&WMIObject::getStringArray, L"cannot be read as an array of BSTR"), list);
        const std::wstring once = name == std::string("object") ? L"Get; ~value; ~object; " : L"Get; ~object; ";
        EXPECT_EQ(taken(trace), once + once + once);
    }
}
}

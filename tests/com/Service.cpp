#define CINTERFACE // interfaces as tables of functions
#include "tests/com/Service.h"

#include "tests/com/Imports.h"

#include <wbemcli.h>

#include <array>
#include <bit>
#include <intrin.h>
#include <map>

namespace fakes
{
namespace
{
struct Object
{
    const void* methods; // a COM object begins with its table
    std::string name;
    std::size_t given = 0; // of an enumerator's objects
    std::atomic<ULONG> references{1};

    Object(const void* table, const std::string& ownName) : methods(table), name(ownName) { ++service().living; }
};

ULONG addReference(Object* object)
{
    return ++object->references;
}

ULONG release(Object* object)
{
    const ULONG left = --object->references;
    if (left == 0)
    {
        if (service().trace)
            *service().trace += "~" + object->name + "; ";
        service().underLoaderLock += holdsLoaderLock();
        --service().living;
        delete object;
    }
    SetLastError(kErrorOfCleanup);
    return left;
}

HRESULT refuse()
{
    return E_NOTIMPL;
}

// A table with one method, and the counting of references. A single function can refuse all others: the caller cleans up.
template <class Table, class Method>
Table tableOf(Method Table::*place, Method method)
{
    std::array<void*, sizeof(Table) / sizeof(void*)> methods;
    methods.fill(reinterpret_cast<void*>(&refuse));
    methods[1] = reinterpret_cast<void*>(&addReference);
    methods[2] = reinterpret_cast<void*>(&release);
    auto table = std::bit_cast<Table>(methods);
    table.*place = method;
    return table;
}

// Makes an object if the call has succeeded.
template <class Interface>
HRESULT create(HRESULT result, const void* methods, const std::string& name, Interface** place)
{
    if (SUCCEEDED(result))
        *place = reinterpret_cast<Interface*>(new Object(methods, name));
    return result;
}

Value valueOf(const wchar_t* property)
{
    if (service().values)
        return service().values(property);
    static const auto& others = *new std::map<std::wstring, Value>{{L"IPAddress", texts({L"10.0.0.7", L""})},
                                                                   {L"MACAddress", number(VT_NULL, 0)},
                                                                   {L"MaxClockSpeed", number(VT_I8, 7)},
                                                                   {L"NumberOfCores", number(VT_I4, 4)},
                                                                   {L"ReleaseDate", text(L"2006****.******+***")}, // odd
                                                                   {L"Virtual", text(L"False")}};
    const auto other = others.find(property);
    return other == others.end() ? text(L"42") : other->second;
}

HRESULT STDMETHODCALLTYPE get(IWbemClassObject*, const wchar_t* property, LONG flags, VARIANT* value, CIMTYPE* type, LONG* flavor)
{
    const Value make = valueOf(property);
    const HRESULT result = record("Get");
    if (FAILED(result) || flags != 0 || type || flavor || value->vt != VT_EMPTY || !make)
        return WBEM_E_NOT_FOUND;
    make(*value);
    return result;
}

const auto kObject = tableOf(&IWbemClassObjectVtbl::Get, get);

HRESULT STDMETHODCALLTYPE next(IEnumWbemClassObject* enumerator, LONG timeout, ULONG count, IWbemClassObject** objects,
                               ULONG* returned)
{
    std::size_t& given = reinterpret_cast<Object*>(enumerator)->given;
    *returned = 0;
    if (timeout != static_cast<LONG>(WBEM_INFINITE) || count != 1)
        return WBEM_E_INVALID_PARAMETER;
    if (given == service().results)
        return record("End");
    const HRESULT result = create(record("Next"), &kObject, "object" + std::to_string(given), objects);
    given += * returned = SUCCEEDED(result);
    return result;
}

const auto kEnumerator = tableOf(&IEnumWbemClassObjectVtbl::Next, next);

std::string narrow(const BSTR text)
{
    return std::string(text, text + SysStringLen(text));
}

HRESULT STDMETHODCALLTYPE execQuery(IWbemServices*, const BSTR language, const BSTR query, LONG flags, IWbemContext* context,
                                    IEnumWbemClassObject** enumerator)
{
    const std::string call = "ExecQuery " + narrow(language) + " " + narrow(query) + " " + std::to_string(flags);
    return create(record(call + (context ? " context" : "")), &kEnumerator, "enumerator", enumerator);
}

const auto kServices = tableOf(&IWbemServicesVtbl::ExecQuery, execQuery);

HRESULT STDMETHODCALLTYPE connectServer(IWbemLocator*, const BSTR path, const BSTR user, const BSTR password, const BSTR locale,
                                        LONG flags, const BSTR authority, IWbemContext* context, IWbemServices** services)
{
    const bool plain = !user && !password && !locale && flags == 0 && !authority && !context;
    const HRESULT result = record("ConnectServer " + narrow(path) + (plain ? "" : " with more"));
    service().connections += SUCCEEDED(result);
    return create(result, &kServices, "services", services);
}

const auto kLocator = tableOf(&IWbemLocatorVtbl::ConnectServer, connectServer);

HRESULT WINAPI createInstance(REFCLSID classId, IUnknown* outer, DWORD context, REFIID interfaceId, void** object)
{
    const bool locator = IsEqualGUID(classId, CLSID_WbemLocator) && IsEqualGUID(interfaceId, IID_IWbemLocator) && !outer;
    return create(record("CoCreateInstance " + std::to_string(context) + (locator ? "" : " something else")), &kLocator, "locator",
                  object);
}

HRESULT WINAPI setProxyBlanket(IUnknown*, DWORD authentication, DWORD authorization, OLECHAR* principal, DWORD level,
                               DWORD impersonation, RPC_AUTH_IDENTITY_HANDLE identity, DWORD capabilities)
{
    std::string call = "CoSetProxyBlanket";
    for (const DWORD argument : {authentication, authorization, level, impersonation, capabilities})
        call += " " + std::to_string(argument);
    return record(call + (principal || identity ? " identity" : ""));
}
}

Value number(VARTYPE type, long long value)
{
    return [=](VARIANT& variant)
    {
        variant.vt = type;
        variant.llVal = value;
    };
}

Value text(const std::wstring& value)
{
    return [=](VARIANT& variant)
    {
        variant.vt = VT_BSTR;
        variant.bstrVal = SysAllocStringLen(value.data(), static_cast<UINT>(value.size()));
    };
}

Value texts(const std::vector<std::wstring>& values, LONG lowerBound)
{
    return [=](VARIANT& variant)
    {
        variant.vt = VT_ARRAY | VT_BSTR;
        variant.parray = SafeArrayCreateVector(VT_BSTR, lowerBound, static_cast<ULONG>(values.size()));
        BSTR* element = static_cast<BSTR*>(variant.parray->pvData);
        for (const std::wstring& value : values)
            *element++ = SysAllocStringLen(value.data(), static_cast<UINT>(value.size()));
    };
}

Service& service()
{
    static auto& instance = *new Service;
    return instance;
}

std::function<HRESULT(const std::string& call)> failing(const std::string& name, std::size_t nth)
{
    return [=, calls = std::size_t{0}](const std::string& call) mutable
    { return call.starts_with(name) && (nth == 0 || ++calls == nth) ? E_ACCESSDENIED : S_OK; };
}

HRESULT record(const std::string& call)
{
    if (service().trace)
        *service().trace += call + "; ";
    const HRESULT result = service().answer ? service().answer(call) : S_OK;
    if (FAILED(result))
        SetLastError(kErrorOfFailure);
    return result;
}

void* makeObject(const std::string& name)
{
    return new Object(&kObject, name);
}

void serve(HMODULE module)
{
    replaceImport(module, "CoCreateInstance", &createInstance);
    replaceImport(module, "CoSetProxyBlanket", &setProxyBlanket);
}

// The process environment block points to the lock; a critical section contains its owner.
bool holdsLoaderLock()
{
    constexpr std::size_t kLoaderLock = 0x110;
    const auto* const environment = reinterpret_cast<const char*>(__readgsqword(0x60));
    const auto* const lock = *reinterpret_cast<const RTL_CRITICAL_SECTION* const*>(environment + kLoaderLock);
    return HandleToULong(lock->OwningThread) == GetCurrentThreadId();
}
}

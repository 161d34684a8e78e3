#define CINTERFACE // interfaces as tables of functions
#include "tests/com/Service.h"

#include <wbemcli.h>

#include <intrin.h>
#include <map>

namespace fakes
{
Service& service = *new Service;

namespace
{
struct Object
{
    const void* const* methods; // a COM object begins with its table
    std::wstring name;
    std::size_t given = 0; // of an enumerator's objects
    std::atomic<ULONG> references{1};

    // The process environment block points to the loader's lock; a critical section contains its owner.
    static bool underLoaderLock()
    {
        const auto* const lock = *reinterpret_cast<const RTL_CRITICAL_SECTION* const*>(__readgsqword(0x60) + 0x110);
        return HandleToULong(lock->OwningThread) == GetCurrentThreadId();
    }
    static HRESULT refuse() { return E_NOTIMPL; }
    static ULONG addReference(Object* object) { return ++object->references; }
    static ULONG release(Object* object)
    {
        const ULONG left = --object->references;
        SetLastError(kErrorOfCleanup);
        if (left > 0)
            return left;
        if (service.trace)
            *service.trace += L"~" + object->name + L"; ";
        service.underLoaderLock += underLoaderLock();
        return delete (--service.living, object), 0;
    }
};

// The counting of references, and one more method. A single function can refuse all others: the caller cleans up.
struct Table
{
    const void* methods[32];

    Table(std::size_t offset, auto method)
    {
        std::ranges::fill(methods, reinterpret_cast<void*>(&Object::refuse));
        methods[1] = reinterpret_cast<void*>(&Object::addReference);
        methods[2] = reinterpret_cast<void*>(&Object::release);
        methods[offset / sizeof *methods] = reinterpret_cast<void*>(method);
    }

    HRESULT create(HRESULT result, const std::wstring& name, void** place) const
    {
        if (SUCCEEDED(result))
            *place = (++service.living, new Object{methods, name});
        return result;
    }
};

HRESULT get(Object*, const wchar_t* property, LONG flags, VARIANT* value, CIMTYPE* type, LONG* flavor)
{
    using V = Values;
    static std::map<std::wstring, Value> others{{L"DeviceID", V::text(L"\\\\.\\NUL")}, // opens, and is no drive
                                                {L"IPAddress", V::texts({L"10.0.0.7", L""})},
                                                {L"MACAddress", V::number(VT_NULL, 0)},
                                                {L"MaxClockSpeed", V::number(VT_I8, 7)},
                                                {L"NumberOfCores", V::number(VT_I4, 4)},
                                                {L"PNPDeviceID", V::text(L"PCI\\VEN_10DE&DEV_1B80\\1")},
                                                {L"ReleaseDate", V::text(L"2006****.******+***")},
                                                {L"Virtual", V::text(L"False")}};
    const Value make = service.values ? service.values(property) : others.contains(property) ? others[property] : V::text(L"42");
    if (FAILED(record(L"Get")) || flags != 0 || type || flavor || value->vt != VT_EMPTY || !make)
        return WBEM_E_NOT_FOUND;
    make(*value);
    return S_OK;
}

const Table kObject(offsetof(IWbemClassObjectVtbl, Get), &get);

HRESULT next(Object* enumerator, LONG timeout, ULONG count, void** objects, ULONG* returned)
{
    *returned = 0;
    if (timeout != static_cast<LONG>(WBEM_INFINITE) || count != 1)
        return WBEM_E_INVALID_PARAMETER;
    if (enumerator->given == service.results)
        return record(L"End");
    const HRESULT result = kObject.create(record(L"Next"), L"object" + std::to_wstring(enumerator->given), objects);
    enumerator->given += * returned = SUCCEEDED(result);
    return result;
}

const Table kEnumerator(offsetof(IEnumWbemClassObjectVtbl, Next), &next);

HRESULT execQuery(Object*, BSTR language, BSTR query, LONG flags, void* context, void** enumerator)
{
    const std::wstring call = L"ExecQuery " + std::wstring(language) + L" " + query + L" " + std::to_wstring(flags);
    return kEnumerator.create(record(context ? L"ExecQuery with more" : call), L"enumerator", enumerator);
}

const Table kServices(offsetof(IWbemServicesVtbl, ExecQuery), &execQuery);

HRESULT connectServer(Object*, BSTR path, BSTR user, BSTR password, BSTR locale, LONG flags, BSTR authority, void* context,
                      void** services)
{
    const bool plain = !user && !password && !locale && flags == 0 && !authority && !context;
    const HRESULT result = record(std::wstring(L"ConnectServer ") + path + (plain ? L"" : L" with more"));
    service.connections += SUCCEEDED(result);
    return kServices.create(result, L"services", services);
}

const Table kLocator(offsetof(IWbemLocatorVtbl, ConnectServer), &connectServer);

HRESULT WINAPI createInstance(REFCLSID classId, IUnknown* outer, DWORD context, REFIID interfaceId, void** object)
{
    const bool locator = IsEqualGUID(classId, CLSID_WbemLocator) && IsEqualGUID(interfaceId, IID_IWbemLocator) && !outer;
    const HRESULT result = record(L"CoCreateInstance " + std::to_wstring(context) + (locator ? L"" : L" something else"));
    return kLocator.create(result, L"locator", object);
}

HRESULT WINAPI setProxyBlanket(IUnknown*, DWORD authentication, DWORD authorization, OLECHAR* principal, DWORD level,
                               DWORD impersonation, RPC_AUTH_IDENTITY_HANDLE identity, DWORD capabilities)
{
    std::wstring call = principal || identity ? L"CoSetProxyBlanket with more" : L"CoSetProxyBlanket";
    for (const DWORD argument : {authentication, authorization, level, impersonation, capabilities})
        call += L" " + std::to_wstring(argument);
    return record(call);
}
}

Service::Answer failing(const std::wstring& name, std::size_t nth)
{
    return [=, calls = std::size_t{0}](const std::wstring& call) mutable
    { return call.starts_with(name) && (nth == 0 || ++calls == nth) ? E_ACCESSDENIED : S_OK; };
}

HRESULT record(const std::wstring& call)
{
    if (service.trace)
        *service.trace += call + L"; ";
    const HRESULT result = service.answer ? service.answer(call) : S_OK;
    if (FAILED(result))
        SetLastError(kErrorOfFailure);
    return result;
}

void* makeObject(const std::wstring& name)
{
    void* object = nullptr;
    kObject.create(S_OK, name, &object);
    return object;
}

void serve(HMODULE module)
{
    replaceImport(module, "ole32.dll", "CoCreateInstance", &createInstance);
    replaceImport(module, "ole32.dll", "CoSetProxyBlanket", &setProxyBlanket);
}
}

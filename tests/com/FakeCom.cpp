#include "tests/com/FakeCom.h"

#include "hw-inventory-impl/lib/Providers/ComApiWin.h"
#include "st-core/lib/Utf8.h"

using ZelStdCore::toUtf8;

namespace fakes
{
FakeCom& com()
{
    static auto& instance = *new FakeCom;
    return instance;
}

HRESULT record(const std::string& name, const std::string& arguments)
{
    const std::string call = arguments.empty() ? name : name + " " + arguments;
    com().trace.push_back(call);
    const auto& answers = com().answers;
    const auto answer = answers.contains(call) ? answers.find(call) : answers.find(name);
    const HRESULT result = answer == answers.end() ? S_OK : answer->second;
    if (FAILED(result))
        SetLastError(kErrorOfFailure);
    return result;
}

STDMETHODIMP FakeObject::Get(const wchar_t* name, LONG flags, VARIANT* value, CIMTYPE* type, LONG* flavor)
{
    if (flags != 0 || type || flavor || value->vt != VT_EMPTY || !value_ || std::wstring_view(name) != L"P")
        return WBEM_E_NOT_FOUND;
    value_(*value);
    return WBEM_S_NO_ERROR;
}

ObjectPointer makeObject(const std::string& name, FakeObject::Value value)
{
    return ObjectPointer(new FakeObject(name, std::move(value)));
}

namespace
{
class FakeEnumerator final : public Counted<StubEnumerator>
{
public:
    FakeEnumerator() : Counted("enumerator") {}

    STDMETHODIMP Next(LONG timeout, ULONG count, IWbemClassObject** objects, ULONG* returned) override
    {
        *returned = 0;
        if (timeout != static_cast<LONG>(WBEM_INFINITE) || count != 1)
            return WBEM_E_INVALID_PARAMETER;
        if (next_ == com().results.size())
        {
            if (FAILED(com().end))
                SetLastError(kErrorOfFailure);
            return com().end;
        }
        *objects = com().results[next_++].get();
        (*objects)->AddRef();
        *returned = 1;
        return WBEM_S_NO_ERROR;
    }

private:
    std::size_t next_ = 0;
};

class FakeServices final : public Counted<StubServices>
{
public:
    FakeServices() : Counted("services") {}

    STDMETHODIMP ExecQuery(const BSTR language, const BSTR query, LONG flags, IWbemContext* context,
                           IEnumWbemClassObject** enumerator) override
    {
        const HRESULT result =
            record("ExecQuery", toUtf8(language) + " " + toUtf8(query) + " " + std::to_string(flags) + (context ? " context" : ""));
        if (SUCCEEDED(result))
            *enumerator = new FakeEnumerator;
        return result;
    }
};

class FakeLocator final : public Counted<IWbemLocator>
{
public:
    FakeLocator() : Counted("locator") {}

    STDMETHODIMP ConnectServer(const BSTR path, const BSTR user, const BSTR password, const BSTR locale, LONG flags,
                               const BSTR authority, IWbemContext* context, IWbemServices** services) override
    {
        const bool plain = !user && !password && !locale && flags == 0 && !authority && !context;
        const HRESULT result = record("ConnectServer", toUtf8(path) + (plain ? "" : " with more"));
        if (SUCCEEDED(result))
            *services = new FakeServices;
        return result;
    }
};
}
}

namespace HardwareInventory::Providers::ComApi
{
HRESULT initializeEx(DWORD apartment)
{
    return fakes::record("CoInitializeEx", std::to_string(apartment));
}

void uninitialize()
{
    fakes::record("CoUninitialize");
    SetLastError(fakes::kErrorOfCleanup);
}

HRESULT getApartmentType(APTTYPE& type)
{
    SetLastError(fakes::kErrorOfCleanup);
    type = fakes::com().apartment.value_or(APTTYPE_CURRENT);
    return fakes::com().apartment ? S_OK : CO_E_NOTINITIALIZED;
}

HRESULT createInstance(REFCLSID classId, DWORD context, REFIID interfaceId, void** object)
{
    const bool locator = IsEqualGUID(classId, CLSID_WbemLocator) && IsEqualGUID(interfaceId, IID_IWbemLocator);
    const std::string arguments = (locator ? "locator " : "something else ") + std::to_string(context);
    const HRESULT result = fakes::record("CoCreateInstance", arguments);
    if (SUCCEEDED(result))
        *object = static_cast<IWbemLocator*>(new fakes::FakeLocator);
    return result;
}

HRESULT setProxyBlanket(IUnknown*, DWORD authentication, DWORD authorization, DWORD authenticationLevel, DWORD impersonationLevel,
                        DWORD capabilities)
{
    std::string arguments;
    for (const DWORD argument : {authentication, authorization, authenticationLevel, impersonationLevel, capabilities})
        arguments += (arguments.empty() ? "" : " ") + std::to_string(argument);
    return fakes::record("CoSetProxyBlanket", arguments);
}
}

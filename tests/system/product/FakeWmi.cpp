#include "tests/system/product/FakeWmi.h"

#include "tests/com/ComStubs.h"

#include <intrin.h>

#include <stdexcept>

namespace
{
std::function<bool(const std::string& call)> failing;

bool fails(const char* call)
{
    return failing && failing(call);
}

template <class Interface>
class Counted : public Interface
{
public:
    Counted() { ++FakeWmi::counts().living; }
    virtual ~Counted() { --FakeWmi::counts().living; }

    STDMETHODIMP QueryInterface(REFIID, void** object) override
    {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() override
    {
        const ULONG left = --references_;
        if (left == 0)
        {
            FakeWmi::counts().underLoaderLock += holdsLoaderLock();
            delete this;
        }
        return left;
    }

private:
    std::atomic<ULONG> references_{1};
};

class Object final : public Counted<fakes::StubObject>
{
public:
    STDMETHODIMP Get(const wchar_t* property, LONG, VARIANT* value, CIMTYPE*, LONG*) override
    {
        if (fails("Get"))
            return WBEM_E_FAILED;
        value->vt = VT_BSTR;
        value->bstrVal = SysAllocString(property == std::wstring(L"ReleaseDate") ? L"2006****.******+***" : L"42");
        return S_OK;
    }
};

class Enumerator final : public Counted<fakes::StubEnumerator>
{
public:
    STDMETHODIMP Next(LONG, ULONG, IWbemClassObject** objects, ULONG* returned) override
    {
        *returned = 0;
        if (fails("Next"))
            return WBEM_E_FAILED;
        if (returned_)
            return WBEM_S_FALSE;
        returned_ = true;
        *objects = new Object;
        *returned = 1;
        return S_OK;
    }

private:
    bool returned_ = false;
};

// Has its own proxy settings, like a real proxy.
class Services final : public Counted<fakes::StubServices>
{
public:
    STDMETHODIMP QueryInterface(REFIID id, void** object) override
    {
        if (!IsEqualGUID(id, IID_IClientSecurity))
            return Counted::QueryInterface(id, object);
        AddRef();
        *object = static_cast<IClientSecurity*>(&security_);
        return S_OK;
    }
    STDMETHODIMP ExecQuery(const BSTR, const BSTR, LONG, IWbemContext*, IEnumWbemClassObject** enumerator) override
    {
        if (fails("ExecQuery"))
            return WBEM_E_FAILED;
        *enumerator = new Enumerator;
        return S_OK;
    }

private:
    class Security final : public IClientSecurity
    {
    public:
        explicit Security(Services& services) : services_(services) {}

        STDMETHODIMP QueryInterface(REFIID id, void** object) override { return services_.QueryInterface(id, object); }
        STDMETHODIMP_(ULONG) AddRef() override { return services_.AddRef(); }
        STDMETHODIMP_(ULONG) Release() override { return services_.Release(); }
        STDMETHODIMP QueryBlanket(IUnknown*, DWORD*, DWORD*, OLECHAR**, DWORD*, DWORD*, void**, DWORD*) override
        {
            return E_NOTIMPL;
        }
        STDMETHODIMP SetBlanket(IUnknown*, DWORD, DWORD, OLECHAR*, DWORD, DWORD, void*, DWORD) override
        {
            return fails("SetBlanket") ? E_ACCESSDENIED : S_OK;
        }
        STDMETHODIMP CopyProxy(IUnknown*, IUnknown**) override { return E_NOTIMPL; }

    private:
        Services& services_;
    };

    Security security_{*this};
};

class Locator final : public Counted<IWbemLocator>
{
public:
    STDMETHODIMP ConnectServer(const BSTR, const BSTR, const BSTR, const BSTR, LONG, const BSTR, IWbemContext*,
                               IWbemServices** services) override
    {
        if (fails("ConnectServer"))
            return E_ACCESSDENIED;
        ++FakeWmi::counts().connections;
        *services = new Services;
        return S_OK;
    }
};

// Lives as long as the process.
class Factory final : public IClassFactory
{
public:
    STDMETHODIMP QueryInterface(REFIID id, void** object) override
    {
        const bool known = IsEqualGUID(id, IID_IUnknown) || IsEqualGUID(id, IID_IClassFactory);
        *object = known ? this : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 1; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP CreateInstance(IUnknown*, REFIID, void** object) override
    {
        if (fails("CreateInstance"))
            return E_OUTOFMEMORY;
        *object = static_cast<IWbemLocator*>(new Locator);
        return S_OK;
    }
    STDMETHODIMP LockServer(BOOL) override { return S_OK; }
};
}

// The process environment block points to the lock; a critical section contains its owner.
bool holdsLoaderLock()
{
    constexpr std::size_t kLoaderLock = 0x110;
    const auto* const environment = reinterpret_cast<const char*>(__readgsqword(0x60));
    const auto* const lock = *reinterpret_cast<const RTL_CRITICAL_SECTION* const*>(environment + kLoaderLock);
    return HandleToULong(lock->OwningThread) == GetCurrentThreadId();
}

void FakeWmi::failWhen(std::function<bool(const std::string& call)> condition)
{
    failing = std::move(condition);
}

FakeWmi::Counts& FakeWmi::counts()
{
    static auto& instance = *new Counts;
    return instance;
}

Apartment::Apartment(DWORD kind)
{
    if (CoInitializeEx(nullptr, kind) != S_OK)
        throw std::runtime_error("the thread is in an apartment already");
}

Apartment::~Apartment()
{
    CoUninitialize();
}

FakeWmi::FakeWmi()
{
    static auto& factory = *new Factory;
    if (FAILED(CoRegisterClassObject(CLSID_WbemLocator, &factory, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &registration_)))
        throw std::runtime_error("the fake WMI cannot be registered");
}

FakeWmi::~FakeWmi()
{
    CoRevokeClassObject(registration_);
}

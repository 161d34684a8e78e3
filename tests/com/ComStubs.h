#pragma once

#include <windows.h>

#include <wbemcli.h>

// The management service's interfaces with every method refused; a fake overrides what the library calls.
namespace fakes
{
class StubServices : public IWbemServices
{
public:
    STDMETHODIMP OpenNamespace(const BSTR, LONG, IWbemContext*, IWbemServices**, IWbemCallResult**) override { return E_NOTIMPL; }
    STDMETHODIMP CancelAsyncCall(IWbemObjectSink*) override { return E_NOTIMPL; }
    STDMETHODIMP QueryObjectSink(LONG, IWbemObjectSink**) override { return E_NOTIMPL; }
    STDMETHODIMP GetObject(const BSTR, LONG, IWbemContext*, IWbemClassObject**, IWbemCallResult**) override { return E_NOTIMPL; }
    STDMETHODIMP GetObjectAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override { return E_NOTIMPL; }
    STDMETHODIMP PutClass(IWbemClassObject*, LONG, IWbemContext*, IWbemCallResult**) override { return E_NOTIMPL; }
    STDMETHODIMP PutClassAsync(IWbemClassObject*, LONG, IWbemContext*, IWbemObjectSink*) override { return E_NOTIMPL; }
    STDMETHODIMP DeleteClass(const BSTR, LONG, IWbemContext*, IWbemCallResult**) override { return E_NOTIMPL; }
    STDMETHODIMP DeleteClassAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override { return E_NOTIMPL; }
    STDMETHODIMP CreateClassEnum(const BSTR, LONG, IWbemContext*, IEnumWbemClassObject**) override { return E_NOTIMPL; }
    STDMETHODIMP CreateClassEnumAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override { return E_NOTIMPL; }
    STDMETHODIMP PutInstance(IWbemClassObject*, LONG, IWbemContext*, IWbemCallResult**) override { return E_NOTIMPL; }
    STDMETHODIMP PutInstanceAsync(IWbemClassObject*, LONG, IWbemContext*, IWbemObjectSink*) override { return E_NOTIMPL; }
    STDMETHODIMP DeleteInstance(const BSTR, LONG, IWbemContext*, IWbemCallResult**) override { return E_NOTIMPL; }
    STDMETHODIMP DeleteInstanceAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override { return E_NOTIMPL; }
    STDMETHODIMP CreateInstanceEnum(const BSTR, LONG, IWbemContext*, IEnumWbemClassObject**) override { return E_NOTIMPL; }
    STDMETHODIMP CreateInstanceEnumAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override { return E_NOTIMPL; }
    STDMETHODIMP ExecQuery(const BSTR, const BSTR, LONG, IWbemContext*, IEnumWbemClassObject**) override { return E_NOTIMPL; }
    STDMETHODIMP ExecQueryAsync(const BSTR, const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override { return E_NOTIMPL; }
    STDMETHODIMP ExecNotificationQuery(const BSTR, const BSTR, LONG, IWbemContext*, IEnumWbemClassObject**) override
    {
        return E_NOTIMPL;
    }
    STDMETHODIMP ExecNotificationQueryAsync(const BSTR, const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override
    {
        return E_NOTIMPL;
    }
    STDMETHODIMP ExecMethod(const BSTR, const BSTR, LONG, IWbemContext*, IWbemClassObject*, IWbemClassObject**,
                            IWbemCallResult**) override
    {
        return E_NOTIMPL;
    }
    STDMETHODIMP ExecMethodAsync(const BSTR, const BSTR, LONG, IWbemContext*, IWbemClassObject*, IWbemObjectSink*) override
    {
        return E_NOTIMPL;
    }
};

class StubObject : public IWbemClassObject
{
public:
    STDMETHODIMP GetQualifierSet(IWbemQualifierSet**) override { return E_NOTIMPL; }
    STDMETHODIMP Get(const wchar_t*, LONG, VARIANT*, CIMTYPE*, LONG*) override { return E_NOTIMPL; }
    STDMETHODIMP Put(const wchar_t*, LONG, VARIANT*, CIMTYPE) override { return E_NOTIMPL; }
    STDMETHODIMP Delete(const wchar_t*) override { return E_NOTIMPL; }
    STDMETHODIMP GetNames(const wchar_t*, LONG, VARIANT*, SAFEARRAY**) override { return E_NOTIMPL; }
    STDMETHODIMP BeginEnumeration(LONG) override { return E_NOTIMPL; }
    STDMETHODIMP Next(LONG, BSTR*, VARIANT*, CIMTYPE*, LONG*) override { return E_NOTIMPL; }
    STDMETHODIMP EndEnumeration() override { return E_NOTIMPL; }
    STDMETHODIMP GetPropertyQualifierSet(const wchar_t*, IWbemQualifierSet**) override { return E_NOTIMPL; }
    STDMETHODIMP Clone(IWbemClassObject**) override { return E_NOTIMPL; }
    STDMETHODIMP GetObjectText(LONG, BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP SpawnDerivedClass(LONG, IWbemClassObject**) override { return E_NOTIMPL; }
    STDMETHODIMP SpawnInstance(LONG, IWbemClassObject**) override { return E_NOTIMPL; }
    STDMETHODIMP CompareTo(LONG, IWbemClassObject*) override { return E_NOTIMPL; }
    STDMETHODIMP GetPropertyOrigin(const wchar_t*, BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP InheritsFrom(const wchar_t*) override { return E_NOTIMPL; }
    STDMETHODIMP GetMethod(const wchar_t*, LONG, IWbemClassObject**, IWbemClassObject**) override { return E_NOTIMPL; }
    STDMETHODIMP PutMethod(const wchar_t*, LONG, IWbemClassObject*, IWbemClassObject*) override { return E_NOTIMPL; }
    STDMETHODIMP DeleteMethod(const wchar_t*) override { return E_NOTIMPL; }
    STDMETHODIMP BeginMethodEnumeration(LONG) override { return E_NOTIMPL; }
    STDMETHODIMP NextMethod(LONG, BSTR*, IWbemClassObject**, IWbemClassObject**) override { return E_NOTIMPL; }
    STDMETHODIMP EndMethodEnumeration() override { return E_NOTIMPL; }
    STDMETHODIMP GetMethodQualifierSet(const wchar_t*, IWbemQualifierSet**) override { return E_NOTIMPL; }
    STDMETHODIMP GetMethodOrigin(const wchar_t*, BSTR*) override { return E_NOTIMPL; }
};

class StubEnumerator : public IEnumWbemClassObject
{
public:
    STDMETHODIMP Reset() override { return E_NOTIMPL; }
    STDMETHODIMP NextAsync(ULONG, IWbemObjectSink*) override { return E_NOTIMPL; }
    STDMETHODIMP Clone(IEnumWbemClassObject**) override { return E_NOTIMPL; }
    STDMETHODIMP Skip(LONG, ULONG) override { return E_NOTIMPL; }
};
}

#pragma once

#include <windows.h>

#include <wbemcli.h>

// The interfaces of WMI with every method refused; a fake overrides what the library calls.
namespace fakes
{
#define REFUSED(method, ...) \
    STDMETHODIMP method(__VA_ARGS__) override \
    { \
        return E_NOTIMPL; \
    }

class StubServices : public IWbemServices
{
public:
    REFUSED(OpenNamespace, const BSTR, LONG, IWbemContext*, IWbemServices**, IWbemCallResult**)
    REFUSED(CancelAsyncCall, IWbemObjectSink*)
    REFUSED(QueryObjectSink, LONG, IWbemObjectSink**)
    REFUSED(GetObject, const BSTR, LONG, IWbemContext*, IWbemClassObject**, IWbemCallResult**)
    REFUSED(GetObjectAsync, const BSTR, LONG, IWbemContext*, IWbemObjectSink*)
    REFUSED(PutClass, IWbemClassObject*, LONG, IWbemContext*, IWbemCallResult**)
    REFUSED(PutClassAsync, IWbemClassObject*, LONG, IWbemContext*, IWbemObjectSink*)
    REFUSED(DeleteClass, const BSTR, LONG, IWbemContext*, IWbemCallResult**)
    REFUSED(DeleteClassAsync, const BSTR, LONG, IWbemContext*, IWbemObjectSink*)
    REFUSED(CreateClassEnum, const BSTR, LONG, IWbemContext*, IEnumWbemClassObject**)
    REFUSED(CreateClassEnumAsync, const BSTR, LONG, IWbemContext*, IWbemObjectSink*)
    REFUSED(PutInstance, IWbemClassObject*, LONG, IWbemContext*, IWbemCallResult**)
    REFUSED(PutInstanceAsync, IWbemClassObject*, LONG, IWbemContext*, IWbemObjectSink*)
    REFUSED(DeleteInstance, const BSTR, LONG, IWbemContext*, IWbemCallResult**)
    REFUSED(DeleteInstanceAsync, const BSTR, LONG, IWbemContext*, IWbemObjectSink*)
    REFUSED(CreateInstanceEnum, const BSTR, LONG, IWbemContext*, IEnumWbemClassObject**)
    REFUSED(CreateInstanceEnumAsync, const BSTR, LONG, IWbemContext*, IWbemObjectSink*)
    REFUSED(ExecQuery, const BSTR, const BSTR, LONG, IWbemContext*, IEnumWbemClassObject**)
    REFUSED(ExecQueryAsync, const BSTR, const BSTR, LONG, IWbemContext*, IWbemObjectSink*)
    REFUSED(ExecNotificationQuery, const BSTR, const BSTR, LONG, IWbemContext*, IEnumWbemClassObject**)
    REFUSED(ExecNotificationQueryAsync, const BSTR, const BSTR, LONG, IWbemContext*, IWbemObjectSink*)
    REFUSED(ExecMethod, const BSTR, const BSTR, LONG, IWbemContext*, IWbemClassObject*, IWbemClassObject**, IWbemCallResult**)
    REFUSED(ExecMethodAsync, const BSTR, const BSTR, LONG, IWbemContext*, IWbemClassObject*, IWbemObjectSink*)
};

class StubObject : public IWbemClassObject
{
public:
    REFUSED(GetQualifierSet, IWbemQualifierSet**)
    REFUSED(Get, const wchar_t*, LONG, VARIANT*, CIMTYPE*, LONG*)
    REFUSED(Put, const wchar_t*, LONG, VARIANT*, CIMTYPE)
    REFUSED(Delete, const wchar_t*)
    REFUSED(GetNames, const wchar_t*, LONG, VARIANT*, SAFEARRAY**)
    REFUSED(BeginEnumeration, LONG)
    REFUSED(Next, LONG, BSTR*, VARIANT*, CIMTYPE*, LONG*)
    REFUSED(EndEnumeration)
    REFUSED(GetPropertyQualifierSet, const wchar_t*, IWbemQualifierSet**)
    REFUSED(Clone, IWbemClassObject**)
    REFUSED(GetObjectText, LONG, BSTR*)
    REFUSED(SpawnDerivedClass, LONG, IWbemClassObject**)
    REFUSED(SpawnInstance, LONG, IWbemClassObject**)
    REFUSED(CompareTo, LONG, IWbemClassObject*)
    REFUSED(GetPropertyOrigin, const wchar_t*, BSTR*)
    REFUSED(InheritsFrom, const wchar_t*)
    REFUSED(GetMethod, const wchar_t*, LONG, IWbemClassObject**, IWbemClassObject**)
    REFUSED(PutMethod, const wchar_t*, LONG, IWbemClassObject*, IWbemClassObject*)
    REFUSED(DeleteMethod, const wchar_t*)
    REFUSED(BeginMethodEnumeration, LONG)
    REFUSED(NextMethod, LONG, BSTR*, IWbemClassObject**, IWbemClassObject**)
    REFUSED(EndMethodEnumeration)
    REFUSED(GetMethodQualifierSet, const wchar_t*, IWbemQualifierSet**)
    REFUSED(GetMethodOrigin, const wchar_t*, BSTR*)
};

class StubEnumerator : public IEnumWbemClassObject
{
public:
    REFUSED(Reset)
    REFUSED(NextAsync, ULONG, IWbemObjectSink*)
    REFUSED(Clone, IEnumWbemClassObject**)
    REFUSED(Skip, LONG, ULONG)
};

#undef REFUSED
}

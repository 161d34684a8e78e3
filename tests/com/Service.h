#pragma once

#include <windows.h>

#include <objbase.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <stdexcept>

// WMI within the test. Its objects count their references; every call can be recorded and can fail.
namespace fakes
{
// Redirects a module's calls of a function that it imports, until the process ends.
template <class Function>
void replaceImport(HMODULE module, const char* library, const char* name, Function* replacement)
{
    char* const image = reinterpret_cast<char*>(module);
    const auto& headers = *reinterpret_cast<IMAGE_NT_HEADERS*>(image + reinterpret_cast<IMAGE_DOS_HEADER*>(image)->e_lfanew);
    const auto& table = headers.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IAT];
    const auto begin = reinterpret_cast<Function**>(image + table.VirtualAddress), end = begin + table.Size / sizeof *begin;
    const auto imported = reinterpret_cast<Function*>(GetProcAddress(GetModuleHandleA(library), name));
    const auto place = std::find_if(begin, end, [&](auto function) { return function == imported || function == replacement; });
    DWORD protection = 0;
    if (place == end || !VirtualProtect(place, sizeof *place, PAGE_READWRITE, &protection))
        throw std::runtime_error(std::string("not imported: ") + name);
    *place = replacement;
    VirtualProtect(place, sizeof *place, protection, &protection);
}

using Value = std::function<void(VARIANT& value)>;
struct Values
{
    static Value number(VARTYPE type, long long value)
    {
        return [=](VARIANT& place) { place.llVal = (place.vt = type, value); };
    }
    static BSTR copy(const std::wstring& value) { return SysAllocStringLen(value.data(), static_cast<UINT>(value.size())); }
    static Value text(std::wstring value)
    {
        return [=](VARIANT& place) { place.bstrVal = (place.vt = VT_BSTR, copy(value)); };
    }
    static Value texts(std::vector<std::wstring> values, LONG lowerBound = 0)
    {
        return [=](VARIANT& place)
        {
            place.parray = (place.vt = VT_ARRAY | VT_BSTR, SafeArrayCreateVector(VT_BSTR, lowerBound, values.size()));
            std::ranges::transform(values, static_cast<BSTR*>(place.parray->pvData), copy);
        };
    }
};

struct Service
{
    using Answer = std::function<HRESULT(const std::wstring& call)>;
    Answer answer;                                        // to a call by its name and arguments; without it all succeed
    std::size_t results = 1;                              // the objects of every query
    std::function<Value(const wchar_t* property)> values; // in place of those below; null for none
    std::wstring* trace = nullptr;                        // the calls, and "~name" for the end of an object

    // Made; objects with references; last references released while the thread held the loader lock.
    std::atomic<std::size_t> connections{0}, living{0}, underLoaderLock{0};
};
extern Service& service;

Service::Answer failing(const std::wstring& name, std::size_t nth = 0);

// The last error after every failing call, and after the release of a reference.
constexpr DWORD kErrorOfFailure = ERROR_ACCESS_DENIED, kErrorOfCleanup = ERROR_INVALID_FUNCTION;

HRESULT record(const std::wstring& call); // in the trace; returns its result
void* makeObject(const std::wstring& name);
void serve(HMODULE module); // lets the module find this service in place of the system's
}

#pragma once

#include <windows.h>

#include <objbase.h>

#include <atomic>
#include <functional>
#include <string>
#include <vector>

// WMI within the test. Its objects count their references; every call can be recorded and can fail.
namespace fakes
{
// Makes a new value for each call.
using Value = std::function<void(VARIANT& value)>;
Value number(VARTYPE type, long long value);
Value text(const std::wstring& value);
Value texts(const std::vector<std::wstring>& values, LONG lowerBound = 0);

struct Service
{
    // The result of a call by its name and arguments; without it all succeed. Set before any call.
    std::function<HRESULT(const std::string& call)> answer;

    // The objects of every query. A property is the text "42" or a value of another kind, unless they are replaced; null for none.
    std::size_t results = 1;
    std::function<Value(const wchar_t* property)> values;

    // The calls, and "~name" for the end of an object, each followed by a semicolon.
    std::string* trace = nullptr;

    std::atomic<std::size_t> connections{0};     // made
    std::atomic<std::size_t> living{0};          // objects with references
    std::atomic<std::size_t> underLoaderLock{0}; // last references released while the thread held the loader lock
};
Service& service();

// An answer with which the calls of that name fail, or only the nth of them.
std::function<HRESULT(const std::string& call)> failing(const std::string& name, std::size_t nth = 0);

// The last error after every failing call, and after the release of a reference.
constexpr DWORD kErrorOfFailure = ERROR_ACCESS_DENIED;
constexpr DWORD kErrorOfCleanup = ERROR_INVALID_FUNCTION;

// Traces the call and returns its result.
HRESULT record(const std::string& call);

// An object of that name, with the properties of all.
void* makeObject(const std::string& name);

// Lets the module find this service in place of the system's.
void serve(HMODULE module);

bool holdsLoaderLock();
}

#pragma once

#include "hw-inventory-impl/lib/Providers/ComPointer.h"
#include "tests/com/ComStubs.h"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

// WMI inside the test: the functions of COM and the interfaces behind them, with every step recorded.
namespace fakes
{
using ObjectPointer = HardwareInventory::Providers::ComPointer<IWbemClassObject>;

struct FakeCom
{
    std::map<std::string, HRESULT> answers;         // by the call with its arguments or by its name; others succeed
    std::optional<APTTYPE> apartment = APTTYPE_MTA; // of every thread

    std::vector<ObjectPointer> results; // of a query
    HRESULT end = WBEM_S_FALSE;         // what the enumerator returns after the last result

    // The calls with their arguments, and "~name" for the release of an object's last reference.
    std::vector<std::string> trace;
};

FakeCom& com();

// The last error after every failing call, and after the cleanup.
constexpr DWORD kErrorOfFailure = ERROR_ACCESS_DENIED;
constexpr DWORD kErrorOfCleanup = ERROR_INVALID_FUNCTION;

// Records the call and returns its result.
HRESULT record(const std::string& name, const std::string& arguments = "");

// A COM object with a name, which records its destruction.
template <class Interface>
class Counted : public Interface
{
public:
    explicit Counted(std::string name) : name_(std::move(name)) {}
    virtual ~Counted() = default;

    STDMETHODIMP QueryInterface(REFIID, void** object) override
    {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() override
    {
        SetLastError(kErrorOfCleanup);
        const ULONG left = --references_;
        if (left == 0)
        {
            com().trace.push_back("~" + name_);
            delete this;
        }
        return left;
    }

private:
    std::string name_;
    ULONG references_ = 1;
};

// A result object with at most one property, "P": a function that makes a new value for each call.
class FakeObject final : public Counted<StubObject>
{
public:
    using Value = std::function<void(VARIANT& value)>;

    FakeObject(std::string name, Value value) : Counted(std::move(name)), value_(std::move(value)) {}

    STDMETHODIMP Get(const wchar_t* name, LONG flags, VARIANT* value, CIMTYPE* type, LONG* flavor) override;

private:
    Value value_;
};

ObjectPointer makeObject(const std::string& name, FakeObject::Value value = {});
}

#pragma once

#include "st-core/lib/Result.h"
#include "st-core/lib/RuntimeException.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

// The management service as the readers see it: a source that runs queries, and the objects that it yields. Answered by WMI
// through COM in the product, by canned objects in the tests.
namespace HardwareInventory::Providers::WMIProvider
{
// The property could not be read at all.
struct Unreadable
{
};

// The property has no value on this machine.
struct Null
{
};

// The property has a type for which no reader asks by value.
struct OtherType
{
};

using PropertyValue = std::variant<Unreadable, Null, std::wstring, std::int32_t, bool, OtherType>;

// A result object. Every operation asks the object once for the named property; none of them warns.
class ManagementObject
{
public:
    virtual ~ManagementObject() = default;

    // What the log shows as the object's identity.
    virtual const void* address() const = 0;

    // The value as it stands: no conversion between types.
    virtual PropertyValue get(const wchar_t* property) const = 0;

    // The value converted to a boolean; nothing when the property cannot be read. A value that does not convert raises the
    // platform's COM error, which is no std::exception, behind a trace line that has its result.
    virtual std::optional<bool> getBool(const wchar_t* property) const = 0;

    enum class ArrayFailure
    {
        unreadable,
        notAttached // the value could not be moved into an owned variant
    };

    // The texts of an array, in index order; none for a null value. Anything else than an array of texts raises the platform's
    // COM error, again behind a trace line.
    virtual ZelStdCore::Result<std::vector<std::wstring>, ArrayFailure> getStringArray(const wchar_t* property) const = 0;
};

// Handed to callbacks by shared ownership, so that a callback may keep the object.
using ManagementObjectPtr = std::shared_ptr<const ManagementObject>;
using ObjectCallback = std::function<void(const ManagementObjectPtr&)>;

// A connection to one namespace, bound to the thread that made it.
class ManagementSource
{
public:
    virtual ~ManagementSource() = default;

    // Calls back once per result object, in order, on this thread. Throws ErrorHandling::Exception with the code
    // ErrorCode::wmiQuery when the query cannot be run; an iteration that breaks off is a warning, and what was delivered stays.
    virtual void query(const std::wstring& wql, const ObjectCallback& callback) = 0;

    // Before the destruction of a connection that ends with its thread: gives back what can be given back by then. Only the
    // destructor leaves COM, since of a thread's connections the first to leave can close the apartment of all.
    virtual void release() = 0;

    // Before the destruction of a connection whose thread goes on: gives back whatever it took, and leaves the host's apartment
    // open.
    virtual void disconnect() = 0;
};

// Connects the calling thread to a namespace. Throws ErrorHandling::Exception with one of the connection's codes. The trace of the
// code ErrorCode::wmiBind is as asked for: that of an optional namespace is caught and only logged.
std::unique_ptr<ManagementSource> connectManagementSource(const std::wstring& namespacePath,
                                                          ZelStdCore::Trace bindTrace = ZelStdCore::Trace::capture);
}

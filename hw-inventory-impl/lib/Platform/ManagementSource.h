#pragma once

#include "st-core/lib/Result.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

// WMI as the readers use it: a source that runs queries, and the result objects.
namespace HardwareInventory::Providers::WMIProvider
{
// The property could not be read.
struct Unreadable
{
};

// The property has no value on this machine.
struct Null
{
};

// Any other VARIANT type.
struct OtherType
{
};

using PropertyValue = std::variant<Unreadable, Null, std::wstring, std::int32_t, bool, OtherType>;

// A result object. Each operation reads the named property once; none of them logs a warning.
class ManagementObject
{
public:
    virtual ~ManagementObject() = default;

    // Identifies the object in the log.
    virtual const void* address() const = 0;

    // The value without conversion between types.
    virtual PropertyValue get(const wchar_t* property) const = 0;

    // The value converted to a boolean; empty if the property cannot be read. For a value that does not convert, logs a trace line
    // with the HRESULT and throws the platform's COM error, which is no std::exception.
    virtual std::optional<bool> getBool(const wchar_t* property) const = 0;

    enum class ArrayFailure
    {
        unreadable,
        notAttached // the value could not be moved into an owned VARIANT
    };

    // The strings of an array, in index order; none for a null value. For any other type, logs a trace line and throws the
    // platform's COM error.
    virtual ZelStdCore::Result<std::vector<std::wstring>, ArrayFailure> getStringArray(const wchar_t* property) const = 0;
};

// Shared, so that a callback may keep the object.
using ManagementObjectPtr = std::shared_ptr<const ManagementObject>;
using ObjectCallback = std::function<void(const ManagementObjectPtr&)>;

// A connection to one namespace, bound to the thread that made it.
class ManagementSource
{
public:
    virtual ~ManagementSource() = default;

    // Calls back once per result object, in order, on this thread. Throws ErrorHandling::Exception with the code
    // ErrorCode::wmiQuery if the query cannot be run. An iteration that breaks off logs a warning and ends the query early.
    virtual void query(const std::wstring& wql, const ObjectCallback& callback) = 0;

    // Called before the destructor when the thread ends: releases what can still be released. Only the destructor leaves COM: the
    // first of a thread's connections to leave can close the apartment of the others.
    virtual void release() = 0;

    // Called before the destructor when the thread goes on: releases everything, and leaves the host's apartment open.
    virtual void disconnect() = 0;
};
}

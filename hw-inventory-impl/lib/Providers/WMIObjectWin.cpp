#include "hw-inventory-impl/lib/Providers/WMIObjectWin.h"

#include "st-core/lib/HostLogger.h"

#include <comdef.h>

#include <cstddef>
#include <cstdint>

namespace HardwareInventory::Providers::WMIProvider
{
namespace
{
void raiseIfFailed(HRESULT result)
{
    if (FAILED(result))
        throw _com_error(result);
}

class Variant
{
public:
    Variant() { VariantInit(&value_); }
    Variant(const Variant&) = delete;
    ~Variant() { VariantClear(&value_); }

    VARIANT* put() { return &value_; }
    const VARIANT& get() const { return value_; }
    VARTYPE type() const { return value_.vt; }

    // Takes the other's value and leaves the other empty.
    HRESULT attach(Variant& other)
    {
        const HRESULT result = VariantClear(&value_);
        if (FAILED(result))
            return result;
        value_ = other.value_;
        VariantInit(&other.value_);
        return result;
    }

private:
    VARIANT value_;
};

bool read(IWbemClassObject& object, const wchar_t* property, Variant& value)
{
    return SUCCEEDED(object.Get(property, 0, value.put(), nullptr, nullptr));
}

// By length: a BSTR may contain NULs. A null BSTR is an empty one.
std::wstring textOf(BSTR text)
{
    return text ? std::wstring(text, SysStringLen(text)) : std::wstring();
}

// Locks an array for access to its elements. It cannot be resized or freed meanwhile.
class LockedStrings
{
public:
    explicit LockedStrings(SAFEARRAY* array) : array_(array)
    {
        void* data = nullptr;
        raiseIfFailed(SafeArrayAccessData(array_, &data));
        strings_ = static_cast<BSTR*>(data);
    }
    LockedStrings(const LockedStrings&) = delete;
    ~LockedStrings() { SafeArrayUnaccessData(array_); }

    BSTR operator[](std::size_t index) const { return strings_[index]; }

private:
    SAFEARRAY* array_;
    BSTR* strings_ = nullptr;
};

SAFEARRAY* stringArrayOf(const VARIANT& value)
{
    if ((value.vt & ~VT_TYPEMASK) != VT_ARRAY || !value.parray)
        throw _com_error(E_INVALIDARG);
    VARTYPE elementType = VT_EMPTY;
    raiseIfFailed(SafeArrayGetVartype(value.parray, &elementType));
    if (elementType != VT_BSTR || SafeArrayGetDim(value.parray) != 1)
        throw _com_error(E_INVALIDARG);
    return value.parray;
}

// By count, not by bounds: an array may start at any index, and the upper bound of an empty one is below the lower.
std::vector<std::wstring> stringsOf(SAFEARRAY* array)
{
    const LockedStrings locked(array);
    const std::size_t count = array->rgsabound[0].cElements;
    std::vector<std::wstring> strings;
    strings.reserve(count);
    for (std::size_t index = 0; index < count; ++index)
        strings.push_back(textOf(locked[index]));
    return strings;
}
}

PropertyValue WMIObject::get(const wchar_t* property) const
{
    Variant value;
    if (!read(*object_.get(), property, value))
        return Unreadable{};
    switch (value.type())
    {
    case VT_NULL:
        return Null{};
    case VT_BSTR:
        return textOf(value.get().bstrVal);
    case VT_I4:
        return std::int32_t{value.get().lVal};
    case VT_BOOL:
        return value.get().boolVal != VARIANT_FALSE;
    default:
        return OtherType{};
    }
}

std::optional<bool> WMIObject::getBool(const wchar_t* property) const
{
    Variant value;
    if (!read(*object_.get(), property, value))
        return std::nullopt;
    if (value.type() == VT_BOOL)
        return value.get().boolVal != VARIANT_FALSE;

    // A null value does not convert either: the caller's default is not for it.
    Variant converted;
    const HRESULT result = VariantChangeType(converted.put(), value.put(), 0, VT_BOOL);
    if (FAILED(result))
    {
        ZelStdCore::logTrace(L"'%s' property of %p does not convert to a boolean: 0x%08X", property, address(),
                             static_cast<std::uint32_t>(result));
        throw _com_error(result);
    }
    return converted.get().boolVal == VARIANT_TRUE;
}

ZelStdCore::Result<std::vector<std::wstring>, ManagementObject::ArrayFailure> WMIObject::getStringArray(
    const wchar_t* property) const
{
    Variant value;
    if (!read(*object_.get(), property, value))
        return ArrayFailure::unreadable;
    Variant owned;
    if (FAILED(owned.attach(value)))
        return ArrayFailure::notAttached;
    if (owned.type() == VT_NULL)
        return std::vector<std::wstring>{};
    try
    {
        return stringsOf(stringArrayOf(owned.get()));
    }
    catch (const _com_error& error)
    {
        ZelStdCore::logTrace(L"'%s' property of %p cannot be read as an array of BSTR: 0x%08X", property, address(),
                             static_cast<std::uint32_t>(error.Error()));
        throw;
    }
}
}

#pragma once

#include "hw-inventory-impl/lib/Platform/ManagementSource.h"
#include "hw-inventory-interface/ErrorHandling/Exception.h"
#include "st-core/lib/LastError.h"
#include "st-core/lib/Result.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

// WMI behind the tests' connectManagementSource. Operations pass callFails (FakeMachine.h) under the names of the platform calls
// that they stand for: "CoInitializeEx", "CoCreateInstance", "ConnectServer", "CoSetProxyBlanket", "ExecQuery", "Next", "Get",
// "VariantClear".
namespace fakes
{
using namespace HardwareInventory::Providers::WMIProvider;
using HardwareInventory::ErrorHandling::ErrorCode;

// Thrown for a value that does not convert. Like the platform's own, no std::exception.
struct ComError
{
    std::int32_t result;
};

// Property and class names ignore case.
struct IgnoringCase
{
    bool operator()(const std::wstring& left, const std::wstring& right) const;
};

using Texts = std::vector<std::wstring>;

// Copied alternative by alternative: libstdc++ 12 destroys garbage if memory runs out in its own copy of a variant.
struct FakeValue : std::variant<Unreadable, Null, std::wstring, std::int32_t, bool, OtherType, Texts>
{
    using variant::variant;
    FakeValue(const FakeValue& other) : variant(std::visit([](const auto& value) { return variant(value); }, other.base())) {}
    FakeValue(FakeValue&&) = default;
    FakeValue& operator=(FakeValue other)
    {
        variant::operator=(std::move(other.base()));
        return *this;
    }

private:
    variant& base() { return *this; }
    const variant& base() const { return *this; }
};

// One result object: its properties by name. A property not listed is unreadable.
using FakeObject = std::map<std::wstring, FakeValue, IgnoringCase>;
using FakeObjects = std::vector<FakeObject>;

struct FakeNamespace
{
    std::optional<ErrorCode> failure;            // thrown by connecting; ErrorCode::wmiBind for an absent namespace
    std::map<std::wstring, FakeObjects> answers; // by the exact text of the query

    // For the queries without an entry in answers. The default returns no objects.
    std::function<FakeObjects(const std::wstring& wql)> otherwise = [](const std::wstring&) { return FakeObjects(); };
};

struct FakeManagement
{
    FakeNamespace cimv2;         // ROOT\CIMV2
    FakeNamespace standardCimv2; // ROOT\StandardCIMV2

    std::vector<std::wstring> queries; // the texts, in order
    std::vector<std::wstring> events;  // "connected NAMESPACE" and "disconnected NAMESPACE", in order
};

FakeManagement& management();
std::unique_ptr<ManagementSource> connectManagementSource(const std::wstring& namespacePath);
ZelStdCore::Result<std::unique_ptr<ManagementSource>, ZelStdCore::LastError> connectOptionalSource(
    const std::wstring& namespacePath);

// Connections made and not destroyed, in the whole process.
int liveConnections();

std::shared_ptr<const ManagementObject> makeObject(FakeObject properties);

// Sets up the machine and its WMI with one device of every kind, all of whose facts can be read.
void setUpOneOfEverything();
}

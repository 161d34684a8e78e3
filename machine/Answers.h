#pragma once

#include "hw-inventory-impl/lib/Platform/Platform.h"
#include "machine/Recording.h"

#include <array>
#include <limits>
#include <stdexcept>
#include <vector>

// How the answers of a machine are written and read. Reading throws std::runtime_error for what is no answer of its kind.
namespace HardwareInventory::Answers
{
using ZelStdCore::LastError;
using ZelStdCore::Result;

// Throws std::runtime_error for an answer that the question cannot have, and for an unknown question.
void check(const std::string& question, const Json& answer);

[[noreturn]] void refuse(const char* expected);

template <class Type>
struct Codec;

template <class Type>
Json write(const Type& value)
{
    return Codec<Type>::write(value);
}

template <class Type>
Type read(const Json& json)
{
    return Codec<Type>::read(json);
}

template <>
struct Codec<bool>
{
    static Json write(bool value) { return value; }
    static bool read(const Json& json) { return json.is_boolean() ? json.get<bool>() : (refuse("true or false"), false); }
};

template <std::integral Number>
struct Codec<Number>
{
    static Json write(Number number) { return number; }
    static Number read(const Json& json)
    {
        const bool fits = json.is_number_unsigned() ? std::in_range<Number>(json.get<std::uint64_t>())
                                                    : json.is_number_integer() && std::in_range<Number>(json.get<std::int64_t>());
        return fits ? json.get<Number>() : (refuse("a number in its range"), Number());
    }
};

// UTF-8; {"utf16": [units]} for a text that has no UTF-8 form.
template <>
struct Codec<std::wstring>
{
    static Json write(const std::wstring& text);
    static std::wstring read(const Json& json);
};

template <>
struct Codec<std::vector<std::wstring>>
{
    static Json write(const std::vector<std::wstring>& texts);
    static std::vector<std::wstring> read(const Json& json);
};

template <>
struct Codec<Platform::DeviceLocation>
{
    static Json write(const Platform::DeviceLocation& location);
    static Platform::DeviceLocation read(const Json& json);
};

template <>
struct Codec<Platform::DomainController>
{
    static Json write(const Platform::DomainController& controller);
    static Platform::DomainController read(const Json& json);
};

// A firmware table: its structures where it has any, else hexadecimal digits.
using Bytes = std::vector<std::uint8_t>;
template <>
struct Codec<Bytes>
{
    static Json write(const Bytes& table);
    static Bytes read(const Json& json);
};

// The names of an operation's steps, in the order of its enumeration.
template <class Step>
inline constexpr std::nullptr_t kStepNames = nullptr;
template <>
inline constexpr auto kStepNames<Platform::RegistryStep> = std::to_array({"openKey", "valueSize", "value"});
template <>
inline constexpr auto kStepNames<Platform::TrimStep> = std::to_array({"openDrive", "query"});
template <>
inline constexpr auto kStepNames<Platform::DeviceSetupStep> = std::to_array({"deviceSet", "element", "busNumber", "address"});
template <>
inline constexpr auto kStepNames<Platform::FirmwareStep> = std::to_array({"size", "read"});

template <class Step>
Step readStep(const Json& json)
{
    const auto& names = kStepNames<Step>;
    for (std::size_t index = 0; index < names.size(); ++index)
        if (json == names[index])
            return static_cast<Step>(index);
    refuse("a step of the operation");
}

// Failures are objects with the key "failed", which no value has.
template <class Step>
struct Codec<Platform::Failure<Step>>
{
    static Json write(const Platform::Failure<Step>& failure)
    {
        return {{"failed", kStepNames<Step>[static_cast<std::size_t>(failure.step)]}, {"code", failure.code}};
    }
    static Platform::Failure<Step> read(const Json& json)
    {
        return {readStep<Step>(json.at("failed")), Answers::read<std::uint32_t>(json.at("code"))};
    }
};

template <>
struct Codec<Platform::FirmwareStep>
{
    static Json write(Platform::FirmwareStep step)
    {
        return {{"failed", kStepNames<Platform::FirmwareStep>[static_cast<int>(step)]}};
    }
    static Platform::FirmwareStep read(const Json& json) { return readStep<Platform::FirmwareStep>(json.at("failed")); }
};

template <>
struct Codec<LastError>
{
    static Json write(LastError error) { return {{"failed", error.code}}; }
    static LastError read(const Json& json) { return {Answers::read<std::uint32_t>(json.at("failed"))}; }
};

template <class Value, class Error>
struct Codec<Result<Value, Error>>
{
    static Json write(const Result<Value, Error>& result)
    {
        return result ? Answers::write(result.value()) : Answers::write(result.error());
    }
    static Result<Value, Error> read(const Json& json)
    {
        if (json.is_object() && json.contains("failed"))
            return Answers::read<Error>(json);
        return Answers::read<Value>(json);
    }
};
}

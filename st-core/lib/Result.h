#pragma once

#include <utility>
#include <variant>

namespace ZelStdCore
{
// The value of an operation, or why there is none, in the manner of std::expected. Moved and not copied: libstdc++ 12 destroys
// garbage where memory runs out while it copies a variant.
template <class Value, class Error>
class Result
{
public:
    Result(Value value) : content_(std::in_place_index<0>, std::move(value)) {}
    Result(Error error) : content_(std::in_place_index<1>, std::move(error)) {}
    Result(Result&&) noexcept = default;

    explicit operator bool() const { return content_.index() == 0; }

    // Throw std::bad_variant_access where the other one is there.
    const Value& value() const& { return std::get<0>(content_); }
    Value value() && { return std::get<0>(std::move(content_)); }
    const Error& error() const& { return std::get<1>(content_); }
    Error error() && { return std::get<1>(std::move(content_)); }

private:
    std::variant<Value, Error> content_;
};
}

#include "st-core/lib/Format.h"

#include <boost/format.hpp>

#include <locale>
#include <new>
#include <ostream>

namespace ZelStdCore
{
namespace
{
struct Argument
{
    const FormatArgument::Value& value;
};

// A stream swallows what its buffer throws. A text that memory did not suffice for must not pass for a whole one.
std::wostream& operator<<(std::wostream& stream, const Argument& argument)
{
    std::visit([&stream](const auto& value) { stream << value; }, argument.value);
    return stream.bad() ? throw std::bad_alloc() : stream;
}
}

std::wstring formatArguments(const wchar_t* pattern, std::initializer_list<FormatArgument> arguments)
{
    // The classic locale: the process's locale may group digits.
    boost::wformat message(pattern, std::locale::classic());
    for (const FormatArgument& argument : arguments)
        message % Argument{argument.value()};
    return message.str();
}
}

#include "st-core/lib/Format.h"

#include <boost/format.hpp>

#include <locale>

namespace ZelStdCore
{
std::wstring formatArguments(const wchar_t* pattern, std::initializer_list<FormatArgument> arguments)
{
    // The classic locale: the process's locale may group digits.
    boost::wformat message(pattern, std::locale::classic());
    for (const FormatArgument& argument : arguments)
        std::visit([&message](const auto& value) { message % value; }, argument.value());
    return message.str();
}
}

#include "st-core/lib/Time.h"

#include "st-core/lib/Format.h"
#include "st-core/lib/OSError.h"
#include "st-core/lib/RuntimeException.h"
#include "st-core/lib/Utf8.h"

#include <boost/date_time/posix_time/posix_time.hpp>

#include <array>
#include <cerrno>
#include <ctime>
#include <cwchar>
#include <locale>
#include <memory>
#include <sstream>
#include <vector>

namespace ZelStdCore
{
namespace
{
constexpr wchar_t kSourceFile[] = L"st-core\\lib\\Time.cpp";
constexpr std::size_t kTimeTextSize = 1024;

bool localTime(std::time_t time, std::tm& fields)
{
#ifdef _WIN32
    return localtime_s(&fields, &time) == 0;
#else
    return localtime_r(&time, &fields) != nullptr;
#endif
}

using Facet = boost::posix_time::wtime_input_facet;
using Names = std::vector<std::wstring>;

// The facet of the format, with the names that the classic locale has. Left to itself the facet asks the C++ library for them:
// mingw's then sets the whole process's locale for a moment, and ends the process when memory runs out meanwhile.
std::unique_ptr<Facet> makeFacet(const std::wstring& format)
{
    const Names monthsInShort{L"Jan", L"Feb", L"Mar", L"Apr", L"May", L"Jun", L"Jul", L"Aug", L"Sep", L"Oct", L"Nov", L"Dec"};
    const Names months{L"January", L"February", L"March",     L"April",   L"May",      L"June",
                       L"July",    L"August",   L"September", L"October", L"November", L"December"};
    const Names daysInShort{L"Sun", L"Mon", L"Tue", L"Wed", L"Thu", L"Fri", L"Sat"};
    const Names days{L"Sunday", L"Monday", L"Tuesday", L"Wednesday", L"Thursday", L"Friday", L"Saturday"};
    return std::make_unique<Facet>(format, Facet::format_date_parser_type(format, monthsInShort, months, daysInShort, days),
                                   Facet::special_values_parser_type(), Facet::period_parser_type(), Facet::date_gen_parser_type(),
                                   1);
}

// The length of the text, 0 when it is empty or too long. Some C libraries fill the whole buffer with a text that is too long,
// without a terminating zero.
std::size_t writeLocalTime(CalendarTime time, const std::wstring& format, std::array<wchar_t, kTimeTextSize>& text)
{
    std::tm fields{};
    if (!localTime(time, fields))
        return 0;
    const std::size_t length = std::wcsftime(text.data(), text.size(), format.c_str(), &fields);
    return length < text.size() ? length : 0;
}
}

Result<CalendarTime, TimeFailure> readTime(const std::wstring& text, const std::wstring& format)
try
{
    // Owned here (refs = 1): a locale constructor that throws would leak it.
    const std::unique_ptr<Facet> facet = makeFacet(format);
    std::wistringstream stream(text);
    stream.imbue(std::locale(std::locale::classic(), facet.get()));
    boost::posix_time::ptime value(boost::posix_time::not_a_date_time);
    if (!(stream >> value))
    {
        const int error = errno;
        return TimeFailure{
            ZelStdCore::format(L"failed to convert '%1%' to time using '%2%' format: %3%", text, format, strerror(error)), nullptr};
    }
    std::tm fields = to_tm(value);
    fields.tm_isdst = -1;
    return std::mktime(&fields);
}
catch (const std::exception& failure)
{
    return TimeFailure{widen(failure.what()), std::current_exception()};
}

ST_CORE_OWN_FRAME
CalendarTime stringToTime(const std::wstring& text, const std::wstring& format)
{
    const auto time = readTime(text, format);
    if (time)
        return time.value();
    if (time.error().cause)
        std::rethrow_exception(time.error().cause);
    throw RuntimeException(time.error().message, kSourceFile, L"ZelStdCore::stringToTime", __LINE__);
}

ST_CORE_OWN_FRAME
std::wstring timeToString(CalendarTime time, const std::wstring& format)
{
    std::array<wchar_t, kTimeTextSize> text{};
    if (writeLocalTime(time, format, text) == 0)
    {
        const int error = errno;
        throw RuntimeException(ZelStdCore::format(L"failed to convert %1% to time (format = %2%): %3%", time, format,
                                                  strerror(error)),
                               kSourceFile, L"ZelStdCore::timeToString", __LINE__);
    }
    return text.data();
}
}

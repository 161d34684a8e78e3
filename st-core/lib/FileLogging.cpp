#include "st-core/lib/FileLogging.h"

#include "st-core/lib/Utf8.h"

#include <boost/date_time/posix_time/posix_time.hpp>
#include <boost/filesystem/exception.hpp>
#include <boost/filesystem/fstream.hpp>
#include <boost/filesystem/operations.hpp>
#include <boost/log/attributes/clock.hpp>
#include <boost/log/core.hpp>
#include <boost/log/expressions.hpp>
#include <boost/log/sinks/sync_frontend.hpp>
#include <boost/log/sinks/text_ostream_backend.hpp>
#include <boost/log/support/date_time.hpp>
#include <boost/smart_ptr/make_shared.hpp>

#include <cerrno>
#include <sstream>
#include <thread>

#ifdef _WIN32
#include <boost/winapi/get_current_thread_id.hpp>
#endif

namespace logging = boost::log;
namespace expressions = boost::log::expressions;
namespace sinks = boost::log::sinks;

namespace ZelStdCore
{
namespace
{
BOOST_LOG_ATTRIBUTE_KEYWORD(severityAttribute, "Severity", Severity)
BOOST_LOG_ATTRIBUTE_KEYWORD(timeStampAttribute, "TimeStamp", boost::posix_time::ptime)
constexpr const char* kTimeFormat = "%Y-%m-%d %H:%M:%S";

std::string messageOf(const logging::record_view& record)
{
    if (const auto wide = record[expressions::wmessage])
        return toUtf8(*wide);
    const auto narrow = record[expressions::smessage];
    return narrow ? *narrow : std::string();
}

// Every record here has a severity: the filters of the sinks drop all others.
void writeSeverityAndMessage(const logging::record_view& record, logging::formatting_ostream& line)
{
    line << " <" << toUtf8(severityName(record[severityAttribute].get())) << ">: " << messageOf(record);
}

std::string currentThreadNumber()
{
    std::ostringstream number;
#ifdef _WIN32
    number << boost::winapi::GetCurrentThreadId();
#else
    number << std::this_thread::get_id();
#endif
    return number.str();
}

// The file is opened at once: a backend that takes a file name would empty it at the first record only.
boost::shared_ptr<sinks::sink> makeSink(const boost::filesystem::path& file, const logging::filter& filter,
                                        const logging::formatter& formatter)
{
    const auto stream = boost::make_shared<boost::filesystem::ofstream>(file, std::ios::out | std::ios::trunc);
    if (!*stream)
        throw boost::filesystem::filesystem_error("ZelStdCore::FileLogger::initFileLogging", file,
                                                  boost::system::error_code(errno, boost::system::generic_category()));
    const auto backend = boost::make_shared<sinks::text_ostream_backend>();
    backend->add_stream(stream);
    backend->auto_flush(true);
    const auto sink = boost::make_shared<sinks::synchronous_sink<sinks::text_ostream_backend>>(backend);
    sink->set_filter(filter);
    sink->set_formatter(formatter);
    return sink;
}
}

FileLogger::~FileLogger()
{
    close();
}

void FileLogger::initFileLogging(const std::wstring& directory, bool withCounters)
{
    close();
    directory_ = directory;
    const boost::filesystem::path folder(directory);
    boost::filesystem::create_directory(folder);

    const auto time = expressions::format_date_time(timeStampAttribute, kTimeFormat);
    const auto rest = expressions::wrap_formatter(&writeSeverityAndMessage);
    const logging::formatter line = expressions::stream << time << rest;
    // All lines show the thread that calls this.
    const logging::formatter lineWithThread = expressions::stream << time << " thread: " << currentThreadNumber() << " " << rest;

    std::vector<boost::shared_ptr<sinks::sink>> opened;
    opened.push_back(makeSink(folder / "info.log", severityAttribute == Severity::info || severityAttribute == Severity::warning,
                              line));
    opened.push_back(makeSink(folder / "error.log", severityAttribute == Severity::error || severityAttribute == Severity::fatal,
                              lineWithThread));
    if (withCounters)
        opened.push_back(makeSink(folder / "counters.log", severityAttribute == Severity::counter, line));

    sinks_ = std::move(opened);
    const auto core = logging::core::get();
    // Has no effect if the program has an attribute of that name.
    core->add_global_attribute("TimeStamp", logging::attributes::local_clock());
    for (const auto& sink : sinks_)
        core->add_sink(sink);
}

void FileLogger::close()
{
    for (const auto& sink : sinks_)
        logging::core::get()->remove_sink(sink);
    sinks_.clear();
    directory_.clear();
}
}

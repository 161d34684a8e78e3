#pragma once

#include "st-core/lib/HostLogger.h"

#include <boost/log/sinks/sink.hpp>
#include <boost/smart_ptr/shared_ptr.hpp>

#include <string>
#include <vector>

namespace ZelStdCore
{
// Log files in one directory, written through Boost.Log: the records' attributes are "Severity" (the type Severity) and "TimeStamp"
// (a posix time; a local clock is registered under that name unless the program has one). Messages may be narrow (UTF-8) or wide.
//
// The inventory writes no log files; this is for programs that use core support by itself.
class FileLogger
{
public:
    FileLogger() = default;
    FileLogger(const FileLogger&) = delete;
    FileLogger& operator=(const FileLogger&) = delete;

    // Ends the logging to the files.
    ~FileLogger();

    // Creates the directory (one level) and opens, emptied, "info.log" for info and warnings, "error.log" for errors and fatal
    // errors, and if wanted "counters.log" for counters. Files that this object opened before are closed. A line of
    // "error.log" contains the identifier of the thread that calls this, whichever thread logs. Throws
    // boost::filesystem::filesystem_error when the directory cannot be created or a file cannot be opened.
    void initFileLogging(const std::wstring& directory, bool withCounters);

private:
    void close();

    std::wstring directory_;
    std::vector<boost::shared_ptr<boost::log::sinks::sink>> sinks_;
};
}

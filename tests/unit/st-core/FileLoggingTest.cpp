#include "st-core/lib/FileLogging.h"

#include <boost/date_time/posix_time/posix_time.hpp>
#include <boost/filesystem/exception.hpp>
#include <boost/log/attributes/constant.hpp>
#include <boost/log/core.hpp>
#include <boost/log/sources/record_ostream.hpp>
#include <boost/log/sources/severity_logger.hpp>

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <random>
#include <regex>
#include <thread>

using namespace testing;
using namespace ZelStdCore;

TEST(FileLogging, EachSeverityGoesToItsFile)
{
    const auto core = boost::log::core::get();
    const std::string time = "2021-03-04 10:11:12";
    const boost::log::attributes::constant constant(boost::posix_time::time_from_string(time));
    const auto clock = core->add_global_attribute("TimeStamp", constant).first; // the program's own
    boost::log::sources::wseverity_logger<Severity> wide;
    boost::log::sources::severity_logger<Severity> narrow;
    const auto folder = std::filesystem::temp_directory_path() / ("logging-" + std::to_string(std::random_device()()));
    const auto read = [&folder](const char* name)
    {
        std::ifstream file(folder / name);
        return std::string(std::istreambuf_iterator<char>(file), {});
    };
    std::optional<FileLogger> logger(std::in_place);
    std::thread([&] { logger->initFileLogging(folder.wstring(), true); }).join();
    for (int severity = 0; severity <= 6; ++severity)
        BOOST_LOG_SEV(wide, static_cast<Severity>(severity)) << L"\u00E4";
    BOOST_LOG_SEV(narrow, Severity::info) << "narrow";
    // Read while the logger holds the files: they are shared and nothing waits to be flushed.
    EXPECT_EQ(read("info.log"), time + " <info>: \xC3\xA4\n" + time + " <warning>: \xC3\xA4\n" + time + " <info>: narrow\n");
    EXPECT_EQ(read("counters.log"), time + " <counter>: \xC3\xA4\n");
    const std::string errors = read("error.log"), line = time + " thread: ([0-9]+)  <error>: \xC3\xA4\n";
    std::smatch first, second;
    EXPECT_TRUE(std::regex_match(errors, first, std::regex(line + time + " thread: \\1  <fatal>: \xC3\xA4\n"))) << errors;

    // A set-up empties the files that it opens, and lets the others be. Lines show the thread of the set-up.
    logger->initFileLogging(folder.wstring(), false);
    EXPECT_EQ(read("info.log") + read("error.log"), "");
    BOOST_LOG_SEV(wide, Severity::counter) << L"unwanted";
    BOOST_LOG_SEV(wide, Severity::error) << L"\u00E4";
    EXPECT_EQ(read("counters.log"), time + " <counter>: \xC3\xA4\n");
    const std::string later = read("error.log");
    EXPECT_TRUE(std::regex_match(later, second, std::regex(line))) << later;
    EXPECT_NE(first[1], second[1]);

    // Without a clock of the program a local one is used.
    core->remove_global_attribute(clock);
    logger->initFileLogging(folder.wstring(), false);
    BOOST_LOG_SEV(narrow, Severity::info) << "now";
    logger.reset();
    BOOST_LOG_SEV(narrow, Severity::info) << "after the logger's end";
    EXPECT_TRUE(std::regex_match(read("info.log"), std::regex("20\\d\\d-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d <info>: now\n")));

    const auto setUp = [](const std::filesystem::path& path)
    { return [path] { FileLogger().initFileLogging(path.wstring(), false); }; };
    using Error = boost::filesystem::filesystem_error;
    EXPECT_THAT(setUp(folder / "two" / "levels"), ThrowsMessage<Error>(StartsWith("boost::filesystem::create_directory: ")));
    std::filesystem::remove(folder / "error.log");
    std::filesystem::create_directory(folder / "error.log");
    EXPECT_THAT(setUp(folder),
                ThrowsMessage<Error>(AllOf(StartsWith("ZelStdCore::FileLogger::initFileLogging: "), HasSubstr("error.log"))));
    std::filesystem::remove_all(folder);
}

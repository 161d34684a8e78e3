#include "st-core/lib/FileLogging.h"

#include <boost/date_time/posix_time/posix_time.hpp>
#include <boost/filesystem/exception.hpp>
#include <boost/log/attributes/constant.hpp>
#include <boost/log/sources/record_ostream.hpp>
#include <boost/log/sources/severity_logger.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <regex>
#include <thread>

using namespace ZelStdCore;

namespace
{
// Writes with the time of the example, 4 March 2021, 10:11:12.
template <class Logger>
void logAtFixedTime(Severity severity, const std::basic_string<typename Logger::char_type>& text)
{
    Logger logger;
    logger.add_attribute("TimeStamp", boost::log::attributes::constant(boost::posix_time::ptime(
                                          boost::gregorian::date(2021, 3, 4), boost::posix_time::time_duration(10, 11, 12))));
    if (auto record = logger.open_record(boost::log::keywords::severity = severity))
    {
        boost::log::basic_record_ostream<typename Logger::char_type> stream(record);
        stream << text;
        stream.flush();
        logger.push_record(std::move(record));
    }
}

void log(Severity severity, const std::wstring& text)
{
    logAtFixedTime<boost::log::sources::wseverity_logger<Severity>>(severity, text);
}

class FileLoggingTest : public testing::Test
{
protected:
    FileLoggingTest() { std::filesystem::remove_all(folder_); }
    ~FileLoggingTest() override
    {
        logger_.reset();
        std::filesystem::remove_all(folder_);
    }

    void setUp(bool withCounters) { logger_->initFileLogging(folder_.wstring(), withCounters); }

    std::string read(const char* name) const
    {
        std::ifstream stream(folder_ / name);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    // The number that the lines of "error.log" show for a fatal record logged now.
    std::string threadNumber() const
    {
        log(Severity::fatal, L"probe");
        const std::string text = read("error.log");
        std::smatch match;
        const bool found = std::regex_search(text, match, std::regex("thread: ([0-9]+)  <fatal>: probe\n$"));
        return found ? match[1].str() : "none in " + text;
    }

    const std::filesystem::path folder_ =
        std::filesystem::temp_directory_path() /
        (std::string("st-core-logging-") + testing::UnitTest::GetInstance()->current_test_info()->name());
    std::optional<FileLogger> logger_{std::in_place};
};
}

TEST_F(FileLoggingTest, EachSeverityGoesToItsFile)
{
    setUp(true);
    log(Severity::info, L"one");
    log(Severity::warning, L"disk missing");
    log(Severity::error, L"three");
    log(Severity::trace, L"nowhere");
    log(Severity::counter, L"five \u00E4");
    log(static_cast<Severity>(6), L"nowhere");
    logAtFixedTime<boost::log::sources::severity_logger<Severity>>(Severity::info, "narrow");

    // Read while the logger holds the files: they are shared and nothing waits to be flushed.
    EXPECT_EQ(read("info.log"), "2021-03-04 10:11:12 <info>: one\n"
                                "2021-03-04 10:11:12 <warning>: disk missing\n"
                                "2021-03-04 10:11:12 <info>: narrow\n");
    EXPECT_EQ(read("counters.log"), "2021-03-04 10:11:12 <counter>: five \xC3\xA4\n");
    const std::string number = threadNumber();
    EXPECT_EQ(read("error.log"), "2021-03-04 10:11:12 thread: " + number +
                                     "  <error>: three\n"
                                     "2021-03-04 10:11:12 thread: " +
                                     number + "  <fatal>: probe\n");
}

TEST_F(FileLoggingTest, ShowsTheThreadOfTheSetUp)
{
    setUp(false);
    const std::string ours = threadNumber();
    std::string sameFromElsewhere, others;
    std::thread(
        [&]
        {
            sameFromElsewhere = threadNumber();
            setUp(false);
            others = threadNumber();
        })
        .join();
    EXPECT_EQ(sameFromElsewhere, ours);
    EXPECT_NE(others, ours);
    EXPECT_EQ(threadNumber(), others);
}

TEST_F(FileLoggingTest, EachSetUpEmptiesTheFiles)
{
    setUp(true);
    for (const Severity severity : {Severity::info, Severity::error, Severity::counter})
        log(severity, L"old");
    setUp(true);
    for (const char* file : {"info.log", "error.log", "counters.log"})
        EXPECT_EQ(read(file), "") << file;

    // Files that another set-up does not open keep their content; nothing is logged twice.
    log(Severity::counter, L"kept");
    setUp(false);
    log(Severity::counter, L"unwanted");
    log(Severity::info, L"new");
    logger_.reset();
    log(Severity::info, L"after the logger's end");
    EXPECT_EQ(read("info.log"), "2021-03-04 10:11:12 <info>: new\n");
    EXPECT_EQ(read("counters.log"), "2021-03-04 10:11:12 <counter>: kept\n");
}

TEST_F(FileLoggingTest, StampsRecordsWithTheLocalTime)
{
    setUp(false);
    boost::log::sources::severity_logger<Severity> source;
    BOOST_LOG_SEV(source, Severity::info) << "now";
    EXPECT_TRUE(std::regex_match(read("info.log"), std::regex("20\\d\\d-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d <info>: now\n")));
    EXPECT_FALSE(std::filesystem::exists(folder_ / "counters.log"));
}

TEST_F(FileLoggingTest, ReportsWhyThereAreNoFiles)
{
    const auto failureOf = [this](const std::filesystem::path& folder) -> std::string
    {
        try
        {
            logger_->initFileLogging(folder.wstring(), true);
            return "no exception";
        }
        catch (const boost::filesystem::filesystem_error& error)
        {
            return error.what();
        }
    };
    EXPECT_THAT(failureOf(folder_ / "two" / "levels"), testing::HasSubstr("boost::filesystem::create_directory"));

    std::filesystem::create_directories(folder_ / "error.log");
    EXPECT_THAT(failureOf(folder_), testing::HasSubstr("error.log"));
    log(Severity::info, L"to no file");
    EXPECT_EQ(read("info.log"), "");
}

#include "machine/Anonymiser.h"
#include "machine/Hmac.h"

#include <gtest/gtest.h>

#include <fstream>
#include <regex>

namespace HardwareInventory
{
namespace
{
const std::string kQuestion = "query ROOT\\CIMV2 SELECT * FROM Win32_ComputerSystem";
const Json kData = Json::parse(std::ifstream(ANONYMISED_JSON, std::ios::binary));

Json anonymised(const Json& answers, const std::string& key = "key")
{
    return Anonymiser(key).anonymise({{"anonymised", false}, {"answers", answers}})["answers"];
}

// A property, its value, and what becomes of it: the same where there is no pattern.
TEST(AnonymiserTest, Values)
{
    Json objects = Json::array();
    for (const Json& each : kData["values"])
        objects.push_back({{each[0], each[1]}});
    const Json answers = anonymised({{kQuestion, objects}});
    for (std::size_t index = 0; index < objects.size(); ++index)
    {
        const Json& pattern = kData["values"][index][2];
        const Json& result = answers[kQuestion][index].front();
        EXPECT_EQ(result == objects[index].front(), pattern.is_null()) << result;
        EXPECT_TRUE(pattern.is_null() || std::regex_match(result.get<std::string>(), std::regex(pattern.get<std::string>())))
            << result;
    }
    EXPECT_NE(anonymised({{kQuestion, objects}}, "another key"), answers);
    for (const Json& text : kData["refused"]) // a serial in hexadecimal
        EXPECT_THROW(anonymised({{kQuestion, {{{"SerialNumber", "PF0ABC12"}, {"Caption", text}}}}}), std::runtime_error);
    EXPECT_THROW(anonymised({{"firmware table RSMB 0", "00 02 07 00 00 00 00 00 01"}}), std::runtime_error);
}

std::string plain(const Json& text)
{
    return std::regex_replace(text.get<std::string>(), std::regex("\\W"), "");
}

// A value in another form is replaced by the same substitute in that form: in questions, in the log and in firmware, too.
TEST(AnonymiserTest, EqualStaysEqual)
{
    const Json answers = anonymised(kData["recording"]);
    const Json& object = answers["query W Win32_ComputerSystem"][0];
    const Json& log = answers["connect X"]["log"];
    const Json& table = answers["firmware table RSMB 0"];
    const std::string question = std::next(answers.items().begin(), 3).key();
    EXPECT_EQ(plain(object["MACAddress"]), plain(object["PermanentAddress"]));
    EXPECT_TRUE(std::regex_match(plain(log[2][1]), std::regex(plain(object["MACAddress"]), std::regex::icase)));
    EXPECT_TRUE(std::regex_match(plain(log[0][1]), std::regex("CUsers" + plain(log[1][1]) + "x", std::regex::icase)));
    EXPECT_EQ(answers[question][0]["IPAddress"][0], answers[question][0]["IPAddress"][1]);
    const std::string uuid = plain(table["structures"][0][0]).substr(16); // the first three groups are little-endian
    std::string guid;
    for (const std::size_t byte : {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15})
        guid += uuid.substr(2 * byte, 2);
    EXPECT_TRUE(std::regex_match(plain(question), std::regex("queryX" + guid, std::regex::icase)));
    EXPECT_EQ(table["structures"][2][0], "dd 08 03 00 00 00 00 00");
    for (const Json& text :
         {table["structures"][0][1], table["structures"][1][1], table["structures"][1][2], table["rest"], log[1][1],
          object["MACAddress"], object["SerialNumber"], answers[question][0]["IPAddress"][0], Json(question)})
        EXPECT_EQ(kData["recording"].dump().find(text.dump()), std::string::npos) << text;
    const Json again = {{"anonymised", true}, {"answers", answers}};
    EXPECT_EQ(Anonymiser("another key").anonymise(again), again);
}

// RFC 4231, test cases 2 and 6
TEST(AnonymiserTest, Hmac)
{
    EXPECT_EQ(hmacSha256("Jefe", "what do ya want for nothing?").substr(0, 8), "\x5b\xdc\xc1\x46\xbf\x60\x75\x4e");
    EXPECT_EQ(hmacSha256(std::string(131, '\xaa'), "Test Using Larger Than Block-Size Key - Hash Key First").substr(0, 8),
              "\x60\xe4\x31\x59\x1e\xe0\xb6\x7f");
    EXPECT_NE(randomKey(), randomKey());
}
}
}

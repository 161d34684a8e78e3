#include "machine/Anonymiser.h"
#include "st-core/lib/Hash.h"

#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <set>

using namespace HardwareInventory;

namespace
{
const std::string kQuestion = "query ROOT\\CIMV2 SELECT * FROM Win32_ComputerSystem";
const Json kData = Json::parse(std::ifstream(ANONYMISED_JSON, std::ios::binary));

Json anonymised(const Json& answers, const std::string& key = "key")
{
    return Anonymiser(key).anonymise({{"anonymised", false}, {"answers", answers}})["answers"];
}

// Letters and digits alone, small.
std::string plain(const Json& text)
{
    std::string letters = std::regex_replace(text.get<std::string>(), std::regex("\\W"), "");
    std::ranges::transform(letters, letters.begin(), [](unsigned char letter) { return std::tolower(letter); });
    return letters;
}
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
        const Json& value = answers[kQuestion][index].front();
        const bool stays = kData["values"][index][2].is_null();
        EXPECT_EQ(value == objects[index].front(), stays) << value;
        EXPECT_TRUE(stays || std::regex_match(std::string(value), std::regex(std::string(kData["values"][index][2])))) << value;
    }
    EXPECT_NE(anonymised({{kQuestion, objects}}, "another key"), answers);
    for (const Json& text : kData["refused"]) // a serial in hexadecimal
        EXPECT_THROW(anonymised({{kQuestion, {{{"SerialNumber", "PF0ABC12"}, {"Caption", text}}}}}), std::runtime_error);
    for (const auto& [answers, patterns] :
         kData["recordings"].get<std::vector<std::pair<Json, std::map<std::string, std::string>>>>())
        for (const auto& [place, pattern] : patterns)
        {
            const std::string text = anonymised(answers).at(Json::json_pointer(place));
            EXPECT_TRUE(std::regex_match(text, std::regex(pattern))) << place << ": " << text;
        }
    EXPECT_THROW(anonymised({{"firmware table RSMB 0", "00 02 07 00 00 00 00 00 01"}}), std::runtime_error);
}

// No substitute begins in the way that makes a document leave it out, and none is drawn twice.
TEST(AnonymiserTest, ManySerials)
{
    Json objects = Json::array();
    for (int number = 0; number < 3000; ++number)
        objects.push_back({{"SerialNumber", std::to_string(number / 1000) + "z" + std::to_string(1000 + number).substr(1)}});
    const Json answers = anonymised({{kQuestion, objects}});
    std::set<std::string> substitutes;
    for (const Json& each : answers[kQuestion])
        EXPECT_FALSE(substitutes.insert(each["SerialNumber"]).first->starts_with("0x"));
    EXPECT_EQ(substitutes.size(), objects.size());
}

// A value in another form is replaced by the same substitute in that form: in questions, in the log and in firmware, too.
TEST(AnonymiserTest, EqualStaysEqual)
{
    const Json answers = anonymised(kData["recording"]);
    for (const std::string place : kData["changed"])
    {
        const Json &value = answers.at(Json::json_pointer(place)), &original = kData["recording"].at(Json::json_pointer(place));
        EXPECT_NE(value, original) << place;
        EXPECT_TRUE(value.is_number() || original.dump().ends_with("\xC3\xA4\"") || value.dump().size() == original.dump().size())
            << value;
    }
    const Json& object = answers["query W Win32_ComputerSystem"][0];
    const Json& log = answers["connect X"]["log"];
    EXPECT_TRUE(plain(object["MACAddress"]) == plain(object["PermanentAddress"]) &&
                plain(log[2][1]) == plain(object["MACAddress"]));
    EXPECT_EQ(plain(log[0][1]), "cusers" + plain(log[1][1]) + "x");
    const std::string question = answers.rbegin().key();
    EXPECT_EQ(answers[question][0]["IPAddress"][0], answers[question][0]["IPAddress"][1]);

    const Json& structures = answers["firmware table RSMB 0"]["inTurn"][0]["structures"];
    const std::regex littleEndian(".{16}(..)(..)(..)(..)(..)(..)(..)(..)(.*)");
    EXPECT_EQ(plain(question), std::regex_replace(plain(structures[0][0]), littleEndian, "queryx$4$3$2$1$6$5$8$7$9"));
    EXPECT_FALSE(kData["recording"].contains(question));
    EXPECT_EQ(structures[3][0], "dd 08 04 00 00 00 00 00");

    const Json again = {{"anonymised", true}, {"answers", answers}};
    EXPECT_EQ(Anonymiser("another key").anonymise(again), again);
}

// RFC 4231, test cases 2 and 6
TEST(AnonymiserTest, Hashes)
{
    using namespace ZelStdCore;
    EXPECT_EQ(sha256("abc").substr(0, 8), "\xba\x78\x16\xbf\x8f\x01\xcf\xea");
    EXPECT_EQ(hmacSha256("Jefe", "what do ya want for nothing?").substr(0, 8), "\x5b\xdc\xc1\x46\xbf\x60\x75\x4e");
    EXPECT_EQ(hmacSha256(std::string(131, '\xaa'), "Test Using Larger Than Block-Size Key - Hash Key First").substr(0, 8),
              "\x60\xe4\x31\x59\x1e\xe0\xb6\x7f");
    EXPECT_NE(randomKey(), randomKey());
}

#include "st-core/lib/Digest.h"

#include <gtest/gtest.h>

namespace ZelStdCore
{
// FIPS 180-2, examples B.1 and B.2 (two blocks); RFC 4231, test cases 2 and 6 (a key longer than a block)
TEST(DigestTest, PublishedExamples)
{
    EXPECT_EQ(sha256("abc").substr(0, 8), "\xba\x78\x16\xbf\x8f\x01\xcf\xea");
    EXPECT_EQ(sha256("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq").substr(24), "\xf6\xec\xed\xd4\x19\xdb\x06\xc1");
    EXPECT_EQ(hmacSha256("Jefe", "what do ya want for nothing?").substr(0, 8), "\x5b\xdc\xc1\x46\xbf\x60\x75\x4e");
    EXPECT_EQ(hmacSha256(std::string(131, '\xaa'), "Test Using Larger Than Block-Size Key - Hash Key First").substr(0, 8),
              "\x60\xe4\x31\x59\x1e\xe0\xb6\x7f");
    EXPECT_NE(randomKey(), randomKey());
}
}

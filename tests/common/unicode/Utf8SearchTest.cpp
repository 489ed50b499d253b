// SPDX-License-Identifier: Apache-2.0
//
// Where a search by bytes counts: in text of which each character has the bytes that encoding it
// gives. Elsewhere the search goes character by character, with the same result.

#include <common/unicode/Utf8Search.h>

#include <string>

#include <gtest/gtest.h>

namespace {

textcore::Bytes bytesOf(const std::string& text)
{
    return {reinterpret_cast<const unsigned char*>(text.data()),
            static_cast<unsigned int>(text.size())};
}

long long count(const std::string& text)
{
    return textcore::canonicalCount(bytesOf(text));
}

std::string repeated(const std::string& piece, int times)
{
    std::string text;
    while (times-- > 0)
        text += piece;
    return text;
}

TEST(Utf8Search, CanonicalCount_EachLength)
{
    EXPECT_EQ(0, count(""));
    EXPECT_EQ(1, count("a"));
    EXPECT_EQ(1, count("\xC3\xBC"));
    EXPECT_EQ(1, count("\xE2\x82\xAC"));
    EXPECT_EQ(1, count("\xF0\x9F\x98\x80"));
    EXPECT_EQ(1, count("\xF8\x88\x80\x80\x80"));
    EXPECT_EQ(1, count("\xFC\x84\x80\x80\x80\x80"));
    EXPECT_EQ(2, count("a\xFC\x84\x80\x80\x80\x80"));
    EXPECT_EQ(8, count("a\xC3\xBC"
                       "b\xE2\x82\xAC"
                       "c\xF0\x9F\x98\x80"
                       "de"));
    EXPECT_EQ(400, count(repeated("a\xC3\xBC\xE2\x82\xAC\xF0\x9F\x98\x80", 100)));
}

TEST(Utf8Search, CanonicalCount_OtherForms)
{
    EXPECT_EQ(-1, count("\xC0\xBB"
                        "aaaa"));
    EXPECT_EQ(-1, count("\xE0\x83\xBC"
                        "aaaa"));
    EXPECT_EQ(-1, count("\xF0\x82\x82\xAC"
                        "aaaa"));
    EXPECT_EQ(-1, count("\xED\xA0\x80"
                        "aaaa"));
    EXPECT_EQ(-1, count("aaaa\x80"
                        "aaaa"));
    EXPECT_EQ(-1, count("aaaa\xE2\x82"));
    EXPECT_EQ(-1, count("aaaa\xFF"));
}

TEST(Utf8Search, FindBytes_LongText_IsCertainWhereverItIsCut)
{
    for (const char* const piece : {"a", "\xC3\xBC", "\xE2\x82\xAC", "\xF0\x9F\x98\x80"})
        for (int before = 0; before < 4; ++before) {
            const std::string text = repeated("x", before) + repeated(piece, 1000) + ";";
            const textcore::ByteSearch found = textcore::findBytes(bytesOf(text), {}, bytesOf(";"));
            EXPECT_TRUE(found.isCertain && found.isHit) << piece << " behind " << before;
            EXPECT_EQ(1000U + static_cast<unsigned int>(before), found.at.chars);
            EXPECT_EQ(text.size() - 1, found.at.bytes);
        }
}

} // namespace

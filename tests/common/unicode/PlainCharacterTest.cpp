// SPDX-License-Identifier: Apache-2.0
//
// Which characters are plain, of which length, and what each encoding makes of them. What is not
// told here is decoded one by one with the same result, only slower.

#include <common/unicode/PlainCharacter.h>

#include <cstdio>
#include <string>

#include <gtest/gtest.h>

namespace {

using textcore::bytesOf;
using textcore::encoded;
using textcore::hasLength;
using textcore::lengthBehind;
using textcore::Ucs4Encoding;
using textcore::Utf16Encoding;
using textcore::Utf8Encoding;

constexpr unsigned int NONE = 0xFFFFFFFF;

/// Returns the plain character of that length at the beginning of `bytes`, `NONE` if there is
/// another one.
template <unsigned int LENGTH, typename Encoding>
unsigned int taken(std::string bytes)
{
    bytes.resize(4);
    unsigned int c = 0;
    const auto* const from = reinterpret_cast<const unsigned char*>(bytes.data());
    return textcore::take<LENGTH>(Encoding(), from, c) ? c : NONE;
}

/// Returns the character at the beginning of `bytes` and how many it has, as "fc in 2".
template <typename Encoding>
std::string takenAny(std::string bytes)
{
    bytes.resize(4);
    unsigned int c = 0;
    const auto* const from = reinterpret_cast<const unsigned char*>(bytes.data());
    const std::ptrdiff_t size = textcore::takeAny(Encoding(), from, c);
    if (size == 0) return "none";
    char text[32];
    std::snprintf(text, sizeof text, "%x in %d", c, static_cast<int>(size));
    return text;
}

std::string units(char16_t first, char16_t second = 0)
{
    const char16_t both[] = {first, second};
    return std::string(reinterpret_cast<const char*>(both), sizeof both);
}

std::string wide(char32_t c)
{
    return std::string(reinterpret_cast<const char*>(&c), sizeof c);
}

TEST(PlainCharacter, HasLength_OfTwo)
{
    EXPECT_FALSE(hasLength<2>(0));
    EXPECT_FALSE(hasLength<2>(0x7F));
    EXPECT_TRUE(hasLength<2>(0x80));
    EXPECT_TRUE(hasLength<2>(0x7FF));
    EXPECT_FALSE(hasLength<2>(0x800));
}

TEST(PlainCharacter, HasLength_OfThree_NoSurrogates)
{
    EXPECT_FALSE(hasLength<3>(0x7FF));
    EXPECT_TRUE(hasLength<3>(0x800));
    EXPECT_TRUE(hasLength<3>(0xD7FF));
    EXPECT_FALSE(hasLength<3>(0xD800));
    EXPECT_FALSE(hasLength<3>(0xDFFF));
    EXPECT_TRUE(hasLength<3>(0xE000));
    EXPECT_TRUE(hasLength<3>(0xFFFF));
    EXPECT_FALSE(hasLength<3>(0x10000));
    EXPECT_FALSE(hasLength<3>(0x10800));
}

TEST(PlainCharacter, HasLength_OfFour_NothingThatCountsAsSurrogate)
{
    EXPECT_FALSE(hasLength<4>(0xFFFF));
    EXPECT_TRUE(hasLength<4>(0x10000));
    EXPECT_TRUE(hasLength<4>(0x1D7FF));
    EXPECT_FALSE(hasLength<4>(0x1D800));
    EXPECT_FALSE(hasLength<4>(0x1DFFF));
    EXPECT_TRUE(hasLength<4>(0x1E000));
    EXPECT_TRUE(hasLength<4>(0x10FFFF));
    EXPECT_FALSE(hasLength<4>(0x110000));
}

TEST(PlainCharacter, Take_Utf8)
{
    EXPECT_EQ(0xFCU, (taken<2, Utf8Encoding>("\xC3\xBC")));
    EXPECT_EQ(0x20ACU, (taken<3, Utf8Encoding>("\xE2\x82\xAC")));
    EXPECT_EQ(0x1F600U, (taken<4, Utf8Encoding>("\xF0\x9F\x98\x80")));
    EXPECT_EQ(0x10FFFFU, (taken<4, Utf8Encoding>("\xF4\x8F\xBF\xBF")));
    EXPECT_EQ(NONE, (taken<2, Utf8Encoding>("\xE2\x82\xAC")));
    EXPECT_EQ(NONE, (taken<3, Utf8Encoding>("\xC3\xBC")));
    EXPECT_EQ(NONE, (taken<4, Utf8Encoding>("\xE2\x82\xAC")));
}

TEST(PlainCharacter, Take_Utf8_LongFormsOfTwoAndThreeBytesOnly)
{
    EXPECT_EQ(0x3BU, (taken<2, Utf8Encoding>("\xC0\xBB")));
    EXPECT_EQ(0xFCU, (taken<3, Utf8Encoding>("\xE0\x83\xBC")));
    EXPECT_EQ(NONE, (taken<4, Utf8Encoding>("\xF0\x82\x82\xAC")));
}

TEST(PlainCharacter, Take_Utf8_NoSurrogatesAndNothingAbove)
{
    EXPECT_EQ(0xD7FFU, (taken<3, Utf8Encoding>("\xED\x9F\xBF")));
    EXPECT_EQ(NONE, (taken<3, Utf8Encoding>("\xED\xA0\x80")));
    EXPECT_EQ(NONE, (taken<4, Utf8Encoding>("\xF0\x9D\xA0\x80")));
    EXPECT_EQ(NONE, (taken<4, Utf8Encoding>("\xF4\x90\x80\x80")));
}

TEST(PlainCharacter, Take_Utf16)
{
    EXPECT_EQ(0xFCU, (taken<2, Utf16Encoding>(units(0xFC, 0xFFFF))));
    EXPECT_EQ(0x20ACU, (taken<3, Utf16Encoding>(units(0x20AC, 0xFFFF))));
    EXPECT_EQ(0x1F600U, (taken<4, Utf16Encoding>(units(0xD83D, 0xDE00))));
    EXPECT_EQ(0x10FFFFU, (taken<4, Utf16Encoding>(units(0xDBFF, 0xDFFF))));
    EXPECT_EQ(NONE, (taken<2, Utf16Encoding>(units(0x20AC))));
    EXPECT_EQ(NONE, (taken<3, Utf16Encoding>(units(0xD83D, 0xDE00))));
}

TEST(PlainCharacter, Take_Utf16_PairsOnly)
{
    EXPECT_EQ(NONE, (taken<4, Utf16Encoding>(units(0xD83D, 0x20AC))));
    EXPECT_EQ(NONE, (taken<4, Utf16Encoding>(units(0xDE00, 0xD83D))));
    EXPECT_EQ(NONE, (taken<4, Utf16Encoding>(units(0xD83D, 0xD83D))));
    EXPECT_EQ(NONE, (taken<4, Utf16Encoding>(units(0xD836, 0xDC00)))); // U+1D800
}

TEST(PlainCharacter, Take_Ucs4)
{
    EXPECT_EQ(0x80U, (taken<2, Ucs4Encoding>(wide(0x80))));
    EXPECT_EQ(NONE, (taken<2, Ucs4Encoding>(wide(0x800))));
    EXPECT_EQ(0x20ACU, (taken<3, Ucs4Encoding>(wide(0x20AC))));
    EXPECT_EQ(NONE, (taken<3, Ucs4Encoding>(wide(0xD800))));
    EXPECT_EQ(0x1F600U, (taken<4, Ucs4Encoding>(wide(0x1F600))));
    EXPECT_EQ(NONE, (taken<4, Ucs4Encoding>(wide(0x110000))));
}

TEST(PlainCharacter, Encoded)
{
    EXPECT_EQ(0xBCC3U, encoded<2>(Utf8Encoding(), 0xFC));
    EXPECT_EQ(0xAC82E2U, encoded<3>(Utf8Encoding(), 0x20AC));
    EXPECT_EQ(0x80989FF0U, encoded<4>(Utf8Encoding(), 0x1F600));
    EXPECT_EQ(0xFCU, encoded<2>(Utf16Encoding(), 0xFC));
    EXPECT_EQ(0x20ACU, encoded<3>(Utf16Encoding(), 0x20AC));
    EXPECT_EQ(0xDE00D83DU, encoded<4>(Utf16Encoding(), 0x1F600));
    EXPECT_EQ(0xDFFFDBFFU, encoded<4>(Utf16Encoding(), 0x10FFFF));
    EXPECT_EQ(0x1F600U, encoded<4>(Ucs4Encoding(), 0x1F600));
}

TEST(PlainCharacter, BytesOf)
{
    EXPECT_EQ(2, (bytesOf<2, Utf8Encoding>()));
    EXPECT_EQ(3, (bytesOf<3, Utf8Encoding>()));
    EXPECT_EQ(4, (bytesOf<4, Utf8Encoding>()));
    EXPECT_EQ(2, (bytesOf<2, Utf16Encoding>()));
    EXPECT_EQ(2, (bytesOf<3, Utf16Encoding>()));
    EXPECT_EQ(4, (bytesOf<4, Utf16Encoding>()));
    EXPECT_EQ(4, (bytesOf<2, Ucs4Encoding>()));
    EXPECT_EQ(4, (bytesOf<4, Ucs4Encoding>()));
}

TEST(PlainCharacter, LengthBehind_Utf8)
{
    EXPECT_EQ(2U, lengthBehind<Utf8Encoding>(0xC2));
    EXPECT_EQ(2U, lengthBehind<Utf8Encoding>(0xDF));
    EXPECT_EQ(3U, lengthBehind<Utf8Encoding>(0xE0));
    EXPECT_EQ(3U, lengthBehind<Utf8Encoding>(0xEF));
    EXPECT_EQ(4U, lengthBehind<Utf8Encoding>(0xF0));
    EXPECT_EQ(4U, lengthBehind<Utf8Encoding>(0xF4));
}

TEST(PlainCharacter, LengthBehind_Utf16)
{
    EXPECT_EQ(2U, lengthBehind<Utf16Encoding>(0x80));
    EXPECT_EQ(2U, lengthBehind<Utf16Encoding>(0x7FF));
    EXPECT_EQ(3U, lengthBehind<Utf16Encoding>(0x800));
    EXPECT_EQ(3U, lengthBehind<Utf16Encoding>(0xD7FF));
    EXPECT_EQ(4U, lengthBehind<Utf16Encoding>(0xD800));
    EXPECT_EQ(4U, lengthBehind<Utf16Encoding>(0xDFFF));
    EXPECT_EQ(3U, lengthBehind<Utf16Encoding>(0xE000));
    EXPECT_EQ(3U, lengthBehind<Utf16Encoding>(0xFFFF));
}

TEST(PlainCharacter, LengthBehind_Ucs4)
{
    EXPECT_EQ(2U, lengthBehind<Ucs4Encoding>(0x7FF));
    EXPECT_EQ(3U, lengthBehind<Ucs4Encoding>(0x800));
    EXPECT_EQ(3U, lengthBehind<Ucs4Encoding>(0xD800));
    EXPECT_EQ(3U, lengthBehind<Ucs4Encoding>(0xFFFF));
    EXPECT_EQ(4U, lengthBehind<Ucs4Encoding>(0x10000));
}

TEST(PlainCharacter, TakeAny_Utf8)
{
    EXPECT_EQ("7f in 1", takenAny<Utf8Encoding>("\x7F"));
    EXPECT_EQ("fc in 2", takenAny<Utf8Encoding>("\xC3\xBC"));
    EXPECT_EQ("20ac in 3", takenAny<Utf8Encoding>("\xE2\x82\xAC"));
    EXPECT_EQ("1f600 in 4", takenAny<Utf8Encoding>("\xF0\x9F\x98\x80"));
    EXPECT_EQ("none", takenAny<Utf8Encoding>("\x80"));
    EXPECT_EQ("none", takenAny<Utf8Encoding>("\xED\xA0\x80"));
    EXPECT_EQ("none", takenAny<Utf8Encoding>("\xF4\x90\x80\x80"));
}

TEST(PlainCharacter, TakeAny_Units)
{
    EXPECT_EQ("7f in 2", takenAny<Utf16Encoding>(units(0x7F)));
    EXPECT_EQ("80 in 2", takenAny<Utf16Encoding>(units(0x80)));
    EXPECT_EQ("20ac in 2", takenAny<Utf16Encoding>(units(0x20AC)));
    EXPECT_EQ("1f600 in 4", takenAny<Utf16Encoding>(units(0xD83D, 0xDE00)));
    EXPECT_EQ("none", takenAny<Utf16Encoding>(units(0xDE00)));
    EXPECT_EQ("7f in 4", takenAny<Ucs4Encoding>(wide(0x7F)));
    EXPECT_EQ("7ff in 4", takenAny<Ucs4Encoding>(wide(0x7FF)));
    EXPECT_EQ("ffff in 4", takenAny<Ucs4Encoding>(wide(0xFFFF)));
    EXPECT_EQ("10ffff in 4", takenAny<Ucs4Encoding>(wide(0x10FFFF)));
    EXPECT_EQ("none", takenAny<Ucs4Encoding>(wide(0xD800)));
}

} // namespace

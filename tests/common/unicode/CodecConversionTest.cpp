// SPDX-License-Identifier: Apache-2.0
//
// Text from one of the library's encodings into another.

#include <common/unicode/Codec.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/BlockCounter.h"
#include "support/CodecCalls.h"

namespace {

using namespace std::unicode;
using support::Bytes;
using support::converted;

const Bytes UTF8_TEXT = {0x61, 0xC3, 0xA9, 0xE2, 0x82, 0xAC, 0xF0, 0x90, 0x8D, 0x88};
const Bytes UTF16LE_TEXT = {0x61, 0, 0xE9, 0, 0xAC, 0x20, 0x00, 0xD8, 0x48, 0xDF};
const Bytes UTF16BE_TEXT = {0, 0x61, 0, 0xE9, 0x20, 0xAC, 0xD8, 0x00, 0xDF, 0x48};
const Bytes UCS4_TEXT = {0x61, 0, 0, 0, 0xE9, 0, 0, 0, 0xAC, 0x20, 0, 0, 0x48, 0x03, 0x01, 0};

void expectAllEncodings(const Codec& from, const Bytes& text)
{
    EXPECT_EQ("61 C3 A9 E2 82 AC F0 90 8D 88", converted(from, UTF8, text));
    EXPECT_EQ("61 00 E9 00 AC 20 00 D8 48 DF", converted(from, UTF16LE, text));
    EXPECT_EQ("00 61 00 E9 20 AC D8 00 DF 48", converted(from, UTF16BE, text));
    EXPECT_EQ("61 00 00 00 E9 00 00 00 AC 20 00 00 48 03 01 00", converted(from, UCS4, text));
}

TEST(CodecTo, EachEncodingIntoEach)
{
    expectAllEncodings(UTF8, UTF8_TEXT);
    expectAllEncodings(UTF16LE, UTF16LE_TEXT);
    expectAllEncodings(UTF16BE, UTF16BE_TEXT);
    expectAllEncodings(UCS4, UCS4_TEXT);
}

TEST(CodecTo, OtherObjectsOfTheSameTypes_GiveTheSame)
{
    const Utf8 utf8;
    const Utf16 big(true);
    expectAllEncodings(utf8, UTF8_TEXT);
    expectAllEncodings(Utf16(false), UTF16LE_TEXT);
    expectAllEncodings(big, UTF16BE_TEXT);
    expectAllEncodings(Ucs4(), UCS4_TEXT);
    EXPECT_EQ("00 61 00 E9 20 AC D8 00 DF 48", converted(UTF8, big, UTF8_TEXT));
    EXPECT_EQ("61 C3 A9 E2 82 AC F0 90 8D 88", converted(big, utf8, UTF16BE_TEXT));
}

TEST(CodecTo, Result_IsAFreshBlockOfExactlyItsBytes)
{
    const std::SharedBuf block = UTF16LE.to(UTF8, UTF16LE_TEXT.data(), 10, 0xFFFFFFFF);
    ASSERT_NE(nullptr, block.data);
    EXPECT_EQ(1U, support::holders(block));
    EXPECT_EQ(8U, block.offset);
    EXPECT_EQ(18U, block.size);
    EXPECT_EQ(10U, block.length());
    EXPECT_EQ(block.data, block.base);
    EXPECT_EQ(&std::Buf::DEFAULT_ALLOCATOR, block.allocator);
    block.unref();
}

TEST(CodecTo, NoBytes_GiveAnEmptyBlock)
{
    const std::SharedBuf block = UTF8.to(UCS4, nullptr, 0, 0xFFFFFFFF);
    ASSERT_NE(nullptr, block.data);
    EXPECT_EQ(1U, support::holders(block));
    EXPECT_EQ(8U, block.size);
    EXPECT_EQ(0U, block.length());
    block.unref();
}

/// What `text` becomes with at most 0, 1, 2 ... bytes.
void expectCuts(const Codec& from, const Codec& into, const Bytes& text,
                const std::vector<std::string>& cuts)
{
    for (unsigned int maxBytes = 0; maxBytes < cuts.size(); ++maxBytes)
        EXPECT_EQ(cuts[maxBytes], converted(from, into, text, maxBytes)) << maxBytes;
}

TEST(CodecTo, MaxBytesOfUtf8_CutsAtWholeCharacters)
{
    const std::string a = "61";
    const std::string e = "61 C3 A9";
    const std::string euro = "61 C3 A9 E2 82 AC";
    const std::string all = "61 C3 A9 E2 82 AC F0 90 8D 88";
    const std::vector<std::string> cuts = {"", a, a, e, e, e, euro, euro, euro, euro, all, all};
    expectCuts(UTF8, UTF8, UTF8_TEXT, cuts);
    expectCuts(UTF16LE, UTF8, UTF16LE_TEXT, cuts);
    expectCuts(UTF16BE, UTF8, UTF16BE_TEXT, cuts);
    expectCuts(UCS4, UTF8, UCS4_TEXT, cuts);
}

TEST(CodecTo, MaxBytesOfUtf16_CutsAtWholeCharacters)
{
    const Bytes text = {0xF0, 0x90, 0x8D, 0x88, 0x61};
    const std::string pair = "00 D8 48 DF";
    expectCuts(UTF8, UTF16LE, text, {"", "", "", "", pair, pair, "00 D8 48 DF 61 00"});
}

TEST(CodecTo, MaxBytesOfUcs4_CutsAtWholeCharacters)
{
    const std::string one = "61 00 00 00";
    const std::string two = "61 00 00 00 62 00 00 00";
    expectCuts(UTF8, UCS4, {0x61, 0x62}, {"", "", "", "", one, one, one, one, two, two});
}

TEST(CodecTo, FirstCharacterThatDoesNotFit_EndsTheText)
{
    EXPECT_EQ("", converted(UTF8, UTF8, {0xC3, 0xA9, 0x61}, 1)) << "the next one would fit";
    EXPECT_EQ("", converted(UTF8, UTF16LE, {0xF0, 0x90, 0x8D, 0x88, 0x61}, 3));
}

TEST(CodecTo, MalformedText_IsConvertedAsItIsDecoded)
{
    EXPECT_EQ("FD FF 42 00", converted(UTF8, UTF16LE, {0xC3, 0x41, 0x42}));
    EXPECT_EQ("EF BF BD EF BF BD", converted(UTF8, UTF8, {0x80, 0xFE}));
    EXPECT_EQ("61 EF BF BD", converted(UTF8, UTF8, {0x61, 0xE2, 0x82})) << "cut off";
    EXPECT_EQ("EF BF BD", converted(UTF16LE, UTF8, {0x00, 0xD8, 0x41, 0x00}));
    EXPECT_EQ("EF BF BD", converted(UTF16BE, UTF8, {0xD8, 0x00}));
    EXPECT_EQ("00", converted(UTF8, UTF8, {0xC0, 0x80})) << "an overlong form";
}

TEST(CodecTo, Surrogates_BecomeReplacements)
{
    EXPECT_EQ("FD FF", converted(UTF8, UTF16LE, {0xED, 0xA0, 0x80}));
    EXPECT_EQ("FD FF", converted(UTF8, UTF16LE, {0xF0, 0x9D, 0xA0, 0x80})) << "U+1D800";
    EXPECT_EQ("FD FF 00 00", converted(UTF16LE, UCS4, {0x36, 0xD8, 0x00, 0xDC})) << "U+1D800";
    EXPECT_EQ("EF BF BD", converted(UCS4, UTF8, {0x00, 0xD8, 0x02, 0x00})) << "U+2D800";
    EXPECT_EQ("FD FF 00 00", converted(UCS4, UCS4, {0xFF, 0xDF, 0x00, 0x00}));
}

/// Checks that 16 times the two units of `pair` are as many replacements.
void expectReplacements(const Bytes& pair)
{
    Bytes text;
    for (int i = 0; i < 16; ++i)
        text.insert(text.end(), pair.begin(), pair.end());
    EXPECT_EQ("EF BF BD EF BF BD EF BF BD EF BF BD EF BF BD EF BF BD EF BF BD EF BF BD "
              "EF BF BD EF BF BD EF BF BD EF BF BD EF BF BD EF BF BD EF BF BD EF BF BD",
              converted(UTF16LE, UTF8, text));
}

TEST(CodecTo, ManySurrogates_BecomeReplacements)
{
    expectReplacements({0x36, 0xD8, 0x00, 0xDC}); // U+1D800
    expectReplacements({0x00, 0xD8, 0x41, 0x00}); // which take another unit along
    expectReplacements({0x00, 0xD8, 0x42, 0x00});
}

TEST(CodecTo, ValuesThatTheTargetLacks_BecomeReplacements)
{
    EXPECT_EQ("FD FF", converted(UTF8, UTF16LE, {0xF4, 0x90, 0x80, 0x80})) << "0x110000";
    EXPECT_EQ("FF FD", converted(UCS4, UTF16BE, {0xFF, 0xFF, 0xFF, 0xFF}));
    EXPECT_EQ("EF BF BD", converted(UCS4, UTF8, {0x00, 0x00, 0x00, 0x80}));
    EXPECT_EQ("FD BF BF BF BF BF", converted(UCS4, UTF8, {0xFF, 0xFF, 0xFF, 0x7F}));
    EXPECT_EQ("FF FF FF 7F", converted(UTF8, UCS4, {0xFD, 0xBF, 0xBF, 0xBF, 0xBF, 0xBF}));
}

TEST(CodecTo, SixByteForm_IsDecodedAsByReadForward)
{
    EXPECT_EQ("00 00 00 45", converted(UTF8, UCS4, {0xFC, 0x85, 0x80, 0x80, 0x80, 0x80}));
    EXPECT_EQ("00 00 00 04", converted(UTF8, UCS4, {0xFD, 0x84, 0x80, 0x80, 0x80, 0x80}));
}

TEST(CodecTo, OddLastByteOfUtf16_IsNoCharacter)
{
    EXPECT_EQ("61", converted(UTF16LE, UTF8, {0x61, 0x00, 0x62}));
    EXPECT_EQ("61", converted(UTF16BE, UTF8, {0x00, 0x61, 0x00}));
    EXPECT_EQ("", converted(UTF16LE, UCS4, {0x61}));
    EXPECT_EQ("EF BF BD", converted(UTF16LE, UTF8, {0x00, 0xD8, 0x00}));
    EXPECT_EQ("61", converted(Utf16(false), UTF8, {0x61, 0x00, 0x62})) << "not the library's own";
}

TEST(CodecTo, UnfinishedLastValueOfUcs4_IsNoCharacter)
{
    EXPECT_EQ("61", converted(UCS4, UTF8, {0x61, 0, 0, 0, 0x62}));
    EXPECT_EQ("61 00", converted(UCS4, UTF16LE, {0x61, 0, 0, 0, 0x62, 0, 0}));
    EXPECT_EQ("", converted(UCS4, UTF8, {0x61, 0, 0}));
    EXPECT_EQ("61", converted(UCS4, UTF8, {0x61, 0, 0, 0, 0x62, 0}, 1)) << "at its limit";
    EXPECT_EQ("61", converted(Ucs4(), UTF8, {0x61, 0, 0, 0, 0x62})) << "not the library's own";
}

TEST(CodecTo, UnalignedText_IsTaken)
{
    const Bytes bytes = {0xEE, 0x61, 0, 0, 0, 0x62, 0, 0, 0};
    const std::SharedBuf block = UCS4.to(UTF8, bytes.data() + 1, 8, 0xFFFFFFFF);
    EXPECT_EQ("61 62", support::bytesText(block.payload(), block.length()));
    block.unref();
}

TEST(CodecTo, LongText)
{
    const Bytes bytes(100000, 0x61);
    const std::SharedBuf block = UTF8.to(UTF16BE, bytes.data(), 100000, 199999);
    EXPECT_EQ(199998U, block.length());
    EXPECT_EQ("00 61 00 61", support::bytesText(block.payload() + 199994, 4));
    block.unref();
}

} // namespace

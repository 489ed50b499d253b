// SPDX-License-Identifier: Apache-2.0
//
// Texts whose bytes are not what their encoding wants, and joined texts that decode to other
// characters than their parts: what they are, and that each walk over them ends.

#include <common/unicode/String.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "support/Texts.h"

namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;
using namespace std::unicode;
using support::codePointsOf;
using support::nameOf;
using support::placeAt;
using support::textWith;
using Iterator = String::Iterator;
using Points = std::vector<unsigned int>;

/// Moves and reads as UTF-8, and never says that it did.
class SilentCodec : public Utf8
{
public:
    unsigned int read_forward(const unsigned char* data, unsigned int size, Index& at,
                              unsigned int n, unsigned int& last) const override
    {
        Utf8::read_forward(data, size, at, n, last);
        return 0;
    }
};

/// Does not get past an 'x'.
class HaltingCodec : public Utf8
{
public:
    unsigned int read_forward(const unsigned char* data, unsigned int size, Index& at,
                              unsigned int n, unsigned int& last) const override
    {
        if (at.bytes < size && data[at.bytes] == 'x') return 0;
        return Utf8::read_forward(data, size, at, n, last);
    }
};

/// `text` has `points`, by walk and by number, as many as its size says.
void expectPoints(const String& text, const Points& points)
{
    EXPECT_EQ(points, codePointsOf(text));
    EXPECT_EQ(points.size(), text.size());
    EXPECT_EQ(text.size(), text.count());
    EXPECT_EQ(static_cast<std::ptrdiff_t>(points.size()), std::distance(text.begin(), text.end()));
    for (unsigned int i = 0; i < points.size(); ++i)
        EXPECT_EQ(points[i], text.at(i));
}

TEST(StringMalformed, Utf8_BytesThatAreNoLead)
{
    expectPoints("\x80", {0xFFFD});
    expectPoints("a\x80\xBF"
                 "b",
                 {0x61, 0xFFFD, 0xFFFD, 0x62});
    expectPoints("\xFE\xFF", {0xFFFD, 0xFFFD});
}

// Kept: the byte that ends a character too early goes with it.
TEST(StringMalformed, Utf8_SwallowedByte)
{
    expectPoints("\xC3"
                 "A",
                 {0xFFFD});
    expectPoints("\xC3"
                 "Ab",
                 {0xFFFD, 0x62});
    expectPoints("\xE2\x82"
                 "Ab",
                 {0xFFFD, 0x62});
    expectPoints("\xC3\xC3\xA9", {0xFFFD, 0xFFFD});
}

TEST(StringMalformed, Utf8_CutOffIsOneCharacterThatEndsWithTheBytes)
{
    expectPoints(textWith("a\xC3", UTF8), {0x61, 0xFFFD});
    expectPoints(textWith("a\xE2\x82", UTF8), {0x61, 0xFFFD});
    expectPoints(textWith("a\xF0\x9F\x98", UTF8), {0x61, 0xFFFD});
    expectPoints(textWith("\xFB\xBF\xBF\xBF", UTF8), {0xFFFD});
    expectPoints(textWith("\xFD\xBF\xBF\xBF\xBF", UTF8), {0xFFFD});
}

TEST(StringMalformed, Utf8_CutOffPieceDoesNotReadOn)
{
    const String text("a\xE2\x82\xAC");
    const std::SharedBuf cut = text.buffer().shrink(1);
    expectPoints(String(cut, UTF8), {0x61, 0xFFFD});
    cut.unref();
}

TEST(StringMalformed, Utf8_SurrogatesAndLongForms)
{
    expectPoints("\xED\xA0\x80", {0xFFFD});
    expectPoints("\xF0\x9D\xA0\x80", {0xFFFD});
    expectPoints("\xC0\x80\xE0\x81\xA1", {0, 0x61});
    expectPoints("\xF4\x90\x80\x80\xFD\xBF\xBF\xBF\xBF\xBF", {0x110000, 0x7FFFFFFF});
}

// Runs of ASCII are counted by the word, so the place in a word matters.
TEST(StringMalformed, Utf8_CountAroundEightBytes)
{
    EXPECT_EQ(8U, textWith("abcdefg\xC3", UTF8).size());
    EXPECT_EQ(9U, textWith("abcdefgh\xC3", UTF8).size());
    EXPECT_EQ(10U, textWith("abcdefgh\xC3ij", UTF8).size());
    EXPECT_EQ(8U, textWith("\xC3"
                           "abcdefgh",
                           UTF8)
                      .size());
    EXPECT_EQ(7U, textWith("abcdefg", UTF8).size());
    EXPECT_EQ(16U, textWith("abcdefgh\xC3\xBCklmnopq", UTF8).size());
}

TEST(StringMalformed, Utf16_LoneSurrogates)
{
    expectPoints(textWith("\x00\xDC\x61\x00"sv, UTF16LE), {0xFFFD, 0x61});
    expectPoints(textWith("\x61\x00\x00\xD8"sv, UTF16LE), {0x61, 0xFFFD});
    expectPoints(textWith("\xDC\x00\x00\x61"sv, UTF16BE), {0xFFFD, 0x61});
    expectPoints(textWith("\x36\xD8\x00\xDC"sv, UTF16LE), {0xFFFD});
}

// Kept: a high surrogate takes the next unit along.
TEST(StringMalformed, Utf16_SwallowedUnit)
{
    expectPoints(textWith("\x00\xD8\x41\x00\x62\x00"sv, UTF16LE), {0xFFFD, 0x62});
    expectPoints(textWith("\xD8\x00\xD8\x3D\xDE\x00"sv, UTF16BE), {0xFFFD, 0xFFFD});
}

TEST(StringMalformed, Utf16_OddLastByteIsNoCharacter)
{
    expectPoints(textWith("\x61\x00\x62"sv, UTF16LE), {0x61});
    expectPoints(textWith("\x00\x61\x00"sv, UTF16BE), {0x61});
    expectPoints(textWith("\x61"sv, UTF16LE), {});
    expectPoints(textWith("\x3D\xD8\x00"sv, UTF16LE), {0xFFFD});
}

TEST(StringMalformed, Utf16_OddLastByte_PositionsAtTheEnd)
{
    const String text = textWith("\x61\x00\x62"sv, UTF16LE);
    EXPECT_EQ("1/2", nameOf(text, placeAt(text, 1)));
    EXPECT_EQ("1/3", nameOf(text, text.end()));
    EXPECT_TRUE(placeAt(text, 1).atEnd());
    EXPECT_EQ(text.end(), placeAt(text, 1));
    EXPECT_EQ("1/2", nameOf(text, placeAt(text, 2)));
    EXPECT_EQ(0xFFFDU, *placeAt(text, 1));
    EXPECT_EQ("a", text.toUtf8());
    EXPECT_EQ(String("a"), text);
}

TEST(StringMalformed, Ucs4_TailIsNoCharacter)
{
    expectPoints(textWith("a\0\0\0b"sv, UCS4), {0x61});
    expectPoints(textWith("a\0\0\0b\0\0"sv, UCS4), {0x61});
    expectPoints(textWith("a\0\0"sv, UCS4), {});
    expectPoints(textWith("\0\xD8\0\0\xFF\xFF\xFF\xFF"sv, UCS4), {0xFFFD, 0xFFFFFFFF});
    const String text = textWith("a\0\0\0b"sv, UCS4);
    EXPECT_EQ("1/4", nameOf(text, placeAt(text, 1)));
    EXPECT_EQ("1/4", nameOf(text, placeAt(text, 2)));
    EXPECT_EQ(text.end(), placeAt(text, 1));
    EXPECT_EQ("a", text.toUtf8());
}

TEST(StringMalformed, Codec_ThatMovesWithoutSayingSo)
{
    const SilentCodec silent;
    const String text = textWith("a\xC3\xBC"
                                 "b",
                                 silent);
    expectPoints(text, {0x61, 0xFC, 0x62});
    EXPECT_EQ("a\xC3\xBC"
              "b",
              text.toUtf8());
    EXPECT_EQ(String(L"a\u00FCb"), text);
    EXPECT_EQ("2/3", nameOf(text, text.find("b")));
}

TEST(StringMalformed, Codec_ThatHalts)
{
    const HaltingCodec halting;
    const String text = textWith("axb", halting);
    expectPoints(text, {0x61});
    EXPECT_EQ("a", text.toUtf8());
    EXPECT_EQ(String("a"), text);
    EXPECT_EQ("1/3", nameOf(text, text.find("b")));
    expectPoints(textWith("x", halting), {});
}

TEST(StringMalformed, JoinedParts_DecodeAsOne)
{
    const String text = String("\xC3") + String("\xA9");
    EXPECT_EQ(2U, text.size());
    EXPECT_EQ((Points{0xE9}), codePointsOf(text));
    EXPECT_EQ(1, std::distance(text.begin(), text.end()));
    EXPECT_EQ("1/2", nameOf(text, placeAt(text, 1)));
    EXPECT_TRUE(placeAt(text, 1).atEnd());
    EXPECT_EQ("2/2", nameOf(text, text.end()));
    EXPECT_TRUE(placeAt(text, 1) == text.end());
    EXPECT_EQ("1/2", nameOf(text, placeAt(text, 3)));
}

TEST(StringMalformed, JoinedParts_BothEndsOfCopies)
{
    const String text = String("\xC3") + String("\xA9");
    const String copy(text);
    EXPECT_TRUE(placeAt(text, 1) == copy.end());
    EXPECT_TRUE(copy.end() == placeAt(text, 1));
    const String longer = text + String("b");
    EXPECT_FALSE(placeAt(longer, 1) == longer.end());
    EXPECT_FALSE(placeAt(longer, 1).atEnd());
    EXPECT_TRUE(placeAt(longer, 2) == longer.end());
}

// At the end by its bytes, or inside: positions of other ends are not equal.
TEST(StringMalformed, JoinedParts_EndsOfPiecesDiffer)
{
    const String text = String("\xC3") + String("\xA9\xC3") + String("\xA9");
    EXPECT_EQ(4U, text.size());
    EXPECT_EQ((Points{0xE9, 0xE9}), codePointsOf(text));
    const String piece = text.substr(0, 1);
    EXPECT_EQ("1/2", nameOf(piece, piece.end()));
    EXPECT_TRUE(piece.end() == placeAt(text, 1));
    EXPECT_FALSE(piece.end() == text.end());
}

TEST(StringMalformed, JoinedParts_Algorithms)
{
    const String text = String("a\xC3") + String("Ab");
    EXPECT_EQ(4U, text.size());
    EXPECT_EQ((Points{0x61, 0xFFFD, 0x62}), codePointsOf(text));
    EXPECT_EQ(3, std::distance(text.begin(), text.end()));
    EXPECT_EQ(1, std::count(text.begin(), text.end(), 0xFFFDU));
    EXPECT_EQ("2/3", nameOf(text, std::find_if(text.begin(), text.end(),
                                               [](unsigned int c) { return c == 'b'; })));
    EXPECT_TRUE(text.end() == std::find(text.begin(), text.end(), 0x41U));
}

// The last byte is neither a character nor the end: a step over it ends the walk.
TEST(StringMalformed, JoinedParts_OddLastByteBeforeTheEnd)
{
    const String text = textWith("\x00\xD8"sv, UTF16LE) + textWith("\x61\x00\x62"sv, UTF16LE);
    EXPECT_EQ(2U, text.size());
    EXPECT_EQ(1U, text.count());
    EXPECT_EQ("1/4", nameOf(text, placeAt(text, 1)));
    EXPECT_FALSE(placeAt(text, 1).atEnd());
    EXPECT_EQ("2/5", nameOf(text, placeAt(text, 2)));
    EXPECT_EQ("2/5", nameOf(text, placeAt(text, 3)));
    EXPECT_EQ((Points{0xFFFD, 0xFFFD}), codePointsOf(text));
    EXPECT_EQ("\xEF\xBF\xBD", text.toUtf8());
}

TEST(StringMalformed, JoinedParts_MoreCharactersThanTheirSize)
{
    const String text = textWith("\x61\x00\x62"sv, UTF16LE) + textWith("\x63\x00\x64"sv, UTF16LE);
    EXPECT_EQ(2U, text.size());
    EXPECT_EQ(3U, text.count());
    EXPECT_EQ((Points{0x61, 0x6362}), codePointsOf(text));
    EXPECT_EQ("2/4", nameOf(text, placeAt(text, 3)));
    EXPECT_EQ(0x6362U, text.at(1));
}

TEST(StringMalformed, JoinedParts_OfACodecThatHalts)
{
    const HaltingCodec halting;
    const String text = textWith("ax", halting) + textWith("b", halting);
    EXPECT_EQ(2U, text.size());
    EXPECT_EQ(1U, text.count());
    EXPECT_EQ((Points{0x61, 0x78}), codePointsOf(text));
    EXPECT_EQ("2/3", nameOf(text, placeAt(text, 2)));
    EXPECT_EQ("a", text.toUtf8());
    EXPECT_EQ(L"a", text.toWide());
}

TEST(StringMalformed, JoinedParts_SearchesEnd)
{
    const String text = textWith("\x00\xD8"sv, UTF16LE) + textWith("\x61\x00\x62"sv, UTF16LE);
    EXPECT_EQ("2/5", nameOf(text, text.find("b")));
    EXPECT_EQ("0/0", nameOf(text, text.find("\x80")));
    EXPECT_EQ("1/4", nameOf(text, text.rfind("\x80")));
    EXPECT_EQ("2/5", nameOf(text, text.find_first_of("ab")));
    EXPECT_EQ("2/5", nameOf(text, text.find_first_not_of("\x80")));
    EXPECT_EQ("1/4", nameOf(text, text.find_last_of("\x80")));
    EXPECT_EQ("2/5", nameOf(text, text.find_last_not_of("\x80")));
    EXPECT_EQ("1/4", nameOf(text, text.find_last_not_of("b")));
}

TEST(StringMalformed, JoinedParts_SearchesEndAtTheBytes)
{
    const String text = String("\xC3") + String("\xA9");
    EXPECT_EQ("0/0", nameOf(text, text.find("\xC3\xA9")));
    EXPECT_EQ("0/0", nameOf(text, text.rfind("\xC3\xA9")));
    EXPECT_EQ("2/2", nameOf(text, text.find("\xC3\xA9\xC3\xA9")));
    EXPECT_EQ("0/0", nameOf(text, text.rfind("")));
    EXPECT_EQ("0/0", nameOf(text, text.find_last_not_of("")));
    const String needle(text);
    const String plain("a\xC3\xA9");
    EXPECT_EQ("1/1", nameOf(plain, plain.find(needle)));
    EXPECT_EQ("1/1", nameOf(plain, plain.find_first_of(needle)));
}

} // namespace

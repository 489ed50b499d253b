// SPDX-License-Identifier: Apache-2.0
//
// Equality, order and hash of texts, which go by code points and do not see the encoding.

#include <common/unicode/String.h>

#include <algorithm>
#include <functional>
#include <map>
#include <string>
#include <tuple>
#include <unordered_map>
#include <vector>

#include <gtest/gtest.h>

#include "support/Latin1Codec.h"
#include "support/Texts.h"

namespace {

using namespace std::string_literals;
using namespace std::unicode;
using support::Latin1Codec;
using support::textWith;

/// All relations hold as they do for equal texts.
void expectEqual(const String& left, const String& right)
{
    EXPECT_TRUE(left == right);
    EXPECT_TRUE(right == left);
    EXPECT_FALSE(left != right);
    EXPECT_FALSE(left < right);
    EXPECT_FALSE(left > right);
    EXPECT_TRUE(left <= right);
    EXPECT_TRUE(left >= right);
    EXPECT_EQ(left.hash(), right.hash());
}

/// All relations hold as they do for a smaller text and a larger one.
void expectSmaller(const String& left, const String& right)
{
    EXPECT_TRUE(left < right);
    EXPECT_FALSE(right < left);
    EXPECT_TRUE(right > left);
    EXPECT_FALSE(left > right);
    EXPECT_TRUE(left <= right);
    EXPECT_FALSE(right <= left);
    EXPECT_TRUE(right >= left);
    EXPECT_FALSE(left >= right);
    EXPECT_FALSE(left == right);
    EXPECT_TRUE(left != right);
}

/// The encodings of the left and the right text.
class StringComparisonAcross : public testing::TestWithParam<std::tuple<const Codec*, const Codec*>>
{
protected:
    static String left(const char* text) { return String(*std::get<0>(GetParam()), text); }
    static String right(const char* text) { return String(*std::get<1>(GetParam()), text); }
};

TEST_P(StringComparisonAcross, Equal)
{
    expectEqual(left(""), right(""));
    expectEqual(left("abc"), right("abc"));
    expectEqual(left("gr\xC3\xBC\xC3\x9F \xE2\x82\xAC \xF0\x9F\x98\x80"),
                right("gr\xC3\xBC\xC3\x9F \xE2\x82\xAC \xF0\x9F\x98\x80"));
}

TEST_P(StringComparisonAcross, FirstDifferenceDecides)
{
    expectSmaller(left("abc"), right("abd"));
    expectSmaller(left("aZzzz"), right("aaa"));
    expectSmaller(left("\x7F"), right("\xC2\x80"));
    expectSmaller(left("\xC3\xBF"), right("\xC4\x80"));
    expectSmaller(left("\xD7\xBF"), right("\xE2\x82\xAC"));
}

// By units of UTF-16 these two would be the other way round.
TEST_P(StringComparisonAcross, OrderIsThatOfCodePoints)
{
    expectSmaller(left("\xEF\xBD\x9E"), right("\xF0\x9F\x98\x80"));
    expectSmaller(left("\xF0\x9F\x98\x80"), right("\xF0\x9F\x98\x81"));
}

TEST_P(StringComparisonAcross, PrefixIsSmaller)
{
    expectSmaller(left(""), right("a"));
    expectSmaller(left("ab"), right("abc"));
    expectSmaller(left("\xC3\xBC"), right("\xC3\xBC\xC3\xBC"));
}

INSTANTIATE_TEST_SUITE_P(AllPairs, StringComparisonAcross,
                         testing::Combine(testing::Values(&UTF8, &UTF16LE, &UTF16BE, &UCS4),
                                          testing::Values(&UTF8, &UTF16LE, &UTF16BE, &UCS4)));

TEST(StringComparison, ByteLengthsNeedNotAgree)
{
    const String narrow("abc");
    const String wide(UTF16LE, "abc");
    EXPECT_EQ(3U, narrow.byteLength());
    EXPECT_EQ(6U, wide.byteLength());
    expectEqual(narrow, wide);
    expectEqual(textWith("\xC0\x80", UTF8), String("\0"s));
    expectEqual(textWith("\xE0\x81\xA1", UTF8), String("a"));
}

TEST(StringComparison, SharedBytesAndPieces)
{
    const String text("abcabd");
    expectEqual(text, String(text));
    expectEqual(text.substr(0, 2), text.substr(3, 5));
    expectSmaller(text.substr(0, 3), text.substr(3, 6));
    expectSmaller(text.substr(0, 3), text);
}

TEST(StringComparison, NothingIsNormalisedOrFolded)
{
    expectSmaller("e\xCC\x81", "\xC3\xA9");
    expectSmaller("A", "a");
    expectSmaller("\xC3\x84", "\xC3\xA4");
}

TEST(StringComparison, EmbeddedZerosCount)
{
    expectSmaller("a", String("a\0"s));
    expectSmaller(String("a\0b"s), String("a\0c"s));
    expectEqual(String("a\0b"s), String(UTF16BE, "a\0b"s));
}

TEST(StringComparison, ValuesBeyondUnicode)
{
    expectSmaller(String(0x10FFFFU), String(0x110000U));
    expectSmaller(String(0x7FFFFFFFU), String(0x80000000U));
    expectEqual(String(0x7FFFFFFFU), String(UTF8, 0x7FFFFFFFU));
}

TEST(StringComparison, WhatCannotBeDecodedIsTheReplacement)
{
    expectEqual(String("\xC3"), String("\xEF\xBF\xBD"));
    expectEqual(String("\xC3"
                       "Ab"),
                String(L"\uFFFDb"));
    expectEqual(String("\x80\xFE"), String("\xFF\xC3"));
    expectEqual(String(0xD800U), String(0xDFFFU));
    expectEqual(textWith("\x00\xD8\x41\x00"s, UTF16LE), String("\xED\xA0\x80"));
    expectSmaller("\xEF\xBF\xBC", "\x80");
}

// Kept: comparisons walk, and a walk takes bit 30 of six bytes from another byte than a look does.
TEST(StringComparison, SixByteForm_AsWalked)
{
    const String text("\xFD\x80\x80\x80\x80\x80");
    EXPECT_EQ(0x40000000U, text.at(0));
    expectEqual(text, String(0U));
    expectEqual(String("\xFC\x85\x80\x80\x80\x80"), String(0x45000000U));
}

TEST(StringComparison, SizesThatDiffer_AreUnequalWithoutALook)
{
    const Latin1Codec latin1;
    const String two = textWith("ab", latin1);
    const String three = textWith("abc", latin1);
    const unsigned int before = latin1.forwardReads();
    EXPECT_FALSE(two == three);
    EXPECT_EQ(before, latin1.forwardReads());
    EXPECT_TRUE(two < three);
}

TEST(StringComparison, OwnCodecs_OneStepOfEachForACharacter)
{
    const Latin1Codec first;
    const Latin1Codec second;
    const String left = textWith("ab\xFC", first);
    const String right = textWith("ab\xFC", second);
    EXPECT_TRUE(left == right);
    EXPECT_EQ(6U, first.forwardReads());
    EXPECT_EQ(6U, second.forwardReads());
    EXPECT_TRUE(left == String("ab\xC3\xBC"));
    EXPECT_EQ(9U, first.forwardReads());
    EXPECT_EQ(0U, first.reads());
}

TEST(StringComparison, OwnCodecs_WalkEndsAtTheFirstDifference)
{
    const Latin1Codec first;
    const Latin1Codec second;
    const String left = textWith("axcd", first);
    const String right = textWith("abcd", second);
    EXPECT_FALSE(left == right);
    EXPECT_EQ(6U, first.forwardReads());
    EXPECT_EQ(6U, second.forwardReads());
    EXPECT_TRUE(left > right);
    EXPECT_EQ(8U, first.forwardReads());
    EXPECT_FALSE(left < right);
    EXPECT_EQ(10U, first.forwardReads());
}

// The bytes are equal, but only the codec can say what they are.
TEST(StringComparison, OwnCodec_OfBothTextsIsAskedAllTheSame)
{
    const Latin1Codec latin1;
    const String text = textWith("ab\xFC", latin1);
    const String copy(text);
    EXPECT_EQ(3U, latin1.forwardReads());
    EXPECT_TRUE(text == copy);
    EXPECT_EQ(9U, latin1.forwardReads());
}

// One character is left to decode; it stands for the second one, too.
TEST(StringComparison, JoinedParts_LastDecodedIsRepeated)
{
    const String joined = String("\xC3") + String("\xA9");
    expectEqual(joined, "\xC3\xA9\xC3\xA9");
    expectEqual(joined, String(joined));
    expectSmaller("\xC3\xA9", joined);
    expectSmaller(joined, "\xC3\xA9\xC3\xAA");
    expectSmaller("\xC3\xA9\xC3\xA8", joined);
    expectSmaller(joined, "\xC3\xA9\xC3\xA9\xC3\xA9");
}

TEST(StringComparison, JoinedParts_LastDecodedIsRepeatedToTheEnd)
{
    const String joined = String("\xE2") + String("\x82") + String("\xAC");
    EXPECT_EQ(3U, joined.size());
    expectEqual(joined, "\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC");
    expectSmaller("\xE2\x82\xAC\xE2\x82\xAC\xC3\xA9", joined);
}

TEST(StringComparison, JoinedParts_OnBothSides)
{
    const String left = String("\xC3") + String("\xA9");
    const String right = String("\xC3") + String("\xAA");
    expectSmaller(left, right);
    expectEqual(left, String("\xC3") + String("\xA9"));
    expectSmaller(left, left + left);
}

TEST(StringComparison, Sorting)
{
    std::vector<String> texts{"b", String(UTF16LE, "abc"), "", L"ab", "\xC3\xA4", "B"};
    std::sort(texts.begin(), texts.end());
    EXPECT_EQ((std::vector<String>{"", "B", "ab", "abc", "b", "\xC3\xA4"}), texts);
    std::map<String, int> ordered{{"b", 1}, {String(UTF16BE, "a"), 2}};
    EXPECT_EQ(1, ordered.at(L"b"));
    EXPECT_EQ(2, ordered.at("a"));
}

TEST(StringComparison, Hash_TellsTextsApart)
{
    const std::hash<String> hash;
    EXPECT_EQ(String("abc").hash(), hash("abc"));
    EXPECT_NE(hash(""), hash("\0"s));
    EXPECT_NE(hash("abc"), hash("acb"));
    EXPECT_NE(hash("abc"), hash("ab"));
    EXPECT_NE(hash(String(0x1F600U)), hash(String(0xF600U)));
}

TEST(StringComparison, UnorderedMap_FindsAcrossEncodings)
{
    std::unordered_map<String, int> values{{"gr\xC3\xBC\xC3\x9F", 1}, {L"abc", 2}, {"", 3}};
    EXPECT_EQ(1, values.at(L"gr\u00FC\u00DF"));
    EXPECT_EQ(2, values.at(String(UTF16BE, "abc")));
    EXPECT_EQ(3, values.at(String(UCS4)));
    EXPECT_EQ(0U, values.count("ab"));
    values[String(UTF16LE, "abc")] = 4;
    EXPECT_EQ(3U, values.size());
    EXPECT_EQ(4, values.at("abc"));
}

} // namespace

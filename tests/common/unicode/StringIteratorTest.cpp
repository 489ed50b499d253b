// SPDX-License-Identifier: Apache-2.0
//
// Positions in a text: what they read, how they move, and when they are equal or ordered. Malformed
// and joined texts are in StringMalformedTest.cpp.

#include <common/unicode/String.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "support/Latin1Codec.h"
#include "support/Texts.h"

namespace {

using namespace std::string_literals;
using namespace std::unicode;
using support::codePointsOf;
using support::Latin1Codec;
using support::nameOf;
using support::placeAt;
using support::textWith;
using Iterator = String::Iterator;
using Points = std::vector<unsigned int>;

static_assert(
    std::is_same_v<std::iterator_traits<Iterator>::iterator_category, std::forward_iterator_tag>);
static_assert(std::is_same_v<std::iterator_traits<Iterator>::value_type, unsigned int>);
static_assert(std::is_same_v<decltype(Iterator::string), const String*>);
static_assert(std::is_same_v<decltype(Iterator::position), Codec::Index>);
static_assert(std::is_nothrow_copy_constructible_v<Iterator>);

TEST(StringIterator, BeginAndEnd)
{
    const String text("a\xC3\xBC");
    EXPECT_EQ("0/0", nameOf(text, text.begin()));
    EXPECT_EQ("2/3", nameOf(text, text.end()));
    const String empty;
    EXPECT_EQ("0/0", nameOf(empty, empty.begin()));
    EXPECT_EQ("0/0", nameOf(empty, empty.end()));
    EXPECT_EQ(empty.end(), empty.begin());
}

TEST(StringIterator, WithoutAText)
{
    Iterator unset;
    EXPECT_EQ(nullptr, unset.string);
    EXPECT_EQ(0xFFFDU, *unset);
    EXPECT_TRUE(unset.atEnd());
    EXPECT_EQ(&unset, &++unset);
    unset++;
    EXPECT_EQ(0U, unset.position.chars);
    EXPECT_EQ(0U, unset.position.bytes);
}

TEST(StringIterator, WithoutAText_KeepsAPositionThatItWasGiven)
{
    Iterator unset{nullptr, {3, 5}};
    ++unset;
    EXPECT_EQ(3U, unset.position.chars);
    EXPECT_EQ(5U, unset.position.bytes);
    EXPECT_EQ(0xFFFDU, *unset);
    EXPECT_TRUE(unset.atEnd());
}

TEST(StringIterator, WithoutAText_EqualToTheirLikesAlone)
{
    const String text("a");
    const Iterator unset = Iterator();
    EXPECT_TRUE(unset == Iterator());
    EXPECT_FALSE(unset < Iterator());
    EXPECT_FALSE(unset == text.begin());
    EXPECT_FALSE(text.end() == unset);
    EXPECT_FALSE(unset < text.end());
    EXPECT_FALSE(text.begin() < unset);
}

TEST(StringIterator, Dereference_ReadsThere)
{
    const String text(UTF16LE, "a\xF0\x9F\x98\x80z");
    EXPECT_EQ(0x61U, *text.begin());
    EXPECT_EQ(0x1F600U, *placeAt(text, 1));
    EXPECT_EQ(0x7AU, *placeAt(text, 2));
    EXPECT_EQ(0x7AU, (*Iterator{&text, {0, 6}}));
}

TEST(StringIterator, Dereference_AtTheEndIsTheReplacement)
{
    EXPECT_EQ(0xFFFDU, *String("abc").end());
    EXPECT_EQ(0xFFFDU, *String(UTF16BE, "abc").end());
    EXPECT_EQ(0xFFFDU, *String(L"abc").end());
    EXPECT_EQ(0xFFFDU, *String().begin());
    EXPECT_EQ(0xFFFDU, *String(std::SharedBuf(), UTF8).begin());
}

TEST(StringIterator, Increment_OneCharacter)
{
    const String text("a\xC3\xBC\xE2\x82\xAC\xF0\x9F\x98\x80");
    EXPECT_EQ("1/1", nameOf(text, placeAt(text, 1)));
    EXPECT_EQ("2/3", nameOf(text, placeAt(text, 2)));
    EXPECT_EQ("3/6", nameOf(text, placeAt(text, 3)));
    EXPECT_EQ("4/10", nameOf(text, placeAt(text, 4)));
    EXPECT_EQ(text.end(), placeAt(text, 4));
}

TEST(StringIterator, Increment_StaysAtTheEnd)
{
    const String narrow("a\xC3\xBC");
    EXPECT_EQ("2/3", nameOf(narrow, ++narrow.end()));
    EXPECT_EQ("2/3", nameOf(narrow, placeAt(narrow, 5)));
    const String wide(UTF16BE, "ab");
    EXPECT_EQ("2/4", nameOf(wide, ++wide.end()));
    const String values(L"ab");
    EXPECT_EQ("2/8", nameOf(values, ++values.end()));
    const String empty;
    EXPECT_EQ("0/0", nameOf(empty, ++empty.begin()));
}

TEST(StringIterator, Increment_PostfixReturnsTheOldPlace)
{
    const String text("\xC3\xBC"
                      "b");
    Iterator place = text.begin();
    EXPECT_EQ("0/0", nameOf(text, place++));
    EXPECT_EQ("1/2", nameOf(text, place));
    EXPECT_EQ(0x62U, *place++);
    EXPECT_EQ("2/3", nameOf(text, place++));
    EXPECT_EQ("2/3", nameOf(text, place));
}

TEST(StringIterator, Increment_PrefixReturnsItself)
{
    const String text("ab");
    Iterator place = text.begin();
    EXPECT_EQ(&place, &++place);
    EXPECT_EQ("1/1", nameOf(text, place));
}

TEST(StringIterator, OwnCodec_OneReadALookAndOneForwardReadAStep)
{
    const Latin1Codec latin1;
    const String text = textWith("\xFC"
                                 "b",
                                 latin1);
    const unsigned int before = latin1.forwardReads();
    Iterator place = text.begin();
    EXPECT_EQ(0xFCU, *place);
    EXPECT_EQ(0xFCU, *place);
    EXPECT_EQ(2U, latin1.reads());
    EXPECT_EQ(before, latin1.forwardReads());
    ++place;
    EXPECT_EQ(before + 1, latin1.forwardReads());
    EXPECT_EQ(2U, latin1.reads());
}

TEST(StringIterator, AtEnd_ByCharacters)
{
    const String text("ab");
    EXPECT_FALSE(text.begin().atEnd());
    EXPECT_FALSE(placeAt(text, 1).atEnd());
    EXPECT_TRUE(text.end().atEnd());
    EXPECT_TRUE((Iterator{&text, {2, 0}}.atEnd()));
    EXPECT_FALSE((Iterator{&text, {3, 0}}.atEnd()));
}

TEST(StringIterator, AtEnd_ByBytesThoughNotByCharacters)
{
    const String text("ab");
    EXPECT_FALSE((Iterator{&text, {0, 1}}.atEnd()));
    EXPECT_TRUE((Iterator{&text, {0, 2}}.atEnd()));
    EXPECT_TRUE((Iterator{&text, {0, 3}}.atEnd()));
    EXPECT_TRUE((Iterator{&text, {0, 2}} == text.end()));
    EXPECT_FALSE((Iterator{&text, {0, 2}} == Iterator{&text, {1, 1}}));
}

TEST(StringIterator, Equality_ByBytesOfTheTextAndCharacters)
{
    const String text("abc");
    EXPECT_TRUE(placeAt(text, 1) == placeAt(text, 1));
    EXPECT_FALSE(placeAt(text, 1) != placeAt(text, 1));
    EXPECT_FALSE(placeAt(text, 1) == placeAt(text, 2));
    EXPECT_TRUE(placeAt(text, 1) != placeAt(text, 2));
    EXPECT_TRUE((placeAt(text, 1) == Iterator{&text, {1, 2}}));
    EXPECT_FALSE((placeAt(text, 1) == Iterator{&text, {2, 1}}));
}

TEST(StringIterator, Equality_CopiesShareAndOthersDoNot)
{
    const String text("abc");
    const String copy(text);
    const String other("abc");
    EXPECT_TRUE(placeAt(text, 2) == placeAt(copy, 2));
    EXPECT_TRUE(text.end() == copy.end());
    EXPECT_FALSE(placeAt(text, 2) == placeAt(other, 2));
    EXPECT_FALSE(text.begin() == other.begin());
    EXPECT_FALSE(text.end() == other.end());
    EXPECT_TRUE(text.end() != other.end());
}

TEST(StringIterator, Equality_Pieces)
{
    const String text("abcdef");
    const String shorter = text.substr(0, 2);
    const String longer = text.substr(0, 3);
    const String later = text.substr(1, 3);
    EXPECT_TRUE(shorter.begin() == text.begin());
    EXPECT_TRUE(placeAt(shorter, 1) == placeAt(longer, 1));
    EXPECT_FALSE(shorter.end() == longer.end());
    EXPECT_FALSE(shorter.end() == text.end());
    EXPECT_TRUE(shorter.end() == placeAt(text, 2));
    EXPECT_FALSE(later.begin() == placeAt(text, 1));
    EXPECT_FALSE(later.begin() == text.begin());
}

TEST(StringIterator, Order_ByCharacters)
{
    const String text("abc");
    const String copy(text);
    EXPECT_TRUE(text.begin() < placeAt(text, 1));
    EXPECT_FALSE(placeAt(text, 1) < text.begin());
    EXPECT_FALSE(placeAt(text, 1) < placeAt(text, 1));
    EXPECT_TRUE(placeAt(text, 1) < copy.end());
    EXPECT_TRUE((Iterator{&text, {1, 3}} < Iterator{&text, {2, 0}}));
}

TEST(StringIterator, Order_IsThatOfTheSignedDistance)
{
    const String text("abc");
    EXPECT_TRUE((Iterator{&text, {0xFFFFFFFF, 3}} < text.begin()));
    EXPECT_FALSE((text.begin() < Iterator{&text, {0xFFFFFFFF, 3}}));
    EXPECT_TRUE((text.begin() < Iterator{&text, {0x7FFFFFFF, 3}}));
    EXPECT_FALSE((text.begin() < Iterator{&text, {0x80000001, 3}}));
}

TEST(StringIterator, Order_OtherBytesHaveNone)
{
    const String text("abc");
    const String other("abc");
    EXPECT_FALSE(text.begin() < other.end());
    EXPECT_FALSE(other.begin() < text.end());
    const String piece = text.substr(1, 3);
    EXPECT_FALSE(text.begin() < piece.end());
    EXPECT_FALSE(piece.begin() < text.end());
}

TEST(StringIterator, TextsWithoutABlock)
{
    const String text(std::SharedBuf(), UTF16LE);
    EXPECT_TRUE(text.begin().atEnd());
    EXPECT_TRUE(text.begin() == text.end());
    EXPECT_EQ("0/0", nameOf(text, ++text.begin()));
    EXPECT_EQ(Points{}, codePointsOf(text));
}

TEST(StringIterator, RangeFor)
{
    Points points;
    for (const unsigned int c : String("a\xE2\x82\xAC\xF0\x9F\x98\x80"))
        points.push_back(c);
    EXPECT_EQ((Points{0x61, 0x20AC, 0x1F600}), points);
    EXPECT_EQ((Points{0x61, 0x20AC, 0x1F600}),
              codePointsOf(String(UTF16BE, "a\xE2\x82\xAC\xF0\x9F\x98\x80")));
    EXPECT_EQ((Points{0x61, 0, 0x62}), codePointsOf(L"a\0b"s));
    EXPECT_EQ(Points{}, codePointsOf(""));
}

TEST(StringIterator, RangeFor_PieceEndsBeforeTheBytesThatFollow)
{
    EXPECT_EQ((Points{0x62, 0x63}), codePointsOf(String("abcdef").substr(1, 3)));
    EXPECT_EQ((Points{0x62, 0x63}), codePointsOf(String(UTF16LE, "abcdef").substr(1, 3)));
    EXPECT_EQ((Points{0x62, 0x63}), codePointsOf(String(L"abcdef").substr(1, 3)));
}

TEST(StringIterator, StandardAlgorithms)
{
    const String text(UTF16LE, "ab\xE2\x82\xAC"
                               "ab");
    EXPECT_EQ(5, std::distance(text.begin(), text.end()));
    EXPECT_EQ(2, std::count(text.begin(), text.end(), 0x62U));
    EXPECT_EQ("2/4", nameOf(text, std::find(text.begin(), text.end(), 0x20ACU)));
    EXPECT_EQ("2/4", nameOf(text, std::find_if(text.begin(), text.end(),
                                               [](unsigned int c) { return c > 0x7F; })));
    EXPECT_EQ(text.end(), std::find(text.begin(), text.end(), 0x63U));
    EXPECT_EQ("3/6", nameOf(text, std::next(text.begin(), 3)));
}

TEST(StringIterator, StandardAlgorithms_OverTwoTexts)
{
    const String narrow("abab");
    const String wide(L"ab");
    EXPECT_TRUE(std::equal(narrow.begin(), placeAt(narrow, 2), wide.begin(), wide.end()));
    EXPECT_EQ("0/0",
              nameOf(narrow, std::search(narrow.begin(), narrow.end(), wide.begin(), wide.end())));
    EXPECT_EQ("1/1", nameOf(narrow, std::max_element(narrow.begin(), narrow.end())));
}

} // namespace

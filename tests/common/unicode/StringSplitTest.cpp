// SPDX-License-Identifier: Apache-2.0

#include <algorithm>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include <common/unicode/String.h>
#include <gtest/gtest.h>

#include "support/Latin1Codec.h"
#include "support/TextForm.h"
#include "support/Texts.h"

namespace {

using namespace std::string_literals;
using std::unicode::String;
using std::unicode::UCS4;
using std::unicode::UTF16BE;
using std::unicode::UTF16LE;
using std::unicode::UTF8;
using support::bracketed;
using support::formOf;
using support::piecesOf;
using support::textWith;
using Walk = String::Spliterator;

TEST(Split, Separators_ArePlacedBetweenPieces)
{
    EXPECT_EQ("[a][b]", piecesOf("a,b", ","));
    EXPECT_EQ("[a][]", piecesOf("a,", ","));
    EXPECT_EQ("[][a]", piecesOf(",a", ","));
    EXPECT_EQ("[a][][b]", piecesOf("a,,b", ","));
    EXPECT_EQ("[][]", piecesOf(",", ","));
    EXPECT_EQ("[][][]", piecesOf(",,", ","));
    EXPECT_EQ("[abc]", piecesOf("abc", ","));
}

TEST(Split, LongSeparators_DoNotOverlap)
{
    EXPECT_EQ("[a][b,c][d]", piecesOf("a, b,c, d", ", "));
    EXPECT_EQ("[][a]", piecesOf("aaa", "aa"));
    EXPECT_EQ("[][]", piecesOf("aa", "aa"));
    EXPECT_EQ("[a]", piecesOf("a", "aa"));
    EXPECT_EQ("[a,]", piecesOf("a,", ", "));
}

TEST(Split, EmptySeparator_GivesEachCharacter)
{
    EXPECT_EQ("[a][b][c]", piecesOf("abc", ""));
    EXPECT_EQ("[a]", piecesOf("a", ""));
    EXPECT_EQ("[\xE2\x82\xAC][\xF0\x9D\x84\x9E]",
              piecesOf(String(UTF16BE, "\xE2\x82\xAC\xF0\x9D\x84\x9E"), ""));
    EXPECT_EQ("[a][b]", piecesOf("ab", String(std::SharedBuf(), UTF16LE)));
}

TEST(Split, EmptyText_IsOneEmptyPiece)
{
    EXPECT_EQ("[]", piecesOf("", ","));
    EXPECT_EQ("[]", piecesOf(String(UTF16LE), ","));
    EXPECT_EQ("[]", piecesOf(String(std::SharedBuf(), UTF8), ","));
}

TEST(Split, EmptyTextAndSeparator_HasNoPieces)
{
    EXPECT_EQ("", piecesOf("", ""));
    EXPECT_EQ("", piecesOf(String(UTF16LE), String(UCS4)));
    EXPECT_TRUE(Walk("", "") == Walk());
}

TEST(Split, SeparatorInAnotherEncoding_IsFound)
{
    const support::Latin1Codec codec;
    EXPECT_EQ("[a][b]", piecesOf("a\xE2\x82\xAC"
                                 "b",
                                 String(UTF16BE, "\xE2\x82\xAC")));
    EXPECT_EQ("[a][b]", piecesOf(String(UTF16LE, "a::b"), "::"));
    EXPECT_EQ("[a][][b]", piecesOf(String(UCS4, "a,,b"), textWith(",", codec)));
    EXPECT_EQ("[\xC3\xA9][b]", piecesOf(textWith("\xE9;b", codec), String(UTF16LE, ";")));
}

TEST(Split, Pieces_AreViewsInTheTextsEncoding)
{
    const String text(UTF16LE, "ab,c");
    Walk walk(text, ",");
    EXPECT_EQ("UTF-16LE, 2: 61 00 62 00", formOf(*walk));
    EXPECT_EQ(text.data(), (*walk).data());
    ++walk;
    EXPECT_EQ("UTF-16LE, 1: 63 00", formOf(*walk));
    EXPECT_EQ(text.data() + 6, (*walk).data());
}

TEST(Split, EmptyPieces_AreUtf8)
{
    Walk walk(String(UTF16LE, ",a,"), ",");
    EXPECT_EQ("UTF-8, 0: ", formOf(*walk));
    ++walk;
    EXPECT_EQ("UTF-16LE, 1: 61 00", formOf(*walk));
    ++walk;
    EXPECT_EQ("UTF-8, 0: ", formOf(*walk));
}

TEST(Split, View_IsSplitByItself)
{
    const String text("x,a,b,y");
    EXPECT_EQ("[a][b]", piecesOf(text.substr(2, 5), ","));
    EXPECT_EQ("[][a][b]", piecesOf(text.substr(1, 5), text.substr(1, 2)));
}

TEST(Split, MalformedBytes_AreCharactersThatSeparate)
{
    EXPECT_EQ("[a][b]", piecesOf(textWith("a\xFF"
                                          "b",
                                          UTF8),
                                 "\xEF\xBF\xBD"));
    EXPECT_EQ("[a][]", piecesOf(textWith("a\xE2\x82", UTF8), "\xEF\xBF\xBD"));
    EXPECT_EQ("[a\xEF\xBF\xBD"
              "b]",
              piecesOf(textWith("a\xC3,b", UTF8), ","));
}

TEST(Split, OddLastByteOfUtf16_StaysWithTheLastPiece)
{
    const String text = textWith("a\0,\0b\0x"s, UTF16LE);
    EXPECT_EQ("[a][b]", piecesOf(text, ","));
    EXPECT_EQ("[a][,][b]", piecesOf(text, ""));
    EXPECT_EQ("", piecesOf(textWith("x", UTF16LE), ""));
    EXPECT_EQ("[]", piecesOf(textWith("x", UTF16LE), ","));
}

TEST(Split, ConcatenationWithASwallowedByte_Ends)
{
    const String text = textWith("a,\xC3", UTF8) + String(",");
    EXPECT_EQ("[a][\xEF\xBF\xBD]", piecesOf(text, ","));
    EXPECT_EQ("[a][,][\xEF\xBF\xBD]", piecesOf(text, ""));
    EXPECT_EQ("[a,][]", piecesOf(text, "\xEF\xBF\xBD"));
}

TEST(Split, ConcatenationOfMoreCharactersThanBytesAreLeft_Ends)
{
    const String text = textWith("\x00\xD8"s, UTF16LE) + textWith("A\0B"s, UTF16LE);
    EXPECT_EQ("UTF-16LE, 2: 00 D8 41 00 42", formOf(text));
    Walk walk(text, "\xEF\xBF\xBD");
    for (int step = 0; step < 3; ++step)
        ++walk;
    EXPECT_TRUE(walk == Walk());
}

TEST(Split, SeparatorWithASwallowedByte_SkipsAsManyAsItCounts)
{
    const String separator = textWith("\xC3", UTF8) + String("A");
    EXPECT_EQ("[a][c]", piecesOf("a\xEF\xBF\xBD"
                                 "bc",
                                 separator));
    EXPECT_EQ("[a][]", piecesOf("a\xEF\xBF\xBD", separator));
    EXPECT_EQ("[a][]", piecesOf(String(UCS4, "a\xEF\xBF\xBD"), separator));
}

TEST(Split, RangeFor_OutlivesItsTemporaries)
{
    std::string pieces;
    for (const String& piece : String(UTF16BE, "a,b,").split(String(",")))
        pieces += "[" + piece.toUtf8() + "]";
    EXPECT_EQ("[a][b][]", pieces);
}

TEST(Split, StandardAlgorithms_WalkTheRange)
{
    const String::Pieces pieces = String("a,b,c").split(",");
    EXPECT_EQ(3, std::distance(pieces.begin(), pieces.end()));
    EXPECT_EQ(0, std::distance(Walk("", ""), Walk()));
    EXPECT_EQ(1, std::count(pieces.begin(), pieces.end(), String(UCS4, "b")));
    const std::vector<String> all(pieces.begin(), pieces.end());
    EXPECT_EQ(3U, all.size());
    EXPECT_EQ("c", all[2].toUtf8());
}

TEST(Spliterator, TemporariesAndLostOperands_AreKept)
{
    std::optional<String> text(String(UTF16LE, "a,b"));
    std::optional<String> separator(",");
    Walk walk(*text, *separator);
    *text = String("other text");
    EXPECT_EQ("a", (*walk).toUtf8());
    text.reset();
    separator.reset();
    EXPECT_EQ("[a][b]", bracketed(walk, Walk()));
    EXPECT_EQ("[a][b]", bracketed(Walk(std::string("a") + ",b", std::string(",")), Walk()));
}

TEST(Spliterator, AssignedOperand_DoesNotChangeTheWalk)
{
    String text("a,b");
    const Walk walk(text, ",");
    text = String("other, text");
    EXPECT_EQ("[a][b]", bracketed(walk, Walk()));
}

TEST(Spliterator, Copy_OutlivesTheOriginal)
{
    std::optional<Walk> walk(std::in_place, "a,b,c", ",");
    ++*walk;
    const Walk copy(*walk);
    EXPECT_TRUE(copy == *walk);
    ++*walk;
    EXPECT_EQ("b", (*copy).toUtf8());
    *walk = Walk("other text", " ");
    walk.reset();
    EXPECT_EQ("[b][c]", bracketed(copy, Walk()));
}

TEST(Spliterator, AssignedWalk_OutlivesTheOriginal)
{
    Walk walk("other text", " ");
    {
        Walk original("a,b,c", ",");
        ++original;
        EXPECT_EQ(&walk, &(walk = original));
        original = Walk("third text", " ");
        EXPECT_EQ("b", (*walk).toUtf8());
    }
    EXPECT_EQ("[b][c]", bracketed(walk, Walk()));
    walk = Walk();
    EXPECT_TRUE(walk == Walk());
}

TEST(Spliterator, SelfAssignment_ChangesNothing)
{
    Walk walk("a,b,c", ",");
    ++walk;
    const Walk& self = walk;
    walk = self;
    EXPECT_EQ("[b][c]", bracketed(walk, Walk()));
}

TEST(Spliterator, PostIncrement_ReturnsTheOldWalk)
{
    Walk walk("a,b", ",");
    const Walk before = walk++;
    EXPECT_EQ("a", (*before).toUtf8());
    EXPECT_EQ("b", (*walk).toUtf8());
    EXPECT_EQ("b", (*walk++).toUtf8());
    EXPECT_TRUE(walk == Walk());
}

TEST(Spliterator, WalkThatIsOver_StaysOver)
{
    Walk walk("a,b", ",");
    std::advance(walk, 2);
    EXPECT_TRUE(walk == Walk());
    EXPECT_EQ("UTF-8, 0: ", formOf(*walk));
    ++walk;
    EXPECT_TRUE(walk == Walk());
    Walk end;
    ++end;
    EXPECT_TRUE(end == Walk());
    EXPECT_EQ("UTF-8, 0: ", formOf(*end));
}

TEST(Spliterator, WalksOfSharedBytes_AreEqualAtTheSamePiece)
{
    const String text("a,b");
    const String separator(",");
    Walk left(text, separator);
    Walk right{String(text), String(separator)};
    EXPECT_TRUE(left == right);
    EXPECT_FALSE(left != right);
    ++left;
    EXPECT_FALSE(left == right);
    EXPECT_TRUE(left != right);
    ++right;
    EXPECT_TRUE(left == right);
}

TEST(Spliterator, WalksOfEqualTextsInOtherBlocks_Differ)
{
    const String text("a,b");
    const String separator(",");
    EXPECT_FALSE(Walk(text, separator) == Walk("a,b", separator));
    EXPECT_FALSE(Walk(text, separator) == Walk(text, ","));
    EXPECT_FALSE(Walk(text, separator) == Walk(text.substr(1, 3), separator));
}

TEST(Spliterator, SamePlaceWithAnotherEnd_Differs)
{
    const String text("a,b");
    const String two(",,");
    const String one = two.substr(0, 1);
    EXPECT_FALSE(Walk(text, two) == Walk(text, one));
    EXPECT_TRUE(Walk(text, one) == Walk(text.substr(0, 2), one));
}

TEST(Spliterator, WalksThatAreOver_AreEqualWhateverTheirTexts)
{
    Walk left("a", ",");
    Walk right(String(UTF16LE, "b"), ";");
    ++left;
    EXPECT_FALSE(left == right);
    EXPECT_FALSE(right == left);
    ++right;
    EXPECT_TRUE(left == right);
}

TEST(Spliterator, LastPieceThatIsEmpty_IsNotTheEnd)
{
    const Walk last = std::next(Walk("a,", ","));
    EXPECT_FALSE(last == Walk());
    EXPECT_TRUE(Walk() != last);
    EXPECT_FALSE(std::next(last) == last);
    EXPECT_TRUE(std::next(last) == Walk());
}

} // namespace

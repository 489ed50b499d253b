// SPDX-License-Identifier: Apache-2.0
//
// Who holds a block, by the counter in front of its bytes.

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <common/unicode/String.h>
#include <gtest/gtest.h>

#include "support/BlockCounter.h"
#include "support/TextForm.h"
#include "support/Texts.h"

namespace {

using std::SharedBuf;
using std::unicode::String;
using std::unicode::UCS4;
using std::unicode::UTF16LE;
using std::unicode::UTF8;
using support::blockWith;
using support::formOf;
using Walk = String::Spliterator;

unsigned int holders(const SharedBuf& block)
{
    return support::holders(block);
}

unsigned int holders(const String& text)
{
    return support::holders(text.buffer());
}

TEST(StringBlock, NewTexts_HaveOneHolder)
{
    EXPECT_EQ(1U, holders(String()));
    EXPECT_EQ(1U, holders(String(UTF16LE)));
    EXPECT_EQ(1U, holders(String(97U)));
    EXPECT_EQ(1U, holders(String("ab")));
    EXPECT_EQ(1U, holders(String(std::string("ab"))));
    EXPECT_EQ(1U, holders(String(L"ab")));
    EXPECT_EQ(1U, holders(String(std::wstring(L"ab"))));
    EXPECT_EQ(1U, holders(String::fromUtf8("ab")));
}

TEST(StringBlock, ConvertedTexts_HaveOneHolder)
{
    EXPECT_EQ(1U, holders(String(UTF16LE, 97U)));
    EXPECT_EQ(1U, holders(String(UTF8, "ab")));
    EXPECT_EQ(1U, holders(String(UTF16LE, std::string("ab"))));
    EXPECT_EQ(1U, holders(String(UCS4, L"ab")));
    EXPECT_EQ(1U, holders(String(UTF16LE, std::wstring(L"abcdefgh"))));
}

TEST(StringBlock, Texts_GiveTheirReferenceUp)
{
    const SharedBuf block = blockWith("ab");
    {
        const String text(block, UTF8);
        EXPECT_EQ(block.data, text.buffer().data);
        EXPECT_EQ(2U, holders(block));
        const String same(UTF8, block, UTF8);
        EXPECT_EQ(block.data, same.buffer().data);
        EXPECT_EQ(3U, holders(block));
    }
    EXPECT_EQ(1U, holders(block));
    block.unref();
}

TEST(StringBlock, ConversionOfABlock_LeavesIt)
{
    const SharedBuf block = blockWith("ab");
    const String text(UTF16LE, block, UTF8);
    EXPECT_EQ(1U, holders(block));
    EXPECT_EQ(1U, holders(text));
    EXPECT_EQ("UTF-16LE, 2: 61 00 62 00", formOf(text));
    block.unref();
}

TEST(StringBlock, TextWithACodec_SharesInTheSameEncodingAlone)
{
    const String text("ab");
    const String same(UTF8, text);
    EXPECT_EQ(2U, holders(text));
    const String other(UTF16LE, text);
    EXPECT_EQ(2U, holders(text));
    EXPECT_EQ(1U, holders(other));
}

TEST(StringBlock, Copies_TakeReferencesAndGiveThemUp)
{
    const String text("ab");
    {
        const String first(text);
        const String second(first);
        EXPECT_EQ(text.data(), second.data());
        EXPECT_EQ(3U, holders(text));
    }
    EXPECT_EQ(1U, holders(text));
}

TEST(StringBlock, LastHolder_KeepsTheBytes)
{
    std::optional<String> text("abcdef");
    const String view = text->substr(2, 5);
    text.reset();
    EXPECT_EQ(1U, holders(view));
    EXPECT_EQ("UTF-8, 3: 63 64 65", formOf(view));
}

TEST(StringBlock, Assignment_TakesTheNewAndGivesUpTheOld)
{
    const String source(UTF16LE, "ab");
    const String before("cd");
    String text(before);
    EXPECT_EQ(&text, &(text = source));
    EXPECT_EQ(2U, holders(source));
    EXPECT_EQ(1U, holders(before));
    EXPECT_EQ("UTF-16LE, 2: 61 00 62 00", formOf(text));
}

TEST(StringBlock, AssignmentOfItselfOrACopy_ChangesNothing)
{
    String text("ab");
    const String& self = text;
    text = self;
    EXPECT_EQ(1U, holders(text));
    EXPECT_EQ("UTF-8, 2: 61 62", formOf(text));
    const String copy(text);
    text = copy;
    EXPECT_EQ(2U, holders(text));
    text = String(text);
    EXPECT_EQ(2U, holders(text));
    EXPECT_EQ("UTF-8, 2: 61 62", formOf(text));
}

TEST(StringBlock, AssignmentOfItsOwnView_KeepsTheBlock)
{
    String text("abcdef");
    text = text.substr(1, 4);
    EXPECT_EQ(1U, holders(text));
    EXPECT_EQ("UTF-8, 3: 62 63 64", formOf(text));
    const String view = text.substr(1, 2);
    text = view;
    EXPECT_EQ(2U, holders(text));
    EXPECT_EQ("UTF-8, 1: 63", formOf(text));
}

TEST(StringBlock, Move_TakesTheReferenceAlong)
{
    String source(UTF16LE, "ab");
    const String text(std::move(source));
    EXPECT_EQ(1U, holders(text));
    EXPECT_EQ("UTF-16LE, 2: 61 00 62 00", formOf(text));
    EXPECT_EQ(nullptr, source.data()); // NOLINT(bugprone-use-after-move)
    EXPECT_EQ("UTF-16LE, 0: ", formOf(source));
}

TEST(StringBlock, MoveAssignment_GivesUpTheOldBlock)
{
    const String before("cd");
    String text(before);
    String source(UTF16LE, "ab");
    EXPECT_EQ(&text, &(text = std::move(source)));
    EXPECT_EQ(1U, holders(before));
    EXPECT_EQ(1U, holders(text));
    EXPECT_EQ("UTF-16LE, 2: 61 00 62 00", formOf(text));
    EXPECT_EQ("UTF-16LE, 0: ", formOf(source)); // NOLINT(bugprone-use-after-move)
    source = before;
    EXPECT_EQ("UTF-8, 2: 63 64", formOf(source));
    EXPECT_EQ(2U, holders(before));
}

TEST(StringBlock, MoveAssignmentOfItself_ChangesNothing)
{
    String text("ab");
    String& self = text;
    text = std::move(self);
    EXPECT_EQ(1U, holders(text));
    EXPECT_EQ("UTF-8, 2: 61 62", formOf(text));
}

TEST(StringBlock, MovesAndCopiesOfTheNullBuffer_HaveNothingToGiveUp)
{
    String text(SharedBuf(), UTF8);
    const String copy(text);
    text = copy;
    const String moved(std::move(text));
    EXPECT_EQ(nullptr, copy.data());
    EXPECT_EQ("UTF-8, 0: ", formOf(moved));
}

TEST(StringBlock, Readers_LeaveTheCounter)
{
    const String text("abc");
    const String other(UTF16LE, "abd");
    EXPECT_EQ("abc", text.toUtf8());
    EXPECT_EQ(L"abc", text.toWide());
    EXPECT_EQ(3U, text.count());
    EXPECT_EQ(98U, text.at(1));
    EXPECT_TRUE(text != other && text < other && other > text && text.hash() != other.hash());
    EXPECT_EQ(1U, holders(text));
    EXPECT_EQ(1U, holders(other));
}

TEST(StringBlock, PositionsAndSearches_HoldNothing)
{
    const String text("abcabc");
    const String needle("b");
    const String::Iterator last = text.rfind(needle);
    EXPECT_TRUE(text.find(needle) < last);
    EXPECT_FALSE(text.find_first_of(needle).atEnd() || text.find_last_of(needle).atEnd());
    EXPECT_FALSE(text.find_first_not_of(needle).atEnd() || text.find_last_not_of(needle).atEnd());
    EXPECT_EQ(1U, holders(text));
    EXPECT_EQ(1U, holders(needle));
}

TEST(StringBlock, Substrings_HoldTheBlockWhileTheyLive)
{
    const String text(UTF16LE, "abcde");
    {
        const String view = text.substr(1, 4);
        EXPECT_EQ(2U, holders(text));
        const String inner = view.substr(view.begin(), view.end());
        EXPECT_EQ(3U, holders(text));
    }
    EXPECT_EQ(1U, holders(text));
}

TEST(StringBlock, EmptySubstrings_HoldABlockOfTheirOwn)
{
    const String text("abc");
    const String other("abc");
    const String empty = text.substr(2, 1);
    const String foreign = text.substr(other.begin(), other.end());
    EXPECT_EQ(1U, holders(empty));
    EXPECT_EQ(1U, holders(foreign));
    EXPECT_EQ(1U, holders(text));
    EXPECT_EQ(1U, holders(other));
}

TEST(StringBlock, Sums_LeaveTheirOperands)
{
    const String left("ab");
    const String right(UTF16LE, "c");
    EXPECT_EQ(1U, holders(left + right));
    EXPECT_EQ(1U, holders(left + left));
    EXPECT_EQ(1U, holders(right + left));
    EXPECT_EQ(1U, holders(left + String()));
    EXPECT_EQ(1U, holders(left * 3));
    EXPECT_EQ(1U, holders(left * 0));
    EXPECT_EQ(1U, holders(left));
    EXPECT_EQ(1U, holders(right));
}

TEST(StringBlock, Spliterator_HoldsTextAndSeparator)
{
    const String text("a,b,c");
    const String separator(",");
    {
        Walk walk(text, separator);
        EXPECT_EQ(2U, holders(text));
        EXPECT_EQ(2U, holders(separator));
        ++walk;
        EXPECT_EQ(2U, holders(text));
        const String piece = *walk;
        EXPECT_EQ(3U, holders(text));
        EXPECT_EQ(2U, holders(separator));
    }
    EXPECT_EQ(1U, holders(text));
    EXPECT_EQ(1U, holders(separator));
}

TEST(StringBlock, SpliteratorThatIsOver_HoldsThemStill)
{
    const String text("a");
    Walk walk(text, ",");
    ++walk;
    EXPECT_EQ("UTF-8, 0: ", formOf(*walk));
    EXPECT_EQ(2U, holders(text));
    walk = Walk();
    EXPECT_EQ(1U, holders(text));
}

TEST(StringBlock, CopiedSpliterators_HoldThemToo)
{
    const String text("a,b,c");
    const String separator(",");
    Walk walk(text, separator);
    {
        const Walk copy(walk);
        EXPECT_EQ(3U, holders(text));
        const Walk before = walk++;
        EXPECT_EQ(4U, holders(text));
        EXPECT_EQ(4U, holders(separator));
    }
    EXPECT_EQ(2U, holders(text));
    EXPECT_EQ(2U, holders(separator));
}

TEST(StringBlock, AssignedSpliterator_GivesUpWhatItHeld)
{
    const String text("a,b");
    const String other("c;d");
    const String separator(",");
    Walk walk(text, separator);
    const Walk source(other, ";");
    walk = source;
    EXPECT_EQ(1U, holders(text));
    EXPECT_EQ(1U, holders(separator));
    EXPECT_EQ(3U, holders(other));
    const Walk& self = walk;
    walk = self;
    EXPECT_EQ(3U, holders(other));
}

TEST(StringBlock, Split_HoldsWhileItIsWalked)
{
    const String text("a,b");
    const String separator(",");
    {
        const String::Pieces pieces = text.split(separator);
        EXPECT_EQ(2U, holders(text));
        EXPECT_EQ(2U, holders(separator));
        const std::vector<String> all(pieces.begin(), pieces.end());
        EXPECT_EQ(4U, holders(text));
        EXPECT_EQ(2U, holders(separator));
    }
    EXPECT_EQ(1U, holders(text));
    EXPECT_EQ(1U, holders(separator));
}

TEST(StringBlock, Join_LeavesPiecesAndGlue)
{
    const String glue(UTF16LE, "+");
    const String pieces[] = {String("a"), String(UCS4, "b")};
    const String text = glue.join(std::begin(pieces), std::end(pieces));
    EXPECT_EQ(1U, holders(text));
    EXPECT_EQ(1U, holders(glue));
    EXPECT_EQ(1U, holders(pieces[0]));
    EXPECT_EQ(1U, holders(pieces[1]));
    EXPECT_EQ(1U, holders(glue.join(std::begin(pieces), std::begin(pieces) + 1)));
    EXPECT_EQ(1U, holders(pieces[0]));
}

TEST(StringBlock, JoinOfNothing_IsAFreshBlock)
{
    const String glue("+");
    EXPECT_EQ(1U, holders(glue.join(Walk(), Walk())));
    EXPECT_EQ(1U, holders(glue));
}

TEST(StringBlock, Replace_LeavesItsOperands)
{
    const String text("abcb");
    const String what(UTF16LE, "b");
    const String with("xy");
    EXPECT_EQ(1U, holders(text.replace(what, with)));
    EXPECT_EQ(1U, holders(text.replace(with, what)));
    EXPECT_EQ(1U, holders(text.replace(String(), with)));
    EXPECT_EQ(1U, holders(text.replace(text, text)));
    EXPECT_EQ(1U, holders(text));
    EXPECT_EQ(1U, holders(what));
    EXPECT_EQ(1U, holders(with));
}

} // namespace

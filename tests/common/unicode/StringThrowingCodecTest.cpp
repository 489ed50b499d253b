// SPDX-License-Identifier: Apache-2.0
//
// A caller's codec that throws at each of its calls in turn. What was built up to there is given
// up, which the address sanitizer watches, and what it was made of is as before.

#include <string>

#include <common/unicode/String.h>
#include <gtest/gtest.h>

#include "support/BlockCounter.h"
#include "support/TextForm.h"
#include "support/Texts.h"
#include "support/ThrowingCodec.h"

namespace {

using std::SharedBuf;
using std::unicode::String;
using std::unicode::UTF16LE;
using std::unicode::UTF8;
using support::formOf;
using support::holders;
using support::Interruption;
using support::textWith;
using support::ThrowingCodec;
using Walk = String::Spliterator;

/// A text in the throwing codec, one in UTF-16, a block, and operations on them.
class ThrowingCodecTest : public testing::Test
{
protected:
    ~ThrowingCodecTest() override { m_block.unref(); }

    /// Lets each call of the codec in `operation` throw. Returns how many there were.
    template <typename Operation>
    int interruptions(const Operation& operation)
    {
        return support::interruptions(m_codec, operation, [this] { expectUnchanged(); });
    }

    void expectUnchanged() const
    {
        EXPECT_EQ("own codec, 3: 61 2C 62", formOf(m_own));
        EXPECT_EQ("UTF-16LE, 2: 2C 00 63 00", formOf(m_other));
        EXPECT_EQ(1U, holders(m_own.buffer()));
        EXPECT_EQ(1U, holders(m_other.buffer()));
        EXPECT_EQ(1U, holders(m_block));
    }

    ThrowingCodec& codec() { return m_codec; }
    const String& own() const { return m_own; }
    const String& other() const { return m_other; }
    const SharedBuf& block() const { return m_block; }

private:
    ThrowingCodec m_codec;
    const String m_own = textWith("a,b", m_codec);
    const String m_other = String(UTF16LE, ",c");
    const SharedBuf m_block = support::blockWith("ab");
};

TEST_F(ThrowingCodecTest, ConstructionFromText)
{
    EXPECT_EQ(2, interruptions([&] { String(codec(), 97U); }));
    EXPECT_EQ(6, interruptions([&] { String(codec(), "ab"); }));
    EXPECT_EQ(6, interruptions([&] { String(codec(), std::string("ab")); }));
    EXPECT_EQ(6, interruptions([&] { String(codec(), L"ab"); }));
    EXPECT_EQ(6, interruptions([&] { String(codec(), std::wstring(L"abcdefgh")); }));
}

TEST_F(ThrowingCodecTest, ConstructionFromABlock)
{
    EXPECT_EQ(2, interruptions([&] { String(block(), codec()); }));
    EXPECT_EQ(2, interruptions([&] { String(codec(), block(), codec()); }));
    EXPECT_EQ(6, interruptions([&] { String(codec(), block(), UTF8); }));
    EXPECT_EQ(4, interruptions([&] { String(UTF8, block(), codec()); }));
}

TEST_F(ThrowingCodecTest, ConstructionFromAString)
{
    EXPECT_EQ(6, interruptions([&] { String(codec(), other()); }));
    EXPECT_EQ(6, interruptions([&] { String(UTF16LE, own()); }));
    EXPECT_EQ(3, interruptions([&] { String(codec(), own()); }));
}

TEST_F(ThrowingCodecTest, CopiesAndMoves_CallNothing)
{
    EXPECT_EQ(0, interruptions([&] {
                  String copy(own());
                  String moved(std::move(copy));
                  copy = own();
                  moved = std::move(copy);
                  EXPECT_EQ(2U, holders(own().buffer()));
              }));
    EXPECT_EQ(0, interruptions([&] { String empty(codec()); }));
}

TEST_F(ThrowingCodecTest, AssignedText_IsTheOldOneStill)
{
    String text("old");
    const auto assign = [&] { text = String(codec(), "new"); };
    EXPECT_EQ(9, support::interruptions(codec(), assign, [&] {
                  EXPECT_EQ("UTF-8, 3: 6F 6C 64", formOf(text));
                  EXPECT_EQ(1U, holders(text.buffer()));
              }));
    EXPECT_EQ("own codec, 3: 6E 65 77", formOf(text));
}

TEST_F(ThrowingCodecTest, Conversion)
{
    EXPECT_EQ(4, interruptions([&] { codec().to(UTF8, block().payload(), 2, 9).unref(); }));
    EXPECT_EQ(4, interruptions([&] { UTF8.to(codec(), block().payload(), 2, 9).unref(); }));
    EXPECT_EQ(6, interruptions([&] { own().toUtf8(); }));
    EXPECT_EQ(6, interruptions([&] { own().toWide(); }));
}

TEST_F(ThrowingCodecTest, Readers)
{
    EXPECT_EQ(3, interruptions([&] { own().count(); }));
    EXPECT_EQ(2, interruptions([&] { own().at(1); }));
    EXPECT_EQ(3, interruptions([&] { own().hash(); }));
    EXPECT_LE(1, interruptions([&] { EXPECT_TRUE(other() < own()); }));
    EXPECT_LE(1, interruptions([&] { EXPECT_TRUE(own() > other()); }));
    EXPECT_LE(3, interruptions([&] { EXPECT_TRUE(own() == String("a,b")); }));
}

TEST_F(ThrowingCodecTest, Searches)
{
    EXPECT_LE(1, interruptions([&] { own().find("b"); }));
    EXPECT_LE(1, interruptions([&] { other().find(own()); }));
    EXPECT_LE(1, interruptions([&] { own().rfind(","); }));
    EXPECT_LE(1, interruptions([&] { own().find_first_of(other()); }));
    EXPECT_LE(1, interruptions([&] { own().find_first_not_of("a"); }));
    EXPECT_LE(1, interruptions([&] { other().find_last_of(own()); }));
    EXPECT_LE(1, interruptions([&] { own().find_last_not_of(own()); }));
}

TEST_F(ThrowingCodecTest, Substrings)
{
    EXPECT_EQ(2, interruptions([&] { EXPECT_EQ(2U, own().substr(1, 3).size()); }));
    EXPECT_EQ(0, interruptions([&] { own().substr(own().begin(), own().end()); }));
}

TEST_F(ThrowingCodecTest, Sums)
{
    EXPECT_EQ(4, interruptions([&] { own() + other(); }));
    EXPECT_EQ(6, interruptions([&] { other() + own(); }));
    EXPECT_EQ(0, interruptions([&] { own() + own(); }));
    EXPECT_EQ(0, interruptions([&] { own() * 3; }));
}

TEST_F(ThrowingCodecTest, Spliterators)
{
    EXPECT_LE(2, interruptions([&] { Walk(own(), ","); }));
    EXPECT_LE(2, interruptions([&] { Walk(other(), own()); }));
    EXPECT_LE(4, interruptions([&] { EXPECT_EQ("[a][b]", support::piecesOf(own(), ",")); }));
    EXPECT_LE(3, interruptions([&] { EXPECT_EQ("[a][,][b]", support::piecesOf(own(), "")); }));
}

TEST_F(ThrowingCodecTest, AssignedSpliterator_IsTheOldOneStill)
{
    Walk walk(other(), "x");
    const auto assign = [&] { walk = Walk(own(), ","); };
    EXPECT_LE(2, support::interruptions(codec(), assign, [&] {
                  EXPECT_EQ(1U, holders(own().buffer()));
                  EXPECT_EQ(2U, holders(other().buffer()));
                  EXPECT_EQ(",c", (*walk).toUtf8());
              }));
}

TEST_F(ThrowingCodecTest, InterruptedStep_LeavesAUsableWalk)
{
    const Walk first(own(), ",");
    Walk walk(first);
    const auto step = [&] { ++walk; };
    EXPECT_LE(1, support::interruptions(codec(), step, [&] {
                  EXPECT_EQ(3U, holders(own().buffer()));
                  EXPECT_GE(3U, (*walk).byteLength());
                  walk = first;
              }));
    EXPECT_EQ("b", (*walk).toUtf8());
}

TEST_F(ThrowingCodecTest, Joins)
{
    const String pieces[] = {other(), String("x")};
    const String* const first = pieces;
    EXPECT_LE(6, support::interruptions(
                     codec(), [&] { own().join(first, first + 2); },
                     [&] {
                         EXPECT_EQ(1U, holders(own().buffer()));
                         EXPECT_EQ(2U, holders(other().buffer()));
                         EXPECT_EQ(1U, holders(pieces[1].buffer()));
                     }));
}

TEST_F(ThrowingCodecTest, JoinedPieces)
{
    EXPECT_LE(6, interruptions([&] {
                  const String pieces[] = {own(), String("x"), own()};
                  other().join(std::begin(pieces), std::end(pieces));
              }));
    EXPECT_LE(6, interruptions([&] { other().join(Walk(own(), ","), Walk()); }));
}

TEST_F(ThrowingCodecTest, Replacements)
{
    const String comma = textWith(",", codec());
    const auto replaceOwn = [&] { EXPECT_EQ("a;b", own().replace(",", ";").toUtf8()); };
    const auto replaceByOwn = [&] { EXPECT_EQ("a,bc", other().replace(",", own()).toUtf8()); };
    const auto findOwn = [&] { EXPECT_EQ(";c", other().replace(comma, ";").toUtf8()); };
    EXPECT_LE(6, interruptions(replaceOwn));
    EXPECT_LE(6, interruptions(replaceByOwn));
    EXPECT_LE(1, interruptions(findOwn));
    EXPECT_EQ(1U, holders(comma.buffer()));
}

/// Gives three texts, and throws where it is told to.
template <typename Category>
struct ThrowingPieces
{
    using iterator_category = Category;
    using value_type = String;
    using difference_type = std::ptrdiff_t;
    using pointer = void;
    using reference = String;

    String operator*() const
    {
        if (--*readsLeft == 0) throw Interruption();
        return *piece;
    }
    ThrowingPieces& operator++() { return ++place, *this; }
    bool operator!=(const ThrowingPieces& right) const { return place != right.place; }

    const String* piece;
    int* readsLeft;
    int place = 0;
};

TEST_F(ThrowingCodecTest, PiecesThatThrow_LeaveNothingBehind)
{
    using Pieces = ThrowingPieces<std::forward_iterator_tag>;
    const auto join = [this](int reads) {
        other().join(Pieces{&own(), &reads}, Pieces{&own(), &reads, 3});
    };
    EXPECT_THROW(join(1), Interruption);
    EXPECT_THROW(join(4), Interruption);
    EXPECT_THROW(join(6), Interruption);
    EXPECT_NO_THROW(join(7));
    expectUnchanged();
}

TEST_F(ThrowingCodecTest, SinglePassPiecesThatThrow_LeaveNothingBehind)
{
    using Pieces = ThrowingPieces<std::input_iterator_tag>;
    const auto join = [this](int reads) {
        other().join(Pieces{&own(), &reads}, Pieces{&own(), &reads, 3});
    };
    EXPECT_THROW(join(1), Interruption);
    EXPECT_THROW(join(3), Interruption);
    EXPECT_NO_THROW(join(4));
    expectUnchanged();
}

} // namespace

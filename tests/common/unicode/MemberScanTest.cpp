// SPDX-License-Identifier: Apache-2.0
//
// What the scan for a few characters passes: all that has none of them, up to the blocks and words
// at the end that it cannot fill.

#include <common/unicode/MemberScan.h>

#include <initializer_list>
#include <string>

#include <gtest/gtest.h>
#include <support/LibraryText.h>

namespace {

using support::ExactBytes;
using support::slow::Bytes;
using textcore::MemberScan;

/// The bytes at the end of what is passed that blocks, words and the last character may leave.
constexpr unsigned int REST = 4 * sizeof(textcore::Widest) + sizeof(textcore::Word) + 3;

MemberScan setOf(std::initializer_list<unsigned int> members)
{
    MemberScan set;
    for (const unsigned int c : members)
        set.add(c);
    return set;
}

/// What is passed of `text` behind a lead of three bytes, in a block of exact size.
textcore::Run passed(const MemberScan& set, const std::string& text)
{
    Bytes data(text.begin(), text.end());
    data.insert(data.begin(), 0xE0);
    const ExactBytes exact(data);
    return set.pass({exact.data() + 1, exact.size() - 1});
}

std::string repeated(const std::string& piece, int count)
{
    std::string text;
    while (count-- > 0)
        text += piece;
    return text;
}

void expectPassed(const MemberScan& set, const std::string& piece)
{
    const auto length = static_cast<unsigned int>(piece.size());
    const textcore::Run run = passed(set, repeated(piece, 3000));
    EXPECT_LE(MemberScan::IS_WORTH_IT ? 3000 * length - REST : 0, run.bytes) << piece;
    EXPECT_EQ(run.bytes / length, run.chars) << piece;
    EXPECT_EQ(0u, run.bytes % length) << piece;
}

/// Expects that `piece` ends what is passed, wherever it is.
void expectEnd(const MemberScan& set, const std::string& piece)
{
    for (unsigned int before = 0; before <= 600; ++before) {
        const textcore::Run run =
            passed(set, std::string(before, 'x') + piece + std::string(200, 'x'));
        ASSERT_GE(before, run.bytes) << piece << " behind " << before;
        const unsigned int least = before > REST ? before - REST : 0;
        ASSERT_LE(MemberScan::IS_WORTH_IT ? least : 0, run.bytes) << piece << " behind " << before;
        ASSERT_EQ(run.bytes, run.chars) << piece << " behind " << before;
    }
}

TEST(MemberScan, IsWhole_OfOneToFour)
{
    EXPECT_FALSE(setOf({}).isWhole());
    EXPECT_TRUE(setOf({'a'}).isWhole());
    EXPECT_TRUE(setOf({'a', 0xE4, 0x20AC, 0x1F600}).isWhole());
    EXPECT_FALSE(setOf({'a', 'b', 'c', 'd', 'e'}).isWhole());
    EXPECT_FALSE(setOf({'a', 'b', 'c', 'd', 'e', 'f', 'g'}).isWhole());
}

TEST(MemberScan, IsWhole_NotWithTheReplacement)
{
    EXPECT_FALSE(setOf({0xFFFD}).isWhole());
    EXPECT_FALSE(setOf({0xFFFD, 'a'}).isWhole());
    EXPECT_FALSE(setOf({'a', 'b', 0xFFFD, 'c'}).isWhole());
}

TEST(MemberScan, Pass_WithoutMembers_ComesNearTheEnd)
{
    for (const char* const piece :
         {"a", "\x7F", "\xC2\x80", "\xC3\xBC", "\xDF\xBF", "\xE0\xA0\x80", "\xE0\xB8\x81",
          "\xE6\x95\x8F", "\xED\x95\x9C", "\xEF\xBC\x8C", "\xEF\xBF\xBD", "\xF0\x90\x80\x80",
          "\xF0\x9F\xA6\x8A", "\xF4\x8F\xBF\xBF", "\xED\xA0\x80"}) {
        expectPassed(setOf({';'}), piece);
        expectPassed(setOf({'#', ';', '<', '>'}), piece);
        expectPassed(setOf({'\0', 0xE9, 0x3002, 0x1F600}), piece);
    }
}

// The last byte is that of a member, or the last two are, of different characters.
TEST(MemberScan, Pass_OverOtherEnds)
{
    expectPassed(setOf({0x80}), "\xC4\x80");
    expectPassed(setOf({0xE4}), "\xC4\xA4");
    expectPassed(setOf({0x3002}), "\xE3\x81\x82");
    expectPassed(setOf({0x3002}), "\xE6\x82\x80");
    expectPassed(setOf({'$', 0xE4}), "\xE4\xA3\xA4");
    expectPassed(setOf({'$', 0xE4}), "\xC2\xA4");
}

TEST(MemberScan, Pass_EndsAtAMember)
{
    expectEnd(setOf({'\0'}), std::string(1, '\0'));
    expectEnd(setOf({0x7F}), "\x7F");
    expectEnd(setOf({0x80}), "\xC2\x80");
    expectEnd(setOf({0x7FF, 'a'}), "\xDF\xBF");
    expectEnd(setOf({'a', 0x800}), "\xE0\xA0\x80");
    expectEnd(setOf({'a', 'b', 0xFFFF}), "\xEF\xBF\xBF");
    expectEnd(setOf({'a', 'b', 'c', 0x1F600}), "\xF0\x9F\x98\x80");
    expectEnd(setOf({0x10000, 0xE4, 'b', 'c'}), "\xF0\x90\x80\x80");
    expectEnd(setOf({'a', 'b', 'c', ';'}), ";");
    expectEnd(setOf({'a', 0xE4, ';', 'c'}), ";");
}

TEST(MemberScan, Pass_EndsAtALongForm)
{
    for (const MemberScan& set : {setOf({'\0', ';', 0x7F}), setOf({0xFC, 0x20AC, ';', 0xFFF})})
        for (const char* const form :
             {"\xC0\xBB", "\xC1\xBF", "\xE0\x80\xBB", "\xE0\x83\xBC", "\xE0\x9F\xBF",
              "\xF0\x80\x80\xBB", "\xF0\x80\x83\xBC", "\xF0\x82\x82\xAC", "\xF0\x8F\xBF\xBF"})
            expectEnd(set, form);
}

TEST(MemberScan, Pass_EndsAtWhatIsMalformed)
{
    for (const char* const bad :
         {"\x80", "\xC3z", "\xE6\x95z", "\xF0\x9F\x98z", "\xF8\x88\x80\x80\x80", "\xFF"})
        expectEnd(setOf({';'}), bad);
}

} // namespace

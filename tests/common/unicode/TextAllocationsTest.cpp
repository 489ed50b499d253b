// SPDX-License-Identifier: Apache-2.0
//
// How often each operation on texts allocates.

#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include <common/unicode/String.h>
#include <gtest/gtest.h>

#include "support/BlockCounter.h"
#include "support/FailingMalloc.h"
#include "support/SinglePass.h"
#include "support/TextForm.h"
#include "support/Texts.h"
#include "support/ThrowingCodec.h"

namespace {

using std::Buf;
using std::SharedBuf;
using std::unicode::String;
using std::unicode::UCS4;
using std::unicode::UTF16BE;
using std::unicode::UTF16LE;
using std::unicode::UTF8;
using support::allocatorCalls;
using support::attemptsOf;
using support::FailingMalloc;
using support::SinglePass;
using Walk = String::Spliterator;

/// Returns how often `body` allocates.
template <typename Body>
int allocationsOf(const Body& body)
{
    const int before = allocatorCalls().allocations;
    body();
    return allocatorCalls().allocations - before;
}

const support::Latin1Codec s_codec;
const std::string s_narrow = "abc";
const std::wstring s_wide = L"abcdefgh";

TEST(TextAllocations, NewTexts_AllocateOnce)
{
    EXPECT_EQ(1, allocationsOf([] { String(); }));
    EXPECT_EQ(1, allocationsOf([] { String{UTF16LE}; }));
    EXPECT_EQ(1, allocationsOf([] { String(97U); }));
    EXPECT_EQ(1, allocationsOf([] { String("abc"); }));
    EXPECT_EQ(1, allocationsOf([] { String(L"abc"); }));
    EXPECT_EQ(1, allocationsOf([] { String(UTF16LE, 97U); }));
    EXPECT_EQ(1, allocationsOf([] { String(UTF16LE, "abc"); }));
    EXPECT_EQ(1, allocationsOf([] { String(UTF8, L"abc"); }));
    EXPECT_EQ(1, allocationsOf([] { String(UTF16LE, s_narrow); }));
    EXPECT_EQ(1, allocationsOf([] { String(UTF16LE, s_wide); }));
}

TEST(TextAllocations, CopiesAndMoves_AllocateNothing)
{
    const String text("abc");
    EXPECT_EQ(0, attemptsOf([&] {
                  String copy(text);
                  String moved(std::move(copy));
                  copy = moved;
                  moved = std::move(copy);
                  EXPECT_EQ(2U, support::holders(text.buffer()));
                  EXPECT_EQ(text.data(), String(text.buffer(), UTF8).data());
                  EXPECT_EQ(text.data(), String(UTF8, text).data());
                  EXPECT_EQ(text.data(), String(UTF8, text.buffer(), UTF8).data());
              }));
}

TEST(TextAllocations, Substrings_AllocateNothing)
{
    const String text("abcde");
    unsigned int size = 0;
    EXPECT_EQ(0, attemptsOf([&] { size += text.substr(-3, -1).size(); }));
    EXPECT_EQ(0, attemptsOf([&] { size += text.substr(text.begin(), text.end()).size(); }));
    EXPECT_EQ(7U, size);
}

// An empty text has a block as any other.
TEST(TextAllocations, EmptySubstrings_AllocateOnce)
{
    const String text("abcde");
    EXPECT_EQ(1, allocationsOf([&] { text.substr(2, 2); }));
    EXPECT_EQ(1, allocationsOf([&] { text.substr({}, text.end()); }));
}

TEST(TextAllocations, Readers_AllocateNothing)
{
    const String text("abc");
    const String other(UTF16LE, "abd");
    bool isRight = false;
    EXPECT_EQ(0, attemptsOf([&] {
                  isRight = text < other && other > text && text != other && text.at(2) == 'c' &&
                            text.count() == 3 && text.hash() != other.hash();
              }));
    EXPECT_TRUE(isRight);
}

TEST(TextAllocations, PositionsAndSearches_AllocateNothing)
{
    const String text("abcabc");
    const String needle(UTF16LE, "bc");
    unsigned int sum = 0;
    EXPECT_EQ(0, attemptsOf([&] {
                  for (const unsigned int c : text)
                      sum += c;
                  sum += text.find(needle).position.chars + text.rfind(needle).position.chars;
                  sum += text.find_first_of(needle).position.chars;
                  sum += text.find_first_not_of(needle).position.chars;
                  sum += text.find_last_of(needle).position.chars;
                  sum += text.find_last_not_of(needle).position.chars;
              }));
    EXPECT_EQ(588U + 1 + 4 + 1 + 0 + 5 + 3, sum);
}

TEST(TextAllocations, Sums_AllocateOnce)
{
    const String text("abc");
    const String other(UTF16LE, "abc");
    EXPECT_EQ(1, allocationsOf([&] { text + text; }));
    EXPECT_EQ(1, allocationsOf([&] { text + other; }));
    EXPECT_EQ(1, allocationsOf([&] { other + text; }));
    EXPECT_EQ(1, allocationsOf([&] { text * 1000; }));
    EXPECT_EQ(1, allocationsOf([&] { text * 0; }));
}

TEST(TextAllocations, Split_AllocatesForEmptyPiecesAlone)
{
    const String text("a,b");
    const String separator(",");
    EXPECT_EQ(0, attemptsOf([&] {
                  for (const String& piece : text.split(separator))
                      EXPECT_EQ(1U, piece.size());
              }));
    EXPECT_EQ(0, attemptsOf([] { EXPECT_TRUE(Walk() == Walk()); }));
    Walk walk(text, "a");
    EXPECT_EQ(1, allocationsOf([&] { EXPECT_TRUE((*walk).empty()); }));
}

TEST(TextAllocations, Join_AllocatesOnce)
{
    const String glue(UTF16LE, "+");
    const std::vector<String> pieces(100, String(UTF16BE, "abc"));
    EXPECT_EQ(1, allocationsOf([&] { glue.join(pieces.begin(), pieces.end()); }));
    EXPECT_EQ(1, allocationsOf([&] { glue.join(pieces.begin(), pieces.begin()); }));
    const std::vector<String> longer(100, String(UTF16BE, L"\u20AC\u20AC")); // 4 bytes, then 6
    EXPECT_EQ(1, allocationsOf([&] { glue.join(longer.begin(), longer.end()); }));
}

// What cannot be measured first goes into a block that grows.
TEST(TextAllocations, JoinOfASinglePass_AllocatesFarLessOftenThanItHasPieces)
{
    const String piece("abc");
    const String glue("+");
    String text;
    EXPECT_GE(12, allocationsOf([&] {
                  text = glue.join(SinglePass{&piece}, SinglePass{&piece, 100});
              }));
    EXPECT_EQ(399U, text.byteLength());
}

// Each empty piece is a text with a block, which is made when it is measured and when it is put.
TEST(TextAllocations, Replace_AllocatesOnce)
{
    const String text("abcb");
    const String with(UTF16LE, "xyz");
    const String letter("c");
    EXPECT_EQ(1, allocationsOf([&] { text.replace(letter, with); }));
    EXPECT_EQ(1, allocationsOf([&] { text.replace(with, letter); }));
    const String last("b");
    EXPECT_EQ(1, allocationsOf([&] { text.replace(last, with); }));
}

TEST(TextAllocations, InterruptedOperations_ReleaseWhatTheyAllocated)
{
    support::ThrowingCodec codec;
    const String text = support::textWith("a,b", codec);
    const String utf8("a,b");
    const support::AllocatorCalls before = allocatorCalls();
    EXPECT_EQ(9, support::interruptions(
                     codec, [&] { String(codec, "abc"); }, [] {}));
    EXPECT_EQ(6, support::interruptions(
                     codec, [&] { text + utf8; }, [] {}));
    EXPECT_LE(6, support::interruptions(
                     codec, [&] { text.replace(utf8, "-"); }, [] {}));
    EXPECT_LE(6, support::interruptions(
                     codec, [&] { utf8.replace(",", text); }, [] {}));
    const support::AllocatorCalls after = allocatorCalls();
    EXPECT_LT(before.allocations, after.allocations);
    EXPECT_EQ(after.allocations - before.allocations, after.releases - before.releases);
}

} // namespace

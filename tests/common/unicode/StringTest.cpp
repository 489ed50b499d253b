// SPDX-License-Identifier: Apache-2.0
//
// A text as a value: copies, assignments and ends, with the holders of its block; its characters by
// number; and the ways out of it.

#include <common/unicode/String.h>

#include <cstdio>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <common/error/GlobalErrorHandler.h>
#include <gtest/gtest.h>

#include "support/BlockCounter.h"
#include "support/ChildProcess.h"
#include "support/CountingAllocator.h"
#include "support/Latin1Codec.h"
#include "support/Texts.h"

namespace {

using namespace std::string_literals;
using namespace std::unicode;
using support::bytesOf;
using support::ChildResult;
using support::CountingAllocator;
using support::holders;
using support::Latin1Codec;
using support::reportTitle;
using support::runInChild;
using support::textWith;

static_assert(std::is_nothrow_copy_constructible_v<String>);
static_assert(std::is_nothrow_copy_assignable_v<String>);
static_assert(std::is_nothrow_move_constructible_v<String>);
static_assert(std::is_nothrow_move_assignable_v<String>);
static_assert(std::is_nothrow_destructible_v<String>);
static_assert(!std::is_polymorphic_v<String>);

TEST(String, Copy_AddsAHolder)
{
    const String text("abc");
    EXPECT_EQ(1U, holders(text.buffer()));
    {
        const String first(text);
        const String second(first);
        EXPECT_EQ(3U, holders(text.buffer()));
        EXPECT_EQ(text.data(), second.data());
    }
    EXPECT_EQ(1U, holders(text.buffer()));
}

TEST(String, Destruction_LastHolderReleasesOnce)
{
    const CountingAllocator allocator;
    std::optional<String> first(allocator.textWith("abc"));
    std::optional<String> second(first);
    first.reset();
    EXPECT_EQ(0, allocator.frees());
    EXPECT_EQ("abc", bytesOf(*second));
    second.reset();
    EXPECT_EQ(1, allocator.frees());
}

TEST(String, Assignment_TakesAllAndGivesTheOldBlockUp)
{
    const CountingAllocator allocator;
    String text = allocator.textWith("abc");
    const String other(UTF16LE, "xy");
    EXPECT_EQ(&text, &(text = other));
    EXPECT_EQ(1, allocator.frees());
    EXPECT_EQ(&UTF16LE, &text.codec());
    EXPECT_EQ(2U, text.size());
    EXPECT_EQ(other.data(), text.data());
    EXPECT_EQ(2U, holders(other.buffer()));
}

TEST(String, Assignment_TakesTheCountAlong)
{
    String text;
    text = String("\xC3") + String("\xA9");
    const String copy = text;
    EXPECT_EQ(2U, text.size());
    text = "abc";
    text = copy;
    EXPECT_EQ(2U, text.size());
    EXPECT_EQ(1U, text.count());
}

TEST(String, Assignment_OfItself)
{
    String text("abc");
    const String& self = text;
    EXPECT_EQ(&text, &(text = self));
    EXPECT_EQ("abc", bytesOf(text));
    EXPECT_EQ(3U, text.size());
    EXPECT_EQ(1U, holders(text.buffer()));
}

TEST(String, Assignment_BetweenHoldersOfOneBlock)
{
    String text("abc");
    String copy(text);
    const unsigned char* const bytes = text.data();
    text = copy;
    copy = text;
    EXPECT_EQ(2U, holders(text.buffer()));
    text = String(text);
    EXPECT_EQ(2U, holders(text.buffer()));
    EXPECT_EQ(bytes, text.data());
    EXPECT_EQ("abc", bytesOf(copy));
}

TEST(String, Assignment_OfAPieceOfItself)
{
    String text("abcdef");
    text = text.substr(2, 4);
    EXPECT_EQ("cd", bytesOf(text));
    EXPECT_EQ(2U, text.size());
    EXPECT_EQ(1U, holders(text.buffer()));
}

TEST(String, Move_TakesTheBlockAlong)
{
    String text(UTF16LE, "abc");
    const unsigned char* const bytes = text.data();
    const String moved(std::move(text));
    EXPECT_EQ(bytes, moved.data());
    EXPECT_EQ(3U, moved.size());
    EXPECT_EQ(&UTF16LE, &moved.codec());
    EXPECT_EQ(1U, holders(moved.buffer()));
}

TEST(String, Move_LeavesAnEmptyTextThatServes)
{
    String text(UTF16LE, "abc");
    const String moved(std::move(text));
    EXPECT_EQ(0U, text.size());
    EXPECT_EQ(0U, text.byteLength());
    EXPECT_EQ(nullptr, text.data());
    EXPECT_EQ(String(), text);
    EXPECT_EQ("", text.toUtf8());
    EXPECT_EQ(text.end(), text.begin());
    EXPECT_EQ(String("x"), text + String("x"));
    const String copy(text);
    text = moved;
    EXPECT_EQ(String("abc"), text);
    EXPECT_EQ(2U, holders(text.buffer()));
}

TEST(String, MoveAssignment_GivesTheOldBlockUp)
{
    const CountingAllocator allocator;
    String text = allocator.textWith("abc");
    String other(UTF16BE, "xy");
    const unsigned char* const bytes = other.data();
    EXPECT_EQ(&text, &(text = std::move(other)));
    EXPECT_EQ(1, allocator.frees());
    EXPECT_EQ(bytes, text.data());
    EXPECT_EQ(&UTF16BE, &text.codec());
    EXPECT_EQ(2U, text.size());
    EXPECT_EQ(1U, holders(text.buffer()));
    EXPECT_EQ(0U, other.size());
    EXPECT_EQ(nullptr, other.data());
}

TEST(String, MoveAssignment_BetweenHoldersAndOfItself)
{
    String text("abc");
    String copy(text);
    text = std::move(copy);
    EXPECT_EQ(1U, holders(text.buffer()));
    String& self = text;
    text = std::move(self);
    EXPECT_EQ("abc", bytesOf(text));
    EXPECT_EQ(3U, text.size());
    EXPECT_EQ(1U, holders(text.buffer()));
}

TEST(String, Count_DecodesAnewAndSizeDoesNot)
{
    const String joined = String("\xC3") + String("\xA9");
    EXPECT_EQ(2U, joined.size());
    EXPECT_EQ(1U, joined.count());
    EXPECT_EQ(1U, String(joined.buffer(), UTF8).size());
    EXPECT_EQ(3U, String("a\xC3\xBC"
                         "b")
                      .count());
}

TEST(String, Count_OfAnEmptyTextAsksNoCodec)
{
    const Latin1Codec latin1;
    EXPECT_EQ(0U, String(latin1).count());
    EXPECT_EQ(0U, latin1.forwardReads());
    const String text = textWith("ab", latin1);
    EXPECT_EQ(2U, latin1.forwardReads());
    EXPECT_EQ(2U, text.size());
    EXPECT_EQ(2U, latin1.forwardReads());
    EXPECT_EQ(2U, text.count());
    EXPECT_EQ(4U, latin1.forwardReads());
}

TEST(String, At_EachEncoding)
{
    for (const Codec* codec : std::vector<const Codec*>{&UTF8, &UTF16LE, &UTF16BE, &UCS4}) {
        const String text(*codec, "a\xF0\x9F\x98\x80\xE2\x82\xACz");
        EXPECT_EQ(0x61U, text.at(0));
        EXPECT_EQ(0x1F600U, text.at(1));
        EXPECT_EQ(0x20ACU, text.at(2));
        EXPECT_EQ(0x7AU, text.at(3));
    }
}

TEST(String, At_AsksTheCodecForThePlaceAndReadsThere)
{
    const Latin1Codec latin1;
    const String text = textWith("ab\xFC", latin1);
    EXPECT_EQ(3U, latin1.forwardReads());
    EXPECT_EQ(0xFCU, text.at(2));
    EXPECT_EQ(4U, latin1.forwardReads());
    EXPECT_EQ(1U, latin1.reads());
}

TEST(String, At_InAPiece)
{
    const String piece = String(UTF16LE, "abcdef").substr(2, 4);
    EXPECT_EQ(0x63U, piece.at(0));
    EXPECT_EQ(0x64U, piece.at(1));
}

/// Reads character `i` of `text` in a child, which prints it.
ChildResult readAt(const String& text, unsigned int i)
{
    return runInChild([&] { std::printf("%X", text.at(i)); });
}

/// The default report.
std::string assertReport(const ChildResult& result)
{
    return reportTitle("Assert failed", result) + "Location: src/common/unicode/String:214, at()\n"
                                                  "Condition: \"i<size()\"\n"
                                                  "No reason given\n"
                                                  "No error context set\n";
}

TEST(String, At_OutOfRange_ReportsAndReturnsTheReplacement)
{
    const ChildResult atSize = readAt("abc", 3);
    EXPECT_EQ(0, atSize.exitCode);
    EXPECT_EQ("FFFD", atSize.out);
    EXPECT_EQ(assertReport(atSize), atSize.err);
    const ChildResult atLargest = readAt(L"abc", 0xFFFFFFFF);
    EXPECT_EQ("FFFD", atLargest.out);
    EXPECT_EQ(assertReport(atLargest), atLargest.err);
    const ChildResult inEmpty = readAt("", 0);
    EXPECT_EQ("FFFD", inEmpty.out);
    EXPECT_EQ(assertReport(inEmpty), inEmpty.err);
}

TEST(String, At_LastCharacter_ReportsNothing)
{
    const ChildResult result = readAt("abc", 2);
    EXPECT_EQ("63", result.out);
    EXPECT_EQ("", result.err);
}

// In bounds by the size, but not by what can be decoded.
TEST(String, At_BehindTheLastDecodable_IsTheReplacementWithoutAReport)
{
    const ChildResult result = readAt(String("\xC3") + String("\xA9"), 1);
    EXPECT_EQ("FFFD", result.out);
    EXPECT_EQ("", result.err);
}

// In bounds by the bytes, but not by the size.
TEST(String, At_BehindTheSize_IsTheReplacementThoughMoreCanBeDecoded)
{
    const String odd = textWith("a\0b"s, UTF16LE);
    EXPECT_EQ(2U, (odd + odd).size());
    EXPECT_EQ(3U, (odd + odd).count());
    EXPECT_EQ("FFFD", readAt(odd + odd, 2).out);
}

/// The text that handlers replace.
String s_text;

/// Reads character 3 of "abc", which a handler replaces by `text`; returns what the child printed.
std::string readAtWhatBecomes(const char* text)
{
    static const char* s_replacement;
    s_replacement = text;
    return runInChild([] {
               std::GlobalErrorHandler::atAssert(
                   [](const char* condition, const char* location, const char* reason) {
                       std::printf("[%s] [%s] [%s] ", condition, location, reason);
                       s_text = s_replacement;
                   });
               s_text = "abc";
               std::printf("%X", s_text.at(3));
           })
        .out;
}

TEST(String, At_HandlerThatReturns_RangeIsTestedAgain)
{
    EXPECT_EQ("[i<size()] [framework/src/common/unicode/String:214, at()] [] FFFD",
              readAtWhatBecomes("abc"));
    EXPECT_EQ("[i<size()] [framework/src/common/unicode/String:214, at()] [] FFFD",
              readAtWhatBecomes(""));
    EXPECT_EQ("[i<size()] [framework/src/common/unicode/String:214, at()] [] FC",
              readAtWhatBecomes("xyz\xC3\xBC"));
}

TEST(String, ToUtf8_EncodesAnew)
{
    EXPECT_EQ("a\xE2\x82\xAC\xF0\x9F\x98\x80", String(L"a\u20AC\U0001F600").toUtf8());
    EXPECT_EQ("a\0b\0"s, String("a\0b\0"s).toUtf8());
    EXPECT_EQ("\xEF\xBF\xBD"
              "b",
              String("\xC3"
                     "Ab")
                  .toUtf8());
    EXPECT_EQ("\0"s, String("\xC0\x80").toUtf8());
    EXPECT_EQ("\xEF\xBF\xBD", String(0xD800U).toUtf8());
    EXPECT_EQ("\xEF\xBF\xBD", String(0x80000000U).toUtf8());
    EXPECT_EQ("", String(UCS4).toUtf8());
    EXPECT_EQ("\xC3\xA9", (String("\xC3") + String("\xA9")).toUtf8());
}

TEST(String, ToWide_EncodesAnew)
{
    EXPECT_EQ(L"a\u20AC\U0001F600", String("a\xE2\x82\xAC\xF0\x9F\x98\x80").toWide());
    EXPECT_EQ(L"a\0b"s, String(UTF16BE, "a\0b"s).toWide());
    EXPECT_EQ(L"\uFFFDb", String("\xC3"
                                 "Ab")
                              .toWide());
    EXPECT_EQ(L"\uFFFD", String(0xDFFFU).toWide());
    EXPECT_EQ(L"", String().toWide());
    EXPECT_EQ(0xFFFFFFFFU, static_cast<unsigned int>(String(0xFFFFFFFFU).toWide().at(0)));
}

TEST(String, WaysOut_OfAnOwnCodecAndOfAPiece)
{
    const Latin1Codec latin1;
    EXPECT_EQ("gr\xC3\xBC\xC3\x9F", textWith("gr\xFC\xDF", latin1).toUtf8());
    EXPECT_EQ(L"gr\u00FC", textWith("gr\xFC", latin1).toWide());
    const String text("ab\xC3\xBCz");
    EXPECT_EQ("b\xC3\xBC", text.substr(1, 3).toUtf8());
    EXPECT_EQ(L"b\u00FC", text.substr(1, 3).toWide());
    EXPECT_EQ(1U, holders(text.buffer()));
}

} // namespace

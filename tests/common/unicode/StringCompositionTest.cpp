// SPDX-License-Identifier: Apache-2.0

#include <climits>
#include <string>

#include <common/unicode/String.h>
#include <gtest/gtest.h>

#include "support/Latin1Codec.h"
#include "support/TextForm.h"
#include "support/Texts.h"

namespace {

using namespace std::string_literals;
using std::SharedBuf;
using std::unicode::String;
using std::unicode::UCS4;
using std::unicode::UTF16BE;
using std::unicode::UTF16LE;
using std::unicode::UTF8;
using support::formOf;
using support::textWith;

/// U+E9 in `left`, followed by U+20AC in `right`.
std::string sum(const std::unicode::Codec& left, const std::unicode::Codec& right)
{
    return formOf(String(left, "\xC3\xA9") + String(right, "\xE2\x82\xAC"));
}

TEST(Plus, Utf8AndAny_IsUtf8)
{
    EXPECT_EQ("UTF-8, 2: C3 A9 E2 82 AC", sum(UTF8, UTF8));
    EXPECT_EQ("UTF-8, 2: C3 A9 E2 82 AC", sum(UTF8, UTF16LE));
    EXPECT_EQ("UTF-8, 2: C3 A9 E2 82 AC", sum(UTF8, UTF16BE));
    EXPECT_EQ("UTF-8, 2: C3 A9 E2 82 AC", sum(UTF8, UCS4));
}

TEST(Plus, Utf16AndAny_IsUtf16InTheSameOrder)
{
    EXPECT_EQ("UTF-16LE, 2: E9 00 AC 20", sum(UTF16LE, UTF8));
    EXPECT_EQ("UTF-16LE, 2: E9 00 AC 20", sum(UTF16LE, UTF16LE));
    EXPECT_EQ("UTF-16LE, 2: E9 00 AC 20", sum(UTF16LE, UTF16BE));
    EXPECT_EQ("UTF-16LE, 2: E9 00 AC 20", sum(UTF16LE, UCS4));
    EXPECT_EQ("UTF-16BE, 2: 00 E9 20 AC", sum(UTF16BE, UTF8));
    EXPECT_EQ("UTF-16BE, 2: 00 E9 20 AC", sum(UTF16BE, UTF16LE));
    EXPECT_EQ("UTF-16BE, 2: 00 E9 20 AC", sum(UTF16BE, UTF16BE));
    EXPECT_EQ("UTF-16BE, 2: 00 E9 20 AC", sum(UTF16BE, UCS4));
}

TEST(Plus, Ucs4AndAny_IsUcs4)
{
    EXPECT_EQ("UCS-4, 2: E9 00 00 00 AC 20 00 00", sum(UCS4, UTF8));
    EXPECT_EQ("UCS-4, 2: E9 00 00 00 AC 20 00 00", sum(UCS4, UTF16LE));
    EXPECT_EQ("UCS-4, 2: E9 00 00 00 AC 20 00 00", sum(UCS4, UTF16BE));
    EXPECT_EQ("UCS-4, 2: E9 00 00 00 AC 20 00 00", sum(UCS4, UCS4));
}

TEST(Plus, OwnCodec_DecidesOnTheLeftAlone)
{
    const support::Latin1Codec codec;
    EXPECT_EQ("own codec, 2: E9 3F", sum(codec, UTF8));
    EXPECT_EQ("UTF-8, 2: C3 A9 3F", sum(UTF8, codec));
    EXPECT_EQ("own codec, 2: E9 3F", sum(codec, codec));
}

TEST(Plus, OtherObjectOfTheSameEncoding_IsConverted)
{
    const std::unicode::Utf8 other;
    EXPECT_EQ("UTF-8, 2: 61 EF BF BD", formOf(String("a") + textWith("\xFF", other)));
    EXPECT_EQ("UTF-8, 2: 61 FF", formOf(String("a") + textWith("\xFF", UTF8)));
}

TEST(Plus, CountsAreAdded_NotRecounted)
{
    const support::Latin1Codec codec;
    const String left = textWith("ab", codec);
    const String right = textWith("cde", codec);
    const unsigned int before = codec.reads() + codec.forwardReads();
    const String text = left + right;
    EXPECT_EQ(before, codec.reads() + codec.forwardReads());
    EXPECT_EQ("own codec, 5: 61 62 63 64 65", formOf(text));
}

TEST(Plus, ByteSwallowedAcrossTheSeam_StaysCounted)
{
    const String utf8 = textWith("\xC3", UTF8) + String("A");
    EXPECT_EQ("UTF-8, 2: C3 41", formOf(utf8));
    EXPECT_EQ(1U, utf8.count());
    const String utf16 = textWith("\x00\xD8"s, UTF16LE) + String(UTF16LE, "A");
    EXPECT_EQ("UTF-16LE, 2: 00 D8 41 00", formOf(utf16));
    EXPECT_EQ(1U, utf16.count());
}

TEST(Plus, SwallowedByteOfTheOther_StaysCountedWhenItIsConverted)
{
    const String other = textWith("\xC3", UTF8) + String("A");
    EXPECT_EQ("UTF-16LE, 3: 61 00 FD FF", formOf(String(UTF16LE, "a") + other));
}

TEST(Plus, HalvesThatMakeOneCharacter_StayTwo)
{
    const String text = textWith("\xE2\x82", UTF8) + textWith("\xAC", UTF8);
    EXPECT_EQ("UTF-8, 2: E2 82 AC", formOf(text));
    EXPECT_EQ(1U, text.count());
    EXPECT_EQ(0x20ACU, text.at(0));
}

TEST(Plus, EmptyOperands_LeaveTheOther)
{
    EXPECT_EQ("UTF-8, 1: 61", formOf(String() + String(UTF16LE, "a")));
    EXPECT_EQ("UTF-16LE, 1: 61 00", formOf(String(UTF16LE, "a") + String()));
    EXPECT_EQ("UTF-16BE, 0: ", formOf(String(UTF16BE) + String(UCS4)));
    EXPECT_EQ("UTF-16LE, 1: 61 00", formOf(String(SharedBuf(), UTF16LE) + String("a")));
    EXPECT_EQ("UTF-8, 1: 61", formOf(String("a") + String(SharedBuf(), UTF8)));
    EXPECT_EQ("UTF-8, 1: 61", formOf(String("a") + String(SharedBuf(), UTF16LE)));
}

TEST(Plus, Views_GiveTheirOwnBytesAlone)
{
    const String text = textWith("abcdef", UTF8);
    EXPECT_EQ("UTF-8, 4: 65 66 62 63", formOf(text.substr(4, 6) + text.substr(1, 3)));
    EXPECT_EQ("UTF-16LE, 2: 78 00 66 00", formOf(String(UTF16LE, "x") + text.substr(-1, 6)));
}

TEST(Plus, Self_IsTwice)
{
    String text("ab");
    text = text + text;
    EXPECT_EQ("UTF-8, 4: 61 62 61 62", formOf(text));
}

TEST(Plus, Result_IsAFreshBlock)
{
    const String text = String(UTF16LE, "a") + String("b");
    EXPECT_EQ(8U, text.buffer().offset);
    EXPECT_EQ(12U, text.buffer().size);
    EXPECT_EQ(&std::Buf::DEFAULT_ALLOCATOR, text.buffer().allocator);
    EXPECT_EQ(text.buffer().data, text.buffer().base);
}

TEST(Times, None_IsEmptyInTheSameEncoding)
{
    const String text = String(UTF16LE, "ab") * 0;
    EXPECT_EQ("UTF-16LE, 0: ", formOf(text));
    EXPECT_EQ(8U, text.buffer().size);
}

TEST(Times, OnceAndMore_RepeatsTheBytes)
{
    EXPECT_EQ("UTF-16BE, 2: 00 61 20 AC", formOf(String(UTF16BE, "a\xE2\x82\xAC") * 1));
    EXPECT_EQ("UTF-8, 6: 61 62 61 62 61 62", formOf(String("ab") * 3));
    EXPECT_EQ("UCS-4, 2: 61 00 00 00 61 00 00 00", formOf(String(97U) * 2));
    EXPECT_EQ("UTF-8, 4: 62 63 62 63", formOf(String("abcd").substr(1, 3) * 2));
}

TEST(Times, Once_IsABlockOfItsOwn)
{
    const String text("ab");
    const String once = text * 1;
    EXPECT_NE(text.data(), once.data());
    EXPECT_EQ(8U, once.buffer().offset);
    EXPECT_EQ(10U, once.buffer().size);
}

TEST(Times, EmptyText_IsEmptyAtOnce)
{
    EXPECT_EQ("UTF-16LE, 0: ", formOf(String(UTF16LE) * 3));
    EXPECT_EQ("UTF-8, 0: ", formOf(String() * UINT_MAX));
    EXPECT_EQ("UTF-16BE, 0: ", formOf(String(SharedBuf(), UTF16BE) * UINT_MAX));
}

TEST(Times, CountsAreMultiplied_NotRecounted)
{
    const String swallowing = textWith("A\xC3", UTF8) * 3;
    EXPECT_EQ("UTF-8, 6: 41 C3 41 C3 41 C3", formOf(swallowing));
    EXPECT_EQ(4U, swallowing.count());
    const String halves = textWith("a", UTF16LE) * 4;
    EXPECT_EQ("UTF-16LE, 0: 61 61 61 61", formOf(halves));
    EXPECT_EQ(2U, halves.count());
}

} // namespace

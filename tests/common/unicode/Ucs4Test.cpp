// SPDX-License-Identifier: Apache-2.0
//
// UCS-4, and where it differs from the other codecs.

#include <common/unicode/Codec.h>

#include <gtest/gtest.h>

#include "support/CodecCalls.h"

namespace {

using std::unicode::Codec;
using std::unicode::UCS4;
using support::Bytes;
using support::positionOf;
using support::positionText;
using support::read;
using support::readForward;
using support::writeForward;

const Bytes A_EURO_Z = {0x61, 0, 0, 0, 0xAC, 0x20, 0, 0, 0x7A, 0, 0, 0};

TEST(Ucs4Read, AnyValue)
{
    EXPECT_EQ(0U, read(UCS4, {0, 0, 0, 0}));
    EXPECT_EQ(0x01020304U, read(UCS4, {0x04, 0x03, 0x02, 0x01}));
    EXPECT_EQ(0x10FFFFU, read(UCS4, {0xFF, 0xFF, 0x10, 0x00}));
    EXPECT_EQ(0x110000U, read(UCS4, {0x00, 0x00, 0x11, 0x00}));
    EXPECT_EQ(0x80000000U, read(UCS4, {0x00, 0x00, 0x00, 0x80}));
    EXPECT_EQ(0xFFFFFFFFU, read(UCS4, {0xFF, 0xFF, 0xFF, 0xFF}));
}

TEST(Ucs4Read, Surrogates_AreReplaced)
{
    EXPECT_EQ(0xD7FFU, read(UCS4, {0xFF, 0xD7, 0, 0}));
    EXPECT_EQ(0xFFFDU, read(UCS4, {0x00, 0xD8, 0, 0}));
    EXPECT_EQ(0xFFFDU, read(UCS4, {0xFF, 0xDF, 0, 0}));
    EXPECT_EQ(0xE000U, read(UCS4, {0x00, 0xE0, 0, 0}));
}

TEST(Ucs4Read, ValuesWithTheBitsOfSurrogates_AreReplaced)
{
    EXPECT_EQ(0x1D7FFU, read(UCS4, {0xFF, 0xD7, 1, 0}));
    EXPECT_EQ(0xFFFDU, read(UCS4, {0x00, 0xD8, 1, 0}));
    EXPECT_EQ(0xFFFDU, read(UCS4, {0xFF, 0xDF, 1, 0}));
    EXPECT_EQ(0x1E000U, read(UCS4, {0x00, 0xE0, 1, 0}));
    EXPECT_EQ(0xFFFDU, read(UCS4, {0x00, 0xD8, 2, 0}));
    EXPECT_EQ(0xFFFDU, read(UCS4, {0xFF, 0xDF, 0xFF, 0xFF}));
}

TEST(Ucs4Read, FewerThanFourBytes_IsReplacement)
{
    EXPECT_EQ(0xFFFDU, read(UCS4, {}));
    EXPECT_EQ(0xFFFDU, read(UCS4, {0x41, 0, 0}));
    EXPECT_EQ(0xFFFDU, read(UCS4, {0x41, 0, 0, 0}, 1));
    EXPECT_EQ(0xFFFDU, read(UCS4, {0x41, 0, 0, 0}, 4));
    EXPECT_EQ(0xFFFDU, read(UCS4, {0x41, 0, 0, 0}, 5));
    EXPECT_EQ(0xFFFDU, read(UCS4, {0x41, 0, 0, 0}, 0xFFFFFFFC));
    EXPECT_EQ(0xFFFDU, read(UCS4, {0x41, 0, 0, 0}, 0xFFFFFFFF));
}

TEST(Ucs4Read, AnyPosition_IsTaken)
{
    EXPECT_EQ(0x20ACU, UCS4.read(A_EURO_Z.data(), 12, {77, 4}));
    EXPECT_EQ(0x7A000020U, read(UCS4, A_EURO_Z, 5));
    EXPECT_EQ(0x44434241U, read(UCS4, {0, 0x41, 0x42, 0x43, 0x44}, 1));
}

TEST(Ucs4ReadForward, OneOrMoreValues_GiveTheLast)
{
    EXPECT_EQ("1 61 {1,4}", readForward(UCS4, A_EURO_Z));
    EXPECT_EQ("1 20AC {2,8}", readForward(UCS4, A_EURO_Z, 2));
    EXPECT_EQ("1 7A {3,12}", readForward(UCS4, A_EURO_Z, 3));
    EXPECT_EQ("1 7A {7,12}", readForward(UCS4, A_EURO_Z, 2, {5, 4}));
    EXPECT_EQ("1 44434241 {6,7}", readForward(UCS4, {0, 0, 0, 0x41, 0x42, 0x43, 0x44}, 1, {5, 3}));
}

TEST(Ucs4ReadForward, Surrogates_AreReplaced)
{
    EXPECT_EQ("1 FFFD {1,4}", readForward(UCS4, {0x00, 0xD8, 0, 0}));
    EXPECT_EQ("1 FFFD {1,4}", readForward(UCS4, {0x00, 0xD8, 1, 0}));
    EXPECT_EQ("1 FFFD {2,8}", readForward(UCS4, {0x41, 0, 0, 0, 0xFF, 0xDF, 2, 0}, 2));
    EXPECT_EQ("1 41 {2,8}", readForward(UCS4, {0xFF, 0xDF, 0, 0, 0x41, 0, 0, 0}, 2));
}

TEST(Ucs4ReadForward, NoCharacters_Gives1BeforeTheEndAnd0AtIt)
{
    EXPECT_EQ("1 - {0,0}", readForward(UCS4, A_EURO_Z, 0));
    EXPECT_EQ("1 - {5,3}", readForward(UCS4, A_EURO_Z, 0, {5, 3}));
    EXPECT_EQ("1 - {2,11}", readForward(UCS4, A_EURO_Z, 0, {2, 11}));
    EXPECT_EQ("0 - {3,12}", readForward(UCS4, A_EURO_Z, 0, {3, 12}));
    EXPECT_EQ("0 - {3,13}", readForward(UCS4, A_EURO_Z, 0, {3, 13}));
    EXPECT_EQ("0 - {0,0}", readForward(UCS4, {}, 0));
}

TEST(Ucs4ReadForward, AtAndBehindTheEnd_StaysThere)
{
    EXPECT_EQ("0 - {0,0}", readForward(UCS4, {}));
    EXPECT_EQ("0 - {9,12}", readForward(UCS4, A_EURO_Z, 1, {9, 12}));
    EXPECT_EQ("0 - {9,13}", readForward(UCS4, A_EURO_Z, 2, {9, 13}));
    EXPECT_EQ("0 - {9,4294967292}", readForward(UCS4, A_EURO_Z, 1, {9, 0xFFFFFFFC}));
}

TEST(Ucs4ReadForward, FewerThanAsked_MovesToTheEndCountedFromTheStart)
{
    EXPECT_EQ("0 - {1,6}", readForward(UCS4, {0x41, 0, 0, 0, 0x42, 0}, 2));
    EXPECT_EQ("0 - {3,12}", readForward(UCS4, A_EURO_Z, 4));
    EXPECT_EQ("0 - {3,12}", readForward(UCS4, A_EURO_Z, 3, {9, 4}));
    EXPECT_EQ("0 - {3,12}", readForward(UCS4, A_EURO_Z, 1, {9, 9}));
    EXPECT_EQ("0 - {0,3}", readForward(UCS4, {0x41, 0, 0}));
}

TEST(Ucs4ReadForward, HugeNumber_MovesToTheEnd)
{
    EXPECT_EQ("0 - {3,12}", readForward(UCS4, A_EURO_Z, 0x40000000)) << "four times as much is 0";
    EXPECT_EQ("0 - {3,12}", readForward(UCS4, A_EURO_Z, 0x40000001));
    EXPECT_EQ("0 - {3,12}", readForward(UCS4, A_EURO_Z, 0xFFFFFFFF));
    EXPECT_EQ("0 - {3,12}", readForward(UCS4, A_EURO_Z, 0x3FFFFFFF, {1, 4}));
}

/// A walk over `size` bytes that does not read any of them.
std::string passUnread(unsigned int size, unsigned int n, Codec::Index at)
{
    unsigned int last = 7;
    const unsigned int result = UCS4.read_forward(nullptr, size, at, n, last);
    return std::to_string(result) + " " + support::hexText(last) + " " + positionText(at);
}

TEST(Ucs4ReadForward, PositionsNearTheLargest)
{
    EXPECT_EQ("0 7 {1073741823,4294967295}", passUnread(0xFFFFFFFF, 0x40000000, {}));
    EXPECT_EQ("0 7 {1073741823,4294967295}", passUnread(0xFFFFFFFF, 1, {8, 0xFFFFFFFC}));
    EXPECT_EQ("0 7 {1073741823,4294967292}", passUnread(0xFFFFFFFC, 2, {8, 0xFFFFFFF8}));
    EXPECT_EQ("1 7 {8,4294967294}", passUnread(0xFFFFFFFF, 0, {8, 0xFFFFFFFE}));
    EXPECT_EQ(0xFFFDU, UCS4.read(nullptr, 0xFFFFFFFF, {0, 0xFFFFFFFC}));
}

TEST(Ucs4WriteForward, AnyValue_IsStored)
{
    EXPECT_EQ("1 00 00 00 00 {1,4}", writeForward(UCS4, 4, 0));
    EXPECT_EQ("1 04 03 02 01 {1,4}", writeForward(UCS4, 4, 0x01020304));
    EXPECT_EQ("1 FF FF 10 00 {1,4}", writeForward(UCS4, 4, 0x10FFFF));
    EXPECT_EQ("1 00 00 11 00 {1,4}", writeForward(UCS4, 4, 0x110000));
    EXPECT_EQ("1 FF FF FF FF {1,4}", writeForward(UCS4, 4, 0xFFFFFFFF));
}

TEST(Ucs4WriteForward, Surrogates_WriteNothingAndStay)
{
    EXPECT_EQ("1 FF D7 00 00 {1,4}", writeForward(UCS4, 4, 0xD7FF));
    EXPECT_EQ("0 EE EE EE EE {0,0}", writeForward(UCS4, 4, 0xD800));
    EXPECT_EQ("0 EE EE EE EE {0,0}", writeForward(UCS4, 4, 0xDFFF));
    EXPECT_EQ("1 00 E0 00 00 {1,4}", writeForward(UCS4, 4, 0xE000));
    EXPECT_EQ("0  {3,9}", writeForward(UCS4, 0, 0xD800, {3, 9}));
}

TEST(Ucs4WriteForward, ValuesWithTheBitsOfSurrogates_WriteNothingAndStay)
{
    EXPECT_EQ("1 FF D7 01 00 {1,4}", writeForward(UCS4, 4, 0x1D7FF));
    EXPECT_EQ("0 EE EE EE EE {0,0}", writeForward(UCS4, 4, 0x1D800));
    EXPECT_EQ("0 EE EE EE EE {0,0}", writeForward(UCS4, 4, 0x1DFFF));
    EXPECT_EQ("1 00 E0 01 00 {1,4}", writeForward(UCS4, 4, 0x1E000));
    EXPECT_EQ("0 EE EE EE EE {0,0}", writeForward(UCS4, 4, 0x2D800));
    EXPECT_EQ("0 EE EE EE EE {0,0}", writeForward(UCS4, 4, 0xFFFFD800));
}

TEST(Ucs4WriteForward, WithoutRoom_MovesAllTheSame)
{
    EXPECT_EQ("0  {1,4}", writeForward(UCS4, 0, 0x41));
    EXPECT_EQ("0 EE EE EE {1,4}", writeForward(UCS4, 3, 0x41));
    EXPECT_EQ("0 EE EE EE EE {2,5}", writeForward(UCS4, 4, 0x41, {1, 1}));
    EXPECT_EQ("0 EE EE EE EE {2,8}", writeForward(UCS4, 4, 0x41, {1, 4}));
    EXPECT_EQ("0 EE EE EE EE {2,13}", writeForward(UCS4, 4, 0x41, {1, 9}));
}

TEST(Ucs4WriteForward, InTheMiddle_TouchesItsBytesAlone)
{
    EXPECT_EQ("1 EE EE EE AC 20 00 00 EE {6,7}", writeForward(UCS4, 8, 0x20AC, {5, 3}));
    EXPECT_EQ("1 EE EE EE AC 20 00 00 {6,7}", writeForward(UCS4, 7, 0x20AC, {5, 3}));
    EXPECT_EQ("0 EE EE EE EE EE EE {6,7}", writeForward(UCS4, 6, 0x20AC, {5, 3}));
}

TEST(Ucs4WriteForward, PositionsNearTheLargest_WriteNothing)
{
    EXPECT_EQ("0 EE EE EE EE {2,0}", writeForward(UCS4, 4, 0x41, {1, 0xFFFFFFFC}));
    EXPECT_EQ("0 EE EE EE EE {2,3}", writeForward(UCS4, 4, 0x41, {1, 0xFFFFFFFF}));
    Codec::Index at{1, 0xFFFFFFFC};
    EXPECT_EQ(0U, UCS4.write_forward(nullptr, 0xFFFFFFFF, at, 0x41));
    EXPECT_EQ("{2,0}", positionText(at));
}

TEST(Ucs4EncodedBytes, IsAlways4)
{
    EXPECT_EQ(4U, UCS4.encoded_bytes(0));
    EXPECT_EQ(4U, UCS4.encoded_bytes(0xD800));
    EXPECT_EQ(4U, UCS4.encoded_bytes(0x1D800));
    EXPECT_EQ(4U, UCS4.encoded_bytes(0x110000));
    EXPECT_EQ(4U, UCS4.encoded_bytes(0xFFFFFFFF));
}

TEST(Ucs4At, IsArithmetic)
{
    EXPECT_EQ("{0,0}", positionOf(UCS4, A_EURO_Z, 0));
    EXPECT_EQ("{2,8}", positionOf(UCS4, A_EURO_Z, 2));
    EXPECT_EQ("{3,12}", positionOf(UCS4, A_EURO_Z, 3));
    EXPECT_EQ("{3,12}", positionOf(UCS4, A_EURO_Z, 4));
    EXPECT_EQ("{0,0}", positionOf(UCS4, {}, 0));
    EXPECT_EQ("{0,0}", positionOf(UCS4, {}, 1));
}

TEST(Ucs4At, BehindAnUnfinishedValue_IsTheEndOfTheData)
{
    const Bytes bytes = {0x41, 0, 0, 0, 0x42, 0};
    EXPECT_EQ("{1,4}", positionOf(UCS4, bytes, 1));
    EXPECT_EQ("{1,6}", positionOf(UCS4, bytes, 2));
    EXPECT_EQ("{0,3}", positionOf(UCS4, {0x41, 0, 0}, 1));
    EXPECT_EQ("{0,0}", positionOf(UCS4, {0x41, 0, 0}, 0));
}

TEST(Ucs4At, LargeNumbers)
{
    EXPECT_EQ("{3,12}", positionOf(UCS4, A_EURO_Z, 0x40000000)) << "four times as much is 0";
    EXPECT_EQ("{3,12}", positionOf(UCS4, A_EURO_Z, 0xFFFFFFFF));
    EXPECT_EQ("{1073741823,4294967292}", positionText(UCS4.at(nullptr, 0xFFFFFFFF, 0x3FFFFFFF)));
    EXPECT_EQ("{1073741823,4294967295}", positionText(UCS4.at(nullptr, 0xFFFFFFFF, 0x40000000)));
    EXPECT_EQ("{100000000,400000000}", positionText(UCS4.at(nullptr, 0xFFFFFFFF, 100000000)));
}

} // namespace

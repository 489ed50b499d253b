// SPDX-License-Identifier: Apache-2.0
//
// UTF-8 in its early form, byte by byte.

#include <common/unicode/Codec.h>

#include <algorithm>
#include <vector>

#include <gtest/gtest.h>

#include "support/CodecCalls.h"

namespace {

using std::unicode::Utf8;
using std::unicode::UTF8;
using support::Bytes;
using support::read;
using support::readForward;
using support::writeForward;

TEST(Utf8Type, AllBytes)
{
    const struct
    {
        int first, last, type;
    } ranges[] = {{0x00, 0x7F, 1}, {0x80, 0xBF, 0}, {0xC0, 0xDF, 2}, {0xE0, 0xEF, 3},
                  {0xF0, 0xF7, 4}, {0xF8, 0xFB, 5}, {0xFC, 0xFD, 6}, {0xFE, 0xFF, -1}};
    for (const auto& range : ranges)
        for (int byte = range.first; byte <= range.last; ++byte)
            EXPECT_EQ(range.type, Utf8::type(static_cast<unsigned char>(byte))) << byte;
}

/// A sequence, what `read` gives for it, and what `read_forward` does.
struct Sequence
{
    Bytes bytes;
    unsigned int value;
    const char* forward;
};

void expectDecoded(const std::vector<Sequence>& sequences)
{
    for (const Sequence& sequence : sequences) {
        SCOPED_TRACE(support::bytesText(sequence.bytes.data(), support::sizeOf(sequence.bytes)));
        EXPECT_EQ(sequence.value, read(UTF8, sequence.bytes));
        EXPECT_EQ(sequence.forward, readForward(UTF8, sequence.bytes));
    }
}

TEST(Utf8Read, FirstAndLastValueOfEachLength)
{
    expectDecoded({
        {{0x00}, 0, "1 0 {1,1}"},
        {{0x7F}, 0x7F, "1 7F {1,1}"},
        {{0xC2, 0x80}, 0x80, "1 80 {1,2}"},
        {{0xDF, 0xBF}, 0x7FF, "1 7FF {1,2}"},
        {{0xE0, 0xA0, 0x80}, 0x800, "1 800 {1,3}"},
        {{0xEF, 0xBF, 0xBF}, 0xFFFF, "1 FFFF {1,3}"},
        {{0xF0, 0x90, 0x80, 0x80}, 0x10000, "1 10000 {1,4}"},
        {{0xF7, 0xBF, 0xBF, 0xBF}, 0x1FFFFF, "1 1FFFFF {1,4}"},
        {{0xF8, 0x88, 0x80, 0x80, 0x80}, 0x200000, "1 200000 {1,5}"},
        {{0xFB, 0xBF, 0xBF, 0xBF, 0xBF}, 0x3FFFFFF, "1 3FFFFFF {1,5}"},
        {{0xFC, 0x84, 0x80, 0x80, 0x80, 0x80}, 0x4000000, "1 4000000 {1,6}"},
        {{0xFD, 0xBF, 0xBF, 0xBF, 0xBF, 0xBF}, 0x7FFFFFFF, "1 7FFFFFFF {1,6}"},
    });
}

TEST(Utf8Read, ValuesWithAllKindsOfBits)
{
    expectDecoded({
        {{0xC3, 0xA9}, 0xE9, "1 E9 {1,2}"},
        {{0xE2, 0x82, 0xAC}, 0x20AC, "1 20AC {1,3}"},
        {{0xF0, 0x90, 0x8D, 0x88}, 0x10348, "1 10348 {1,4}"},
        {{0xF4, 0x8F, 0xBF, 0xBF}, 0x10FFFF, "1 10FFFF {1,4}"},
        {{0xF4, 0x90, 0x80, 0x80}, 0x110000, "1 110000 {1,4}"},
        {{0xF9, 0x92, 0xB4, 0x95, 0xA7}, 0x14B4567, "1 14B4567 {1,5}"},
        {{0xEF, 0xBF, 0xBD}, 0xFFFD, "1 FFFD {1,3}"},
        {{0xEF, 0xBB, 0xBF}, 0xFEFF, "1 FEFF {1,3}"},
    });
}

TEST(Utf8Read, OverlongForms_AreTaken)
{
    expectDecoded({
        {{0xC0, 0x80}, 0, "1 0 {1,2}"},
        {{0xC1, 0xBF}, 0x7F, "1 7F {1,2}"},
        {{0xE0, 0x80, 0x80}, 0, "1 0 {1,3}"},
        {{0xE0, 0x9F, 0xBF}, 0x7FF, "1 7FF {1,3}"},
        {{0xF0, 0x80, 0x80, 0x80}, 0, "1 0 {1,4}"},
        {{0xF0, 0x8F, 0xBF, 0xBF}, 0xFFFF, "1 FFFF {1,4}"},
        {{0xF8, 0x80, 0x80, 0x80, 0x80}, 0, "1 0 {1,5}"},
        {{0xF8, 0x87, 0xBF, 0xBF, 0xBF}, 0x1FFFFF, "1 1FFFFF {1,5}"},
        {{0xFC, 0x80, 0x80, 0x80, 0x80, 0x80}, 0, "1 0 {1,6}"},
        {{0xFC, 0x82, 0xBF, 0xBF, 0xBF, 0xBF}, 0x2FFFFFF, "1 2FFFFFF {1,6}"},
    });
}

TEST(Utf8Read, Bit30_ReadTakesItFromTheLeadAndReadForwardFromTheNextByte)
{
    expectDecoded({
        {{0xFC, 0x84, 0x80, 0x80, 0x80, 0x80}, 0x04000000, "1 4000000 {1,6}"},
        {{0xFC, 0x85, 0x80, 0x80, 0x80, 0x80}, 0x05000000, "1 45000000 {1,6}"},
        {{0xFD, 0x84, 0x80, 0x80, 0x80, 0x80}, 0x44000000, "1 4000000 {1,6}"},
        {{0xFD, 0x85, 0x80, 0x80, 0x80, 0x80}, 0x45000000, "1 45000000 {1,6}"},
        {{0xFD, 0xBE, 0xBF, 0xBF, 0xBF, 0xBF}, 0x7EFFFFFF, "1 3EFFFFFF {1,6}"},
        {{0xFC, 0x83, 0xBF, 0xBF, 0xBF, 0xBF}, 0x03FFFFFF, "1 43FFFFFF {1,6}"},
        // Of shorter forms no bit is taken twice.
        {{0xFB, 0x81, 0x80, 0x80, 0x80}, 0x3040000, "1 3040000 {1,5}"},
    });
}

TEST(Utf8Read, Surrogates_AreReplaced)
{
    expectDecoded({
        {{0xED, 0x9F, 0xBF}, 0xD7FF, "1 D7FF {1,3}"},
        {{0xED, 0xA0, 0x80}, 0xFFFD, "1 FFFD {1,3}"},
        {{0xED, 0xBF, 0xBF}, 0xFFFD, "1 FFFD {1,3}"},
        {{0xEE, 0x80, 0x80}, 0xE000, "1 E000 {1,3}"},
        {{0xF0, 0x8D, 0xA0, 0x80}, 0xFFFD, "1 FFFD {1,4}"},
    });
}

TEST(Utf8Read, ValuesWithTheBitsOfSurrogates_AreReplaced)
{
    expectDecoded({
        {{0xF0, 0x9D, 0x9F, 0xBF}, 0x1D7FF, "1 1D7FF {1,4}"},
        {{0xF0, 0x9D, 0xA0, 0x80}, 0xFFFD, "1 FFFD {1,4}"},
        {{0xF0, 0x9D, 0xBF, 0xBF}, 0xFFFD, "1 FFFD {1,4}"},
        {{0xF0, 0x9E, 0x80, 0x80}, 0x1E000, "1 1E000 {1,4}"},
        {{0xF0, 0xAD, 0xA0, 0x80}, 0xFFFD, "1 FFFD {1,4}"},
        {{0xF8, 0x88, 0x8D, 0xA0, 0x80}, 0xFFFD, "1 FFFD {1,5}"},
        {{0xFC, 0x84, 0x80, 0x8D, 0xA0, 0x80}, 0xFFFD, "1 FFFD {1,6}"},
    });
}

TEST(Utf8Read, BytesThatAreNoLead_AreOneReplacementEach)
{
    for (int byte = 0x80; byte <= 0xBF; ++byte)
        expectDecoded({{{static_cast<unsigned char>(byte), 0x80}, 0xFFFD, "1 FFFD {1,1}"}});
    for (int byte = 0xFE; byte <= 0xFF; ++byte)
        expectDecoded({{{static_cast<unsigned char>(byte), 0x80, 0x80, 0x80, 0x80, 0x80, 0x80},
                        0xFFFD,
                        "1 FFFD {1,1}"}});
}

/// What follows a lead, and what `read_forward` makes of it.
struct Tail
{
    Bytes bytes;
    const char* forward;
};

/// Every lead from `first` to `last` with every one of `tails`, none of which is whole.
void expectMalformed(int first, int last, const std::vector<Tail>& tails)
{
    for (int lead = first; lead <= last; ++lead)
        for (const Tail& tail : tails) {
            Bytes bytes(tail.bytes.size() + 1, static_cast<unsigned char>(lead));
            std::copy(tail.bytes.begin(), tail.bytes.end(), bytes.begin() + 1);
            expectDecoded({{bytes, 0xFFFD, tail.forward}});
        }
}

TEST(Utf8Read, CutOffAfterEachByte_EndsWithTheData)
{
    expectMalformed(0xC0, 0xDF, {{{}, "1 FFFD {1,1}"}});
    expectMalformed(0xE0, 0xEF, {{{}, "1 FFFD {1,1}"}, {{0x80}, "1 FFFD {1,2}"}});
    expectMalformed(
        0xF0, 0xF7,
        {{{}, "1 FFFD {1,1}"}, {{0x80}, "1 FFFD {1,2}"}, {{0x80, 0xBF}, "1 FFFD {1,3}"}});
    expectMalformed(0xF8, 0xFB,
                    {{{}, "1 FFFD {1,1}"},
                     {{0x80}, "1 FFFD {1,2}"},
                     {{0x80, 0xBF}, "1 FFFD {1,3}"},
                     {{0x80, 0xBF, 0x80}, "1 FFFD {1,4}"}});
    expectMalformed(0xFC, 0xFD,
                    {{{}, "1 FFFD {1,1}"},
                     {{0x80}, "1 FFFD {1,2}"},
                     {{0x80, 0xBF}, "1 FFFD {1,3}"},
                     {{0x80, 0xBF, 0x80}, "1 FFFD {1,4}"},
                     {{0x80, 0xBF, 0x80, 0xBF}, "1 FFFD {1,5}"}});
}

TEST(Utf8Read, BadByteAtEachPlace_IsSwallowed)
{
    expectMalformed(0xC0, 0xDF, {{{0x41}, "1 FFFD {1,2}"}, {{0xC3, 0xA9}, "1 FFFD {1,2}"}});
    expectMalformed(0xE0, 0xEF,
                    {{{0x41, 0x80}, "1 FFFD {1,2}"},
                     {{0x80, 0x7F}, "1 FFFD {1,3}"},
                     {{0xBF, 0xC0, 0x80}, "1 FFFD {1,3}"}});
    expectMalformed(0xF0, 0xF7,
                    {{{0x41, 0x80, 0x80}, "1 FFFD {1,2}"},
                     {{0x80, 0x41, 0x80}, "1 FFFD {1,3}"},
                     {{0x80, 0x80, 0xFF, 0x80}, "1 FFFD {1,4}"}});
    expectMalformed(0xF8, 0xFB,
                    {{{0x41, 0x80, 0x80, 0x80}, "1 FFFD {1,2}"},
                     {{0x80, 0x41, 0x80, 0x80}, "1 FFFD {1,3}"},
                     {{0x80, 0x80, 0x00, 0x80}, "1 FFFD {1,4}"},
                     {{0x80, 0x80, 0x80, 0xE2, 0x80}, "1 FFFD {1,5}"}});
    expectMalformed(0xFC, 0xFD,
                    {{{0x41, 0x80, 0x80, 0x80, 0x80}, "1 FFFD {1,2}"},
                     {{0x80, 0x41, 0x80, 0x80, 0x80}, "1 FFFD {1,3}"},
                     {{0x80, 0x80, 0x41, 0x80, 0x80}, "1 FFFD {1,4}"},
                     {{0x80, 0x80, 0x80, 0x41, 0x80}, "1 FFFD {1,5}"},
                     {{0x80, 0x80, 0x80, 0x80, 0xFD, 0x80}, "1 FFFD {1,6}"}});
}

TEST(Utf8Read, AtAndBehindTheEnd_IsReplacement)
{
    EXPECT_EQ(0xFFFDU, read(UTF8, {}));
    EXPECT_EQ(0xFFFDU, read(UTF8, {0x41}, 1));
    EXPECT_EQ(0xFFFDU, read(UTF8, {0x41}, 2));
    EXPECT_EQ(0xFFFDU, read(UTF8, {0x41}, 0xFFFFFFFF));
}

TEST(Utf8Read, InTheMiddle_TakesThePositionInBytes)
{
    const Bytes bytes = {0x61, 0xE2, 0x82, 0xAC, 0x62};
    EXPECT_EQ(0x20ACU, UTF8.read(bytes.data(), 5, {77, 1}));
    EXPECT_EQ(0xFFFDU, UTF8.read(bytes.data(), 5, {1, 2}));
    EXPECT_EQ(0x62U, UTF8.read(bytes.data(), 5, {0, 4}));
    EXPECT_EQ(0xFFFDU, UTF8.read(bytes.data(), 3, {1, 1})) << "cut off by the size alone";
}

TEST(Utf8ReadForward, NoCharacters_ReadsNothing)
{
    EXPECT_EQ("0 - {0,0}", readForward(UTF8, {0x41}, 0));
    EXPECT_EQ("0 - {5,3}", readForward(UTF8, {0x41, 0x42, 0x43, 0x44}, 0, {5, 3}));
    EXPECT_EQ("0 - {0,0}", readForward(UTF8, {}, 0));
}

TEST(Utf8ReadForward, AtAndBehindTheEnd_ReadsNothing)
{
    EXPECT_EQ("0 - {0,0}", readForward(UTF8, {}));
    EXPECT_EQ("0 - {1,1}", readForward(UTF8, {0x41}, 1, {1, 1}));
    EXPECT_EQ("0 - {3,9}", readForward(UTF8, {0x41}, 2, {3, 9}));
    EXPECT_EQ("0 - {0,4294967295}", readForward(UTF8, {0x41}, 1, {0, 0xFFFFFFFF}));
}

TEST(Utf8ReadForward, SeveralCharacters_GiveTheLast)
{
    const Bytes bytes = {0x61, 0xC3, 0xA9, 0xE2, 0x82, 0xAC, 0xF0, 0x90, 0x8D, 0x88, 0x7A};
    EXPECT_EQ("1 E9 {2,3}", readForward(UTF8, bytes, 2));
    EXPECT_EQ("1 20AC {3,6}", readForward(UTF8, bytes, 3));
    EXPECT_EQ("1 10348 {4,10}", readForward(UTF8, bytes, 4));
    EXPECT_EQ("1 7A {5,11}", readForward(UTF8, bytes, 5));
    EXPECT_EQ("1 10348 {7,10}", readForward(UTF8, bytes, 2, {5, 3}));
}

TEST(Utf8ReadForward, FewerThanAsked_StopsAfterTheLastOne)
{
    EXPECT_EQ("0 62 {2,2}", readForward(UTF8, {0x61, 0x62}, 3));
    EXPECT_EQ("0 62 {6,4}", readForward(UTF8, {0x61, 0xC3, 0xA9, 0x62}, 2, {5, 3}));
    EXPECT_EQ("0 FFFD {2,3}", readForward(UTF8, {0x61, 0xE2, 0x82}, 0xFFFFFFFF));
}

TEST(Utf8ReadForward, StoppedBehindASurrogate_LeavesItAsItIs)
{
    EXPECT_EQ("0 D800 {1,3}", readForward(UTF8, {0xED, 0xA0, 0x80}, 2));
    EXPECT_EQ("0 1D800 {1,4}", readForward(UTF8, {0xF0, 0x9D, 0xA0, 0x80}, 2));
    EXPECT_EQ("0 DFFF {2,4}", readForward(UTF8, {0x61, 0xED, 0xBF, 0xBF}, 9));
}

TEST(Utf8ReadForward, SurrogateInBetween_IsPassed)
{
    EXPECT_EQ("1 41 {2,4}", readForward(UTF8, {0xED, 0xA0, 0x80, 0x41}, 2));
    EXPECT_EQ("1 FFFD {2,4}", readForward(UTF8, {0x41, 0xED, 0xA0, 0x80}, 2));
}

TEST(Utf8ReadForward, SwallowedByte_IsLost)
{
    EXPECT_EQ("1 42 {2,3}", readForward(UTF8, {0xC3, 0x41, 0x42}, 2));
    EXPECT_EQ("0 FFFD {1,2}", readForward(UTF8, {0xC3, 0x41}, 2));
    EXPECT_EQ("1 FFFD {2,3}", readForward(UTF8, {0xC3, 0xC3, 0xA9}, 2));
    EXPECT_EQ("1 FFFD {4,4}", readForward(UTF8, {0x80, 0xFE, 0xFF, 0xBF}, 4));
}

/// A code point, its bytes, and what writing into exactly the bytes it takes does.
struct Written
{
    unsigned int c;
    unsigned int bytes;
    const char* result;
};

void expectEncoded(const std::vector<Written>& rows)
{
    for (const Written& row : rows) {
        SCOPED_TRACE(support::hexText(row.c));
        EXPECT_EQ(row.bytes, UTF8.encoded_bytes(row.c));
        EXPECT_EQ(row.result, writeForward(UTF8, row.bytes, row.c));
    }
}

TEST(Utf8WriteForward, FirstAndLastValueOfEachLength)
{
    expectEncoded({
        {0, 1, "1 00 {1,1}"},
        {0x7F, 1, "1 7F {1,1}"},
        {0x80, 2, "1 C2 80 {1,2}"},
        {0x7FF, 2, "1 DF BF {1,2}"},
        {0x800, 3, "1 E0 A0 80 {1,3}"},
        {0xFFFF, 3, "1 EF BF BF {1,3}"},
        {0x10000, 4, "1 F0 90 80 80 {1,4}"},
        {0x1FFFFF, 4, "1 F7 BF BF BF {1,4}"},
        {0x200000, 5, "1 F8 88 80 80 80 {1,5}"},
        {0x3FFFFFF, 5, "1 FB BF BF BF BF {1,5}"},
        {0x4000000, 6, "1 FC 84 80 80 80 80 {1,6}"},
        {0x7FFFFFFF, 6, "1 FD BF BF BF BF BF {1,6}"},
    });
}

TEST(Utf8WriteForward, ValuesWithAllKindsOfBits)
{
    expectEncoded({
        {0x20AC, 3, "1 E2 82 AC {1,3}"},
        {0x10348, 4, "1 F0 90 8D 88 {1,4}"},
        {0x14B4567, 5, "1 F9 92 B4 95 A7 {1,5}"},
        {0x52345678, 6, "1 FD 92 8D 85 99 B8 {1,6}"},
        {0xFFFD, 3, "1 EF BF BD {1,3}"},
    });
}

TEST(Utf8WriteForward, WhatCannotBeEncoded_IsReplacedAndGives0)
{
    expectEncoded({
        {0xD7FF, 3, "1 ED 9F BF {1,3}"},
        {0xD800, 3, "0 EF BF BD {1,3}"},
        {0xDFFF, 3, "0 EF BF BD {1,3}"},
        {0xE000, 3, "1 EE 80 80 {1,3}"},
        {0x80000000, 3, "0 EF BF BD {1,3}"},
        {0xFFFFFFFF, 3, "0 EF BF BD {1,3}"},
    });
}

TEST(Utf8WriteForward, ValuesWithTheBitsOfSurrogates_AreReplaced)
{
    expectEncoded({
        {0x1D7FF, 4, "1 F0 9D 9F BF {1,4}"},
        {0x1D800, 3, "0 EF BF BD {1,3}"},
        {0x1DFFF, 3, "0 EF BF BD {1,3}"},
        {0x1E000, 4, "1 F0 9E 80 80 {1,4}"},
        {0x2D800, 3, "0 EF BF BD {1,3}"},
        {0x20D800, 3, "0 EF BF BD {1,3}"},
        {0x7FFFD800, 3, "0 EF BF BD {1,3}"},
    });
}

TEST(Utf8WriteForward, OneByteTooFew_WritesNothing)
{
    EXPECT_EQ("0  {0,0}", writeForward(UTF8, 0, 0x41));
    EXPECT_EQ("0 EE {0,0}", writeForward(UTF8, 1, 0xE9));
    EXPECT_EQ("0 EE EE {0,0}", writeForward(UTF8, 2, 0x20AC));
    EXPECT_EQ("0 EE EE EE {0,0}", writeForward(UTF8, 3, 0x10348));
    EXPECT_EQ("0 EE EE EE EE {0,0}", writeForward(UTF8, 4, 0x200000));
    EXPECT_EQ("0 EE EE EE EE EE {0,0}", writeForward(UTF8, 5, 0x4000000));
    EXPECT_EQ("0 EE EE {0,0}", writeForward(UTF8, 2, 0xD800));
    EXPECT_EQ("0 EE EE {0,0}", writeForward(UTF8, 2, 0x80000000));
}

TEST(Utf8WriteForward, InTheMiddle_TouchesItsBytesAlone)
{
    EXPECT_EQ("1 EE EE EE C3 A9 EE {6,5}", writeForward(UTF8, 6, 0xE9, {5, 3}));
    EXPECT_EQ("1 EE EE EE C3 A9 {6,5}", writeForward(UTF8, 5, 0xE9, {5, 3}));
    EXPECT_EQ("0 EE EE EE EE {5,3}", writeForward(UTF8, 4, 0xE9, {5, 3}));
    EXPECT_EQ("0 EE EF BF BD EE {8,4}", writeForward(UTF8, 5, 0xD800, {7, 1}));
    EXPECT_EQ("0 EE EE EE {7,1}", writeForward(UTF8, 3, 0xD800, {7, 1}));
}

TEST(Utf8WriteForward, AtAndBehindTheEnd_WritesNothing)
{
    EXPECT_EQ("0 EE {1,1}", writeForward(UTF8, 1, 0x41, {1, 1}));
    EXPECT_EQ("0 EE {1,2}", writeForward(UTF8, 1, 0x41, {1, 2}));
    EXPECT_EQ("0 EE {1,4294967295}", writeForward(UTF8, 1, 0x41, {1, 0xFFFFFFFF}));
    EXPECT_EQ("0 EE {1,4294967294}", writeForward(UTF8, 1, 0xD800, {1, 0xFFFFFFFE}));
}

} // namespace

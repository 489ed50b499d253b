// SPDX-License-Identifier: Apache-2.0
//
// UTF-16 in both byte orders, unit by unit.

#include <common/unicode/Codec.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/CodecCalls.h"

namespace {

using std::unicode::Codec;
using std::unicode::Utf16;
using std::unicode::UTF16BE;
using std::unicode::UTF16LE;
using support::Bytes;
using support::writeForward;

using Units = std::vector<unsigned int>;

/// Both byte orders.
class Utf16Units : public testing::TestWithParam<const Utf16*>
{
protected:
    /// `units` in the codec's byte order.
    Bytes bytesOf(const Units& units) const
    {
        Bytes bytes(units.size() * 2);
        for (std::size_t i = 0; i < units.size(); ++i) {
            bytes[2 * i + (isBig() ? 0 : 1)] = static_cast<unsigned char>(units[i] >> 8);
            bytes[2 * i + (isBig() ? 1 : 0)] = static_cast<unsigned char>(units[i]);
        }
        return bytes;
    }

    unsigned int read(const Units& units, unsigned int position = 0) const
    {
        return support::read(codec, bytesOf(units), position);
    }

    std::string forward(const Units& units, unsigned int n = 1, Codec::Index at = {}) const
    {
        return support::readForward(codec, bytesOf(units), n, at);
    }

    bool isBig() const { return &codec == &UTF16BE; }

    const Utf16& codec = *GetParam();
};
INSTANTIATE_TEST_SUITE_P(Order, Utf16Units, testing::Values(&UTF16LE, &UTF16BE),
                         [](const testing::TestParamInfo<const Utf16*>& order) {
                             return std::string(order.param == &UTF16BE ? "Big" : "Little");
                         });

TEST(Utf16, ByteOrder)
{
    EXPECT_FALSE(UTF16LE.big_endian);
    EXPECT_TRUE(UTF16BE.big_endian);
    EXPECT_EQ(0x20ACU, support::read(UTF16LE, {0xAC, 0x20}));
    EXPECT_EQ(0x20ACU, support::read(UTF16BE, {0x20, 0xAC}));
    EXPECT_EQ("1 10348 {1,4}", support::readForward(UTF16LE, {0x00, 0xD8, 0x48, 0xDF}));
    EXPECT_EQ("1 10348 {1,4}", support::readForward(UTF16BE, {0xD8, 0x00, 0xDF, 0x48}));
}

TEST_P(Utf16Units, UnitsAroundTheSurrogates)
{
    const struct
    {
        unsigned int unit, value;
        const char* forward;
    } rows[] = {
        {0x0000, 0x0000, "1 0 {1,2}"},    {0x0041, 0x0041, "1 41 {1,2}"},
        {0xD7FF, 0xD7FF, "1 D7FF {1,2}"}, {0xD800, 0xFFFD, "1 FFFD {1,2}"},
        {0xDBFF, 0xFFFD, "1 FFFD {1,2}"}, {0xDC00, 0xFFFD, "1 FFFD {1,2}"},
        {0xDFFF, 0xFFFD, "1 FFFD {1,2}"}, {0xE000, 0xE000, "1 E000 {1,2}"},
        {0xFEFF, 0xFEFF, "1 FEFF {1,2}"}, {0xFFFE, 0xFFFE, "1 FFFE {1,2}"},
        {0xFFFF, 0xFFFF, "1 FFFF {1,2}"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.value, read({row.unit})) << row.unit;
        EXPECT_EQ(row.forward, forward({row.unit})) << row.unit;
    }
}

TEST_P(Utf16Units, Pairs)
{
    const struct
    {
        Units units;
        unsigned int value;
        const char* forward;
    } rows[] = {
        {{0xD800, 0xDC00}, 0x10000, "1 10000 {1,4}"},
        {{0xD800, 0xDFFF}, 0x103FF, "1 103FF {1,4}"},
        {{0xD801, 0xDC00}, 0x10400, "1 10400 {1,4}"},
        {{0xDBFF, 0xDFFF}, 0x10FFFF, "1 10FFFF {1,4}"},
        {{0xD835, 0xDFFF}, 0x1D7FF, "1 1D7FF {1,4}"},
        {{0xD836, 0xDC00}, 0xFFFD, "1 FFFD {1,4}"}, // U+1D800
        {{0xD837, 0xDFFF}, 0xFFFD, "1 FFFD {1,4}"}, // U+1DFFF
        {{0xD838, 0xDC00}, 0x1E000, "1 1E000 {1,4}"},
        {{0xD876, 0xDC00}, 0xFFFD, "1 FFFD {1,4}"}, // U+2D800
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.value, read(row.units)) << row.forward;
        EXPECT_EQ(row.forward, forward(row.units)) << row.forward;
    }
}

TEST_P(Utf16Units, HighSurrogateWithAnotherUnit_TakesItAlong)
{
    EXPECT_EQ(0xFFFDU, read({0xD800, 0x0041}));
    EXPECT_EQ("1 FFFD {1,4}", forward({0xD800, 0x0041}));
    EXPECT_EQ("1 FFFD {1,4}", forward({0xD800, 0xD800, 0xDC00}));
    EXPECT_EQ("1 FFFD {1,4}", forward({0xDBFF, 0xE000}));
    EXPECT_EQ("1 42 {2,6}", forward({0xD800, 0x0041, 0x0042}, 2));
    EXPECT_EQ("0 FFFD {1,4}", forward({0xD800, 0x0041}, 2));
}

TEST_P(Utf16Units, LowSurrogate_IsOneReplacement)
{
    EXPECT_EQ(0xFFFDU, read({0xDC00, 0xDC00}));
    EXPECT_EQ("1 FFFD {1,2}", forward({0xDC00, 0xDC00}));
    EXPECT_EQ("1 41 {2,4}", forward({0xDFFF, 0x0041}, 2));
}

TEST_P(Utf16Units, HighSurrogateCutOff_IsOneReplacement)
{
    Bytes bytes = bytesOf({0xD800, 0xDC00});
    bytes.pop_back();
    bytes.shrink_to_fit();
    EXPECT_EQ(0xFFFDU, support::read(codec, bytes));
    EXPECT_EQ("1 FFFD {1,2}", support::readForward(codec, bytes));
    EXPECT_EQ("0 FFFD {1,2}", support::readForward(codec, bytes, 2));
    EXPECT_EQ("0 FFFD {1,2}", forward({0xD800}, 2));
}

TEST_P(Utf16Units, OddLastByte_IsNoCharacter)
{
    EXPECT_EQ(0xFFFDU, support::read(codec, {0x41}));
    EXPECT_EQ("0 - {0,0}", support::readForward(codec, {0x41}));
    Bytes bytes = bytesOf({0x41, 0xE9});
    bytes.pop_back();
    bytes.shrink_to_fit();
    EXPECT_EQ(0xFFFDU, support::read(codec, bytes, 2));
    EXPECT_EQ("0 - {1,2}", support::readForward(codec, bytes, 1, {1, 2}));
    EXPECT_EQ("0 41 {1,2}", support::readForward(codec, bytes, 2));
}

TEST_P(Utf16Units, AtAndBehindTheEnd_NothingIsRead)
{
    EXPECT_EQ(0xFFFDU, read({}));
    EXPECT_EQ(0xFFFDU, read({0x41}, 2));
    EXPECT_EQ(0xFFFDU, read({0x41}, 3));
    EXPECT_EQ(0xFFFDU, read({0x41}, 0xFFFFFFFF));
    EXPECT_EQ("0 - {0,0}", forward({}));
    EXPECT_EQ("0 - {1,2}", forward({0x41}, 1, {1, 2}));
    EXPECT_EQ("0 - {1,3}", forward({0x41}, 1, {1, 3}));
    EXPECT_EQ("0 - {1,4294967295}", forward({0x41}, 1, {1, 0xFFFFFFFF}));
}

TEST_P(Utf16Units, LastByteOfTheLargestSize_NothingIsRead)
{
    unsigned int last = 7;
    Codec::Index at{3, 0xFFFFFFFE};
    EXPECT_EQ(0xFFFDU, codec.read(nullptr, 0xFFFFFFFF, at));
    EXPECT_EQ(0U, codec.read_forward(nullptr, 0xFFFFFFFF, at, 1, last));
    EXPECT_EQ("{3,4294967294}", support::positionText(at));
    EXPECT_EQ(7U, last);
}

TEST_P(Utf16Units, NoCharacters_ReadsNothing)
{
    EXPECT_EQ("0 - {0,0}", forward({0x41}, 0));
    EXPECT_EQ("0 - {5,2}", forward({0x41, 0x42}, 0, {5, 2}));
}

TEST_P(Utf16Units, SeveralCharacters_GiveTheLast)
{
    const Units units = {0x61, 0xD800, 0xDF48, 0x20AC, 0x7A};
    EXPECT_EQ("1 10348 {2,6}", forward(units, 2));
    EXPECT_EQ("1 7A {4,10}", forward(units, 4));
    EXPECT_EQ("1 20AC {7,8}", forward(units, 2, {5, 2}));
    EXPECT_EQ("0 7A {4,10}", forward(units, 5));
    EXPECT_EQ("0 7A {9,10}", forward(units, 0xFFFFFFFF, {6, 4})) << "begins inside the pair";
}

TEST_P(Utf16Units, ReadInTheMiddle_TakesThePositionInBytes)
{
    const Units units = {0x61, 0xD800, 0xDF48, 0x7A};
    EXPECT_EQ(0x10348U, read(units, 2));
    EXPECT_EQ(0xFFFDU, read(units, 4));
    EXPECT_EQ(0x7AU, read(units, 6));
}

TEST_P(Utf16Units, UnalignedPosition_IsReadAsBytes)
{
    Bytes bytes = bytesOf({0xD800, 0xDF48});
    bytes.insert(bytes.begin(), 0x41);
    bytes.shrink_to_fit();
    EXPECT_EQ(0x10348U, support::read(codec, bytes, 1));
    EXPECT_EQ("1 10348 {1,5}", support::readForward(codec, bytes, 1, {0, 1}));
}

/// A code point, its bytes by `encoded_bytes`, and what writing it into `room` bytes does.
struct Written
{
    unsigned int c, bytes, room;
    const char* little;
    const char* big;
};

void expectEncoded(const std::vector<Written>& rows)
{
    for (const Written& row : rows) {
        SCOPED_TRACE(support::hexText(row.c));
        EXPECT_EQ(row.bytes, UTF16LE.encoded_bytes(row.c));
        EXPECT_EQ(row.bytes, UTF16BE.encoded_bytes(row.c));
        EXPECT_EQ(row.little, writeForward(UTF16LE, row.room, row.c));
        EXPECT_EQ(row.big, writeForward(UTF16BE, row.room, row.c));
    }
}

TEST(Utf16WriteForward, FirstAndLastValueOfEachLength)
{
    expectEncoded({
        {0, 2, 2, "1 00 00 {1,2}", "1 00 00 {1,2}"},
        {0x20AC, 2, 2, "1 AC 20 {1,2}", "1 20 AC {1,2}"},
        {0xD7FF, 2, 2, "1 FF D7 {1,2}", "1 D7 FF {1,2}"},
        {0xE000, 2, 2, "1 00 E0 {1,2}", "1 E0 00 {1,2}"},
        {0xFFFD, 2, 2, "1 FD FF {1,2}", "1 FF FD {1,2}"},
        {0xFFFF, 2, 2, "1 FF FF {1,2}", "1 FF FF {1,2}"},
        {0x10000, 4, 4, "1 00 D8 00 DC {1,4}", "1 D8 00 DC 00 {1,4}"},
        {0x10348, 4, 4, "1 00 D8 48 DF {1,4}", "1 D8 00 DF 48 {1,4}"},
        {0x1D7FF, 4, 4, "1 35 D8 FF DF {1,4}", "1 D8 35 DF FF {1,4}"},
        {0x1E000, 4, 4, "1 38 D8 00 DC {1,4}", "1 D8 38 DC 00 {1,4}"},
        {0x10FFFF, 4, 4, "1 FF DB FF DF {1,4}", "1 DB FF DF FF {1,4}"},
    });
}

TEST(Utf16WriteForward, WhatCannotBeEncoded_IsReplacedAndGives0)
{
    expectEncoded({
        {0xD800, 2, 2, "0 FD FF {1,2}", "0 FF FD {1,2}"},
        {0xDFFF, 2, 2, "0 FD FF {1,2}", "0 FF FD {1,2}"},
        {0x110000, 2, 2, "0 FD FF {1,2}", "0 FF FD {1,2}"},
        {0x7FFFFFFF, 2, 2, "0 FD FF {1,2}", "0 FF FD {1,2}"},
        {0x80000000, 2, 2, "0 FD FF {1,2}", "0 FF FD {1,2}"},
        {0xFFFFFFFF, 2, 2, "0 FD FF {1,2}", "0 FF FD {1,2}"},
        {0x11D800, 2, 2, "0 FD FF {1,2}", "0 FF FD {1,2}"},
    });
}

TEST(Utf16WriteForward, ValuesWithTheBitsOfSurrogates_CountFourBytesAndTakeTwo)
{
    expectEncoded({
        {0x1D800, 4, 2, "0 FD FF {1,2}", "0 FF FD {1,2}"},
        {0x1DFFF, 4, 4, "0 FD FF EE EE {1,2}", "0 FF FD EE EE {1,2}"},
        {0x2D800, 4, 4, "0 FD FF EE EE {1,2}", "0 FF FD EE EE {1,2}"},
    });
}

TEST(Utf16WriteForward, OneByteTooFew_WritesNothing)
{
    expectEncoded({
        {0x41, 2, 0, "0  {0,0}", "0  {0,0}"},
        {0x41, 2, 1, "0 EE {0,0}", "0 EE {0,0}"},
        {0xD800, 2, 1, "0 EE {0,0}", "0 EE {0,0}"},
        {0x1D800, 4, 1, "0 EE {0,0}", "0 EE {0,0}"},
        {0x110000, 2, 1, "0 EE {0,0}", "0 EE {0,0}"},
        {0x10348, 4, 3, "0 EE EE EE {0,0}", "0 EE EE EE {0,0}"},
    });
}

TEST_P(Utf16Units, WrittenInTheMiddle_TouchesItsBytesAlone)
{
    EXPECT_EQ("1 EE EE EE 20 20 EE {6,5}", writeForward(codec, 6, 0x2020, {5, 3}));
    EXPECT_EQ("0 EE EE EE EE {5,3}", writeForward(codec, 4, 0x2020, {5, 3}));
    EXPECT_EQ("0 EE EE EE EE EE EE {5,3}", writeForward(codec, 6, 0x10348, {5, 3}));
    EXPECT_EQ("0 EE EE EE EE {5,3}", writeForward(codec, 4, 0xD800, {5, 3}));
    EXPECT_EQ(isBig() ? "1 EE EE EE D8 00 DF 48 {6,7}" : "1 EE EE EE 00 D8 48 DF {6,7}",
              writeForward(codec, 7, 0x10348, {5, 3}));
}

TEST_P(Utf16Units, WrittenAtAndBehindTheEnd_WritesNothing)
{
    EXPECT_EQ("0 EE EE {1,2}", writeForward(codec, 2, 0x41, {1, 2}));
    EXPECT_EQ("0 EE EE {1,3}", writeForward(codec, 2, 0xD800, {1, 3}));
    EXPECT_EQ("0 EE EE {1,4294967294}", writeForward(codec, 2, 0x41, {1, 0xFFFFFFFE}));
    EXPECT_EQ("0 EE EE {1,4294967295}", writeForward(codec, 2, 0x10348, {1, 0xFFFFFFFF}));
}

} // namespace

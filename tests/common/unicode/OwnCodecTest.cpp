// SPDX-License-Identifier: Apache-2.0
//
// Conversions through codecs of the caller's own, the ill-behaved ones included.

#include <common/unicode/Codec.h>

#include <cstring>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "support/BlockCounter.h"
#include "support/CodecCalls.h"
#include "support/Latin1Codec.h"

namespace {

using namespace std::unicode;
using std::SharedBuf;
using support::Bytes;
using support::converted;
using support::Latin1Codec;

constexpr unsigned int UNLIMITED = 0xFFFFFFFF;

TEST(OwnCodec, AsSource)
{
    const Latin1Codec latin1;
    const Bytes text = {0x61, 0xE9, 0xFF};
    EXPECT_EQ("61 C3 A9 C3 BF", converted(latin1, UTF8, text));
    EXPECT_EQ("61 00 E9 00 FF 00", converted(latin1, UTF16LE, text));
    EXPECT_EQ("00 61 00 E9 00 FF", converted(latin1, UTF16BE, text));
    EXPECT_EQ("61 00 00 00 E9 00 00 00 FF 00 00 00", converted(latin1, UCS4, text));
    EXPECT_EQ("61 C3 A9", converted(latin1, UTF8, text, 4));
}

TEST(OwnCodec, AsTarget)
{
    const Latin1Codec latin1;
    EXPECT_EQ("61 E9 3F 7A", converted(UTF8, latin1, {0x61, 0xC3, 0xA9, 0xE2, 0x82, 0xAC, 0x7A}));
    EXPECT_EQ("61 3F", converted(UTF16LE, latin1, {0x61, 0, 0xAC, 0x20}));
    EXPECT_EQ("61 3F", converted(UTF16BE, latin1, {0, 0x61, 0xD8, 0x00}));
    EXPECT_EQ("61 E9", converted(UCS4, latin1, {0x61, 0, 0, 0, 0xE9, 0, 0, 0, 0x62}));
    EXPECT_EQ("61 E9", converted(UTF8, latin1, {0x61, 0xC3, 0xA9, 0x62}, 2));
}

TEST(OwnCodec, OnBothSides)
{
    const Latin1Codec from;
    const Latin1Codec into;
    EXPECT_EQ("61 E9 FF", converted(from, into, {0x61, 0xE9, 0xFF}));
    EXPECT_EQ("61 E9", converted(from, from, {0x61, 0xE9, 0xFF}, 2));
    EXPECT_EQ("", converted(from, into, {0x61}, 0));
    EXPECT_EQ("", converted(from, into, {}));
}

TEST(OwnCodec, Calls_AreOneForEachCharacterAndPass)
{
    const Latin1Codec from;
    const Latin1Codec into;
    converted(from, into, {0x61, 0xE9, 0xFF});
    EXPECT_EQ(6U, from.forwardReads());
    EXPECT_EQ(3U, into.sizes());
    EXPECT_EQ(3U, into.writes());
    EXPECT_EQ(0U, from.reads());
    EXPECT_EQ(0U, from.writes());
    EXPECT_EQ(0U, from.sizes());
    EXPECT_EQ(0U, into.forwardReads());
}

TEST(OwnCodec, Calls_EndWithTheCharacterThatDoesNotFit)
{
    const Latin1Codec from;
    const Latin1Codec into;
    EXPECT_EQ("61", converted(from, into, {0x61, 0x62, 0x63, 0x64}, 1));
    EXPECT_EQ(3U, from.forwardReads()) << "two to measure, one to convert";
    EXPECT_EQ(2U, into.sizes());
    EXPECT_EQ(1U, into.writes());
}

/// Four bytes a character, of any value.
class RawCodec : public Latin1Codec
{
public:
    unsigned int read_forward(const unsigned char* data, unsigned int size, Index& at, unsigned int,
                              unsigned int& last) const override
    {
        if (size - at.bytes < 4) return 0;
        std::memcpy(&last, data + at.bytes, 4);
        at.bytes += 4;
        ++at.chars;
        return 1;
    }
};

TEST(OwnCodec, SourceOfSurrogates_EachTargetTreatsThemItsWay)
{
    const RawCodec raw;
    const Bytes text = {0x00, 0xD8, 0, 0, 0x61, 0, 0, 0};
    EXPECT_EQ("EF BF BD 61", converted(raw, UTF8, text));
    EXPECT_EQ("FD FF 61 00", converted(raw, UTF16LE, text));
    EXPECT_EQ("FF FD 00 61", converted(raw, UTF16BE, text));
    EXPECT_EQ("61 00 00 00 00 00 00 00", converted(raw, UCS4, text)) << "left out, the rest zeroed";
}

TEST(OwnCodec, SourceOfValuesWithTheBitsOfSurrogates_PromisedBytesAreZero)
{
    const RawCodec raw;
    const Bytes text = {0x00, 0xD8, 0x01, 0, 0x61, 0, 0, 0};
    EXPECT_EQ("EF BF BD 61", converted(raw, UTF8, text));
    EXPECT_EQ("FD FF 61 00 00 00", converted(raw, UTF16LE, text));
    EXPECT_EQ("FF FD 00 61 00 00", converted(raw, UTF16BE, text));
    EXPECT_EQ("61 00 00 00 00 00 00 00", converted(raw, UCS4, text));
}

/// Announces `promised` bytes for each character, and writes one.
class PromisingCodec : public Latin1Codec
{
public:
    explicit PromisingCodec(unsigned int promised) : m_promised(promised) {}

    unsigned int encoded_bytes(unsigned int) const override { return m_promised; }

private:
    const unsigned int m_promised;
};

TEST(OwnCodec, TargetThatWritesLessThanPromised_LeavesZeros)
{
    const PromisingCodec into(3);
    EXPECT_EQ("61 62 00 00 00 00", converted(UTF8, into, {0x61, 0x62}));
    EXPECT_EQ("61 00 00", converted(UTF8, into, {0x61, 0x62}, 5));
    EXPECT_EQ("61 62 00 00 00 00", converted(Latin1Codec(), into, {0x61, 0x62}));
}

TEST(OwnCodec, TargetThatWritesLessThanPromised_LeavesZerosWhereMemoryHasBeenUsed)
{
    const PromisingCodec into(24);
    const SharedBuf used(24);
    std::memset(used.payload(), 0xEE, 24);
    used.unref();
    EXPECT_EQ("61 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00",
              converted(UTF8, into, {0x61}));
}

TEST(OwnCodec, TargetThatPromisesNothing_WritesNothing)
{
    const PromisingCodec into(0);
    EXPECT_EQ("", converted(UTF8, into, {0x61, 0x62}));
    EXPECT_EQ(2U, into.writes());
    EXPECT_EQ("", converted(UTF8, into, {0x61, 0x62}, 0));
    EXPECT_EQ(4U, into.writes()) << "nothing fits into nothing";
}

TEST(OwnCodec, BlockThatLeaves32Bits_IsNullAndNothingIsWritten)
{
    const PromisingCodec into(0xFFFFFFF8);
    const Bytes text = {0x61, 0x62};
    const SharedBuf one = UTF8.to(into, text.data(), 1, UNLIMITED);
    EXPECT_EQ(nullptr, one.data);
    EXPECT_EQ(0U, one.length());
    const SharedBuf two = UTF8.to(into, text.data(), 2, UNLIMITED);
    EXPECT_EQ(nullptr, two.data);
    EXPECT_EQ(0U, two.size);
    EXPECT_EQ(0U, into.writes());
}

TEST(OwnCodec, SumThatLeaves32Bits_IsNullAndNothingIsWritten)
{
    const PromisingCodec into(0x80000000);
    const Bytes text = {0x61, 0x62};
    const SharedBuf block = UTF8.to(into, text.data(), 2, UNLIMITED);
    EXPECT_EQ(nullptr, block.data);
    EXPECT_EQ(0U, block.length());
    EXPECT_EQ(0U, into.writes());
}

TEST(OwnCodec, SumThatLeaves32Bits_ExceedsEachLimit)
{
    const PromisingCodec into(0xFFFFFFF8);
    EXPECT_EQ("", converted(UTF8, into, {0x61, 0x62}, 0xFFFFFFF7));
    EXPECT_EQ(0U, into.writes());
}

/// Passes `m_limit` characters in all, and then nothing, with a result of 1.
class StuckCodec : public Latin1Codec
{
public:
    explicit StuckCodec(unsigned int limit) : m_limit(limit) {}

    unsigned int read_forward(const unsigned char* data, unsigned int size, Index& at,
                              unsigned int n, unsigned int& last) const override
    {
        if (forwardReads() == m_limit) return 1;
        return Latin1Codec::read_forward(data, size, at, n, last);
    }

private:
    const unsigned int m_limit;
};

TEST(OwnCodec, SourceThatStopsWhileItIsMeasured_EndsThere)
{
    const StuckCodec never(0);
    EXPECT_EQ("", converted(never, UTF8, {0x61, 0x62}));
    const StuckCodec once(1);
    EXPECT_EQ("00", converted(once, UTF8, {0x61, 0x62})) << "measured and not converted";
}

TEST(OwnCodec, SourceThatStopsWhileItIsConverted_LeavesZeros)
{
    const StuckCodec codec(4);
    EXPECT_EQ("61 00 00", converted(codec, UTF8, {0x61, 0x62, 0x63}));
}

/// Passes a byte 0 without counting it.
class SkippingCodec : public Latin1Codec
{
public:
    unsigned int read_forward(const unsigned char* data, unsigned int size, Index& at,
                              unsigned int n, unsigned int& last) const override
    {
        if (at.bytes < size && data[at.bytes] == 0) {
            ++at.bytes;
            return 0;
        }
        return Latin1Codec::read_forward(data, size, at, n, last);
    }
};

TEST(OwnCodec, SourceWithBytesThatAreNoCharacter_TheyAddNothing)
{
    const SkippingCodec codec;
    EXPECT_EQ("61", converted(codec, UTF8, {0x61, 0, 0}));
    EXPECT_EQ("", converted(codec, UTF8, {0, 0}));
    EXPECT_EQ("61 62", converted(codec, UTF8, {0x61, 0, 0, 0x62}));
    EXPECT_EQ("61", converted(codec, UTF8, {0x61, 0, 0}, 1));
}

/// Throws at its `m_last`th call, of reading or of writing, and then holds the block that it was to
/// write into.
class ThrowingCodec : public Latin1Codec
{
public:
    explicit ThrowingCodec(unsigned int last) : m_last(last) {}

    unsigned int read_forward(const unsigned char* data, unsigned int size, Index& at,
                              unsigned int n, unsigned int& last) const override
    {
        count();
        return Latin1Codec::read_forward(data, size, at, n, last);
    }

    unsigned int write_forward(unsigned char* data, unsigned int size, Index& at,
                               unsigned int c) const override
    {
        if (m_block.data == nullptr) hold(data - at.bytes, size);
        count();
        return Latin1Codec::write_forward(data, size, at, c);
    }

    /// The block, of which this has one reference.
    const SharedBuf& block() const { return m_block; }

private:
    void count() const
    {
        if (++m_calls == m_last) throw std::runtime_error("torn");
    }

    void hold(unsigned char* payload, unsigned int size) const
    {
        SharedBuf held;
        held.data = held.base = payload - SharedBuf::HEADER_SIZE;
        held.allocator = &std::Buf::DEFAULT_ALLOCATOR;
        held.size = size + SharedBuf::HEADER_SIZE;
        held.offset = SharedBuf::HEADER_SIZE;
        m_block = held;
    }

    const unsigned int m_last;
    mutable unsigned int m_calls = 0;
    mutable SharedBuf m_block;
};

TEST(OwnCodec, TargetThatThrows_ReleasesTheBlock)
{
    const ThrowingCodec into(2);
    const Bytes text = {0x61, 0x62, 0x63};
    try {
        UTF8.to(into, text.data(), 3, UNLIMITED);
        FAIL() << "nothing was thrown";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ("torn", error.what());
    }
    EXPECT_EQ(1U, support::holders(into.block())) << "of the codec alone";
    EXPECT_EQ('a', *into.block().payload());
    into.block().unref();
}

TEST(OwnCodec, TargetThatThrowsLater_TheBlockHasItsHolder)
{
    const ThrowingCodec into(4);
    const Bytes text = {0x61, 0x62, 0x63};
    const SharedBuf block = UTF8.to(into, text.data(), 3, UNLIMITED);
    EXPECT_EQ(2U, support::holders(block));
    into.block().unref();
    EXPECT_EQ("61 62 63", support::bytesText(block.payload(), block.length()));
    block.unref();
}

TEST(OwnCodec, SourceThatThrows_WhileMeasuredOrConverted)
{
    const Bytes text = {0x61, 0x62, 0x63};
    const Latin1Codec into;
    const ThrowingCodec measured(2);
    EXPECT_THROW(measured.to(into, text.data(), 3, UNLIMITED), std::runtime_error);
    EXPECT_EQ(0U, into.writes());
    const ThrowingCodec converted(5);
    EXPECT_THROW(converted.to(into, text.data(), 3, UNLIMITED), std::runtime_error);
    EXPECT_EQ(1U, into.writes());
}

TEST(OwnCodec, SourceThatThrowsWhileConverted_ReleasesTheBlock)
{
    const Bytes text = {0x61, 0x62, 0x63};
    const ThrowingCodec from(5);
    const ThrowingCodec into(99);
    EXPECT_THROW(from.to(into, text.data(), 3, UNLIMITED), std::runtime_error);
    ASSERT_NE(nullptr, into.block().data);
    EXPECT_EQ(1U, support::holders(into.block()));
    into.block().unref();
}

} // namespace

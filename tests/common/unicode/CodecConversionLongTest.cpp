// SPDX-License-Identifier: Apache-2.0
//
// Conversion of long texts, most of which is done many characters at a time, against the slow
// model, which does it one by one.

#include <common/unicode/Codec.h>

#include <string>

#include <gtest/gtest.h>
#include <support/LibraryText.h>
#include <support/LongText.h>

namespace {

using support::append;
using support::ASCII;
using support::codecOf;
using support::ENCODINGS;
using support::ExactBytes;
using support::Filler;
using support::FILLERS;
using support::LongText;
namespace slow = support::slow;

slow::Bytes convertedByLibrary(slow::Encoding from, slow::Encoding to, const slow::Bytes& data,
                               unsigned int most)
{
    const ExactBytes exact(data);
    const support::HeldBlock block(codecOf(from).to(codecOf(to), exact.data(), exact.size(), most));
    return block.bytes();
}

/// Texts that differ are printed; those that are the same would take their time.
void expectSame(slow::Encoding from, slow::Encoding to, const slow::Bytes& data,
                unsigned int most = slow::UNLIMITED)
{
    const slow::Bytes expected = slow::convert(from, to, data, most);
    const slow::Bytes result = convertedByLibrary(from, to, data, most);
    ASSERT_TRUE(expected == result)
        << "from " << from << " to " << to << " within " << most << ":\n"
        << support::textText(from, data, 0) << "\n"
        << support::bytesText(expected) << "\n"
        << support::bytesText(result);
}

TEST(CodecConversionLong, OfEverySize)
{
    LongText random(1);
    for (const slow::Encoding from : ENCODINGS)
        for (const Filler filler : FILLERS)
            for (unsigned int size = 0; size <= 150; ++size) {
                const slow::Bytes data = random.run(from, filler, size);
                for (const slow::Encoding to : ENCODINGS)
                    ASSERT_NO_FATAL_FAILURE(expectSame(from, to, data));
            }
}

TEST(CodecConversionLong, SomethingOddAtEveryPlace)
{
    LongText random(2);
    for (const slow::Encoding from : ENCODINGS)
        for (const Filler filler : FILLERS)
            for (unsigned int before = 0; before <= 150; ++before) {
                slow::Bytes data = random.run(from, filler, before);
                append(data, random.odd(from));
                append(data, random.run(from, filler, random.below(60)));
                ASSERT_NO_FATAL_FAILURE(expectSame(from, random.encoding(), data));
                ASSERT_NO_FATAL_FAILURE(expectSame(from, slow::UTF8, data));
            }
}

TEST(CodecConversionLong, AnotherKindAtEveryPlace)
{
    LongText random(3);
    for (const slow::Encoding from : ENCODINGS)
        for (const Filler filler : FILLERS)
            for (unsigned int before = 0; before <= 80; ++before) {
                slow::Bytes data = random.run(from, filler, before);
                append(data, random.run(from, random.filler(), 1 + random.below(2)));
                append(data, random.run(from, filler, 40));
                for (const slow::Encoding to : ENCODINGS)
                    ASSERT_NO_FATAL_FAILURE(expectSame(from, to, data));
            }
}

TEST(CodecConversionLong, Mixed)
{
    LongText random(4);
    for (int i = 0; i < 200; ++i) {
        const slow::Encoding from = random.encoding();
        const slow::Bytes data = random.mixed(from, 2000);
        for (const slow::Encoding to : ENCODINGS)
            ASSERT_NO_FATAL_FAILURE(expectSame(from, to, data));
    }
}

TEST(CodecConversionLong, ManyOddOnes)
{
    LongText random(5);
    for (int i = 0; i < 600; ++i) {
        const slow::Encoding from = random.encoding();
        const slow::Bytes data = random.mixed(from, 300, 1 + random.below(12));
        ASSERT_NO_FATAL_FAILURE(expectSame(from, random.encoding(), data));
        ASSERT_NO_FATAL_FAILURE(expectSame(from, slow::UTF8, data));
    }
}

TEST(CodecConversionLong, AnotherByteAnywhere)
{
    LongText random(11);
    for (const Filler filler : FILLERS) {
        const slow::Bytes good = random.run(slow::UTF8, filler, 60);
        for (std::size_t place = 0; place < good.size(); ++place)
            for (const int other : {0x41, 0x80, 0xC3, 0xE2, 0xED, 0xF0, 0xFF}) {
                slow::Bytes data = good;
                data[place] = static_cast<unsigned char>(other);
                ASSERT_NO_FATAL_FAILURE(expectSame(slow::UTF8, slow::UTF16LE, data));
                ASSERT_NO_FATAL_FAILURE(expectSame(slow::UTF8, slow::UCS4, data));
            }
    }
}

TEST(CodecConversionLong, OfOneByte)
{
    for (unsigned int byte = 0x7F; byte <= 0xFF; ++byte)
        for (const unsigned int size : {16u, 64u, 65u, 301u}) {
            slow::Bytes data(size, static_cast<unsigned char>(byte));
            append(data, slow::Bytes(20, 'a'));
            ASSERT_NO_FATAL_FAILURE(expectSame(slow::UTF8, slow::UTF8, data));
            ASSERT_NO_FATAL_FAILURE(expectSame(slow::UTF8, slow::UTF16LE, data));
            ASSERT_NO_FATAL_FAILURE(expectSame(slow::UTF8, slow::UCS4, data));
        }
}

TEST(CodecConversionLong, Limited_Mixed)
{
    LongText random(6);
    for (int i = 0; i < 800; ++i) {
        const slow::Encoding from = random.encoding();
        const slow::Encoding to = random.encoding();
        const slow::Bytes data = random.mixed(from, 600);
        const auto size = static_cast<unsigned int>(data.size());
        ASSERT_NO_FATAL_FAILURE(expectSame(from, to, data, random.below(size + 10)));
        ASSERT_NO_FATAL_FAILURE(expectSame(from, to, data, size - random.below(8)));
    }
}

TEST(CodecConversionLong, Limited_EveryLimit)
{
    LongText random(7);
    for (const slow::Encoding from : ENCODINGS)
        for (const Filler filler : FILLERS) {
            const slow::Bytes data = random.run(from, filler, 120);
            const slow::Encoding to = random.encoding();
            for (unsigned int most = 0; most <= 200; ++most) {
                ASSERT_NO_FATAL_FAILURE(expectSame(from, to, data, most));
                ASSERT_NO_FATAL_FAILURE(expectSame(from, slow::UTF8, data, most));
            }
        }
}

// What has no room any more must not make way for what is shorter.
TEST(CodecConversionLong, Limited_AnotherKindBehind)
{
    LongText random(14);
    for (const slow::Encoding from : ENCODINGS)
        for (const Filler filler : FILLERS) {
            slow::Bytes data = random.run(from, filler, 40);
            append(data, random.run(from, ASCII, 60));
            for (unsigned int most = 0; most <= 200; ++most)
                ASSERT_NO_FATAL_FAILURE(expectSame(from, slow::UTF8, data, most));
        }
}

/// U+1D800 counts more bytes in UTF-16 than its replacement takes; what is a surrogate has bytes in
/// UCS-4 and is left out.
slow::Bytes replacedOne(slow::Encoding encoding)
{
    if (encoding == slow::UTF8) return {0xF0, 0x9D, 0xA0, 0x80};
    return encoding == slow::UTF16LE   ? slow::Bytes{0x36, 0xD8, 0x00, 0xDC}
           : encoding == slow::UTF16BE ? slow::Bytes{0xD8, 0x36, 0xDC, 0x00}
                                       : slow::Bytes{0x00, 0xD8, 0x01, 0x00};
}

// The room that is promised and not used is 0, and takes none of the characters behind the limit.
TEST(CodecConversionLong, Limited_MoreIsPromisedThanWritten)
{
    LongText random(8);
    for (const slow::Encoding from : ENCODINGS)
        for (const Filler filler : FILLERS)
            for (unsigned int most = 0; most <= 180; most += 1 + random.below(3)) {
                slow::Bytes data = replacedOne(from);
                if (most % 2 != 0) append(data, replacedOne(from));
                append(data, random.run(from, filler, 120));
                for (const slow::Encoding to : ENCODINGS)
                    ASSERT_NO_FATAL_FAILURE(expectSame(from, to, data, most));
            }
}

TEST(CodecConversionLong, OfHugeValues)
{
    LongText random(9);
    for (int i = 0; i < 200; ++i) {
        slow::Bytes data = random.run(slow::UCS4, random.filler(), random.below(100));
        const unsigned int value = random.value();
        for (unsigned int shift = 0; shift < 32; shift += 8)
            data.push_back(static_cast<unsigned char>(value >> shift));
        append(data, random.run(slow::UCS4, ASCII, random.below(100)));
        for (const slow::Encoding to : ENCODINGS)
            ASSERT_NO_FATAL_FAILURE(expectSame(slow::UCS4, to, data));
    }
}

TEST(CodecConversionLong, OfEveryUnit_InABlock)
{
    LongText random(10);
    for (unsigned int unit = 0; unit <= 0xFFFF; unit += 0x3F) {
        slow::Bytes data = random.run(slow::UTF16LE, random.filler(), 20);
        data.push_back(static_cast<unsigned char>(unit));
        data.push_back(static_cast<unsigned char>(unit >> 8));
        append(data, random.run(slow::UTF16LE, random.filler(), 50));
        ASSERT_NO_FATAL_FAILURE(expectSame(slow::UTF16LE, slow::UTF8, data));
    }
}

slow::Bytes betweenPairs(LongText& random, unsigned int first, unsigned int second)
{
    slow::Bytes data = random.run(slow::UTF16LE, support::EMOJI, 12);
    for (const unsigned int unit : {first, second}) {
        data.push_back(static_cast<unsigned char>(unit));
        data.push_back(static_cast<unsigned char>(unit >> 8));
    }
    append(data, random.run(slow::UTF16LE, support::EMOJI, 40));
    return data;
}

TEST(CodecConversionLong, OfEveryPair_BetweenPairs)
{
    LongText random(12);
    for (unsigned int high = 0xD800; high <= 0xDBFF; high += 3)
        for (const unsigned int low : {0xDC00u, 0xDFFFu})
            ASSERT_NO_FATAL_FAILURE(
                expectSame(slow::UTF16LE, slow::UTF8, betweenPairs(random, high, low)));
}

TEST(CodecConversionLong, OfOtherUnits_BetweenPairs)
{
    LongText random(13);
    const unsigned int units[] = {0x61,   0xE4,   0x20AC, 0xD7FF, 0xD800,
                                  0xDBFF, 0xDC00, 0xDFFF, 0xE000};
    for (const unsigned int first : units)
        for (const unsigned int second : units)
            ASSERT_NO_FATAL_FAILURE(
                expectSame(slow::UTF16LE, slow::UTF8, betweenPairs(random, first, second)));
}

} // namespace

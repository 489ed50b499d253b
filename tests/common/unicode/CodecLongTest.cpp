// SPDX-License-Identifier: Apache-2.0
//
// Counting and places in long texts, most of which are passed many characters at a time, against
// the slow model, which goes one by one.

#include <common/unicode/String.h>

#include <string>

#include <gtest/gtest.h>
#include <support/LongText.h>
#include <support/TextPair.h>

namespace {

using std::unicode::Codec;
using std::unicode::UTF8;
using support::append;
using support::codecOf;
using support::converted;
using support::ENCODINGS;
using support::ExactBytes;
using support::Filler;
using support::FILLERS;
using support::hexText;
using support::LongText;
using support::part;
using support::shown;
using support::TextPair;
namespace slow = support::slow;

/// What stands where nothing was stored.
constexpr unsigned int UNTOUCHED = 0xDEAD0001;

/// Around the number of characters that are decoded before many are passed at once again.
constexpr unsigned int NUMBERS[] = {0, 1, 2, 62, 63, 64, 65, 66, 67, 127, 128, 129, 130, 200, 300};

std::string forwardOf(slow::Encoding encoding, const slow::Bytes& data, slow::Place at,
                      unsigned int n)
{
    unsigned int last = UNTOUCHED;
    const unsigned int result = slow::readForward(encoding, data, at, n, last);
    return std::to_string(result) + " " + shown(at) + " " + hexText(last);
}

std::string forwardOfLibrary(slow::Encoding encoding, const slow::Bytes& data, slow::Place from,
                             unsigned int n)
{
    const ExactBytes exact(data);
    unsigned int last = UNTOUCHED;
    Codec::Index at{from.chars, from.bytes};
    const unsigned int result =
        codecOf(encoding).read_forward(exact.data(), exact.size(), at, n, last);
    return std::to_string(result) + " " + shown(at) + " " + hexText(last);
}

void expectSameMove(slow::Encoding encoding, const slow::Bytes& data, slow::Place at,
                    unsigned int n)
{
    ASSERT_EQ(forwardOf(encoding, data, at, n), forwardOfLibrary(encoding, data, at, n))
        << support::textText(encoding, data, 0) << " at " << shown(at) << " over " << n;
}

void expectSameCount(slow::Encoding encoding, const slow::Bytes& data)
{
    const unsigned int expected = slow::count(encoding, data);
    ASSERT_EQ(expected, support::stringOf(encoding, data).size())
        << support::textText(encoding, data, 0);
}

TEST(CodecLong, Counts_SomethingOddAtEveryPlace)
{
    LongText random(1);
    for (const Filler filler : FILLERS)
        for (unsigned int before = 0; before <= 300; ++before) {
            slow::Bytes data = random.run(slow::UTF8, filler, before);
            append(data, random.odd(slow::UTF8));
            append(data, random.run(slow::UTF8, filler, random.below(300)));
            ASSERT_NO_FATAL_FAILURE(expectSameCount(slow::UTF8, data));
        }
}

// What follows a lead belongs to it, also where it is the beginning of much ASCII.
TEST(CodecLong, Counts_CutCharacterBeforeAscii)
{
    for (const slow::Bytes& cut : {slow::Bytes{0xC3}, {0xE2}, {0xE2, 0x82}, {0xF0, 0x9F, 0x98}})
        for (unsigned int before = 0; before <= 300; ++before) {
            slow::Bytes data(before, before % 2 == 0 ? 'a' : 0xC3);
            append(data, cut);
            append(data, slow::Bytes(400, 'b'));
            ASSERT_NO_FATAL_FAILURE(expectSameCount(slow::UTF8, data));
        }
}

TEST(CodecLong, Counts_RunsOfOneByte)
{
    for (unsigned int byte = 0x7F; byte <= 0xFF; ++byte)
        for (const unsigned int size : {1u, 15u, 16u, 63u, 64u, 65u, 200u, 301u}) {
            slow::Bytes data(size, static_cast<unsigned char>(byte));
            data.push_back('a');
            ASSERT_NO_FATAL_FAILURE(expectSameCount(slow::UTF8, data));
        }
}

TEST(CodecLong, Counts_Mixed)
{
    LongText random(2);
    for (int i = 0; i < 600; ++i) {
        const slow::Encoding encoding = ENCODINGS[i % 8 < 5 ? 0 : i % 8 - 4];
        const slow::Bytes data = random.mixed(encoding, 2000, i % 3 == 0 ? 10 : 300);
        ASSERT_NO_FATAL_FAILURE(expectSameCount(encoding, data));
    }
}

TEST(CodecLong, MovesOverMany)
{
    LongText random(3);
    for (int i = 0; i < 100; ++i) {
        const slow::Encoding encoding = ENCODINGS[i % 8 < 5 ? 0 : i % 8 - 4];
        const slow::Bytes data = random.mixed(encoding, 400);
        const unsigned int count = slow::count(encoding, data);
        for (const unsigned int n : NUMBERS)
            ASSERT_NO_FATAL_FAILURE(expectSameMove(encoding, data, {3, 0}, n));
        for (unsigned int n = count - (count > 3 ? 3 : count); n <= count + 3; ++n)
            ASSERT_NO_FATAL_FAILURE(expectSameMove(encoding, data, {}, n));
        ASSERT_NO_FATAL_FAILURE(expectSameMove(encoding, data, {}, 0xFFFFFFFF));
    }
}

TEST(CodecLong, MovesOverMany_EveryNumber)
{
    LongText random(4);
    for (const Filler filler : FILLERS) {
        slow::Bytes data = random.run(slow::UTF8, filler, 100 + random.below(60));
        append(data, random.odd(slow::UTF8));
        append(data, random.run(slow::UTF8, filler, 100));
        for (unsigned int n = 0; n <= 300; ++n)
            ASSERT_NO_FATAL_FAILURE(expectSameMove(slow::UTF8, data, {}, n));
    }
}

TEST(CodecLong, MovesOverMany_FromEveryByte)
{
    LongText random(5);
    slow::Bytes data = random.mixed(slow::UTF8, 300);
    append(data, random.run(slow::UTF8, support::EAST, 100));
    for (unsigned int place = 0; place <= data.size() + 2; ++place)
        ASSERT_NO_FATAL_FAILURE(expectSameMove(slow::UTF8, data, {1, place}, 80));
}

// The place of a longer text, or one that has wrapped.
TEST(CodecLong, MovesNowhere_FarBehindTheEnd)
{
    const slow::Bytes data(1000, 'a');
    for (const unsigned int place :
         {1001u, 2000u, 0xFFFFFF00u, 0xFFFFFFC0u, 0xFFFFFFF0u, 0xFFFFFFFFu})
        EXPECT_EQ("0 " + shown(slow::Place{1, place}) + " dead0001",
                  forwardOfLibrary(slow::UTF8, data, {1, place}, 100));
}

TEST(CodecLong, LastIsTheSurrogateItself_WhereTheDataEnd)
{
    slow::Bytes data(200, 'a');
    append(data, {0xED, 0xA0, 0x80});
    EXPECT_EQ("0 " + shown(slow::Place{201, 203}) + " d800",
              forwardOfLibrary(slow::UTF8, data, {}, 1000));
    EXPECT_EQ("1 " + shown(slow::Place{201, 203}) + " fffd",
              forwardOfLibrary(slow::UTF8, data, {}, 201));
}

TEST(CodecLong, FindsCharactersAtTheSamePlaces)
{
    LongText random(6);
    for (int i = 0; i < 60; ++i) {
        const slow::Bytes data = random.mixed(slow::UTF8, 500);
        const ExactBytes exact(data);
        for (unsigned int n = 0; n < 500; n += 1 + random.below(30))
            ASSERT_EQ(shown(slow::placeOf(slow::UTF8, data, n)),
                      shown(UTF8.at(exact.data(), exact.size(), n)))
                << support::textText(slow::UTF8, data, 0) << " number " << n;
    }
}

TEST(CodecLong, Indexes)
{
    LongText random(7);
    for (int i = 0; i < 60; ++i) {
        const slow::Encoding encoding = random.encoding();
        const TextPair text(encoding, random.mixed(encoding, 500));
        for (unsigned int n = 0; n < text.model.count; n += 1 + random.below(30))
            ASSERT_EQ(hexText(at(text.model, n)), hexText(text.text.at(n)))
                << shown(text.model) << " number " << n;
    }
}

TEST(CodecLong, CutsByNumbers)
{
    LongText random(8);
    for (int i = 0; i < 300; ++i) {
        const slow::Encoding encoding = random.encoding();
        TextPair text(encoding, random.mixed(encoding, 400));
        if (i % 4 == 0) text = text + TextPair(encoding, random.mixed(encoding, 100));
        const int from = static_cast<int>(random.below(900)) - 450;
        const int to = static_cast<int>(random.below(900)) - 450;
        const TextPair cut = part(text, from, to);
        ASSERT_EQ(shown(cut.model), shown(cut.text))
            << shown(text.model) << " from " << from << " to " << to;
        ASSERT_EQ(count(cut.model.encoding, cut.model.bytes()), cut.text.count());
    }
}

} // namespace

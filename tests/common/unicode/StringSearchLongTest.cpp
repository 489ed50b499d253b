// SPDX-License-Identifier: Apache-2.0
//
// Searches in long texts, which go by bytes where that is possible, against the slow model, which
// goes character by character.

#include <common/unicode/String.h>

#include <gtest/gtest.h>
#include <support/LongText.h>
#include <support/TextPair.h>

namespace {

using std::unicode::String;
using support::append;
using support::ASCII;
using support::converted;
using support::ENCODINGS;
using support::Filler;
using support::FILLERS;
using support::LongText;
using support::part;
using support::PlacePair;
using support::shown;
using support::TextPair;
namespace slow = support::slow;

void expectSame(const TextPair& text, const TextPair& needle, const PlacePair& at)
{
    ASSERT_EQ(shown(find(text.model, needle.model, at.model)),
              shown(text.text.find(needle.text, at.place)))
        << "find " << shown(needle.model) << " in " << shown(text.model) << " at "
        << shown(at.model);
    if (at.place.string != &text.text) return;
    ASSERT_EQ(shown(rfind(text.model, needle.model, at.model)),
              shown(text.text.rfind(needle.text, at.place)))
        << "rfind " << shown(needle.model) << " in " << shown(text.model) << " at "
        << shown(at.model);
}

/// Also the positions at the end, and just before that.
void expectSameEverywhere(const TextPair& text, const TextPair& needle, LongText& random)
{
    const unsigned int count = text.model.count;
    for (const unsigned int steps : {0u, count / 2, random.below(count + 1), count - 1, count})
        ASSERT_NO_FATAL_FAILURE(expectSame(text, needle, PlacePair(text, steps)));
}

TEST(StringSearchLong, NeedleAtEveryPlace)
{
    LongText random(1);
    for (const Filler filler : FILLERS)
        for (unsigned int before = 0; before <= 150; ++before) {
            const slow::Encoding encoding = before % 3 == 0 ? random.encoding() : slow::UTF8;
            const slow::Bytes needle = random.run(encoding, random.filler(), 1 + random.below(40));
            slow::Bytes data = random.run(encoding, filler, before);
            append(data, needle);
            append(data, random.run(encoding, filler, random.below(40)));
            const TextPair text(encoding, data);
            const TextPair wanted = converted({encoding, needle}, random.encoding());
            ASSERT_NO_FATAL_FAILURE(expectSame(text, wanted, PlacePair(text)));
        }
}

TEST(StringSearchLong, NeedleInEveryEncoding)
{
    LongText random(2);
    for (const slow::Encoding encoding : ENCODINGS)
        for (const slow::Encoding other : ENCODINGS)
            for (int i = 0; i < 10; ++i) {
                const TextPair text(encoding, random.mixed(encoding, 200, 50));
                const int from = static_cast<int>(random.below(text.model.count + 1));
                const TextPair needle = part(text, from, from + 1 + i * 4);
                ASSERT_NO_FATAL_FAILURE(
                    expectSameEverywhere(text, converted(needle, other), random));
            }
}

TEST(StringSearchLong, NeedleWithSomethingOdd)
{
    LongText random(3);
    for (int i = 0; i < 150; ++i) {
        const TextPair text(slow::UTF8, random.mixed(slow::UTF8, 300, 60));
        const slow::Encoding encoding = random.encoding();
        slow::Bytes data = random.run(encoding, ASCII, random.below(2));
        append(data, random.odd(encoding));
        ASSERT_NO_FATAL_FAILURE(
            expectSame(text, {encoding, data}, PlacePair(text, random.below(20))));
    }
}

// The needle's bytes are there, but an equal text of other bytes is before them.
TEST(StringSearchLong, OtherFormBeforeTheBytes)
{
    struct Form
    {
        slow::Bytes needle;
        slow::Bytes other;
    };
    const Form forms[] = {{{'a'}, {0xC1, 0xA1}},
                          {{0xEF, 0xBF, 0xBD}, {0xFF}},
                          {{0xEF, 0xBF, 0xBD}, {0xED, 0xA0, 0x80}},
                          {{0xEF, 0xBF, 0xBD}, {0xF0, 0x9D, 0xA0, 0x80}},
                          {{0xC3, 0xA4}, {0xE0, 0x83, 0xA4}},
                          {{0xE2, 0x82, 0xAC}, {0xF0, 0x82, 0x82, 0xAC}}};
    for (const Form& form : forms)
        for (unsigned int before = 0; before <= 150; before += before < 80 ? 1 : 7) {
            slow::Bytes data(before, 'x');
            append(data, form.other);
            append(data, slow::Bytes(before % 7, 'y'));
            append(data, form.needle);
            append(data, slow::Bytes(70, 'z'));
            const TextPair text(slow::UTF8, data);
            ASSERT_NO_FATAL_FAILURE(expectSame(text, {slow::UTF8, form.needle}, PlacePair(text)));
            ASSERT_EQ(before,
                      text.text.find({support::stringOf(slow::UTF8, form.needle)}).position.chars);
        }
}

// What stands for malformed bytes is found at each of them.
TEST(StringSearchLong, Replacement_InARunOfOneByte)
{
    for (unsigned int byte = 0x7F; byte <= 0xFF; ++byte) {
        slow::Bytes data(300, static_cast<unsigned char>(byte));
        append(data, {'a', 'b', 0xEF, 0xBF, 0xBD, 'c'});
        const TextPair text(slow::UTF8, data);
        const TextPair needle(slow::UTF8, {0xEF, 0xBF, 0xBD});
        ASSERT_NO_FATAL_FAILURE(expectSame(text, needle, PlacePair(text)));
    }
}

TEST(StringSearchLong, NeedleLongerThanItsRoom)
{
    LongText random(4);
    for (const slow::Encoding encoding : ENCODINGS)
        for (unsigned int size = 80; size <= 270; size += size < 250 ? 5 : 1) {
            const slow::Bytes needle =
                random.run(encoding, size % 2 == 0 ? ASCII : support::EAST, size);
            const TextPair wanted(encoding, needle);
            const TextPair text = TextPair(slow::UTF8, slow::Bytes(10, 'a')) + wanted;
            ASSERT_EQ(10u, text.text.find(wanted.text).position.chars) << shown(wanted.model);
            ASSERT_EQ(text.text.end(), text.text.find((wanted + wanted).text));
        }
}

TEST(StringSearchLong, FromAPositionOfAnotherText)
{
    LongText random(5);
    for (int i = 0; i < 100; ++i) {
        const TextPair text(slow::UTF8, random.mixed(slow::UTF8, 200, 40));
        const TextPair other(slow::UTF8, random.mixed(slow::UTF8, 300, 40));
        const TextPair needle = part(text, 20 + i, 21 + i);
        const PlacePair at(other, random.below(other.model.count + 2));
        ASSERT_NO_FATAL_FAILURE(expectSame(text, needle, at));
    }
}

/// Texts whose size is not what can be decoded: the parts decode together.
TextPair sum(LongText& random, slow::Encoding encoding)
{
    slow::Bytes left = random.run(encoding, random.filler(), random.below(80));
    slow::Bytes right = random.run(encoding, random.filler(), random.below(80));
    if (encoding == slow::UTF8) {
        append(left, {0xF0, 0x9F});
        right.insert(right.begin(), {0x98, 0x80});
    } else {
        append(left, {0x3D, 0xD8, 0x00});
        right.insert(right.begin(), {0xDE});
    }
    return TextPair(encoding, left) + TextPair(encoding, right);
}

TEST(StringSearchLong, SizeIsNotWhatDecodes)
{
    LongText random(6);
    for (int i = 0; i < 150; ++i) {
        const TextPair text = sum(random, i % 3 == 0 ? slow::UTF16LE : slow::UTF8);
        const TextPair same(text.model.encoding, text.model.bytes());
        const int from = static_cast<int>(random.below(text.model.count + 1));
        for (const TextPair& needle :
             {part(text, from, from + 3), part(same, -2, 1000), text, same}) {
            ASSERT_NO_FATAL_FAILURE(expectSameEverywhere(text, needle, random));
            ASSERT_NO_FATAL_FAILURE(expectSameEverywhere(same, needle, random));
        }
    }
}

// The end of a sum lies before what decodes; what is behind is not found.
TEST(StringSearchLong, BehindTheLastCharacter)
{
    // A high surrogate takes the unit behind along in the left part; both halves count there.
    const String text = String::fromUtf8(std::string(100, 'a') + "\xC3") + String::fromUtf8("bcd");
    ASSERT_EQ(104u, text.size());
    EXPECT_EQ(101u, text.find(String("c")).position.chars);
    EXPECT_EQ(text.end(), text.find(String("b")));
}

TEST(StringSearchLong, NeedleWhoseSizeIsNotWhatDecodes)
{
    LongText random(8);
    for (int i = 0; i < 30; ++i) {
        const TextPair needle = sum(random, slow::UTF16LE);
        const TextPair text =
            TextPair(slow::UTF8, slow::Bytes(20, 'a')) + converted(needle, slow::UTF8);
        ASSERT_NO_FATAL_FAILURE(expectSame(text, needle, PlacePair(text)));
        ASSERT_EQ(20u, text.text.find(needle.text).position.chars);
    }
}

// The bytes of a view may be more than its characters.
TEST(StringSearchLong, HitBehindTheSize)
{
    const String text(std::string(100, 'x') + "yz");
    const String part = text.substr(text.begin(), {&text, {50, text.byteLength()}});
    ASSERT_EQ(50u, part.size());
    ASSERT_EQ(102u, part.byteLength());
    EXPECT_EQ(part.end(), part.find(String("yz")));
    EXPECT_EQ(part.end(), part.rfind(String("y")));
    EXPECT_EQ(49u, part.rfind(String("x")).position.chars);
}

// A position may be older than its text.
TEST(StringSearchLong, FromBehindTheEnd)
{
    const String text(std::string(100, 'x'));
    for (const unsigned int place : {101u, 1000u, 0xFFFFFFC0u, 0xFFFFFFFFu}) {
        EXPECT_EQ(text.end().position.bytes,
                  text.find(String("x"), {&text, {place, place}}).position.bytes);
        EXPECT_EQ(text.end().position.bytes,
                  text.find(String("x"), {&text, {0, place}}).position.bytes);
    }
}

// A text may have characters, by its size, and no bytes: as a needle it is empty.
TEST(StringSearchLong, NeedleWithoutBytes)
{
    const String halves = String::fromUtf8("\xE2\x82") + String::fromUtf8("\xAC");
    String::Iterator behind = halves.begin();
    ++behind;
    const String needle = halves.substr(behind, halves.end());
    ASSERT_EQ(1u, needle.size());
    ASSERT_EQ(0u, needle.byteLength());
    const String text(std::string(100, 'a'));
    EXPECT_EQ(0u, text.find(needle).position.chars);
    EXPECT_EQ(99u, text.rfind(needle).position.chars);
    EXPECT_EQ(99u, String(std::unicode::UTF16LE, text).rfind(needle).position.chars);
}

TEST(StringSearchLong, EveryHit)
{
    LongText random(7);
    for (int i = 0; i < 40; ++i) {
        slow::Bytes data;
        for (int n = 0; n < 40; ++n) {
            append(data, slow::Bytes(random.below(30), 'x'));
            append(data, {';', ';'});
            if (random.below(9) == 0) append(data, random.odd(slow::UTF8));
        }
        const TextPair text(slow::UTF8, data);
        const TextPair needle(random.encoding(), {});
        ASSERT_NO_FATAL_FAILURE(expectSameEverywhere(text, {slow::UTF8, {';'}}, random));
        ASSERT_NO_FATAL_FAILURE(
            expectSameEverywhere(text, {slow::UTF16BE, {0, ';', 0, ';'}}, random));
        ASSERT_NO_FATAL_FAILURE(expectSameEverywhere(text, needle, random));
    }
}

// The parts that are searched at once grow; what is sought may be in two of them.
TEST(StringSearchLong, NeedleWherePartsMeet)
{
    for (const char* const filler : {"x", "\u00FC", "\u20AC", "\U0001F600"}) {
        const unsigned int bytes = String(filler).byteLength();
        for (const unsigned int size : {1u, 2u, 30u, 300u}) {
            const String needle = String("y") * (size - 1) + String("z");
            for (unsigned int edge : {256u, 1276u, 1280u, 5372u, 5376u})
                for (unsigned int place = edge / bytes - 6; place < edge / bytes + 6; ++place) {
                    const String text = String(filler) * place + needle + String(filler) * 300;
                    const String::Iterator hit = text.find(needle);
                    ASSERT_EQ(place, hit.position.chars) << filler << size;
                    ASSERT_EQ(place * bytes, hit.position.bytes) << filler << size;
                    ASSERT_TRUE(text.find(needle + String("z")).atEnd()) << filler << size;
                }
        }
    }
}

} // namespace

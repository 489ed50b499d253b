// SPDX-License-Identifier: Apache-2.0
//
// Comparison of long texts, in which equal characters are passed many at a time, against the slow
// model, which goes one by one.

#include <common/unicode/String.h>

#include <gtest/gtest.h>
#include <support/LongText.h>
#include <support/TextPair.h>

namespace {

using std::unicode::String;
using support::append;
using support::converted;
using support::ENCODINGS;
using support::Filler;
using support::FILLERS;
using support::LongText;
using support::part;
using support::shown;
using support::TextPair;
namespace slow = support::slow;

void expectSame(const TextPair& a, const TextPair& b)
{
    ASSERT_EQ(isEqual(a.model, b.model), a.text == b.text)
        << shown(a.model) << " and " << shown(b.model);
    ASSERT_EQ(isLess(a.model, b.model), a.text < b.text)
        << shown(a.model) << " and " << shown(b.model);
    ASSERT_EQ(isGreater(a.model, b.model), a.text > b.text)
        << shown(a.model) << " and " << shown(b.model);
    ASSERT_TRUE(a.text != b.text || a.text.hash() == b.text.hash())
        << shown(a.model) << " and " << shown(b.model);
}

TEST(StringComparisonLong, EqualInAllEncodings_OfEverySize)
{
    LongText random(1);
    for (const Filler filler : FILLERS)
        for (unsigned int size = 0; size <= 40; ++size) {
            const TextPair text(slow::UTF8, random.run(slow::UTF8, filler, size));
            for (const slow::Encoding left : ENCODINGS)
                for (const slow::Encoding right : ENCODINGS)
                    ASSERT_TRUE(converted(text, left).text == converted(text, right).text)
                        << shown(text.model);
        }
}

TEST(StringComparisonLong, DifferenceAtEveryPlace)
{
    LongText random(2);
    for (unsigned int place = 0; place <= 90; ++place)
        for (const slow::Encoding left : ENCODINGS)
            for (const slow::Encoding right : ENCODINGS) {
                slow::Bytes data = random.run(slow::UTF8, support::ASCII, place);
                slow::Bytes other = data;
                append(data, random.run(slow::UTF8, random.filler(), 1));
                append(other, random.run(slow::UTF8, random.filler(), 1));
                const slow::Bytes rest = random.run(slow::UTF8, support::ASCII, random.below(40));
                append(data, rest);
                append(other, rest);
                ASSERT_NO_FATAL_FAILURE(expectSame(converted({slow::UTF8, data}, left),
                                                   converted({slow::UTF8, other}, right)));
            }
}

TEST(StringComparisonLong, BeginningOfTheOther)
{
    LongText random(3);
    for (unsigned int size = 0; size <= 40; ++size)
        for (const slow::Encoding left : ENCODINGS)
            for (const slow::Encoding right : ENCODINGS) {
                slow::Bytes data = random.run(slow::UTF8, support::ASCII, size);
                const TextPair text(slow::UTF8, data);
                append(data, random.run(slow::UTF8, random.filler(), random.below(12)));
                ASSERT_NO_FATAL_FAILURE(
                    expectSame(converted(text, left), converted({slow::UTF8, data}, right)));
            }
}

TEST(StringComparisonLong, Mixed)
{
    LongText random(4);
    for (int i = 0; i < 400; ++i) {
        const slow::Encoding encoding = random.encoding();
        const TextPair text(encoding, random.mixed(encoding, 600, 40));
        const TextPair other = converted(text, random.encoding());
        ASSERT_NO_FATAL_FAILURE(expectSame(text, other));
        ASSERT_NO_FATAL_FAILURE(expectSame(text, part(other, 0, -1)));
        slow::Bytes data = text.model.bytes();
        if (data.empty()) continue;
        data[random.below(static_cast<unsigned int>(data.size()))] ^= 1;
        ASSERT_NO_FATAL_FAILURE(expectSame(TextPair(encoding, data), other));
    }
}

/// Texts in which fewer characters can be decoded than their size tells: `parts` times one in two
/// halves, and what is behind.
TextPair withHalves(unsigned int parts, const slow::Bytes& behind)
{
    const TextPair halves = TextPair(slow::UTF8, {0xE2, 0x82}) + TextPair(slow::UTF8, {0xAC});
    return halves * parts + TextPair(slow::UTF8, behind);
}

// Where one of the texts ends before its size, its last character stands for the rest.
TEST(StringComparisonLong, FewerCharactersThanTheirSize)
{
    LongText random(5);
    for (unsigned int size = 0; size <= 60; ++size)
        for (const slow::Encoding encoding : ENCODINGS) {
            slow::Bytes data = random.run(slow::UTF8, support::ASCII, size);
            const TextPair text = withHalves(1 + size % 3, data);
            slow::Bytes other;
            for (unsigned int i = 0; i < 1 + size % 3; ++i)
                append(other, {0xE2, 0x82, 0xAC});
            append(other, data);
            for (unsigned int i = 0; i < 1 + size % 3; ++i)
                other.push_back(other.back());
            ASSERT_NO_FATAL_FAILURE(expectSame(text, converted({slow::UTF8, other}, encoding)));
            ASSERT_NO_FATAL_FAILURE(expectSame(converted({slow::UTF8, other}, encoding), text));
        }
}

TEST(StringComparisonLong, LastCharacterStandsForTheRest)
{
    const String halves = String::fromUtf8("\xE2\x82") + String::fromUtf8("\xAC");
    const String text = halves + String("abcdefghi");
    ASSERT_EQ(11u, text.size());
    EXPECT_TRUE(text == String("\u20AC"
                               "abcdefghii"));
    EXPECT_TRUE(String(std::unicode::UTF16LE, "\u20AC"
                                              "abcdefghii") == text);
    EXPECT_TRUE(text < String("\u20AC"
                              "abcdefghij"));
    EXPECT_FALSE(text < String("\u20AC"
                               "abcdefghih"));
}

// The bytes of a view may be more than its characters; what is behind these does not count.
TEST(StringComparisonLong, DifferenceBehindTheSize)
{
    for (const char* const character : {"x", "\u00FC", "\u20AC", "\U0001F600"})
        for (unsigned int size = 1; size <= 40; ++size) {
            const String text = String(character) * 100;
            const String other = String(character) * (size + 12) + String("y") * 60;
            const String left = text.substr(text.begin(), {&text, {size, text.byteLength()}});
            const String right = other.substr(other.begin(), {&other, {size, other.byteLength()}});
            ASSERT_EQ(size, left.size());
            ASSERT_EQ(text.byteLength(), left.byteLength());
            EXPECT_TRUE(left == right) << size;
            EXPECT_FALSE(left < right) << size;
            EXPECT_FALSE(right < left) << size;
        }
}

TEST(StringComparisonLong, SameBytesInOtherEncodings)
{
    slow::Bytes data;
    for (int i = 0; i < 50; ++i)
        append(data, {'a', 0});
    const TextPair text(slow::UTF16LE, data);
    for (const slow::Encoding encoding : {slow::UTF8, slow::UTF16BE, slow::UCS4})
        ASSERT_NO_FATAL_FAILURE(expectSame(text, TextPair(encoding, data)));
    EXPECT_FALSE(text.text == TextPair(slow::UTF16BE, data).text);
}

TEST(StringComparisonLong, MoreCharactersThanTheirSize)
{
    LongText random(6);
    for (int i = 0; i < 100; ++i) {
        // A high surrogate alone, and behind it a unit that it takes along in the sum.
        slow::Bytes high = random.run(slow::UTF16LE, support::ASCII, random.below(30));
        append(high, {0x3D, 0xD8});
        const TextPair text = TextPair(slow::UTF16LE, high) +
                              TextPair(slow::UTF16LE, random.mixed(slow::UTF16LE, 40, 20));
        ASSERT_NO_FATAL_FAILURE(expectSame(text, converted(text, random.encoding())));
        const TextPair same(slow::UTF16LE, text.model.bytes());
        ASSERT_NO_FATAL_FAILURE(expectSame(text, same));
        ASSERT_NO_FATAL_FAILURE(expectSame(same, text));
    }
}

// An odd byte is no character: what is before it stands for the rest, also at the end of a run.
TEST(StringComparisonLong, PartOfAUnitBehindARun)
{
    struct Case
    {
        slow::Encoding encoding;
        unsigned int part;
    };
    for (const Case& c : {Case{slow::UTF16LE, 1}, Case{slow::UCS4, 1}, Case{slow::UCS4, 3}})
        for (unsigned int size = 1; size <= 60; ++size) {
            slow::Bytes data = slow::convert(slow::UTF8, c.encoding, {'a', 'b'});
            append(data, slow::convert(slow::UTF8, c.encoding, slow::Bytes(size, 'c')));
            data.insert(data.end(), c.part, 0);
            const String text = support::stringOf(c.encoding, data);
            // Two characters more than there are.
            const String longer = text.substr(text.begin(), {&text, {size + 4, text.byteLength()}});
            const String other("ab" + std::string(size + 2, 'c'));
            EXPECT_TRUE(longer == other) << size;
            EXPECT_TRUE(other == longer) << size;
            EXPECT_FALSE(longer < other) << size;
        }
}

} // namespace

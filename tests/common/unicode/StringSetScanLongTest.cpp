// SPDX-License-Identifier: Apache-2.0
//
// Searches for one of a few characters in long texts, which are scanned by the bytes that these
// end with, against the slow model, which goes character by character.

#include <common/unicode/String.h>

#include <string>

#include <gtest/gtest.h>
#include <support/LongText.h>
#include <support/TextPair.h>

namespace {

using std::unicode::String;
using support::append;
using support::encoded;
using support::Filler;
using support::FILLERS;
using support::LongText;
using support::PlacePair;
using support::shown;
using support::TextPair;
namespace slow = support::slow;
using slow::Bytes;

/// In both directions; `at` is the start of one, and the other is for all of the text.
void expectSame(const TextPair& text, const TextPair& set, const PlacePair& at)
{
    const PlacePair limit(text, text.model.count);
    ASSERT_EQ(shown(slow::findFirstOf(text.model, set.model, at.model)),
              shown(text.text.find_first_of(set.text, at.place)))
        << shown(set.model) << " in " << shown(text.model) << " at " << shown(at.model);
    ASSERT_EQ(shown(slow::findLastOf(text.model, set.model, limit.model)),
              shown(text.text.find_last_of(set.text, limit.place)))
        << shown(set.model) << " in " << shown(text.model);
}

void expectSame(const Bytes& data, const Bytes& set)
{
    const TextPair text(slow::UTF8, data);
    ASSERT_NO_FATAL_FAILURE(expectSame(text, {slow::UTF8, set}, PlacePair(text)));
}

Bytes joined(std::initializer_list<Bytes> parts)
{
    Bytes data;
    for (const Bytes& part : parts)
        append(data, part);
    return data;
}

/// Up to `most` characters in a random encoding.
TextPair fewOf(LongText& random, unsigned int most)
{
    const slow::Encoding encoding = random.encoding();
    Bytes data;
    for (unsigned int count = 1 + random.below(most); count > 0; --count)
        append(data, random.run(encoding, random.filler(), 1));
    return {encoding, data};
}

// Characters that no filler has.
TEST(StringSetScanLong, MemberAtEveryPlace)
{
    LongText random(1);
    for (const Filler filler : FILLERS)
        for (unsigned int place = 0; place <= 420; ++place) {
            static const unsigned int MEMBERS[] = {'#', 0xE9, 0x3002, 0x1F602};
            const unsigned int member = MEMBERS[random.below(4)];
            Bytes data = random.run(slow::UTF8, filler, place);
            const auto bytes = static_cast<unsigned int>(data.size());
            append(data, encoded(slow::UTF8, member));
            append(data, random.run(slow::UTF8, filler, place % 90));
            const String text = support::stringOf(slow::UTF8, data);
            const slow::Encoding encoding = random.encoding();
            const String set = support::stringOf(encoding, encoded(encoding, member));
            ASSERT_EQ(place, text.find_first_of(set).position.chars);
            ASSERT_EQ(bytes, text.find_first_of(set).position.bytes);
            ASSERT_EQ(place, text.find_last_of(set).position.chars);
        }
}

// What passes members must not pass others as well.
TEST(StringSetScanLong, OthersBehindManyMembers)
{
    for (unsigned int members = 0; members <= 420; ++members) {
        const String text(std::string(members, 'x') + std::string(300, 'y'));
        ASSERT_EQ(members, text.find_first_not_of("x").position.chars);
        ASSERT_EQ(members + 299, text.find_last_not_of("x").position.chars);
        ASSERT_EQ(members, text.find_first_of("y").position.chars);
        ASSERT_EQ(members + 299, text.find_last_of("y").position.chars);
    }
}

TEST(StringSetScanLong, Mixed)
{
    LongText random(2);
    for (int i = 0; i < 150; ++i) {
        const TextPair text(slow::UTF8, random.mixed(slow::UTF8, 1500, 500));
        const TextPair set = fewOf(random, 5);
        const PlacePair at(text, random.below(text.model.count + 1));
        ASSERT_NO_FATAL_FAILURE(expectSame(text, set, at));
    }
}

// Runs of any length, whose characters are other ones than those of the set.
TEST(StringSetScanLong, HitsFarFromEachOther)
{
    LongText random(3);
    for (int i = 0; i < 60; ++i) {
        Bytes data;
        for (unsigned int left = 12; left > 0; --left) {
            append(data, random.run(slow::UTF8, random.filler(), random.below(1U << left % 11)));
            append(data, {0xC3, 0xA9});
            if (random.below(4) == 0) append(data, random.odd(slow::UTF8));
        }
        const TextPair text(slow::UTF8, data);
        const PlacePair at(text, random.below(text.model.count + 1));
        ASSERT_NO_FATAL_FAILURE(expectSame(text, {slow::UTF8, {0xC3, 0xA9, '#'}}, at));
    }
}

// The same character in more bytes than it needs, and what is the replacement.
TEST(StringSetScanLong, OtherFormsAtEveryPlace)
{
    struct Form
    {
        Bytes member;
        Bytes other;
    };
    const Form forms[] = {{{';'}, {0xC0, 0xBB}},
                          {{';'}, {0xE0, 0x80, 0xBB}},
                          {{';'}, {0xF0, 0x80, 0x80, 0xBB}},
                          {{';'}, {0xF8, 0x80, 0x80, 0x80, 0xBB}},
                          {{0xC3, 0xA9}, {0xE0, 0x83, 0xA9}},
                          {{0xC3, 0xA9}, {0xF0, 0x80, 0x83, 0xA9}},
                          {{0xE3, 0x80, 0x82}, {0xF0, 0x83, 0x80, 0x82}},
                          {{0xF0, 0x9F, 0x98, 0x82}, {0xF8, 0x80, 0x9F, 0x98, 0x82}},
                          {{0xEF, 0xBF, 0xBD}, {0xED, 0xA0, 0x80}},
                          {{0xEF, 0xBF, 0xBD}, {0xF0, 0x9D, 0xA0, 0x80}},
                          {{0xEF, 0xBF, 0xBD}, {0xFF}}};
    for (const Form& form : forms)
        for (unsigned int before = 0; before <= 420; ++before) {
            const Bytes data = joined({Bytes(before, 'x'), form.other, Bytes(150, 'y')});
            const String text = support::stringOf(slow::UTF8, data);
            const String set = support::stringOf(slow::UTF8, form.member);
            ASSERT_EQ(before, text.find_first_of(set).position.chars) << set.toUtf8();
            ASSERT_EQ(before, text.find_last_of(set).position.chars) << set.toUtf8();
        }
}

// A lead takes the byte behind it along, also one of the set.
TEST(StringSetScanLong, SwallowedMemberAtEveryPlace)
{
    for (const Bytes& lead : {Bytes{0xC3}, Bytes{0xE6, 0x95}, Bytes{0xF0, 0x9F, 0x98}, Bytes{0xF8}})
        for (unsigned int before = 0; before <= 420; ++before) {
            const Bytes data = joined({Bytes(before, 'x'), lead, {';'}, Bytes(before % 200, 'y')});
            const String text = support::stringOf(slow::UTF8, data);
            ASSERT_EQ(text.end(), text.find_first_of(";")) << before;
            ASSERT_EQ(text.end(), text.find_last_of("#;<>")) << before;
            ASSERT_EQ(before, text.find_first_of("\xEF\xBF\xBD").position.chars);
        }
}

TEST(StringSetScanLong, OddOnesAtEveryPlace)
{
    LongText random(4);
    for (unsigned int before = 0; before <= 420; before += 3) {
        const Bytes member = encoded(slow::UTF8, random.character(random.filler()));
        const Filler filler = random.filler();
        const Bytes data =
            joined({random.run(slow::UTF8, filler, before), random.odd(slow::UTF8),
                    random.run(slow::UTF8, filler, random.below(200)), member, Bytes(80, '#')});
        ASSERT_NO_FATAL_FAILURE(expectSame(data, member));
        ASSERT_NO_FATAL_FAILURE(expectSame(data, joined({member, {'#'}})));
        ASSERT_NO_FATAL_FAILURE(expectSame(data, {0xE3, 0x80, 0x82, 0xC3, 0xA9}));
    }
}

// Other characters whose last byte, or last two, are those of a member.
TEST(StringSetScanLong, SharedEnds)
{
    const Bytes sets[] = {{0xC3, 0xA4}, {0xE3, 0x80, 0x82}, {0xF0, 0x9F, 0x98, 0x82}, {'$', '#'}};
    const Bytes others[] = {{0xC4, 0xA4},       {0xE4, 0x80, 0x82}, {0xF1, 0x9F, 0x98, 0x82},
                            {0xE3, 0x83, 0xA4}, {0xEF, 0x98, 0x82}, {0xF0, 0x93, 0x80, 0x82}};
    for (const Bytes& set : sets)
        for (const Bytes& other : others)
            for (unsigned int count = 20; count <= 300; count += 31) {
                Bytes data(count, 'x');
                for (unsigned int i = 0; i < count; ++i)
                    append(data, other);
                ASSERT_NO_FATAL_FAILURE(expectSame(data, set));
                ASSERT_NO_FATAL_FAILURE(expectSame(joined({data, set, data}), set));
            }
}

// The bytes of a view may be more than its characters.
TEST(StringSetScanLong, StopsAtTheSize)
{
    for (const unsigned int size : {70u, 200u, 333u, 700u}) {
        const String text("\xC3\xA9" + std::string(1000, 'x') + "yz");
        const String part = text.substr(text.begin(), {&text, {size, text.byteLength()}});
        ASSERT_EQ(size, part.size());
        EXPECT_EQ(part.end(), part.find_first_of("y"));
        EXPECT_EQ(part.end(), part.find_last_of("z;#"));
        EXPECT_EQ(size - 1, part.find_last_of("x").position.chars);
    }
}

TEST(StringSetScanLong, SizeIsNotWhatDecodes)
{
    LongText random(5);
    for (int i = 0; i < 60; ++i) {
        Bytes left = random.run(slow::UTF8, random.filler(), random.below(400));
        append(left, {0xF0, 0x9F});
        Bytes right = {0x98, 0x80};
        append(right, random.run(slow::UTF8, random.filler(), random.below(400)));
        const TextPair text = TextPair(slow::UTF8, left) + TextPair(slow::UTF8, right);
        const PlacePair at(text, random.below(text.model.count + 1));
        ASSERT_NO_FATAL_FAILURE(expectSame(text, fewOf(random, 4), at));
    }
}

} // namespace

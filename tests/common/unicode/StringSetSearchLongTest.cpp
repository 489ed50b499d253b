// SPDX-License-Identifier: Apache-2.0
//
// Searches for characters of sets in long texts, which pass ASCII by its bytes, against the slow
// model, which goes character by character.

#include <common/unicode/String.h>

#include <string>

#include <gtest/gtest.h>
#include <support/LongText.h>
#include <support/TextPair.h>

namespace {

using std::unicode::String;
using support::append;
using support::ASCII;
using support::converted;
using support::encoded;
using support::LongText;
using support::part;
using support::PlacePair;
using support::shown;
using support::TextPair;
namespace slow = support::slow;

struct Search
{
    const char* name;
    slow::Position (*model)(const slow::Text&, const slow::Text&, slow::Position);
    String::Iterator (String::*library)(const String&, const String::Iterator&) const;
};

constexpr Search SEARCHES[] = {
    {"find_first_of", slow::findFirstOf, &String::find_first_of},
    {"find_first_not_of", slow::findFirstNotOf, &String::find_first_not_of},
    {"find_last_of", slow::findLastOf, &String::find_last_of},
    {"find_last_not_of", slow::findLastNotOf, &String::find_last_not_of}};

void expectSame(const TextPair& text, const TextPair& set, const PlacePair& at)
{
    for (const Search& search : SEARCHES)
        ASSERT_EQ(shown(search.model(text.model, set.model, at.model)),
                  shown((text.text.*search.library)(set.text, at.place)))
            << search.name << " " << shown(set.model) << " in " << shown(text.model) << " at "
            << shown(at.model);
}

void expectSameEverywhere(const TextPair& text, const TextPair& set, LongText& random)
{
    const unsigned int count = text.model.count;
    for (const unsigned int steps : {0u, random.below(count + 1), count - 1, count})
        ASSERT_NO_FATAL_FAILURE(expectSame(text, set, PlacePair(text, steps)));
}

TEST(StringSetSearchLong, FindLastOf_BehindALongRun_StaysBeforeThePlace)
{
    std::string bytes(1000, 'x');
    bytes[10] = bytes[600] = ';';
    const String text(bytes);
    for (const unsigned int before : {65U, 75U, 100U, 200U, 400U, 599U, 600U})
        EXPECT_EQ(10U, text.find_last_of(";", {&text, {before, before}}).position.chars) << before;
    EXPECT_EQ(600U, text.find_last_of(";", {&text, {601, 601}}).position.chars);
}

TEST(StringSetSearchLong, MemberAtEveryPlace)
{
    LongText random(1);
    for (const unsigned int member : {0u, 0x7Fu, 0x80u, 0x20ACu, 0xFFFDu, 0x1F600u})
        for (unsigned int place = 0; place <= 40; ++place) {
            slow::Bytes data(place, 'x');
            append(data, encoded(slow::UTF8, member));
            append(data, slow::Bytes(20, 'x'));
            const TextPair text(slow::UTF8, data);
            const slow::Encoding encoding = random.encoding();
            const TextPair set(encoding, encoded(encoding, member));
            ASSERT_EQ(place, text.text.find_first_of(set.text).position.chars);
            ASSERT_EQ(place, text.text.find_last_of(set.text).position.chars);
            ASSERT_EQ(place, text.text.find_first_not_of(String("x")).position.chars);
            ASSERT_EQ(place, text.text.find_last_not_of(String("x")).position.chars);
        }
}

TEST(StringSetSearchLong, Mixed)
{
    LongText random(2);
    for (int i = 0; i < 100; ++i) {
        const slow::Encoding encoding = i % 2 == 0 ? slow::UTF8 : random.encoding();
        const TextPair text(encoding, random.mixed(encoding, 200, 60));
        const slow::Encoding other = random.encoding();
        const TextPair set(other, random.mixed(other, 8, 4));
        ASSERT_NO_FATAL_FAILURE(expectSameEverywhere(text, set, random));
    }
}

/// The characters from U+0100 on, and ASCII.
TextPair setOf(slow::Encoding encoding, unsigned int count)
{
    slow::Bytes data = encoded(encoding, 'a');
    for (unsigned int i = 0; i < count; ++i)
        append(data, encoded(encoding, 0x100 + i));
    return {encoding, data};
}

// As many as there is room for, and more.
TEST(StringSetSearchLong, LargeSets)
{
    LongText random(3);
    for (unsigned int count = 28; count <= 40; ++count) {
        slow::Bytes data(random.below(50), 'a');
        for (unsigned int i = 0; i < 42; ++i)
            append(data, encoded(slow::UTF8, 0x100 + i));
        append(data, slow::Bytes(random.below(50), 'a'));
        const TextPair text(slow::UTF8, data);
        const TextPair set = setOf(random.encoding(), count);
        ASSERT_NO_FATAL_FAILURE(expectSameEverywhere(text, set, random));
        ASSERT_NO_FATAL_FAILURE(
            expectSameEverywhere(converted(text, random.encoding()), set, random));
    }
}

TEST(StringSetSearchLong, MemberBehindTheRoomOfTheSet)
{
    slow::Bytes data(20, 'x');
    append(data, encoded(slow::UTF8, 0x100 + 39));
    const TextPair text(slow::UTF8, data);
    EXPECT_EQ(20u, text.text.find_first_of(setOf(slow::UTF8, 40).text).position.chars);
    EXPECT_EQ(text.text.end(), text.text.find_first_of(setOf(slow::UTF8, 39).text));
    EXPECT_EQ(20u, text.text.find_last_of(setOf(slow::UTF16LE, 40).text).position.chars);
}

TEST(StringSetSearchLong, SizeIsNotWhatDecodes)
{
    LongText random(4);
    for (int i = 0; i < 100; ++i) {
        slow::Bytes left = random.run(slow::UTF8, ASCII, random.below(60));
        append(left, {0xF0, 0x9F});
        slow::Bytes right = {0x98, 0x80};
        append(right, random.run(slow::UTF8, ASCII, random.below(60)));
        const TextPair text = TextPair(slow::UTF8, left) + TextPair(slow::UTF8, right);
        const TextPair set(slow::UTF8, random.mixed(slow::UTF8, 4, 4));
        ASSERT_NO_FATAL_FAILURE(expectSameEverywhere(text, set, random));
    }
}

// Two halves count as two characters: what is counted is more than the bytes that are left.
TEST(StringSetSearchLong, CountsMoreThanItHas_StaysInside)
{
    String text;
    for (int i = 0; i < 300; ++i)
        text = text + String::fromUtf8("\xF0\x9F") + String::fromUtf8("\x98\x80");
    text = text + String("x") * 1000;
    ASSERT_EQ(1900u, text.size());
    EXPECT_EQ(text.end(), text.find_first_of(String("yz")));
}

// A part of a text has its bytes, also those of its last character that the part's size leaves out.
TEST(StringSetSearchLong, StopsAtTheSize)
{
    const std::string ascii(100, 'x');
    const String text = String::fromUtf8(ascii + "\xC3") + String::fromUtf8("y" + ascii + "z");
    const String::Iterator from = text.begin();
    const String part = text.substr(from, {&text, {50, text.byteLength()}});
    ASSERT_EQ(50u, part.size());
    EXPECT_EQ(part.end(), part.find_first_not_of(String("x")));
    EXPECT_EQ(part.end(), part.find_last_not_of(String("x")));
    EXPECT_EQ(part.end(), part.find_first_of(String("z")));
    EXPECT_EQ(49u, part.find_last_of(String("x")).position.chars);
    EXPECT_EQ(part.end(), part.find(String("z")));
}

} // namespace

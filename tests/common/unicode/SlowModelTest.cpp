// SPDX-License-Identifier: Apache-2.0
//
// Thousands of texts at random, the same in each run, through the library and through its slow
// model: both must answer alike.

#include <common/unicode/String.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <support/ChildProcess.h>
#include <support/TextPair.h>

namespace {

using std::unicode::Codec;
using std::unicode::String;
using support::codecOf;
using support::ExactBytes;
using support::hexText;
using support::PlacePair;
using support::randomPair;
using support::RandomText;
using support::shown;
using support::TextPair;
namespace slow = support::slow;

/// What stands where nothing was stored.
constexpr unsigned int UNTOUCHED = 0xDEAD0001;

Codec::Index indexOf(const slow::Place& place)
{
    return {place.chars, place.bytes};
}

/// Bytes in an encoding, also in a block of exactly their size.
struct Case
{
    explicit Case(RandomText& random)
        : encoding(random.encoding()), data(random.bytes(encoding, 6)), exact(data)
    {}

    std::string shown() const { return support::textText(encoding, data, 0); }
    const Codec& codec() const { return codecOf(encoding); }

    slow::Encoding encoding;
    slow::Bytes data;
    ExactBytes exact;
};

std::string forwardOf(const Case& c, slow::Place at, unsigned int n)
{
    unsigned int last = UNTOUCHED;
    const unsigned int result = slow::readForward(c.encoding, c.data, at, n, last);
    return std::to_string(result) + " " + shown(at) + " " + hexText(last);
}

std::string forwardOfLibrary(const Case& c, slow::Place from, unsigned int n)
{
    unsigned int last = UNTOUCHED;
    Codec::Index at = indexOf(from);
    const unsigned int result = c.codec().read_forward(c.exact.data(), c.exact.size(), at, n, last);
    return std::to_string(result) + " " + shown(at) + " " + hexText(last);
}

std::string writtenBy(slow::Encoding encoding, slow::Bytes data, slow::Place at, unsigned int c)
{
    const unsigned int result = slow::writeForward(encoding, data, at, c);
    return std::to_string(result) + " " + shown(at) + " " + support::bytesText(data);
}

std::string writtenByLibrary(slow::Encoding encoding, const slow::Bytes& data, slow::Place from,
                             unsigned int c)
{
    const ExactBytes exact(data);
    Codec::Index at = indexOf(from);
    const unsigned int result = codecOf(encoding).write_forward(exact.data(), exact.size(), at, c);
    return std::to_string(result) + " " + shown(at) + " " + support::bytesText(exact.copy());
}

TEST(SlowModel, ReadsAlikeAtEveryByte)
{
    RandomText random(1);
    for (int i = 0; i < 4000; ++i) {
        const Case c(random);
        for (unsigned int p = 0; p <= c.exact.size() + 1; ++p)
            ASSERT_EQ(hexText(slow::read(c.encoding, c.data, {0, p})),
                      hexText(c.codec().read(c.exact.data(), c.exact.size(), {0, p})))
                << c.shown() << " at " << p;
    }
}

TEST(SlowModel, MovesAlikeFromEveryByte)
{
    RandomText random(2);
    for (int i = 0; i < 4000; ++i) {
        const Case c(random);
        const unsigned int n = random.below(5);
        for (unsigned int p = 0; p <= c.exact.size() + 1; ++p)
            ASSERT_EQ(forwardOf(c, {3, p}, n), forwardOfLibrary(c, {3, p}, n))
                << c.shown() << " at " << p << " over " << n;
    }
}

TEST(SlowModel, FindsCharactersAtTheSamePlaces)
{
    RandomText random(3);
    for (int i = 0; i < 4000; ++i) {
        const Case c(random);
        for (unsigned int n = 0; n <= c.exact.size() + 1; ++n)
            ASSERT_EQ(shown(slow::placeOf(c.encoding, c.data, n)),
                      shown(c.codec().at(c.exact.data(), c.exact.size(), n)))
                << c.shown() << " number " << n;
    }
}

TEST(SlowModel, WritesAlikeIntoEveryRoom)
{
    RandomText random(4);
    for (int i = 0; i < 10000; ++i) {
        const slow::Encoding encoding = random.encoding();
        const unsigned int c = random.value();
        const slow::Bytes room(random.below(12), 0xEE);
        const slow::Place at = {random.below(3), random.below(8)};
        ASSERT_EQ(writtenBy(encoding, room, at, c), writtenByLibrary(encoding, room, at, c))
            << encoding << " " << hexText(c) << " at " << at.bytes << " of " << room.size();
        ASSERT_EQ(slow::encodedBytes(encoding, c), codecOf(encoding).encoded_bytes(c))
            << encoding << " " << hexText(c);
    }
}

TEST(SlowModel, ClassifiesEveryByteAlike)
{
    for (unsigned int byte = 0; byte <= 0xFF; ++byte) {
        const auto lead = static_cast<unsigned char>(byte);
        ASSERT_EQ(slow::type(lead), std::unicode::Utf8::type(lead)) << byte;
    }
}

TEST(SlowModel, ConvertsAlikeBetweenAllPairs)
{
    RandomText random(5);
    for (int i = 0; i < 8000; ++i) {
        const Case c(random);
        const slow::Encoding target = random.encoding();
        const unsigned int most = random.below(2) == 0 ? slow::UNLIMITED : random.below(20);
        const support::HeldBlock result(
            c.codec().to(codecOf(target), c.exact.data(), c.exact.size(), most));
        ASSERT_EQ(support::bytesText(slow::convert(c.encoding, target, c.data, most)),
                  support::bytesText(result.bytes()))
            << c.shown() << " to " << target << " within " << most;
    }
}

TEST(SlowModel, ConstructsAlike)
{
    RandomText random(6);
    for (int i = 0; i < 8000; ++i) {
        const TextPair pair = randomPair(random, 6);
        const slow::Encoding target = random.encoding();
        const unsigned int c = random.value();
        const Codec& codec = codecOf(target);
        ASSERT_EQ(shown(pair.model), shown(pair.text));
        const TextPair same = converted(pair, target);
        ASSERT_EQ(shown(same.model), shown(same.text)) << shown(pair.model);
        ASSERT_EQ(shown(slow::textOf(target, c)), shown(String(codec, c))) << hexText(c);
        ASSERT_EQ(shown(slow::textOf(c)), shown(String(c))) << hexText(c);
    }
}

TEST(SlowModel, ConstructsAlikeFromStandardStrings)
{
    RandomText random(7);
    for (int i = 0; i < 4000; ++i) {
        const slow::Bytes data = random.bytes(slow::UTF8, 8);
        const slow::Encoding target = random.encoding();
        const std::string narrow(data.begin(), data.end());
        const std::wstring wide(data.begin(), data.end());
        slow::Bytes quarter(data.begin(), data.begin() + static_cast<long>(data.size() / 4));
        for (std::size_t at = 0; at < quarter.size(); at += 4)
            quarter.insert(quarter.begin() + static_cast<long>(at) + 1, 3, 0);
        ASSERT_EQ(shown(slow::textOf(slow::UTF8, data)), shown(String(narrow)));
        ASSERT_EQ(shown(slow::convertedText(target, data, slow::UTF8)),
                  shown(String(codecOf(target), narrow)));
        ASSERT_EQ(shown(slow::convertedText(target, quarter, slow::UCS4)),
                  shown(String(codecOf(target), wide)));
    }
}

TEST(SlowModel, WalksAlike)
{
    RandomText random(8);
    for (int i = 0; i < 8000; ++i) {
        const TextPair pair = randomPair(random, 6);
        PlacePair at(pair);
        for (unsigned int step = 0; step <= pair.model.length() + 1; ++step, at.advance()) {
            ASSERT_EQ(shown(at.model), shown(at.place)) << shown(pair.model);
            ASSERT_EQ(hexText(valueAt(at.model)), hexText(*at.place)) << shown(pair.model);
            ASSERT_EQ(isAtEnd(at.model), at.place.atEnd()) << shown(pair.model);
            ASSERT_EQ(isEqual(at.model, end(pair.model)), at.place == pair.text.end())
                << shown(pair.model);
        }
    }
}

TEST(SlowModel, CountsAndIndexesAlike)
{
    RandomText random(9);
    for (int i = 0; i < 8000; ++i) {
        const TextPair pair = randomPair(random, 6);
        ASSERT_EQ(count(pair.model.encoding, pair.model.bytes()), pair.text.count())
            << shown(pair.model);
        for (unsigned int n = 0; n < pair.model.count; ++n)
            ASSERT_EQ(hexText(at(pair.model, n)), hexText(pair.text.at(n)))
                << shown(pair.model) << " at " << n;
    }
}

TEST(SlowModel, ComparesAlike)
{
    RandomText random(10);
    for (int i = 0; i < 20000; ++i) {
        const TextPair a = randomPair(random, 3);
        const TextPair b =
            random.below(2) == 0 ? randomPair(random, 3) : converted(a, random.encoding());
        const std::string texts = shown(a.model) + " and " + shown(b.model);
        ASSERT_EQ(isEqual(a.model, b.model), a.text == b.text) << texts;
        ASSERT_EQ(isLess(a.model, b.model), a.text < b.text) << texts;
        ASSERT_EQ(isGreater(a.model, b.model), a.text > b.text) << texts;
        ASSERT_TRUE(a.text != b.text || a.text.hash() == b.text.hash()) << texts;
    }
}

struct Search
{
    const char* name;
    slow::Position (*model)(const slow::Text&, const slow::Text&, slow::Position);
    String::Iterator (String::*library)(const String&, const String::Iterator&) const;
};

constexpr Search SEARCHES[] = {
    {"find", slow::find, &String::find},
    {"rfind", slow::rfind, &String::rfind},
    {"find_first_of", slow::findFirstOf, &String::find_first_of},
    {"find_first_not_of", slow::findFirstNotOf, &String::find_first_not_of},
    {"find_last_of", slow::findLastOf, &String::find_last_of},
    {"find_last_not_of", slow::findLastNotOf, &String::find_last_not_of}};

void expectSame(const Search& search, const TextPair& text, const TextPair& needle,
                const PlacePair& at)
{
    const slow::Position expected = search.model(text.model, needle.model, at.model);
    const String::Iterator found = (text.text.*search.library)(needle.text, at.place);
    const bool isInText = expected.text == &text.model;
    ASSERT_EQ(shown(expected), shown(found))
        << search.name << " " << shown(needle.model) << " in " << shown(text.model) << " at "
        << shown(at.model) << " of " << shown(*at.model.text);
    ASSERT_EQ(isInText ? &text.text : at.place.string, found.string) << search.name;
}

TEST(SlowModel, SearchesAlike)
{
    RandomText random(11);
    for (int i = 0; i < 20000 && !HasFatalFailure(); ++i) {
        const TextPair text = randomPair(random, 6);
        const TextPair needle =
            random.below(2) == 0 ? randomPair(random, 3) : part(text, 1 + i % 3, 2 + i % 4);
        const PlacePair at(text, random.below(text.model.count + 2));
        for (const Search& search : SEARCHES)
            expectSame(search, text, needle, at);
    }
}

TEST(SlowModel, FindsAlike_PositionInAnotherText)
{
    RandomText random(12);
    for (int i = 0; i < 8000 && !HasFatalFailure(); ++i) {
        const TextPair text = randomPair(random, 6);
        const TextPair other = randomPair(random, 6);
        const TextPair needle = randomPair(random, 1);
        const PlacePair at(other, random.below(other.model.count + 2));
        expectSame(SEARCHES[0], text, needle, at);
    }
}

void searchFromOtherTexts()
{
    RandomText random(13);
    for (int i = 0; i < 300 && !testing::Test::HasFatalFailure(); ++i) {
        const TextPair text = randomPair(random, 6);
        const TextPair other = random.below(2) == 0 ? randomPair(random, 6) : part(text, 0, 3);
        const TextPair needle = randomPair(random, 2);
        const PlacePair at(other, random.below(other.model.count + 2));
        for (const Search& search : SEARCHES)
            expectSame(search, text, needle, at);
    }
}

TEST(SlowModel, SearchesAlike_PositionInAnotherText)
{
    const support::ChildResult result = support::runInChild(searchFromOtherTexts);
    EXPECT_EQ(0, result.exitCode) << result.out;
}

TEST(SlowModel, CutsAlike)
{
    RandomText random(14);
    for (int i = 0; i < 8000; ++i) {
        const TextPair text = randomPair(random, 6);
        const int from = static_cast<int>(random.below(20)) - 10;
        const int to = static_cast<int>(random.below(20)) - 10;
        const TextPair numbered = part(text, from, to);
        ASSERT_EQ(shown(numbered.model), shown(numbered.text))
            << shown(text.model) << " " << from << " " << to;
        const PlacePair first(text, random.below(4));
        const PlacePair last(text, random.below(8));
        ASSERT_EQ(shown(substr(text.model, first.model, last.model)),
                  shown(text.text.substr(first.place, last.place)))
            << shown(text.model) << " " << shown(first.model) << " " << shown(last.model);
    }
}

TEST(SlowModel, CutsAlike_PositionsOfALongerText)
{
    RandomText random(17);
    for (int i = 0; i < 4000; ++i) {
        const TextPair text = randomPair(random, 6);
        const TextPair start = part(text, 0, 2);
        const PlacePair first(text, random.below(4));
        const PlacePair last(text, random.below(8));
        ASSERT_EQ(shown(substr(start.model, first.model, last.model)),
                  shown(start.text.substr(first.place, last.place)))
            << shown(text.model) << " " << shown(first.model) << " " << shown(last.model);
    }
}

TEST(SlowModel, ComposesAlike)
{
    RandomText random(15);
    for (int i = 0; i < 8000; ++i) {
        const TextPair a = randomPair(random, 4);
        const TextPair b = randomPair(random, 4);
        const TextPair sum = a + b;
        const TextPair product = a * random.below(5);
        ASSERT_EQ(shown(sum.model), shown(sum.text)) << shown(a.model) << " " << shown(b.model);
        ASSERT_EQ(shown(product.model), shown(product.text)) << shown(a.model);
    }
}

TEST(SlowModel, SplitsAndJoinsAlike)
{
    RandomText random(16);
    for (int i = 0; i < 20000; ++i) {
        const TextPair text = randomPair(random, 6);
        const TextPair separator =
            random.below(2) == 0 ? randomPair(random, 1) : part(text, 1, 2 + i % 2);
        const TextPair glue = randomPair(random, 2);
        const std::string texts =
            shown(text.model) + " by " + shown(separator.model) + " with " + shown(glue.model);
        const std::vector<slow::Text> expected = split(text.model, separator.model);
        std::vector<String> pieces;
        for (const String& piece : text.text.split(separator.text)) {
            ASSERT_LT(pieces.size(), expected.size()) << texts;
            ASSERT_EQ(shown(expected[pieces.size()]), shown(piece)) << texts;
            pieces.push_back(piece);
        }
        ASSERT_EQ(expected.size(), pieces.size()) << texts;
        ASSERT_EQ(shown(join(glue.model, expected)),
                  shown(glue.text.join(pieces.begin(), pieces.end())))
            << texts;
        ASSERT_EQ(shown(replace(text.model, separator.model, glue.model)),
                  shown(text.text.replace(separator.text, glue.text)))
            << texts;
    }
}

} // namespace

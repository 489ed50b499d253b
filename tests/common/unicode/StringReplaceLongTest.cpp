// SPDX-License-Identifier: Apache-2.0
//
// Replacing, splitting and joining with long texts, which goes by bytes where that is possible,
// against the slow model, which goes piece by piece.

#include <common/unicode/String.h>

#include <iterator>
#include <vector>

#include <gtest/gtest.h>
#include <support/LongText.h>
#include <support/TextPair.h>

namespace {

using std::unicode::String;
using support::append;
using support::converted;
using support::ENCODINGS;
using support::LongText;
using support::part;
using support::shown;
using support::TextPair;
namespace slow = support::slow;

void expectSameReplaced(const TextPair& text, const TextPair& what, const TextPair& with)
{
    ASSERT_EQ(shown(replace(text.model, what.model, with.model)),
              shown(text.text.replace(what.text, with.text)))
        << shown(what.model) << " by " << shown(with.model) << " in " << shown(text.model);
}

/// Runs with separators between and beside them.
slow::Bytes separated(LongText& random, const slow::Bytes& separator, bool isOdd)
{
    slow::Bytes data;
    for (unsigned int n = random.below(12); n > 0; --n) {
        append(data, random.run(slow::UTF8, random.filler(), random.below(40)));
        if (isOdd && random.below(8) == 0) append(data, random.odd(slow::UTF8));
        append(data, separator);
    }
    return data;
}

TEST(StringReplaceLong, Replaces)
{
    LongText random(1);
    for (int i = 0; i < 200; ++i) {
        const slow::Bytes separator = random.run(slow::UTF8, random.filler(), 1 + random.below(3));
        const TextPair text(slow::UTF8, separated(random, separator, i % 2 == 0));
        const TextPair what = converted({slow::UTF8, separator}, random.encoding());
        const slow::Encoding encoding = random.encoding();
        const TextPair with(encoding, i % 3 == 0 ? random.mixed(encoding, 40, 10)
                                                 : random.run(encoding, random.filler(), 3));
        ASSERT_NO_FATAL_FAILURE(expectSameReplaced(text, what, with));
        ASSERT_NO_FATAL_FAILURE(expectSameReplaced(converted(text, random.encoding()), what, with));
    }
}

TEST(StringReplaceLong, Replaces_EveryEncoding)
{
    LongText random(2);
    for (const slow::Encoding first : ENCODINGS)
        for (const slow::Encoding second : ENCODINGS)
            for (const slow::Encoding third : ENCODINGS) {
                const TextPair what(slow::UTF8, random.run(slow::UTF8, random.filler(), 2));
                const TextPair text(slow::UTF8, separated(random, what.model.bytes(), false));
                const TextPair with(slow::UTF8, random.run(slow::UTF8, random.filler(), 20));
                ASSERT_NO_FATAL_FAILURE(expectSameReplaced(
                    converted(text, first), converted(what, second), converted(with, third)));
            }
}

TEST(StringReplaceLong, Replaces_OverlappingAndEmpty)
{
    LongText random(3);
    const TextPair empty(slow::UTF8, {});
    for (unsigned int size = 0; size <= 40; ++size) {
        const TextPair text(slow::UTF8, slow::Bytes(size, 'a'));
        const TextPair what(slow::UTF8, slow::Bytes(1 + random.below(4), 'a'));
        ASSERT_NO_FATAL_FAILURE(expectSameReplaced(text, what, {slow::UTF8, {'b'}}));
        ASSERT_NO_FATAL_FAILURE(expectSameReplaced(text, what, empty));
        ASSERT_NO_FATAL_FAILURE(expectSameReplaced(text, empty, what));
        ASSERT_NO_FATAL_FAILURE(expectSameReplaced(text, text, what));
    }
}

// Equal texts in other forms are replaced, too.
TEST(StringReplaceLong, Replaces_OtherForms)
{
    LongText random(4);
    for (unsigned int before = 0; before <= 150; before += before < 80 ? 1 : 9) {
        slow::Bytes data(before, 'x');
        append(data, {0xC1, 0xA1});
        append(data, slow::Bytes(before % 5, 'y'));
        append(data, {'a', 0xFF, 0xEF, 0xBF, 0xBD});
        append(data, random.run(slow::UTF8, random.filler(), 80));
        const TextPair text(slow::UTF8, data);
        ASSERT_NO_FATAL_FAILURE(
            expectSameReplaced(text, {slow::UTF8, {'a'}}, {slow::UTF16LE, {'b', 0}}));
        ASSERT_NO_FATAL_FAILURE(
            expectSameReplaced(text, {slow::UTF16BE, {0xFF, 0xFD}}, {slow::UTF8, {'b'}}));
        ASSERT_NO_FATAL_FAILURE(
            expectSameReplaced(text, {slow::UTF16BE, {0xDC, 0}}, {slow::UTF8, {'b'}}));
    }
}

TEST(StringReplaceLong, Replaces_SizeIsNotWhatDecodes)
{
    LongText random(5);
    for (int i = 0; i < 100; ++i) {
        slow::Bytes left = random.run(slow::UTF8, random.filler(), random.below(40));
        append(left, {0xE2, 0x82});
        slow::Bytes right = {0xAC};
        append(right, random.run(slow::UTF8, random.filler(), random.below(40)));
        const TextPair text = TextPair(slow::UTF8, left) + TextPair(slow::UTF8, right);
        const TextPair what = part(text, static_cast<int>(random.below(60)), 60);
        const TextPair with(slow::UTF8, {'x'});
        ASSERT_NO_FATAL_FAILURE(expectSameReplaced(text, what, with));
        ASSERT_NO_FATAL_FAILURE(expectSameReplaced(text, with, text));
        ASSERT_NO_FATAL_FAILURE(
            expectSameReplaced({slow::UTF8, random.mixed(slow::UTF8, 60, 10)}, what, text));
    }
}

TEST(StringReplaceLong, Splits)
{
    LongText random(6);
    for (int i = 0; i < 150; ++i) {
        const slow::Bytes separator = random.run(slow::UTF8, random.filler(), random.below(3));
        const TextPair text(slow::UTF8, separated(random, separator, i % 2 == 0));
        const TextPair what = converted({slow::UTF8, separator}, random.encoding());
        const std::vector<slow::Text> expected = split(text.model, what.model);
        std::vector<String> pieces;
        for (const String& piece : text.text.split(what.text)) {
            ASSERT_LT(pieces.size(), expected.size()) << shown(text.model);
            ASSERT_EQ(shown(expected[pieces.size()]), shown(piece)) << shown(text.model);
            pieces.push_back(piece);
        }
        ASSERT_EQ(expected.size(), pieces.size()) << shown(text.model);
    }
}

/// Gives its texts once, so that they are not measured first.
class OnceIterator
{
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = String;
    using difference_type = std::ptrdiff_t;
    using pointer = void;
    using reference = const String&;

    explicit OnceIterator(const String* at) : m_at(at) {}
    const String& operator*() const { return *m_at; }
    OnceIterator& operator++()
    {
        ++m_at;
        return *this;
    }
    bool operator!=(const OnceIterator& other) const { return m_at != other.m_at; }

private:
    const String* m_at;
};

TEST(StringReplaceLong, Joins)
{
    LongText random(7);
    for (int i = 0; i < 150; ++i) {
        const slow::Encoding encoding = random.encoding();
        const TextPair glue(encoding, random.mixed(encoding, 10, 5));
        std::vector<slow::Text> models;
        std::vector<String> pieces;
        for (unsigned int n = random.below(12); n > 0; --n) {
            const slow::Encoding own = random.below(2) == 0 ? slow::UTF8 : random.encoding();
            const TextPair piece(own, random.mixed(own, random.below(3) * 80, 40));
            models.push_back(piece.model);
            pieces.push_back(piece.text);
        }
        const String* const first = pieces.data();
        const String* const last = first + pieces.size();
        const std::string expected = shown(join(glue.model, models));
        ASSERT_EQ(expected, shown(glue.text.join(first, last)));
        ASSERT_EQ(expected, shown(glue.text.join(OnceIterator(first), OnceIterator(last))));
    }
}

} // namespace

// SPDX-License-Identifier: Apache-2.0
//
// The text family once more, from plain vectors, step by step and without a care for speed: what
// the library is held against. Calls nothing of the library. A text is a codec's name, a range of a
// block of bytes and a number of characters; positions know their text, as the library's do.
//
//     const slow::Text line = slow::textOf(slow::UTF8, {'a', ';', 'b'});
//     slow::split(line, slow::textOf(slow::UTF8, {';'})).size() == 2;

#ifndef ZELCOMMON_TESTS_SUPPORT_SLOWTEXT_H
#define ZELCOMMON_TESTS_SUPPORT_SLOWTEXT_H

#include <memory>
#include <vector>

#include <support/SlowCodec.h>

namespace support::slow {

struct Text
{
    Encoding encoding = UTF8;
    /// Shared by copies and substrings.
    std::shared_ptr<const Bytes> block;
    unsigned int begin = 0;
    unsigned int end = 0;
    unsigned int count = 0;

    Bytes bytes() const;
    unsigned int length() const { return end - begin; }
};

/// A position in `text`, which is not owned; null for none.
struct Position
{
    const Text* text = nullptr;
    Place place = {};
};

// Constructors.
Text textOf(Encoding encoding, const Bytes& data);
/// `c` unchanged in UCS-4.
Text textOf(unsigned int c);
Text textOf(Encoding encoding, unsigned int c);
/// Converted also from the same encoding, as text from narrow and wide literals is.
Text convertedText(Encoding encoding, const Bytes& data, Encoding from);
/// Shared if `text` is in that encoding, and counted anew.
Text textOf(Encoding encoding, const Text& text);

// Positions.
Position first(const Text& text);
Position end(const Text& text);
unsigned int valueAt(const Position& position);
void advance(Position& position);
bool isAtEnd(const Position& position);
bool isEqual(const Position& left, const Position& right);
bool isBefore(const Position& left, const Position& right);

// Characters and comparison.
unsigned int at(const Text& text, unsigned int i);
bool isEqual(const Text& left, const Text& right);
bool isLess(const Text& left, const Text& right);
bool isGreater(const Text& left, const Text& right);

// Searches. A misused position is taken as it is.
Position find(const Text& text, const Text& needle, Position from);
Position rfind(const Text& text, const Text& needle, Position before);
Position findFirstOf(const Text& text, const Text& set, Position from);
Position findFirstNotOf(const Text& text, const Text& set, Position from);
Position findLastOf(const Text& text, const Text& set, Position before);
Position findLastNotOf(const Text& text, const Text& set, Position before);

// Composition.
Text substr(const Text& text, const Position& from, const Position& to);
Text substr(const Text& text, int from, int to);
Text plus(const Text& left, const Text& right);
Text times(const Text& text, unsigned int n);
std::vector<Text> split(const Text& text, const Text& separator);
Text join(const Text& glue, const std::vector<Text>& pieces);
Text replace(const Text& text, const Text& what, const Text& with);

} // namespace support::slow

#endif // ZELCOMMON_TESTS_SUPPORT_SLOWTEXT_H

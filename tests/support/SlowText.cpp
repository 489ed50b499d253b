// SPDX-License-Identifier: Apache-2.0

#include <support/SlowText.h>

#include <algorithm>
#include <cstdint>

namespace support::slow {

Bytes Text::bytes() const
{
    if (!block) return {};
    return Bytes(block->begin() + begin, block->begin() + end);
}

Text textOf(Encoding encoding, const Bytes& data)
{
    return {encoding, std::make_shared<Bytes>(data), 0, static_cast<unsigned int>(data.size()),
            count(encoding, data)};
}

Text textOf(unsigned int c)
{
    Bytes data;
    for (unsigned int i = 0; i < 4; ++i)
        data.push_back(static_cast<unsigned char>(c >> (8 * i)));
    return textOf(UCS4, data);
}

Text textOf(Encoding encoding, unsigned int c)
{
    Text text = convertedText(encoding, textOf(c).bytes(), UCS4);
    text.count = 1;
    return text;
}

Text convertedText(Encoding encoding, const Bytes& data, Encoding from)
{
    return textOf(encoding, convert(from, encoding, data));
}

Text textOf(Encoding encoding, const Text& text)
{
    if (encoding != text.encoding) return convertedText(encoding, text.bytes(), text.encoding);
    Text same = text;
    same.count = count(encoding, text.bytes());
    return same;
}

namespace {

/// Calls `use` with the bytes of `text`, which are not copied if they are its whole block: walks
/// over long texts would take their time.
template <typename Use>
auto withBytes(const Text& text, const Use& use)
{
    const bool isWhole = text.block && text.begin == 0 && text.end == text.block->size();
    return isWhole ? use(*text.block) : use(text.bytes());
}

} // namespace

Position first(const Text& text)
{
    return {&text, {}};
}

Position end(const Text& text)
{
    return {&text, {text.count, text.length()}};
}

unsigned int valueAt(const Position& position)
{
    if (position.text == nullptr) return REPLACEMENT;
    return withBytes(*position.text, [&position](const Bytes& data) {
        return read(position.text->encoding, data, position.place);
    });
}

void advance(Position& position)
{
    if (isAtEnd(position)) return;
    const unsigned int before = position.place.bytes;
    unsigned int last = 0;
    withBytes(*position.text, [&position, &last](const Bytes& data) {
        return readForward(position.text->encoding, data, position.place, 1, last);
    });
    // Bytes that are no character end the walk.
    if (position.place.bytes == before) position = end(*position.text);
}

bool isAtEnd(const Position& position)
{
    if (position.text == nullptr) return true;
    return position.place.chars == position.text->count ||
           position.place.bytes >= position.text->length();
}

namespace {

bool sharesPayload(const Position& left, const Position& right)
{
    if (left.text == nullptr || right.text == nullptr) return left.text == right.text;
    return left.text->block == right.text->block && left.text->begin == right.text->begin;
}

} // namespace

bool isEqual(const Position& left, const Position& right)
{
    if (!sharesPayload(left, right)) return false;
    if (left.place.chars == right.place.chars) return true;
    return left.text->length() == right.text->length() && isAtEnd(left) && isAtEnd(right);
}

bool isBefore(const Position& left, const Position& right)
{
    return sharesPayload(left, right) && static_cast<int>(left.place.chars - right.place.chars) < 0;
}

unsigned int at(const Text& text, unsigned int i)
{
    if (i >= text.count) return REPLACEMENT;
    const Bytes data = text.bytes();
    return read(text.encoding, data, placeOf(text.encoding, data, i));
}

namespace {

/// As many as the text counts: where fewer can be decoded, the last one is repeated.
std::vector<unsigned int> characters(const Text& text)
{
    const Bytes data = text.bytes();
    std::vector<unsigned int> result;
    Place at;
    unsigned int last = REPLACEMENT;
    for (unsigned int i = 0; i < text.count; ++i) {
        readForward(text.encoding, data, at, 1, last);
        result.push_back(last);
    }
    return result;
}

} // namespace

bool isEqual(const Text& left, const Text& right)
{
    return characters(left) == characters(right);
}

bool isLess(const Text& left, const Text& right)
{
    const std::vector<unsigned int> a = characters(left);
    const std::vector<unsigned int> b = characters(right);
    for (std::size_t i = 0; i < a.size() && i < b.size(); ++i)
        if (a[i] != b[i]) return a[i] < b[i];
    return a.size() < b.size();
}

bool isGreater(const Text& left, const Text& right)
{
    return isLess(right, left);
}

namespace {

bool begins(const Text& needle, Position candidate)
{
    Position wanted = first(needle);
    for (;;) {
        if (isAtEnd(wanted)) return true;
        if (isAtEnd(candidate)) return false;
        if (valueAt(wanted) != valueAt(candidate)) return false;
        advance(wanted);
        advance(candidate);
    }
}

bool isIn(const Text& set, unsigned int c)
{
    for (Position p = first(set); !isAtEnd(p); advance(p))
        if (valueAt(p) == c) return true;
    return false;
}

Position findFirst(const Text& text, const Text& set, Position p, bool isWanted)
{
    for (; !isAtEnd(p); advance(p))
        if (isIn(set, valueAt(p)) == isWanted) return p;
    return end(text);
}

Position findLast(const Text& text, const Text& set, const Position& before, bool isWanted)
{
    Position result = end(text);
    for (Position p = first(text); !isEqual(p, before) && !isAtEnd(p); advance(p))
        if (isIn(set, valueAt(p)) == isWanted) result = p;
    return result;
}

} // namespace

Position find(const Text& text, const Text& needle, Position from)
{
    Position p = from;
    if (from.text != &text) p = {&text, placeOf(text.encoding, text.bytes(), from.place.chars)};
    for (; !isAtEnd(p); advance(p))
        if (begins(needle, p)) return p;
    return end(text);
}

Position rfind(const Text& text, const Text& needle, Position before)
{
    Position result = end(text);
    for (Position p = first(text); !isAtEnd(p); advance(p)) {
        p = find(text, needle, p);
        if (isAtEnd(p)) break;
        if (isBefore(p, before) || isEqual(p, before)) result = p;
    }
    return result;
}

Position findFirstOf(const Text& text, const Text& set, Position from)
{
    return findFirst(text, set, from, true);
}

Position findFirstNotOf(const Text& text, const Text& set, Position from)
{
    return findFirst(text, set, from, false);
}

Position findLastOf(const Text& text, const Text& set, Position before)
{
    return findLast(text, set, before, true);
}

Position findLastNotOf(const Text& text, const Text& set, Position before)
{
    return findLast(text, set, before, false);
}

Text substr(const Text& text, const Position& from, const Position& to)
{
    for (const Position& position : {from, to})
        if (position.text == nullptr || !sharesPayload(position, first(text)))
            return textOf(UTF8, Bytes());
    const unsigned int chars = to.place.chars - from.place.chars;
    if (static_cast<int>(chars) <= 0) return textOf(UTF8, Bytes());
    return {text.encoding, text.block, text.begin + from.place.bytes, text.begin + to.place.bytes,
            chars};
}

Text substr(const Text& text, int from, int to)
{
    const auto normalised = [&](int v) {
        const std::int64_t c = text.count;
        return static_cast<unsigned int>(v < 0 ? std::max<std::int64_t>(c + v, 0)
                                               : std::min<std::int64_t>(v, c));
    };
    const Bytes data = text.bytes();
    return substr(text, {&text, placeOf(text.encoding, data, normalised(from))},
                  {&text, placeOf(text.encoding, data, normalised(to))});
}

Text plus(const Text& left, const Text& right)
{
    Bytes data = left.bytes();
    const Bytes added = left.encoding == right.encoding
                            ? right.bytes()
                            : convert(right.encoding, left.encoding, right.bytes());
    data.insert(data.end(), added.begin(), added.end());
    Text result = textOf(left.encoding, data);
    result.count = left.count + right.count;
    return result;
}

Text times(const Text& text, unsigned int n)
{
    const Bytes once = text.bytes();
    Bytes data;
    for (unsigned int i = 0; i < n; ++i)
        data.insert(data.end(), once.begin(), once.end());
    Text result = textOf(text.encoding, data);
    result.count = text.count * n;
    return result;
}

std::vector<Text> split(const Text& text, const Text& separator)
{
    std::vector<Text> pieces;
    const bool isEmpty = separator.count == 0;
    if (isEmpty && text.count == 0) return pieces;
    Position begin = first(text);
    Position stop = begin;
    if (isEmpty)
        advance(stop);
    else
        stop = find(text, separator, begin);
    for (;;) {
        pieces.push_back(substr(text, begin, stop));
        if (isAtEnd(stop)) return pieces;
        const unsigned int before = stop.place.bytes;
        begin = stop;
        unsigned int last = 0;
        readForward(text.encoding, text.bytes(), begin.place, separator.count, last);
        // A separator that was found where nothing can be passed ends the walk, too.
        if (isAtEnd(begin) || (!isEmpty && begin.place.bytes == before)) {
            begin = stop = end(text);
        } else if (isEmpty) {
            advance(stop);
        } else {
            stop = find(text, separator, begin);
        }
    }
}

Text join(const Text& glue, const std::vector<Text>& pieces)
{
    Text result = textOf(UTF8, Bytes());
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        if (i > 0) result = plus(result, glue);
        result = plus(result, pieces[i]);
    }
    return result;
}

Text replace(const Text& text, const Text& what, const Text& with)
{
    return join(with, split(text, what));
}

} // namespace support::slow

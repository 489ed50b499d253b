// SPDX-License-Identifier: Apache-2.0
//
// A text of the library beside its slow model, and a position in both.

#ifndef ZELCOMMON_TESTS_SUPPORT_TEXTPAIR_H
#define ZELCOMMON_TESTS_SUPPORT_TEXTPAIR_H

#include <string>
#include <utility>

#include <support/LibraryText.h>
#include <support/RandomText.h>
#include <support/SlowText.h>

namespace support {

struct TextPair
{
    TextPair(slow::Encoding encoding, const slow::Bytes& data)
        : model(slow::textOf(encoding, data)), text(stringOf(encoding, data))
    {}
    TextPair(slow::Text modelText, std::unicode::String libraryText)
        : model(std::move(modelText)), text(std::move(libraryText))
    {}

    slow::Text model;
    std::unicode::String text;
};

/// A position in the texts of `pair`, which must outlive it.
struct PlacePair
{
    explicit PlacePair(const TextPair& pair, unsigned int steps = 0)
        : model(slow::first(pair.model)), place(pair.text.begin())
    {
        for (unsigned int i = 0; i < steps; ++i)
            advance();
    }

    void advance()
    {
        slow::advance(model);
        ++place;
    }

    slow::Position model;
    std::unicode::String::Iterator place;
};

inline TextPair operator+(const TextPair& left, const TextPair& right)
{
    return {slow::plus(left.model, right.model), left.text + right.text};
}

inline TextPair operator*(const TextPair& pair, unsigned int n)
{
    return {slow::times(pair.model, n), pair.text * n};
}

inline TextPair part(const TextPair& pair, int from, int to)
{
    return {slow::substr(pair.model, from, to), pair.text.substr(from, to)};
}

inline TextPair converted(const TextPair& pair, slow::Encoding encoding)
{
    return {slow::textOf(encoding, pair.model), std::unicode::String(codecOf(encoding), pair.text)};
}

/// A text of at most a few pieces: plain, composed, repeated or a part of one.
inline TextPair randomPair(RandomText& random, unsigned int pieces)
{
    const slow::Encoding encoding = random.encoding();
    TextPair pair(encoding, random.bytes(encoding, pieces));
    const unsigned int kind = random.below(8);
    if (kind == 0) return pair + TextPair(encoding, random.bytes(encoding, pieces));
    if (kind == 1) return pair * random.below(4);
    if (kind == 2) return part(pair, 1, static_cast<int>(random.below(pieces + 1)));
    return pair;
}

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_TEXTPAIR_H

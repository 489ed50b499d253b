// SPDX-License-Identifier: Apache-2.0

#include "Counting.h"

#include <cstdint>
#include <cstring>

#include "Encoding.h"

namespace textcore {

namespace {

template <typename Encoding>
unsigned int count(const Encoding& encoding, const Bytes& text)
{
    Codec::Index at;
    unsigned int last = 0;
    while (at.bytes < text.size) {
        const unsigned int before = at.bytes;
        encoding.step(text.data, text.size, at, last);
        if (at.bytes == before) break;
    }
    return at.chars;
}

/// Returns how many of the next bytes are ASCII, in whole words.
unsigned int asciiWords(const unsigned char* data, unsigned int size)
{
    constexpr std::uint64_t HIGH_BITS = 0x8080808080808080;
    unsigned int length = 0;
    for (std::uint64_t word = 0; size - length >= sizeof word; length += sizeof word) {
        std::memcpy(&word, data + length, sizeof word);
        if ((word & HIGH_BITS) != 0) break;
    }
    return length;
}

/// A byte of ASCII is a character, wherever a character may begin.
unsigned int count(const Utf8Encoding& encoding, const Bytes& text)
{
    Codec::Index at;
    unsigned int last = 0;
    while (at.bytes < text.size) {
        const unsigned int run = asciiWords(text.data + at.bytes, text.size - at.bytes);
        at.bytes += run;
        at.chars += run;
        if (at.bytes < text.size) encoding.step(text.data, text.size, at, last);
    }
    return at.chars;
}

/// Every value is a character.
unsigned int count(const Ucs4Encoding&, const Bytes& text)
{
    return text.size / Ucs4Decoder::WIDTH;
}

} // namespace

unsigned int countCharacters(const Codec& codec, const Bytes& text)
{
    return withEncoding(codec, [&](const auto& encoding) { return count(encoding, text); });
}

} // namespace textcore

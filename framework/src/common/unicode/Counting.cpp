// SPDX-License-Identifier: Apache-2.0

#include "Counting.h"

#include "Encoding.h"
#include "Utf8Structure.h"

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

unsigned int count(const Utf8Encoding& encoding, const Bytes& text)
{
    Codec::Index at;
    unsigned int last = 0;
    passText(text, at, structuredRun, [&] {
        encoding.step(text.data, text.size, at, last);
        return true;
    });
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

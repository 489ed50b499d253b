// SPDX-License-Identifier: Apache-2.0

#include "Counting.h"

#include <cstring>

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

/// Copies `COUNT` lanes, a power of two. Returns their bits together.
template <typename Lanes, unsigned int COUNT>
Lanes copyLanes(const unsigned char* from, unsigned char* to)
{
    if constexpr (COUNT == 1) {
        const Lanes lanes = load<Lanes>(from);
        store(to, lanes);
        return lanes;
    } else {
        constexpr unsigned int HALF = COUNT / 2 * sizeof(Lanes);
        const Lanes first = copyLanes<Lanes, COUNT / 2>(from, to);
        return first | copyLanes<Lanes, COUNT / 2>(from + HALF, to + HALF);
    }
}

/// Copies blocks from the beginning of `text` on. Returns the number of bytes that are ASCII, whole
/// blocks of them.
template <typename Lanes>
unsigned int copyAsciiBlocks(const Bytes& text, unsigned char* to)
{
    constexpr unsigned int COUNT = 16;
    constexpr unsigned int BLOCK = COUNT * sizeof(Lanes);
    unsigned int bytes = 0;
    while (text.size - bytes >= BLOCK) {
        const Lanes any = copyLanes<Lanes, COUNT>(text.data + bytes, to + bytes);
        if (!isZero(any & NOT_ASCII<Lanes, unsigned char>)) break;
        bytes += BLOCK;
    }
    return bytes;
}

} // namespace

unsigned int countCharacters(const Codec& codec, const Bytes& text)
{
    return withEncoding(codec, [&](const auto& encoding) { return count(encoding, text); });
}

unsigned int copyCounted(const Bytes& text, unsigned char* to)
{
    // By words it would take longer than a copy and a proof.
    constexpr bool IS_WORTH_IT = sizeof(Widest) > sizeof(Word);
    const unsigned int ascii = IS_WORTH_IT ? copyAsciiBlocks<Widest>(text, to) : 0;
    const Bytes rest = behind(text, ascii);
    if (rest.size > 0) std::memcpy(to + ascii, rest.data, rest.size);
    return ascii + countCharacters(std::unicode::UTF8, rest);
}

} // namespace textcore

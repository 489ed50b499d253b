// SPDX-License-Identifier: Apache-2.0
//
// How each encoding is read: one decoder for each, expanded in line, with the two motions that all
// algorithms are made of. `read` gives the code point at a position, `step` moves over one. They
// treat some malformed bytes differently on purpose. No byte outside `data[0..size)` is touched.

#ifndef ZELCOMMON_SRC_COMMON_UNICODE_DECODERS_H
#define ZELCOMMON_SRC_COMMON_UNICODE_DECODERS_H

#include <cstdint>
#include <cstring>

#include <common/unicode/Codec.h>

#include "Utf8Shape.h"

namespace textcore {

using std::unicode::Codec;

constexpr unsigned int REPLACEMENT = 0xFFFD;

/// Kept: bits 11 to 15 alone decide, so U+1D800 and its like count as surrogates, too.
constexpr bool isSurrogate(unsigned int c)
{
    return (c & 0xF800) == 0xD800;
}

constexpr unsigned int withoutSurrogate(unsigned int c)
{
    return isSurrogate(c) ? REPLACEMENT : c;
}

struct Utf8Decoder
{
    static constexpr bool isContinuation(unsigned int byte) { return (byte & 0xC0) == 0x80; }

    /// Returns how many continuation bytes a lead of 0x80 or more announces; 0 for those that are
    /// no lead.
    static unsigned int tailLength(unsigned int lead)
    {
        if (lead < 0xC0) return 0;
        if (lead < 0xE0) return 1;
        if (lead < 0xF0) return 2;
        if (lead < 0xF8) return 3;
        if (lead < 0xFC) return 4;
        return lead < 0xFE ? 5 : 0;
    }

    static unsigned int read(const unsigned char* data, unsigned int size, const Codec::Index& at)
    {
        const unsigned int position = at.bytes;
        if (position >= size) return REPLACEMENT;
        const unsigned int lead = data[position];
        if (lead < 0x80) return lead;
        unsigned int whole = 0;
        if (wholeLength(data + position, size - position, whole) != 0)
            return withoutSurrogate(whole);
        return readRare(data + position, size - position);
    }

    /// Moves over one character and stores it in `last`, surrogates as they are. Returns false, and
    /// does neither, at the end.
    ///
    /// Kept: a byte that is no continuation where one is due is swallowed with what it ends.
    static bool pass(const unsigned char* data, unsigned int size, Codec::Index& at,
                     unsigned int& last)
    {
        if (at.bytes >= size) return false;
        const unsigned int lead = data[at.bytes++];
        ++at.chars;
        last = lead;
        if (lead < 0x80) return true;
        unsigned int whole = 0;
        const unsigned int length = wholeLength(data + at.bytes - 1, size - at.bytes + 1, whole);
        if (length != 0) {
            at.bytes += length - 1;
            last = whole;
            return true;
        }

        const Rare rare = passRare(data + at.bytes - 1, size - at.bytes + 1);
        at.bytes += rare.tail;
        last = rare.c;
        return true;
    }

    static unsigned int step(const unsigned char* data, unsigned int size, Codec::Index& at,
                             unsigned int& last)
    {
        if (!pass(data, size, at, last)) return 0;
        last = withoutSurrogate(last);
        return 1;
    }

    /// Returns the length of a character of two to four bytes that has all of them, and stores it in
    /// `c`. Returns 0 for others, also where there is no word to load; `c` may be anything then.
    static unsigned int wholeLength(const unsigned char* data, unsigned int size, unsigned int& c)
    {
        std::uint32_t bytes = 0;
        if (size < sizeof bytes) return 0;
        std::memcpy(&bytes, data, sizeof bytes);
        const std::uint32_t lead = bytes & 0xFF;
        if (lead < 0xE0) {
            c = Utf8Shape<2>::decoded(bytes);
            return Utf8Shape<2>::isAt(bytes) ? 2 : 0;
        }
        if (lead < 0xF0) {
            c = Utf8Shape<3>::decoded(bytes);
            return Utf8Shape<3>::isAt(bytes) ? 3 : 0;
        }
        c = Utf8Shape<4>::decoded(bytes);
        return Utf8Shape<4>::isAt(bytes) ? 4 : 0;
    }

private:
    // What is malformed, near the end, or longer than four bytes. Not in line: it is in the way of
    // all else there.

    /// Returns the character at `data`, where there is one byte at least.
    __attribute__((noinline)) static unsigned int readRare(const unsigned char* data,
                                                           unsigned int size)
    {
        const unsigned int tail = tailLength(data[0]);
        if (tail == 0 || tail >= size) return REPLACEMENT;
        unsigned int c = data[0] & (0x3F >> tail);
        for (unsigned int i = 1; i <= tail; ++i) {
            if (!isContinuation(data[i])) return REPLACEMENT;
            c = c << 6 | (data[i] & 0x3F);
        }
        return withoutSurrogate(c);
    }

    /// A character, and how many bytes it takes behind its lead.
    struct Rare
    {
        unsigned int c;
        unsigned int tail;
    };

    /// Returns the character at `data`, where there is one byte at least.
    __attribute__((noinline)) static Rare passRare(const unsigned char* data, unsigned int size)
    {
        const unsigned int tail = tailLength(data[0]);
        unsigned int c = data[0] & (0x3F >> tail);
        for (unsigned int i = 1; i <= tail; ++i) {
            if (i >= size) return {REPLACEMENT, i - 1};
            if (!isContinuation(data[i])) return {REPLACEMENT, i};
            c = c << 6 | (data[i] & 0x3F);
        }
        if (tail == 0) return {REPLACEMENT, 0};
        // Kept: here bit 30 comes from the first continuation byte, in read from the lead.
        if (tail == 5) c = (c & 0x3FFFFFFF) | (data[1] & 1U) << 30;
        return {c, tail};
    }
};

template <bool IS_BIG_ENDIAN>
struct Utf16Decoder
{
    static constexpr bool isHigh(unsigned int unit) { return (unit & 0xFC00) == 0xD800; }
    static constexpr bool isLow(unsigned int unit) { return (unit & 0xFC00) == 0xDC00; }

    static unsigned int unit(const unsigned char* data, unsigned int position)
    {
        const unsigned int first = data[position];
        const unsigned int second = data[position + 1];
        return IS_BIG_ENDIAN ? first << 8 | second : second << 8 | first;
    }

    /// Returns what a pair of surrogates stands for.
    static constexpr unsigned int combined(unsigned int high, unsigned int low)
    {
        return withoutSurrogate(((high & 0x3FF) << 10 | (low & 0x3FF)) + 0x10000);
    }

    static unsigned int read(const unsigned char* data, unsigned int size, const Codec::Index& at)
    {
        const unsigned int position = at.bytes;
        if (position >= size || size - position < 2) return REPLACEMENT;
        const unsigned int high = unit(data, position);
        if (!isSurrogate(high)) return high;
        if (isLow(high) || size - position < 4) return REPLACEMENT;
        const unsigned int low = unit(data, position + 2);
        return isLow(low) ? combined(high, low) : REPLACEMENT;
    }

    /// Kept: a high surrogate takes the unit behind it along, also one that is no low surrogate.
    static unsigned int step(const unsigned char* data, unsigned int size, Codec::Index& at,
                             unsigned int& last)
    {
        if (at.bytes >= size || size - at.bytes < 2) return 0;
        const unsigned int first = unit(data, at.bytes);
        last = isSurrogate(first) ? REPLACEMENT : first;
        ++at.chars;
        if (!isHigh(first) || size - at.bytes < 4) {
            at.bytes += 2;
            return 1;
        }
        const unsigned int second = unit(data, at.bytes + 2);
        if (isLow(second)) last = combined(first, second);
        at.bytes += 4;
        return 1;
    }
};

struct Ucs4Decoder
{
    static constexpr unsigned int WIDTH = 4;

    static unsigned int value(const unsigned char* data, unsigned int position)
    {
        std::uint32_t value = 0;
        std::memcpy(&value, data + position, sizeof value);
        return withoutSurrogate(value);
    }

    static unsigned int read(const unsigned char* data, unsigned int size, const Codec::Index& at)
    {
        if (at.bytes >= size || size - at.bytes < WIDTH) return REPLACEMENT;
        return value(data, at.bytes);
    }

    static unsigned int forward(const unsigned char* data, unsigned int size, Codec::Index& at,
                                unsigned int n, unsigned int& last)
    {
        if (at.bytes >= size) return 0;
        if (n > (size - at.bytes) / WIDTH) {
            at.bytes = size;
            at.chars = size / WIDTH;
            return 0;
        }
        if (n == 0) return 1;
        at.bytes += WIDTH * n;
        at.chars += n;
        last = value(data, at.bytes - WIDTH);
        return 1;
    }

    static unsigned int step(const unsigned char* data, unsigned int size, Codec::Index& at,
                             unsigned int& last)
    {
        return forward(data, size, at, 1, last);
    }
};

} // namespace textcore

#endif // ZELCOMMON_SRC_COMMON_UNICODE_DECODERS_H

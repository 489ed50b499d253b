// SPDX-License-Identifier: Apache-2.0
//
// How each encoding is written. `size` tells how many bytes a code point takes, `write` writes one
// at a position and moves it. No byte outside `data[0..size)` is touched.

#ifndef ZELCOMMON_SRC_COMMON_UNICODE_ENCODERS_H
#define ZELCOMMON_SRC_COMMON_UNICODE_ENCODERS_H

#include <cstdint>
#include <cstring>

#include "Decoders.h"

namespace textcore {

struct Utf8Encoder
{
    static constexpr unsigned int END = 0x80000000; // of the values that six bytes hold

    static constexpr unsigned int bytesOf(unsigned int c)
    {
        return isSurrogate(c) || c >= END ? 3 : lengthOf(c); // 3: the replacement
    }

    static unsigned int write(unsigned char* data, unsigned int size, Codec::Index& at,
                              unsigned int c)
    {
        if (isSurrogate(c) || c >= END) {
            put(data, size, at, REPLACEMENT);
            return 0;
        }
        return put(data, size, at, c);
    }

private:
    static constexpr unsigned int lengthOf(unsigned int c)
    {
        if (c < 0x80) return 1;
        if (c < 0x800) return 2;
        if (c < 0x10000) return 3;
        if (c < 0x200000) return 4;
        return c < 0x4000000 ? 5 : 6;
    }

    static unsigned int put(unsigned char* data, unsigned int size, Codec::Index& at,
                            unsigned int c)
    {
        const unsigned int length = lengthOf(c);
        if (at.bytes > size || size - at.bytes < length) return 0;
        unsigned char* const to = data + at.bytes;
        for (unsigned int i = length - 1; i > 0; --i) {
            to[i] = static_cast<unsigned char>(0x80 | (c & 0x3F));
            c >>= 6;
        }
        // The lead of n bytes begins with n ones and a zero, that of a single byte with the zero.
        const unsigned int mark = length == 1 ? 0 : 0xFF00U >> length & 0xFF;
        to[0] = static_cast<unsigned char>(mark | c);
        at.bytes += length;
        ++at.chars;
        return 1;
    }
};

template <bool IS_BIG_ENDIAN>
struct Utf16Encoder
{
    static constexpr unsigned int END = 0x110000; // of the values that a pair holds

    static constexpr unsigned int bytesOf(unsigned int c)
    {
        // Kept: U+1D800 and its like count 4, though they are replaced by one unit.
        return c - 0x10000 < 0x100000 ? 4 : 2;
    }

    static unsigned int write(unsigned char* data, unsigned int size, Codec::Index& at,
                              unsigned int c)
    {
        const bool isReplaced = isSurrogate(c) || c >= END;
        if (isReplaced) c = REPLACEMENT;
        const unsigned int length = c < 0x10000 ? 2 : 4;
        if (at.bytes > size || size - at.bytes < length) return 0;
        if (length == 2) {
            putUnit(data + at.bytes, c);
        } else {
            putUnit(data + at.bytes, 0xD800 | (c - 0x10000) >> 10);
            putUnit(data + at.bytes + 2, 0xDC00 | (c & 0x3FF));
        }
        at.bytes += length;
        ++at.chars;
        return isReplaced ? 0 : 1;
    }

private:
    static void putUnit(unsigned char* to, unsigned int unit)
    {
        to[IS_BIG_ENDIAN ? 0 : 1] = static_cast<unsigned char>(unit >> 8);
        to[IS_BIG_ENDIAN ? 1 : 0] = static_cast<unsigned char>(unit);
    }
};

struct Ucs4Encoder
{
    static constexpr unsigned int WIDTH = 4;

    static constexpr unsigned int bytesOf(unsigned int) { return WIDTH; }

    /// Kept: a surrogate is not replaced but left out, and the position moves also where there is
    /// no room.
    static unsigned int write(unsigned char* data, unsigned int size, Codec::Index& at,
                              unsigned int c)
    {
        if (isSurrogate(c)) return 0;
        const unsigned int position = at.bytes;
        at.bytes += WIDTH;
        ++at.chars;
        if (position > size || size - position < WIDTH) return 0;
        const std::uint32_t value = c;
        std::memcpy(data + position, &value, sizeof value);
        return 1;
    }
};

} // namespace textcore

#endif // ZELCOMMON_SRC_COMMON_UNICODE_ENCODERS_H

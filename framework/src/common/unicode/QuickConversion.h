// SPDX-License-Identifier: Apache-2.0
//
// Conversion of what is as it should be, away from the ends of both blocks, where no step needs to
// be checked. All else is left to the decoder and the encoder.

#ifndef ZELCOMMON_SRC_COMMON_UNICODE_QUICKCONVERSION_H
#define ZELCOMMON_SRC_COMMON_UNICODE_QUICKCONVERSION_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "AsciiCopy.h"
#include "Encoding.h"

namespace textcore {

/// Returns whether each encoding can hold a code point.
constexpr bool isPlain(unsigned int c)
{
    return !isSurrogate(c) && c < 0x110000;
}

/// Where a conversion stands: what is left on both sides.
struct Course
{
    const unsigned char* from;
    const unsigned char* fromEnd;
    unsigned char* to;
    unsigned char* toEnd;
    unsigned int chars;
};

/// Reads a character that has all of its units, and moves over it. Returns false, and stays, at
/// another one. At least four bytes must be left.
inline bool takeWhole(const Utf8Encoding&, const unsigned char*& from, unsigned int& c)
{
    constexpr unsigned int LEFT = 4;
    const unsigned int length = Utf8Decoder::wholeLength(from, LEFT, c);
    from += length;
    return length != 0;
}

inline bool takeWhole(const Utf16Encoding&, const unsigned char*& from, unsigned int& c)
{
    c = Utf16Encoding::unit(from, 0);
    if (!isSurrogate(c)) {
        from += 2;
        return true;
    }
    const unsigned int low = Utf16Encoding::unit(from, 2);
    if (!Utf16Encoding::isHigh(c) || !Utf16Encoding::isLow(low)) return false;
    c = Utf16Encoding::combined(c, low);
    from += 4;
    return true;
}

inline bool takeWhole(const Ucs4Encoding&, const unsigned char*& from, unsigned int& c)
{
    std::memcpy(&c, from, sizeof c);
    from += sizeof c;
    return true;
}

/// Writes a code point below 0x110000 that is no surrogate. Returns its bytes. May write up to
/// four.
inline unsigned int putPlain(const Utf8Encoding&, unsigned char* to, unsigned int c)
{
    std::uint32_t bytes = 0;
    unsigned int length = 0;
    if (c < 0x80) {
        bytes = c;
        length = 1;
    } else if (c < 0x800) {
        bytes = 0x80C0 | c >> 6 | (c & 0x3F) << 8;
        length = 2;
    } else if (c < 0x10000) {
        bytes = 0x8080E0 | c >> 12 | (c >> 6 & 0x3F) << 8 | (c & 0x3F) << 16;
        length = 3;
    } else {
        bytes =
            0x808080F0 | c >> 18 | (c >> 12 & 0x3F) << 8 | (c >> 6 & 0x3F) << 16 | (c & 0x3F) << 24;
        length = 4;
    }
    std::memcpy(to, &bytes, sizeof bytes);
    return length;
}

inline unsigned int putPlain(const Utf16Encoding&, unsigned char* to, unsigned int c)
{
    if (c < 0x10000) {
        const auto unit = static_cast<std::uint16_t>(c);
        std::memcpy(to, &unit, sizeof unit);
        return sizeof unit;
    }
    const std::uint32_t pair = (0xD800 | (c - 0x10000) >> 10) | (0xDC00 | (c & 0x3FF)) << 16;
    std::memcpy(to, &pair, sizeof pair);
    return sizeof pair;
}

inline unsigned int putPlain(const Ucs4Encoding&, unsigned char* to, unsigned int c)
{
    std::memcpy(to, &c, sizeof c);
    return sizeof c;
}

/// Copies ASCII, as long as there are large blocks of it.
template <typename From, typename To>
void copyAsciiBlocks(Course& at)
{
    constexpr std::ptrdiff_t TAKEN = LARGE_BLOCK * sizeof(From);
    constexpr std::ptrdiff_t WRITTEN = LARGE_BLOCK * sizeof(To);
    while (at.fromEnd - at.from >= TAKEN && at.toEnd - at.to >= WRITTEN && at.chars > LARGE_BLOCK &&
           copyAsciiBlock<From, To>(at.from, at.to)) {
        at.from += TAKEN;
        at.to += WRITTEN;
        at.chars -= LARGE_BLOCK;
    }
}

/// Converts characters of three bytes, as long as they follow each other: most text of East Asia.
template <typename Target>
void convertThrees(const Utf8Encoding&, const Target&, Course& at)
{
    using To = typename Target::Unit;
    constexpr std::ptrdiff_t LENGTH = 3;
    constexpr std::ptrdiff_t LOADED = 4;
    if ((*at.from & 0xF0) != 0xE0) return;
    std::ptrdiff_t most = std::min<std::ptrdiff_t>((at.fromEnd - at.from - LOADED) / LENGTH,
                                                   (at.toEnd - at.to) / std::ptrdiff_t(sizeof(To)));
    for (most = std::min<std::ptrdiff_t>(most, at.chars - 1); most > 0; --most) {
        std::uint32_t bytes = 0;
        std::memcpy(&bytes, at.from, LOADED);
        const std::uint32_t c = (bytes & 0x0F) << 12 | (bytes >> 2 & 0xFC0) | (bytes >> 16 & 0x3F);
        if ((bytes & 0xC0C0F0) != 0x8080E0 || isSurrogate(c)) return;
        const auto unit = static_cast<To>(c);
        std::memcpy(at.to, &unit, sizeof unit);
        at.from += LENGTH;
        at.to += sizeof unit;
        --at.chars;
    }
}
template <typename Source>
void convertThrees(const Source&, const Utf8Encoding&, Course& at)
{
    using From = typename Source::Unit;
    constexpr std::ptrdiff_t LENGTH = 3;
    constexpr std::ptrdiff_t STORED = 4;
    const auto isThree = [](unsigned int c) {
        return c >= 0x800 && c <= 0xFFFF && !isSurrogate(c);
    };
    From unit;
    std::memcpy(&unit, at.from, sizeof unit);
    if (!isThree(unit)) return;
    std::ptrdiff_t most = std::min<std::ptrdiff_t>(
        (at.fromEnd - at.from) / std::ptrdiff_t(sizeof unit), (at.toEnd - at.to - STORED) / LENGTH);
    for (most = std::min<std::ptrdiff_t>(most, at.chars - 1); most > 0; --most) {
        std::memcpy(&unit, at.from, sizeof unit);
        if (!isThree(unit)) return;
        const std::uint32_t c = unit;
        const std::uint32_t bytes = 0x8080E0 | c >> 12 | (c << 2 & 0x3F00) | (c & 0x3F) << 16;
        std::memcpy(at.to, &bytes, STORED);
        at.from += sizeof unit;
        at.to += LENGTH;
        --at.chars;
    }
}
inline void convertThrees(const Utf8Encoding&, const Utf8Encoding&, Course&) {}

/// Converts as far as that goes.
template <typename Source, typename Target>
void convertMany(const Source& source, const Target& target, Course& course)
{
    using From = typename Source::Unit;
    using To = typename Target::Unit;
    // What one round takes at most: a block of ASCII, or a smaller one and a character behind it.
    constexpr std::ptrdiff_t TAKEN = LARGE_BLOCK * sizeof(From);
    constexpr std::ptrdiff_t WRITTEN = LARGE_BLOCK * sizeof(To);
    static_assert(LARGE_BLOCK >= ASCII_BLOCK + 4, "a character has no more than four units");
    Course at = course;
    while (at.fromEnd - at.from >= TAKEN && at.toEnd - at.to >= WRITTEN && at.chars > LARGE_BLOCK) {
        From first;
        std::memcpy(&first, at.from, sizeof first);
        if (first < 0x80) {
            const unsigned int copied = copyAscii<From, To>(at.from, at.to);
            at.from += copied * sizeof(From);
            at.to += copied * sizeof(To);
            at.chars -= copied;
            if (copied == ASCII_BLOCK) {
                copyAsciiBlocks<From, To>(at);
                continue;
            }
        }
        convertThrees(source, target, at);
        if (at.fromEnd - at.from < TAKEN || at.toEnd - at.to < WRITTEN || at.chars <= LARGE_BLOCK)
            break;
        const unsigned char* from = at.from;
        unsigned int c = 0;
        if (!takeWhole(source, from, c) || !isPlain(c)) break;
        at.from = from;
        at.to += putPlain(target, at.to, c);
        --at.chars;
    }
    course = at;
}

inline void convertMany(const AnyEncoding&, const AnyEncoding&, Course&) {}

} // namespace textcore

#endif // ZELCOMMON_SRC_COMMON_UNICODE_QUICKCONVERSION_H

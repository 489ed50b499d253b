// SPDX-License-Identifier: Apache-2.0
//
// Characters that are as they should be, and not ASCII: each encoding can hold them, and has one
// form of each. They are told apart by their length in UTF-8, as most scripts have one alone.

#ifndef ZELCOMMON_SRC_COMMON_UNICODE_PLAINCHARACTER_H
#define ZELCOMMON_SRC_COMMON_UNICODE_PLAINCHARACTER_H

#include <cstddef>
#include <cstdint>

#include "Encoding.h"
#include "Lanes.h"

namespace textcore {

/// Returns whether a code point is plain and has that length.
template <unsigned int LENGTH>
constexpr bool hasLength(unsigned int c)
{
    if (LENGTH == 2) return c - 0x80 < 0x800 - 0x80;
    if (LENGTH == 4) return c - 0x10000 < 0x100000 && !isSurrogate(c);
    // The upper five bits of sixteen tell it: none of them are set in what is shorter.
    constexpr std::uint32_t OTHERS = 1U << 0 | 1U << (0xD800 >> 11);
    return c < 0x10000 && (OTHERS >> (c >> 11) & 1) == 0;
}

/// Reads a plain character of that length; from UTF-8, also one of two or three bytes that needs
/// fewer. Returns false if there is another one. Four bytes must be there.
//
// These are always in line: the compiler does not see that they are the heart of loops.
template <unsigned int LENGTH>
[[gnu::always_inline]] inline bool take(const Utf8Encoding&, const unsigned char* from,
                                        unsigned int& c)
{
    const auto bytes = load<std::uint32_t>(from);
    c = Utf8Shape<LENGTH>::decoded(bytes);
    return Utf8Shape<LENGTH>::isAt(bytes) && (LENGTH == 4 ? hasLength<4>(c) : !isSurrogate(c));
}
template <unsigned int LENGTH>
[[gnu::always_inline]] inline bool take(const Utf16Encoding&, const unsigned char* from,
                                        unsigned int& c)
{
    if (LENGTH < 4) {
        c = load<std::uint16_t>(from);
        return hasLength<LENGTH>(c);
    }
    const auto pair = load<std::uint32_t>(from);
    c = (pair << 10 & 0xFFC00) + (pair >> 16 & 0x3FF) + 0x10000;
    return (pair & 0xFC00FC00) == 0xDC00D800 && !isSurrogate(c);
}
template <unsigned int LENGTH>
[[gnu::always_inline]] inline bool take(const Ucs4Encoding&, const unsigned char* from,
                                        unsigned int& c)
{
    c = load<std::uint32_t>(from);
    return hasLength<LENGTH>(c);
}

/// Returns the bytes of a character that has been taken, which must have that length in UTF-8.
template <unsigned int LENGTH>
std::uint32_t encoded(const Utf8Encoding&, unsigned int c)
{
    return Utf8Shape<LENGTH>::encoded(c);
}
template <unsigned int LENGTH>
std::uint32_t encoded(const Utf16Encoding&, unsigned int c)
{
    if (LENGTH < 4) return c;
    return (0xD800 | (c - 0x10000) >> 10) | (0xDC00 | (c & 0x3FF)) << 16;
}
template <unsigned int LENGTH>
std::uint32_t encoded(const Ucs4Encoding&, unsigned int c)
{
    return c;
}

/// The number of these bytes.
template <unsigned int LENGTH, typename Encoding>
constexpr std::ptrdiff_t bytesOf()
{
    constexpr std::ptrdiff_t UNIT = sizeof(typename Encoding::Unit);
    return UNIT == 1 ? LENGTH : LENGTH == 4 ? 4 : UNIT;
}

/// Returns the length of the character that `unit`, which is not ASCII, begins if that is plain.
template <typename Encoding>
unsigned int lengthBehind(typename Encoding::Unit unit)
{
    if (sizeof unit == 1) return unit < 0xE0 ? 2 : unit < 0xF0 ? 3 : 4;
    if (unit < 0x800) return 2;
    return unit < 0x10000U && !(sizeof unit == 2 && isSurrogate(unit)) ? 3 : 4;
}

/// Reads a plain character or one of ASCII. Returns its bytes, 0 if there is another one.
template <typename Encoding>
[[gnu::always_inline]] inline std::ptrdiff_t takeAny(const Encoding& encoding,
                                                     const unsigned char* from, unsigned int& c)
{
    const auto unit = load<typename Encoding::Unit>(from);
    c = unit;
    if (unit < 0x80) return sizeof unit;
    switch (lengthBehind<Encoding>(unit)) {
    case 2: return take<2>(encoding, from, c) ? bytesOf<2, Encoding>() : 0;
    case 3: return take<3>(encoding, from, c) ? bytesOf<3, Encoding>() : 0;
    default: return take<4>(encoding, from, c) ? bytesOf<4, Encoding>() : 0;
    }
}

} // namespace textcore

#endif // ZELCOMMON_SRC_COMMON_UNICODE_PLAINCHARACTER_H

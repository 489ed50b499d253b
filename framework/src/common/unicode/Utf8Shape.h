// SPDX-License-Identifier: Apache-2.0
//
// What characters of more than one byte look like in UTF-8, all of their bytes at once.

#ifndef ZELCOMMON_SRC_COMMON_UNICODE_UTF8SHAPE_H
#define ZELCOMMON_SRC_COMMON_UNICODE_UTF8SHAPE_H

#include <cstdint>

namespace textcore {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the lead is the lowest byte of a word");

/// Characters of `LENGTH` bytes, two to four, at the beginning of a word.
template <unsigned int LENGTH>
class Utf8Shape
{
public:
    /// Returns whether such a character begins `word`; overlong ones are such, too.
    static constexpr bool isAt(std::uint32_t word) { return (word & MASK) == MARKS; }

    /// Returns the code point of the character that begins `word`.
    static constexpr std::uint32_t decoded(std::uint32_t word)
    {
        const std::uint32_t lead = word & 0xFF & ~LEAD_MASK;
        if constexpr (LENGTH == 2) return lead << 6 | (word >> 8 & 0x3F);
        if constexpr (LENGTH == 3) return lead << 12 | (word >> 2 & 0xFC0) | (word >> 16 & 0x3F);
        return lead << 18 | (word << 4 & 0x3F000) | (word >> 10 & 0xFC0) | (word >> 24 & 0x3F);
    }

    /// Returns the bytes of a code point that has `LENGTH` of them.
    static constexpr std::uint32_t encoded(std::uint32_t c)
    {
        if constexpr (LENGTH == 2) return MARKS | c >> 6 | (c & 0x3F) << 8;
        if constexpr (LENGTH == 3) return MARKS | c >> 12 | (c << 2 & 0x3F00) | (c & 0x3F) << 16;
        return MARKS | c >> 18 | (c >> 4 & 0x3F00) | (c << 10 & 0x3F0000) | (c & 0x3F) << 24;
    }

private:
    static constexpr std::uint32_t ALL = ~std::uint32_t(0) >> (32 - 8 * LENGTH);
    static constexpr std::uint32_t LEAD = 0xFF00 >> LENGTH & 0xFF;
    static constexpr std::uint32_t LEAD_MASK = LEAD | LEAD >> 1;
    static constexpr std::uint32_t MARKS = LEAD | (ALL & 0x80808000);
    static constexpr std::uint32_t MASK = LEAD_MASK | (ALL & 0xC0C0C000);
};

static_assert(Utf8Shape<2>::encoded(0x7FF) == 0xBFDF);
static_assert(Utf8Shape<3>::encoded(0x20AC) == 0xAC82E2);
static_assert(Utf8Shape<4>::encoded(0x1F600) == 0x80989FF0);
static_assert(Utf8Shape<4>::decoded(0x80989FF0) == 0x1F600 && Utf8Shape<4>::isAt(0x80989FF0));

} // namespace textcore

#endif // ZELCOMMON_SRC_COMMON_UNICODE_UTF8SHAPE_H

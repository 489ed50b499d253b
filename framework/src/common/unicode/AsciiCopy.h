// SPDX-License-Identifier: Apache-2.0
//
// ASCII from one width of units into another, some units at a time.

#ifndef ZELCOMMON_SRC_COMMON_UNICODE_ASCIICOPY_H
#define ZELCOMMON_SRC_COMMON_UNICODE_ASCIICOPY_H

#include <cstring>

#include "Lanes.h"

namespace textcore {

/// How many units `copyAscii` reads and writes.
constexpr unsigned int ASCII_BLOCK = 8;

/// The bits of units that those of ASCII do not have.
template <typename Lanes, typename Unit>
constexpr auto NOT_ASCII = each<Lanes, Unit>(static_cast<Unit>(~Unit(0x7F)));

/// Returns the number of units of ASCII at `from` before another one, at most `ASCII_BLOCK`.
template <typename From>
unsigned int asciiLength(const unsigned char* from)
{
    constexpr unsigned int UNIT_BITS = 8 * sizeof(From);
    constexpr unsigned int UNITS = sizeof(Word) / sizeof(From);
    for (unsigned int i = 0; i < ASCII_BLOCK; i += UNITS) {
        const Word others = load<Word>(from + i * sizeof(From)) & NOT_ASCII<Word, From>;
        if (others != 0) return i + static_cast<unsigned int>(__builtin_ctzl(others)) / UNIT_BITS;
    }
    return ASCII_BLOCK;
}

/// Returns how many units of ASCII at `from` are the same at `other`, in the same place, before
/// anything else.
template <typename From, typename To>
unsigned int equalAsciiLength(const unsigned char* from, const unsigned char* other)
{
    static_assert(sizeof(To) >= sizeof(From), "nothing may be cut off before it is compared");
    constexpr unsigned int UNIT_BITS = 8 * sizeof(To);
    constexpr unsigned int UNITS = sizeof(Word) / sizeof(To);
    From units[ASCII_BLOCK];
    To copies[ASCII_BLOCK];
    std::memcpy(units, from, sizeof units);
    for (unsigned int i = 0; i < ASCII_BLOCK; ++i)
        copies[i] = static_cast<To>(units[i]);
    for (unsigned int i = 0; i < ASCII_BLOCK; i += UNITS) {
        Word part;
        std::memcpy(&part, copies + i, sizeof part);
        const Word others =
            (part ^ load<Word>(other + i * sizeof(To))) | (part & NOT_ASCII<Word, To>);
        if (others != 0) return i + static_cast<unsigned int>(__builtin_ctzl(others)) / UNIT_BITS;
    }
    return ASCII_BLOCK;
}

template <typename From, typename To>
void copyUnits(const unsigned char* __restrict from, unsigned char* __restrict to,
               unsigned int count)
{
    for (unsigned int i = 0; i < count; ++i) {
        From unit;
        std::memcpy(&unit, from + i * sizeof unit, sizeof unit);
        const auto copy = static_cast<To>(unit);
        std::memcpy(to + i * sizeof copy, &copy, sizeof copy);
    }
}

/// Returns that number, and copies the units to `to`, where it writes `ASCII_BLOCK` units in any
/// case. Both are in the machine's byte order.
template <typename From, typename To>
unsigned int copyAscii(const unsigned char* __restrict from, unsigned char* __restrict to)
{
    copyUnits<From, To>(from, to, ASCII_BLOCK);
    return asciiLength<From>(from);
}

/// Units that are looked at without asking where one is that is not ASCII.
constexpr unsigned int LARGE_BLOCK = 16;

/// Copies a large block to `to` if it is ASCII. Returns whether it is.
template <typename From, typename To>
bool copyAsciiBlock(const unsigned char* __restrict from, unsigned char* __restrict to)
{
    Widest others{};
    for (unsigned int i = 0; i < LARGE_BLOCK * sizeof(From); i += sizeof others)
        others |= load<Widest>(from + i);
    if (!isZero(others & NOT_ASCII<Widest, From>)) return false;
    copyUnits<From, To>(from, to, LARGE_BLOCK);
    return true;
}

} // namespace textcore

#endif // ZELCOMMON_SRC_COMMON_UNICODE_ASCIICOPY_H

// SPDX-License-Identifier: Apache-2.0
//
// ASCII in one width of units, copied into or compared with another, some units at a time. Units
// are in the machine's byte order.

#ifndef ZELCOMMON_SRC_COMMON_UNICODE_ASCIIBLOCK_H
#define ZELCOMMON_SRC_COMMON_UNICODE_ASCIIBLOCK_H

#include <cstring>

#include "Lanes.h"

namespace textcore {

/// Units of which it is asked how many are ASCII.
constexpr unsigned int ASCII_BLOCK = 8;

/// Returns the number of units, at most `ASCII_BLOCK`, before the first one in which `othersIn` has a
/// bit: a call that gives the word that begins with a unit.
template <typename Unit, typename OthersIn>
unsigned int lengthBefore(const OthersIn& othersIn)
{
    constexpr unsigned int UNITS = sizeof(Word) / sizeof(Unit);
    constexpr unsigned int UNIT_BITS = 8 * sizeof(Unit);
    for (unsigned int i = 0; i < ASCII_BLOCK; i += UNITS) {
        const Word others = othersIn(i);
        if (others != 0) return i + static_cast<unsigned int>(__builtin_ctzl(others)) / UNIT_BITS;
    }
    return ASCII_BLOCK;
}

/// Copies units into those of another width, which must hold their values.
template <typename From, typename To>
void copyUnits(const unsigned char* __restrict from, unsigned char* __restrict to,
               unsigned int count)
{
    for (unsigned int i = 0; i < count; ++i) {
        const auto unit = load<From>(from + i * sizeof(From));
        store(to + i * sizeof(To), static_cast<To>(unit));
    }
}

/// Returns how many units of ASCII at `from` are the same at `other`, in the same place, before
/// anything else; at most `ASCII_BLOCK`.
template <typename From, typename To>
unsigned int equalAsciiLength(const unsigned char* from, const unsigned char* other)
{
    static_assert(sizeof(To) >= sizeof(From), "nothing may be cut off before it is compared");
    unsigned char copies[ASCII_BLOCK * sizeof(To)];
    copyUnits<From, To>(from, copies, ASCII_BLOCK);
    return lengthBefore<To>([&](unsigned int i) {
        const Word part = load<Word>(copies + i * sizeof(To));
        return (part ^ load<Word>(other + i * sizeof(To))) | (part & NOT_ASCII<Word, To>);
    });
}

/// Returns the number of units of ASCII at `from` before another one, and copies them to `to`, where
/// it writes `ASCII_BLOCK` units in any case.
template <typename From, typename To>
unsigned int copyAscii(const unsigned char* __restrict from, unsigned char* __restrict to)
{
    copyUnits<From, To>(from, to, ASCII_BLOCK);
    return lengthBefore<From>([&](unsigned int i) {
        return load<Word>(from + i * sizeof(From)) & NOT_ASCII<Word, From>;
    });
}

/// Units that are looked at together.
constexpr unsigned int LARGE_BLOCK = 16;

template <typename From>
bool isLargeAscii(const unsigned char* from)
{
    constexpr unsigned int COUNT = LARGE_BLOCK * sizeof(From) / sizeof(Widest);
    return isZero(anyOf<Widest, COUNT>(from) & NOT_ASCII<Widest, From>);
}

/// Copies a large block to `to` if it is ASCII. Returns whether it is.
template <typename From, typename To>
bool copyAsciiBlock(const unsigned char* __restrict from, unsigned char* __restrict to)
{
    if (!isLargeAscii<From>(from)) return false;
    copyUnits<From, To>(from, to, LARGE_BLOCK);
    return true;
}

/// Returns whether a large block is ASCII and the same at `other`.
template <typename From, typename To>
bool equalAsciiBlock(const unsigned char* from, const unsigned char* other)
{
    if (!isLargeAscii<From>(from)) return false;
    unsigned char copies[LARGE_BLOCK * sizeof(To)];
    copyUnits<From, To>(from, copies, LARGE_BLOCK);
    return std::memcmp(copies, other, sizeof copies) == 0;
}

} // namespace textcore

#endif // ZELCOMMON_SRC_COMMON_UNICODE_ASCIIBLOCK_H

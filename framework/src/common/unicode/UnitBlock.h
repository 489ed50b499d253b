// SPDX-License-Identifier: Apache-2.0
//
// How many bytes a block of units of UTF-16 or UCS-4 has in UTF-8, many units at a time.

#ifndef ZELCOMMON_SRC_COMMON_UNICODE_UNITBLOCK_H
#define ZELCOMMON_SRC_COMMON_UNICODE_UNITBLOCK_H

#include <cstdint>

#include "Lanes.h"

namespace textcore {

/// Blocks of units that are characters of their own, below 0x10000. In the lanes here, the highest
/// bit of each unit says something.
template <typename Lanes, typename Unit>
class UnitBlock
{
public:
    static constexpr unsigned int SIZE = 4 * sizeof(Lanes);

    /// Stores the bytes of the block at `from`. Returns false if one of its units is no such
    /// character.
    static bool measure(const unsigned char* from, unsigned int& bytes)
    {
        bytes = SIZE / sizeof(Unit);
        return isAscii(from) || measureAny(from, bytes);
    }

private:
    static constexpr unsigned int TOP_BIT = 8 * sizeof(Unit) - 1;
    static constexpr Unit HIGHEST = static_cast<Unit>(Unit(1) << TOP_BIT);

    static bool isAscii(const unsigned char* from)
    {
        Lanes any{};
        for (unsigned int i = 0; i < SIZE; i += sizeof(Lanes))
            any |= load<Lanes>(from + i);
        return isZero(any & each<Lanes, Unit>(static_cast<Unit>(~Unit(0x7F))));
    }

    static bool measureAny(const unsigned char* from, unsigned int& bytes)
    {
        Lanes sums{};
        Lanes strangers{};
        for (unsigned int i = 0; i < SIZE; i += sizeof(Lanes)) {
            const Lanes units = load<Lanes>(from + i);
            sums += atLeast<0x80>(units) >> TOP_BIT;
            sums += atLeast<0x800>(units) >> TOP_BIT;
            const Lanes isNone = (units & each<Lanes, Unit>(0xF800)) ^ each<Lanes, Unit>(0xD800);
            strangers |= ~atLeast<1>(isNone) & each<Lanes, Unit>(HIGHEST);
            if (sizeof(Unit) > 2) strangers |= atLeast<0x10000>(units);
        }
        bytes += sumOf(sums);
        return isZero(strangers);
    }

    /// Marks the units that are `LIMIT`, a power of two, or more.
    template <unsigned int LIMIT>
    static Lanes atLeast(const Lanes& units)
    {
        // All bits that such a unit has one of, but the highest, carry into that.
        constexpr auto BITS = each<Lanes, Unit>(static_cast<Unit>(HIGHEST - LIMIT));
        return (((units & BITS) + BITS) | units) & each<Lanes, Unit>(HIGHEST);
    }
};

} // namespace textcore

#endif // ZELCOMMON_SRC_COMMON_UNICODE_UNITBLOCK_H

// SPDX-License-Identifier: Apache-2.0
//
// How many bytes a block of units of UTF-16 or UCS-4 has in UTF-8, many units at a time.

#ifndef ZELCOMMON_SRC_COMMON_UNICODE_UNITBLOCK_H
#define ZELCOMMON_SRC_COMMON_UNICODE_UNITBLOCK_H

#include <cstdint>

#include "Conversion.h"
#include "Lanes.h"

namespace textcore {

/// Blocks of units that are characters of their own, below 0x10000, and of pairs of surrogates. In
/// the lanes here, the highest bit of each unit says something.
template <typename Lanes, typename Unit>
class UnitBlock
{
public:
    static constexpr unsigned int COUNT = 4;
    static constexpr unsigned int SIZE = COUNT * sizeof(Lanes);

    /// Stores what the block at `from` is in UTF-8. Returns false if it is not all of one such
    /// kind.
    static bool measure(const unsigned char* from, Extent& block)
    {
        constexpr unsigned int UNITS = SIZE / sizeof(Unit);
        block = {UNITS, UNITS};
        if (isAscii(from) || measureAny(from, block)) return true;
        block = {UNITS / 2, 2ULL * UNITS};
        return sizeof(Unit) == 2 && isOfPairs(from);
    }

private:
    static constexpr unsigned int TOP_BIT = 8 * sizeof(Unit) - 1;
    static constexpr Unit HIGHEST = static_cast<Unit>(Unit(1) << TOP_BIT);

    static bool isAscii(const unsigned char* from)
    {
        return isZero(anyOf<Lanes, COUNT>(from) & NOT_ASCII<Lanes, Unit>);
    }

    static bool measureAny(const unsigned char* from, Extent& block)
    {
        Lanes sums{};
        Lanes strangers{};
        for (unsigned int i = 0; i < SIZE; i += sizeof(Lanes)) {
            const Lanes units = load<Lanes>(from + i);
            sums += atLeast<0x80>(units) >> TOP_BIT;
            sums += atLeast<0x800>(units) >> TOP_BIT;
            strangers |= surrogates(units);
            if (sizeof(Unit) > 2) strangers |= atLeast<0x10000>(units);
        }
        block.bytes += sumOf(sums);
        return isZero(strangers);
    }

    /// Those that stand for what bits 11 to 15 have of a surrogate are others.
    static bool isOfPairs(const unsigned char* from)
    {
        using Pair = std::uint32_t;
        constexpr unsigned int ABOVE = 0x40; // where an even number below 0x40, but 0, carries to
        Lanes strangers{};
        for (unsigned int i = 0; i < SIZE; i += sizeof(Lanes)) {
            const Lanes pairs = load<Lanes>(from + i);
            strangers |= (pairs & each<Lanes, Pair>(0xFC00FC00)) ^ each<Lanes, Pair>(0xDC00D800);
            const Lanes others = (pairs & each<Lanes, Pair>(0x3E)) ^ each<Lanes, Pair>(0x36);
            strangers |= ~(others + each<Lanes, Pair>(ABOVE - 2)) & each<Lanes, Pair>(ABOVE);
        }
        return isZero(strangers);
    }

    /// Marks the units that are `LIMIT` or more.
    template <unsigned int LIMIT>
    static Lanes atLeast(const Lanes& units)
    {
        // Those that do not have the highest bit carry into it.
        const Lanes carried =
            (units & each<Lanes, Unit>(HIGHEST - 1)) + each<Lanes, Unit>(HIGHEST - LIMIT);
        return (carried | units) & each<Lanes, Unit>(HIGHEST);
    }

    /// Marks the units of which bits 11 to 15 are those of a surrogate.
    static Lanes surrogates(const Lanes& units)
    {
        // What differs carries into the bit above, which is made free.
        const Lanes others = (units & each<Lanes, Unit>(0xF800)) ^ each<Lanes, Unit>(0xD800);
        return ~((others >> 1) + each<Lanes, Unit>(HIGHEST - 0x400)) & each<Lanes, Unit>(HIGHEST);
    }
};

} // namespace textcore

#endif // ZELCOMMON_SRC_COMMON_UNICODE_UNITBLOCK_H

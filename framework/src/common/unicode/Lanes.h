// SPDX-License-Identifier: Apache-2.0
//
// Bytes that are looked at together: a machine word of them, or a vector where the machine has
// those. Code for both is the same, as operators work on either.

#ifndef ZELCOMMON_SRC_COMMON_UNICODE_LANES_H
#define ZELCOMMON_SRC_COMMON_UNICODE_LANES_H

#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#elif defined(__ARM_NEON)
#include <arm_neon.h>
#endif

namespace textcore {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the first byte is the lowest of a lane");

using Word = std::uintptr_t;

#if defined(__SSE2__) || defined(__ARM_NEON)
// Compiled for a machine without vectors this would be taken apart into far more instructions than
// words need. Elements of 32 bits are what both machines can shift.
using Vector = std::uint32_t __attribute__((vector_size(16)));
using Widest = Vector;

inline bool isZero(const Vector& lanes)
{
    using Halves = std::uint64_t __attribute__((vector_size(16)));
    const auto halves = reinterpret_cast<Halves>(lanes);
    return (halves[0] | halves[1]) == 0;
}

inline std::uint32_t foldOf(const Vector& lanes)
{
    return lanes[0] + lanes[1] + lanes[2] + lanes[3];
}

/// Returns lanes with all bits of each byte that is the same in both.
inline Vector sameBytes(const Vector& lanes, const Vector& others)
{
    using Units = std::uint8_t __attribute__((vector_size(16)));
    return reinterpret_cast<Vector>(reinterpret_cast<Units>(lanes) ==
                                    reinterpret_cast<Units>(others));
}
#else
using Widest = Word;
#endif

inline bool isZero(Word lanes)
{
    return lanes == 0;
}

inline Word foldOf(Word lanes)
{
    return lanes;
}

/// Returns what each element of lanes is in which each unit is `value`.
template <typename Lanes, typename Unit = unsigned char>
constexpr auto each(unsigned int value)
{
    using Element = decltype(foldOf(Lanes()));
    return static_cast<Element>(~Element(0) / static_cast<Unit>(~Unit(0)) * value);
}

// These sizes are those of types: the C library's checked variant has nothing to check, but keeps
// the compiler from taking several units at a time.
template <typename Lanes>
Lanes load(const unsigned char* from)
{
    Lanes lanes;
    __builtin_memcpy(&lanes, from, sizeof lanes);
    return lanes;
}
template <typename Lanes>
void store(unsigned char* to, const Lanes& lanes)
{
    __builtin_memcpy(to, &lanes, sizeof lanes);
}

/// Returns the bits of `COUNT` lanes together, a power of two.
template <typename Lanes, unsigned int COUNT>
Lanes anyOf(const unsigned char* from)
{
    if constexpr (COUNT == 1)
        return load<Lanes>(from);
    else
        return anyOf<Lanes, COUNT / 2>(from) |
               anyOf<Lanes, COUNT / 2>(from + COUNT / 2 * sizeof(Lanes));
}

/// The bits of units that those of ASCII do not have.
template <typename Lanes, typename Unit>
constexpr auto NOT_ASCII = each<Lanes, Unit>(static_cast<Unit>(~Unit(0x7F)));

/// Returns `lanes` with each byte `COUNT` places later, behind the last ones of `before`.
template <unsigned int COUNT>
Word delayed(Word before, Word lanes)
{
    return lanes << 8 * COUNT | before >> 8 * (sizeof lanes - COUNT);
}
#if defined(__SSE2__)
template <unsigned int COUNT>
Vector delayed(const Vector& before, const Vector& lanes)
{
    const __m128i late = _mm_slli_si128(reinterpret_cast<__m128i>(lanes), COUNT);
    const __m128i early = _mm_srli_si128(reinterpret_cast<__m128i>(before), sizeof before - COUNT);
    return reinterpret_cast<Vector>(_mm_or_si128(late, early));
}
#elif defined(__ARM_NEON)
template <unsigned int COUNT>
Vector delayed(const Vector& before, const Vector& lanes)
{
    return vreinterpretq_u32_u8(
        vextq_u8(vreinterpretq_u8_u32(before), vreinterpretq_u8_u32(lanes), sizeof before - COUNT));
}
#endif

/// Returns the sum of all bytes, which must be less than 256 in all.
template <typename Lanes>
unsigned int sumOf(const Lanes& lanes)
{
    using Element = decltype(foldOf(lanes));
    constexpr unsigned int TOP_BYTE = 8 * (sizeof(Element) - 1);
    const auto sums =
        static_cast<Element>(foldOf(lanes) * each<Lanes>(1)); // the last byte's is all
    return static_cast<unsigned int>(sums >> TOP_BYTE);
}

} // namespace textcore

#endif // ZELCOMMON_SRC_COMMON_UNICODE_LANES_H

// SPDX-License-Identifier: Apache-2.0

#include "Conversion.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>

#include "Encoding.h"
#include "PairedWalk.h"
#include "UnitBlock.h"
#include "Utf8Structure.h"

namespace textcore {

namespace {

/// What is known of the beginning of a text without decoding it.
struct Measured
{
    Run run;
    /// In the target encoding.
    std::uint64_t bytes = 0;
};

/// Characters of one to three bytes are one unit.
Measured measureMany(const Utf8Encoding&, const Utf16Encoding&, const Bytes& text)
{
    const Run run = Utf8Structure<Widest, Accept::BASIC>(text).prove();
    return {run, run.chars * std::uint64_t(sizeof(Utf16Encoding::Unit))};
}

Measured measureMany(const Utf8Encoding&, const Ucs4Encoding&, const Bytes& text)
{
    const Run run = structuredRun(text);
    return {run, run.chars * std::uint64_t(sizeof(Ucs4Encoding::Unit))};
}

/// Blocks of units that are characters themselves, or of pairs.
template <typename Source>
Measured measureMany(const Source&, const Utf8Encoding&, const Bytes& text)
{
    using Unit = typename Source::Unit;
    using Block = UnitBlock<Widest, Unit>;
    Measured many;
    Extent block{};
    while (text.size - many.run.bytes >= Block::SIZE &&
           Block::measure(text.data + many.run.bytes, block)) {
        many.run.bytes += Block::SIZE;
        many.run.chars += block.chars;
        many.bytes += block.bytes;
    }
    return many;
}

/// Characters that have no more bytes than they need.
Measured measureMany(const Utf8Encoding&, const Utf8Encoding&, const Bytes& text)
{
    const Run run = Utf8Structure<Widest, Accept::PLAIN>(text).prove();
    return {run, run.bytes};
}

Measured measureMany(const AnyEncoding&, const AnyEncoding&, const Bytes&)
{
    return {};
}

/// Plain characters, as many as a round takes.
template <typename Source, typename Target>
Measured measureWhole(const Source& source, const Target& target, const Bytes& text)
{
    constexpr unsigned int ROUND = 1024;
    constexpr std::ptrdiff_t LONGEST = 4 * sizeof(typename Source::Unit);
    const unsigned char* const end = text.data + text.size;
    const unsigned char* from = text.data;
    Measured measured;
    while (measured.run.chars < ROUND && end - from >= LONGEST) {
        unsigned int c = 0;
        const std::ptrdiff_t bytes = takeAny(source, from, c);
        if (bytes == 0) break;
        from += bytes;
        measured.bytes += target.bytesOf(c);
        ++measured.run.chars;
    }
    measured.run.bytes = static_cast<unsigned int>(from - text.data);
    return measured;
}

Measured measureWhole(const AnyEncoding&, const AnyEncoding&, const Bytes&)
{
    return {};
}

template <typename Source, typename Target>
Extent measureWith(const Source& source, const Target& target, const Bytes& text,
                   unsigned int maxBytes)
{
    const std::uint64_t limit = maxBytes == UINT_MAX ? UINT64_MAX : maxBytes;
    Codec::Index at;
    std::uint64_t total = 0;
    // What is measured at once: no more than has room within the limit, and less and less near it.
    constexpr unsigned int LONGEST = 4; // of the characters that are known without decoding them
    unsigned int most = std::min(maxBytes, UINT_MAX / LONGEST) * LONGEST;
    const auto rest = [&] {
        return Bytes{text.data + at.bytes, std::min(text.size - at.bytes, most)};
    };
    const auto pass = [&](const Measured& measured) {
        if (measured.bytes > limit - total) {
            most = measured.run.bytes / 2;
            return;
        }
        at.bytes += measured.run.bytes;
        at.chars += measured.run.chars;
        total += measured.bytes;
    };
    while (at.bytes < text.size) {
        pass(measureMany(source, target, rest()));
        pass(measureWhole(source, target, rest()));
        const unsigned int end = at.bytes + std::min(text.size - at.bytes, DECODED_BYTES);
        while (at.bytes < end) {
            const Codec::Index before = at;
            unsigned int c = REPLACEMENT;
            source.step(text.data, text.size, at, c);
            if (at.bytes == before.bytes) return {at.chars, total};
            if (at.chars == before.chars) continue; // bytes that are no character
            const std::uint64_t sum = total + target.bytesOf(c);
            if (sum > limit) return {at.chars - 1, total};
            total = sum;
        }
    }
    return {at.chars, total};
}

/// Writes one text from another.
struct Write
{
    using Byte = unsigned char;

    template <typename From, typename To>
    static unsigned int ascii(const unsigned char* from, unsigned char* to)
    {
        return copyAscii<From, To>(from, to);
    }

    template <typename From, typename To>
    static bool asciiBlock(const unsigned char* from, unsigned char* to)
    {
        return copyAsciiBlock<From, To>(from, to);
    }

    template <unsigned int LENGTH, typename Target>
    static bool character(const Target& target, unsigned char* to, unsigned int c)
    {
        if (sizeof(typename Target::Unit) == 1 && !hasLength<LENGTH>(c)) return false;
        store(to, encoded<LENGTH>(target, c));
        return true;
    }
};

/// Moves both positions over what can be converted quickly. Some characters are left in any case.
template <typename Source, typename Target>
void passMany(const Bytes& text, const Extent& extent, unsigned char* to, Codec::Index& from,
              Codec::Index& written)
{
    if (from.bytes > text.size || written.bytes > extent.bytes) return;
    Course<unsigned char> at{text.data + from.bytes, text.data + text.size, to + written.bytes,
                             to + extent.bytes, extent.chars - from.chars};
    PairedWalk<Write, Source, Target>::walk(at);
    from = {extent.chars - at.chars, static_cast<unsigned int>(at.from - text.data)};
    written.bytes = static_cast<unsigned int>(at.to - to);
}

template <typename Source, typename Target>
void convertWith(const Source& source, const Target& target, const Bytes& text,
                 const Extent& extent, unsigned char* to)
{
    const auto size = static_cast<unsigned int>(extent.bytes);
    Codec::Index from;
    Codec::Index written;
    while (from.chars < extent.chars) {
        passMany<Source, Target>(text, extent, to, from, written);
        const Codec::Index before = from;
        unsigned int c = REPLACEMENT;
        source.step(text.data, text.size, from, c);
        if (from.bytes == before.bytes) break;
        if (from.chars == before.chars) continue; // as in measureWith
        target.write(to, size, written, c);
    }
    if (written.bytes < size) std::memset(to + written.bytes, 0, size - written.bytes);
}

} // namespace

Extent measure(const Codec& source, const Codec& target, const Bytes& text, unsigned int maxBytes)
{
    return withConversion(source, target, [&](const auto& from, const auto& into) {
        return measureWith(from, into, text, maxBytes);
    });
}

void convert(const Codec& source, const Codec& target, const Bytes& text, const Extent& extent,
             unsigned char* to)
{
    withConversion(source, target, [&](const auto& from, const auto& into) {
        convertWith(from, into, text, extent, to);
    });
}

} // namespace textcore

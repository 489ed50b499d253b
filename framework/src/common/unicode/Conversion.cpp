// SPDX-License-Identifier: Apache-2.0

#include "Conversion.h"

#include <climits>
#include <cstdint>
#include <cstring>

#include "Encoding.h"

namespace textcore {

namespace {

template <typename Source, typename Target>
Extent measureWith(const Source& source, const Target& target, const Bytes& text,
                   unsigned int maxBytes)
{
    const std::uint64_t limit = maxBytes == UINT_MAX ? UINT64_MAX : maxBytes;
    Codec::Index at;
    std::uint64_t total = 0;
    while (at.bytes < text.size) {
        const Codec::Index before = at;
        unsigned int c = REPLACEMENT;
        source.step(text.data, text.size, at, c);
        if (at.bytes == before.bytes) break;
        if (at.chars == before.chars) continue; // bytes that are no character
        const std::uint64_t sum = total + target.bytesOf(c);
        if (sum > limit) {
            --at.chars;
            break;
        }
        total = sum;
    }
    return {at.chars, total};
}

template <typename Source, typename Target>
void convertWith(const Source& source, const Target& target, const Bytes& text,
                 const Extent& extent, unsigned char* to)
{
    const auto size = static_cast<unsigned int>(extent.bytes);
    Codec::Index from;
    Codec::Index written;
    while (from.chars < extent.chars) {
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

// Code of its own for each pair: conversion is where the time of mixed texts goes.

Extent measure(const Codec& source, const Codec& target, const Bytes& text, unsigned int maxBytes)
{
    return withEncoding(source, [&](const auto& from) {
        return withEncoding(
            target, [&](const auto& into) { return measureWith(from, into, text, maxBytes); });
    });
}

void convert(const Codec& source, const Codec& target, const Bytes& text, const Extent& extent,
             unsigned char* to)
{
    withEncoding(source, [&](const auto& from) {
        withEncoding(target, [&](const auto& into) { convertWith(from, into, text, extent, to); });
    });
}

} // namespace textcore

// SPDX-License-Identifier: Apache-2.0
//
// Text from one encoding into another, in two passes: how much it will be, and the bytes.

#ifndef ZELCOMMON_SRC_COMMON_UNICODE_CONVERSION_H
#define ZELCOMMON_SRC_COMMON_UNICODE_CONVERSION_H

#include <common/unicode/Codec.h>

namespace textcore {

/// Encoded bytes, not owned.
struct Bytes
{
    const unsigned char* data;
    unsigned int size;
};

/// What a conversion will give.
struct Extent
{
    /// Characters of the source that it takes.
    unsigned int chars;
    /// Bytes in the target encoding; more than 32 bits hold have no room anywhere.
    unsigned long long bytes;
};

/// Returns what `text` will be in `target`, cut after the last whole character with which it has at
/// most `maxBytes` bytes; uncut for the largest value.
Extent measure(const std::unicode::Codec& source, const std::unicode::Codec& target,
               const Bytes& text, unsigned int maxBytes);

/// Fills `to[0..extent.bytes)`, which 32 bits must hold, with `text` in `target`. Bytes that the
/// target's codec promised and did not write are 0.
void convert(const std::unicode::Codec& source, const std::unicode::Codec& target,
             const Bytes& text, const Extent& extent, unsigned char* to);

} // namespace textcore

#endif // ZELCOMMON_SRC_COMMON_UNICODE_CONVERSION_H

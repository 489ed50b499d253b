// SPDX-License-Identifier: Apache-2.0
//
// The bytes of a text, as they are and as they would be in another encoding.

#ifndef ZELCOMMON_SRC_COMMON_UNICODE_STRINGBYTES_H
#define ZELCOMMON_SRC_COMMON_UNICODE_STRINGBYTES_H

#include <climits>
#include <cstring>

#include <common/unicode/String.h>

#include "Conversion.h"

namespace textcore {

inline Bytes bytesOf(const std::unicode::String& text)
{
    return {text.data(), text.byteLength()};
}

/// Returns what `text` is in the encoding `target`; its own bytes if it has that.
inline Extent extentIn(const std::unicode::Codec& target, const std::unicode::String& text)
{
    if (&text.codec() == &target) return {text.size(), text.byteLength()};
    return measure(text.codec(), target, bytesOf(text), UINT_MAX);
}

/// Fills `to[0..extent.bytes)` with `text` in the encoding `target`.
inline void put(const std::unicode::Codec& target, const std::unicode::String& text,
                const Extent& extent, unsigned char* to)
{
    if (&text.codec() != &target)
        convert(text.codec(), target, bytesOf(text), extent, to);
    else if (extent.bytes > 0)
        std::memcpy(to, text.data(), text.byteLength());
}

} // namespace textcore

#endif // ZELCOMMON_SRC_COMMON_UNICODE_STRINGBYTES_H

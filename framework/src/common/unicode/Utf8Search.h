// SPDX-License-Identifier: Apache-2.0
//
// Searches UTF-8 by its bytes. Equal bytes are equal text, but text has other forms that are equal,
// too: overlong ones, and what decodes to the replacement character. So a byte search counts only
// where all the text before its hit is proved to be what encoding it gives; and so must the needle.

#ifndef ZELCOMMON_SRC_COMMON_UNICODE_UTF8SEARCH_H
#define ZELCOMMON_SRC_COMMON_UNICODE_UTF8SEARCH_H

#include <cstring>

#include <common/unicode/Codec.h>

#include "Conversion.h"

namespace textcore {

/// What a search by bytes has found out.
struct ByteSearch
{
    /// Whether it counts. If not, the text has to be decoded.
    bool isCertain;
    bool isHit;
    /// The hit's place.
    std::unicode::Codec::Index at;
};

/// Returns the first place in `text` where the bytes of `needle` are, null if there is none.
inline const unsigned char* firstBytes(const Bytes& text, const Bytes& needle)
{
    if (needle.size > text.size) return nullptr;
    return static_cast<const unsigned char*>(
        memmem(text.data, text.size, needle.data, needle.size));
}

/// Returns the number of characters of `text` if it is what encoding them gives, else -1.
long long canonicalCount(const Bytes& text);

/// Searches `text` from `start` on for `needle`, which is canonical and not empty.
ByteSearch findBytes(const Bytes& text, const std::unicode::Codec::Index& start,
                     const Bytes& needle);

} // namespace textcore

#endif // ZELCOMMON_SRC_COMMON_UNICODE_UTF8SEARCH_H

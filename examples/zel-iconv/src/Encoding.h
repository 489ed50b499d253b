// SPDX-License-Identifier: Apache-2.0
//
// The encodings: what they are called, what converts them and what tells whether they are sound.
//
//     const Encoding* const from = findEncoding("utf-16le");

#ifndef ZEL_ICONV_ENCODING_H
#define ZEL_ICONV_ENCODING_H

#include <common/unicode/Codec.h>

#include "Character.h"

namespace zeliconv {

struct Encoding
{
    const char* name;
    const std::unicode::Codec* codec;
    Scanner scan;
};

/// Returns the encoding of that name, in small letters or capitals; null if there is none.
const Encoding* findEncoding(const char* name);

/// Returns the encoding whose byte order mark the text `bytes[0..size)` begins with, and the bytes
/// of the mark; UTF-8 and 0 without one.
const Encoding& detectEncoding(const unsigned char* bytes, unsigned int size,
                               unsigned int& markSize);

} // namespace zeliconv

#endif // ZEL_ICONV_ENCODING_H

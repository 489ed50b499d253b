// SPDX-License-Identifier: Apache-2.0
//
// How many characters encoded bytes are.

#ifndef ZELCOMMON_SRC_COMMON_UNICODE_COUNTING_H
#define ZELCOMMON_SRC_COMMON_UNICODE_COUNTING_H

#include "Conversion.h"

namespace textcore {

/// Returns the number of characters of `text`. What is left where nothing can be decoded any more
/// is no character.
unsigned int countCharacters(const std::unicode::Codec& codec, const Bytes& text);

/// Copies UTF-8 to `to[0..text.size)`. Returns its number of characters.
unsigned int copyCounted(const Bytes& text, unsigned char* to);

} // namespace textcore

#endif // ZELCOMMON_SRC_COMMON_UNICODE_COUNTING_H

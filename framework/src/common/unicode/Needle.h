// SPDX-License-Identifier: Apache-2.0
//
// A text that others are searched for: as bytes of UTF-8 if that is possible, else character by
// character.

#ifndef ZELCOMMON_SRC_COMMON_UNICODE_NEEDLE_H
#define ZELCOMMON_SRC_COMMON_UNICODE_NEEDLE_H

#include <common/unicode/String.h>

#include "Conversion.h"
#include "Encoding.h"

namespace textcore {

class Needle
{
public:
    /// `text` is not owned and must outlive this object.
    explicit Needle(const std::unicode::String& text);
    Needle(const Needle&) = delete;
    Needle& operator=(const Needle&) = delete;

    /// Returns the first position from `from` on in `text` where it begins, or the end of that.
    Codec::Index firstIn(const std::unicode::String& text, const Codec::Index& from) const;

    /// Returns its bytes in UTF-8, all of its characters in the only form that they have there;
    /// empty if there are none such.
    const Bytes& bytes() const { return m_bytes; }

private:
    void encode();
    Codec::Index decodedIn(const std::unicode::String& text, const Codec::Index& from) const;

    const std::unicode::String& m_text;
    bool m_hasFirst = false;
    unsigned int m_first = 0;
    Bytes m_bytes{nullptr, 0};
    unsigned char m_room[256];
};

} // namespace textcore

#endif // ZELCOMMON_SRC_COMMON_UNICODE_NEEDLE_H

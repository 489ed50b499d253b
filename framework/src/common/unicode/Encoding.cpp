// SPDX-License-Identifier: Apache-2.0

#include "Encoding.h"

namespace textcore {

unsigned int AnyEncoding::read(const unsigned char* data, unsigned int size,
                               const Codec::Index& at) const
{
    switch (m_kind) {
    case Kind::UTF8: return Utf8Decoder::read(data, size, at);
    case Kind::UTF16LE: return Utf16Decoder<false>::read(data, size, at);
    case Kind::UTF16BE: return Utf16Decoder<true>::read(data, size, at);
    case Kind::UCS4: return Ucs4Decoder::read(data, size, at);
    case Kind::OTHER: break;
    }
    return m_codec->read(data, size, at);
}

unsigned int AnyEncoding::step(const unsigned char* data, unsigned int size, Codec::Index& at,
                               unsigned int& last) const
{
    switch (m_kind) {
    case Kind::UTF8: return Utf8Decoder::step(data, size, at, last);
    case Kind::UTF16LE: return Utf16Decoder<false>::step(data, size, at, last);
    case Kind::UTF16BE: return Utf16Decoder<true>::step(data, size, at, last);
    case Kind::UCS4: return Ucs4Decoder::step(data, size, at, last);
    case Kind::OTHER: break;
    }
    return m_codec->read_forward(data, size, at, 1, last);
}

} // namespace textcore

// SPDX-License-Identifier: Apache-2.0
//
// From a codec object to the code that reads or writes its encoding. Algorithms are templates over
// what is found here: the library's own codecs are told by their address and cost no virtual call a
// character; any other codec goes through its virtual operations, with the same algorithm.

#ifndef ZELCOMMON_SRC_COMMON_UNICODE_ENCODING_H
#define ZELCOMMON_SRC_COMMON_UNICODE_ENCODING_H

#include "Decoders.h"
#include "Encoders.h"

namespace textcore {

/// One of the library's own encodings: how it is read and written.
struct Utf8Encoding : Utf8Decoder, Utf8Encoder
{};
template <bool IS_BIG_ENDIAN>
struct Utf16Encoding : Utf16Decoder<IS_BIG_ENDIAN>, Utf16Encoder<IS_BIG_ENDIAN>
{};
struct Ucs4Encoding : Ucs4Decoder, Ucs4Encoder
{};

/// What a codec object is.
enum class Kind {
    UTF8,
    UTF16LE,
    UTF16BE,
    UCS4,
    OTHER,
};

inline Kind kindOf(const Codec& codec)
{
    if (&codec == &std::unicode::UTF8) return Kind::UTF8;
    if (&codec == &std::unicode::UTF16LE) return Kind::UTF16LE;
    if (&codec == &std::unicode::UTF16BE) return Kind::UTF16BE;
    return &codec == &std::unicode::UCS4 ? Kind::UCS4 : Kind::OTHER;
}

/// Any codec: one of the library's own by a switch for each character, others by their virtual
/// operations.
class AnyEncoding
{
public:
    explicit AnyEncoding(const Codec& codec) : m_codec(&codec), m_kind(kindOf(codec)) {}

    unsigned int read(const unsigned char* data, unsigned int size, const Codec::Index& at) const;
    unsigned int step(const unsigned char* data, unsigned int size, Codec::Index& at,
                      unsigned int& last) const;
    unsigned int bytesOf(unsigned int c) const { return m_codec->encoded_bytes(c); }
    unsigned int write(unsigned char* data, unsigned int size, Codec::Index& at,
                       unsigned int c) const
    {
        return m_codec->write_forward(data, size, at, c);
    }

private:
    const Codec* m_codec;
    Kind m_kind;
};

/// Returns `call` of the encoding of `codec`.
template <typename Call>
auto withEncoding(const Codec& codec, const Call& call)
{
    switch (kindOf(codec)) {
    case Kind::UTF8: return call(Utf8Encoding());
    case Kind::UTF16LE: return call(Utf16Encoding<false>());
    case Kind::UTF16BE: return call(Utf16Encoding<true>());
    case Kind::UCS4: return call(Ucs4Encoding());
    case Kind::OTHER: break;
    }
    return call(AnyEncoding(codec));
}

/// Returns `call` of the encodings of two codecs. Code of its own is made for equal ones alone.
template <typename Call>
auto withEncodings(const Codec& first, const Codec& second, const Call& call)
{
    if (&first == &second)
        return withEncoding(first, [&](const auto& encoding) { return call(encoding, encoding); });
    return call(AnyEncoding(first), AnyEncoding(second));
}

} // namespace textcore

#endif // ZELCOMMON_SRC_COMMON_UNICODE_ENCODING_H

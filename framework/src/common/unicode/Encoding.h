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

/// One of the library's own encodings: how it is read and written, and how its units are stored.
struct Utf8Encoding : Utf8Decoder, Utf8Encoder
{
    using Unit = std::uint8_t;
};
/// In the machine's byte order.
struct Utf16Encoding : Utf16Decoder<false>, Utf16Encoder<false>
{
    using Unit = std::uint16_t;
};
struct Ucs4Encoding : Ucs4Decoder, Ucs4Encoder
{
    using Unit = std::uint32_t;
};

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

/// Returns `call` of the encoding of `codec`. The byte order that the machine does not have is not
/// worth code of its own.
template <typename Call>
auto withEncoding(const Codec& codec, const Call& call)
{
    switch (kindOf(codec)) {
    case Kind::UTF8: return call(Utf8Encoding());
    case Kind::UTF16LE: return call(Utf16Encoding());
    case Kind::UCS4: return call(Ucs4Encoding());
    case Kind::UTF16BE:
    case Kind::OTHER: break;
    }
    return call(AnyEncoding(codec));
}

/// The same, with code of its own for UTF-8 alone.
template <typename Call>
auto withUtf8OrAny(const Codec& codec, const Call& call)
{
    return kindOf(codec) == Kind::UTF8 ? call(Utf8Encoding()) : call(AnyEncoding(codec));
}

/// Returns `call` of the encodings that text is converted between. Code of its own is made for the
/// ways from UTF-8 and to it.
template <typename Call>
auto withConversion(const Codec& source, const Codec& target, const Call& call)
{
    const Kind from = kindOf(source);
    const Kind into = kindOf(target);
    if (from == Kind::UTF8 && into == Kind::UTF8) return call(Utf8Encoding(), Utf8Encoding());
    if (from == Kind::UTF8 && into == Kind::UTF16LE) return call(Utf8Encoding(), Utf16Encoding());
    if (from == Kind::UTF8 && into == Kind::UCS4) return call(Utf8Encoding(), Ucs4Encoding());
    if (from == Kind::UTF16LE && into == Kind::UTF8) return call(Utf16Encoding(), Utf8Encoding());
    if (from == Kind::UCS4 && into == Kind::UTF8) return call(Ucs4Encoding(), Utf8Encoding());
    return call(AnyEncoding(source), AnyEncoding(target));
}

} // namespace textcore

#endif // ZELCOMMON_SRC_COMMON_UNICODE_ENCODING_H

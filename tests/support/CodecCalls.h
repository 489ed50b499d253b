// SPDX-License-Identifier: Apache-2.0
//
// What the operations of a codec do, as text: "1 FFFD {2,3}" is the result 1, the value U+FFFD, and
// a position behind two characters and three bytes. All bytes are in heap blocks of exactly their
// number, so that the sanitizers see each access outside.

#ifndef ZELCOMMON_TESTS_SUPPORT_CODECCALLS_H
#define ZELCOMMON_TESTS_SUPPORT_CODECCALLS_H

#include <cstdio>
#include <string>
#include <vector>

#include <common/unicode/Codec.h>

namespace support {

using std::unicode::Codec;
using Bytes = std::vector<unsigned char>;

inline std::string hexText(unsigned int value, int digits = 1)
{
    char text[9];
    std::snprintf(text, sizeof text, "%0*X", digits, value);
    return text;
}

/// "{chars,bytes}".
inline std::string positionText(const Codec::Index& at)
{
    return "{" + std::to_string(at.chars) + "," + std::to_string(at.bytes) + "}";
}

/// "EF BF BD".
inline std::string bytesText(const unsigned char* data, unsigned int size)
{
    std::string text;
    for (unsigned int i = 0; i < size; ++i)
        text += (i > 0 ? " " : "") + hexText(data[i], 2);
    return text;
}

inline unsigned int sizeOf(const Bytes& bytes)
{
    return static_cast<unsigned int>(bytes.size());
}

/// What `read` gives at byte `position`.
inline unsigned int read(const Codec& codec, const Bytes& bytes, unsigned int position = 0)
{
    return codec.read(bytes.data(), sizeOf(bytes), {0, position});
}

/// "RESULT LAST {CHARS,BYTES}", with "-" for a `last` that is left as it was.
inline std::string readForward(const Codec& codec, const Bytes& bytes, unsigned int n = 1,
                               Codec::Index at = {})
{
    constexpr unsigned int UNTOUCHED = 0xA5A5A5A5;
    unsigned int last = UNTOUCHED;
    const unsigned int result = codec.read_forward(bytes.data(), sizeOf(bytes), at, n, last);
    return std::to_string(result) + " " + (last == UNTOUCHED ? "-" : hexText(last)) + " " +
           positionText(at);
}

/// "RESULT BYTES {CHARS,BYTES}" of writing `c` into `room` bytes EE.
inline std::string writeForward(const Codec& codec, unsigned int room, unsigned int c,
                                Codec::Index at = {})
{
    Bytes bytes(room, 0xEE);
    const unsigned int result = codec.write_forward(bytes.data(), room, at, c);
    return std::to_string(result) + " " + bytesText(bytes.data(), room) + " " + positionText(at);
}

/// The position of character `i`.
inline std::string positionOf(const Codec& codec, const Bytes& bytes, unsigned int i)
{
    return positionText(codec.at(bytes.data(), sizeOf(bytes), i));
}

/// The bytes that `bytes` are in another encoding.
inline std::string converted(const Codec& from, const Codec& into, const Bytes& bytes,
                             unsigned int maxBytes = 0xFFFFFFFF)
{
    const std::SharedBuf block = from.to(into, bytes.data(), sizeOf(bytes), maxBytes);
    std::string text = bytesText(block.payload(), block.length());
    block.unref();
    return text;
}

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_CODECCALLS_H

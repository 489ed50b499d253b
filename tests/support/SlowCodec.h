// SPDX-License-Identifier: Apache-2.0
//
// The codecs once more, over plain vectors, step by step and without a care for speed: what the
// library's are held against. Calls nothing of the library.
//
//     slow::Place at;
//     unsigned int c = 0;
//     while (slow::readForward(slow::UTF8, data, at, 1, c) == 1) use(c);

#ifndef ZELCOMMON_TESTS_SUPPORT_SLOWCODEC_H
#define ZELCOMMON_TESTS_SUPPORT_SLOWCODEC_H

#include <vector>

namespace support::slow {

using Bytes = std::vector<unsigned char>;

enum Encoding { UTF8, UTF16LE, UTF16BE, UCS4 };

constexpr unsigned int REPLACEMENT = 0xFFFD;
constexpr unsigned int UNLIMITED = 0xFFFFFFFF;

/// A position in encoded bytes.
struct Place
{
    unsigned int chars = 0;
    unsigned int bytes = 0;
};

// What a codec does, under the names it has in the library.
int type(unsigned char byte);
unsigned int read(Encoding encoding, const Bytes& data, Place at);
unsigned int readForward(Encoding encoding, const Bytes& data, Place& at, unsigned int n,
                         unsigned int& last);
unsigned int writeForward(Encoding encoding, Bytes& data, Place& at, unsigned int c);
unsigned int encodedBytes(Encoding encoding, unsigned int c);
Place placeOf(Encoding encoding, const Bytes& data, unsigned int i);
Bytes convert(Encoding from, Encoding to, const Bytes& data, unsigned int maxBytes = UNLIMITED);
unsigned int count(Encoding encoding, const Bytes& data);

} // namespace support::slow

#endif // ZELCOMMON_TESTS_SUPPORT_SLOWCODEC_H

// SPDX-License-Identifier: Apache-2.0

#include <common/unicode/Codec.h>

#include <algorithm>

#include "Decoders.h"
#include "Encoders.h"
#include "Utf8Structure.h"

namespace std::unicode {

namespace {

using textcore::Bytes;
using textcore::Run;
using textcore::Utf8Decoder;

/// Characters that are decoded before many are passed at once again.
constexpr unsigned int DECODED_CHARS = 64;

/// Passes fewer than `n` characters, and not the last one of the text, if there are many. Returns
/// how many.
unsigned int passMany(const Bytes& text, Codec::Index& at, unsigned int n)
{
    constexpr unsigned int LONGEST = 6;
    unsigned int passed = 0;
    while (n - passed > DECODED_CHARS && at.bytes < text.size &&
           text.size - at.bytes > DECODED_CHARS) {
        // There are no more characters than bytes.
        const unsigned int most = std::min(text.size - at.bytes - LONGEST, n - passed - 1);
        const Run run = textcore::structuredRun({text.data + at.bytes, most});
        if (run.chars == 0) break;
        at.bytes += run.bytes;
        at.chars += run.chars;
        passed += run.chars;
    }
    return passed;
}

} // namespace

Utf8::~Utf8() = default;

int Utf8::type(unsigned char byte)
{
    if (byte < 0x80) return 1;
    if (byte < 0xC0) return 0;
    if (byte >= 0xFE) return -1;
    return static_cast<int>(textcore::Utf8Decoder::tailLength(byte)) + 1;
}

unsigned int Utf8::read(const unsigned char* data, unsigned int size, const Index& at) const
{
    return Utf8Decoder::read(data, size, at);
}

unsigned int Utf8::read_forward(const unsigned char* data, unsigned int size, Index& at,
                                unsigned int n, unsigned int& last) const
{
    if (n == 0) return 0;
    while (n > 0) {
        n -= passMany({data, size}, at, n);
        for (unsigned int i = std::min(n, DECODED_CHARS); i > 0; --i, --n)
            if (!Utf8Decoder::pass(data, size, at, last)) return 0;
    }
    last = textcore::withoutSurrogate(last);
    return 1;
}

unsigned int Utf8::write_forward(unsigned char* data, unsigned int size, Index& at,
                                 unsigned int c) const
{
    return textcore::Utf8Encoder::write(data, size, at, c);
}

unsigned int Utf8::encoded_bytes(unsigned int c) const
{
    return textcore::Utf8Encoder::bytesOf(c);
}

} // namespace std::unicode

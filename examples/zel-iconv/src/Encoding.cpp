// SPDX-License-Identifier: Apache-2.0

#include "Encoding.h"

#include <cstring>

#include <strings.h>

#include "Ucs4BigCodec.h"

namespace zeliconv {

namespace {

const Ucs4BigCodec UCS4BE;
constexpr unsigned int MAX_MARK = 4;

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the library's UCS-4 is UCS-4LE then");

/// The mark of UCS-4LE begins with that of UTF-16LE, so it is looked for first.
constexpr Encoding ENCODINGS[] = {
    {"UTF-8", &std::unicode::UTF8, scanUtf8},
    {"UCS-4LE", &std::unicode::UCS4, scanUcs4Little},
    {"UCS-4BE", &UCS4BE, scanUcs4Big},
    {"UTF-16LE", &std::unicode::UTF16LE, scanUtf16Little},
    {"UTF-16BE", &std::unicode::UTF16BE, scanUtf16Big},
};

} // namespace

const Encoding* findEncoding(const char* name)
{
    for (const Encoding& encoding : ENCODINGS)
        if (strcasecmp(encoding.name, name) == 0) return &encoding;
    return nullptr;
}

const Encoding& detectEncoding(const unsigned char* bytes, unsigned int size,
                               unsigned int& markSize)
{
    for (const Encoding& encoding : ENCODINGS) {
        unsigned char mark[MAX_MARK];
        std::unicode::Codec::Index end;
        encoding.codec->write_forward(mark, sizeof(mark), end, std::unicode::BOM);
        markSize = end.bytes;
        if (size >= markSize && std::memcmp(bytes, mark, markSize) == 0) return encoding;
    }
    markSize = 0;
    return ENCODINGS[0];
}

} // namespace zeliconv

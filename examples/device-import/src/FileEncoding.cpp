// SPDX-License-Identifier: Apache-2.0

#include "FileEncoding.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <string>

#include <zel/report.h>

#include "ImportErrors.h"

namespace deviceimport {

namespace {

using std::unicode::Codec;
using std::unicode::String;

constexpr unsigned int MAX_CODE_POINT = 0x10FFFF;
/// Bytes of the longest form of a character, the six of UTF-8.
constexpr unsigned int MAX_CHARACTER = 6;

struct Encoding
{
    const Codec* codec;
    const char* name;
};

/// The mark of UCS-4 begins with that of UTF-16LE, so it is looked for first.
constexpr Encoding ENCODINGS[] = {
    {&std::unicode::UCS4, "UCS-4"},
    {&std::unicode::UTF16LE, "UTF-16LE"},
    {&std::unicode::UTF16BE, "UTF-16BE"},
    {&std::unicode::UTF8, "UTF-8"},
};

const char* encodingName(const Codec& codec)
{
    const auto isMeant = [&codec](const Encoding& encoding) { return encoding.codec == &codec; };
    return std::find_if(std::begin(ENCODINGS), std::end(ENCODINGS), isMeant)->name;
}

/// Returns true if `character`, as decoded from `bytes[0..size)`, is encoded to the same bytes.
bool isSound(const Codec& codec, unsigned int character, const unsigned char* bytes,
             unsigned int size)
{
    unsigned char encoded[MAX_CHARACTER] = {};
    Codec::Index end;
    codec.write_forward(encoded, sizeof(encoded), end, character);
    return character <= MAX_CODE_POINT && end.bytes == size &&
           std::memcmp(encoded, bytes, size) == 0;
}

/// Returns the place of the first bytes that are no character, `size` of them; the end, with a
/// `size` of 0, if there are none.
Codec::Index findUndecodable(const String& text, unsigned int& size)
{
    for (Codec::Index place;;) {
        const Codec::Index begin = place;
        unsigned int character = 0;
        if (text.codec().read_forward(text.data(), text.byteLength(), place, 1, character) == 0) {
            size = text.byteLength() - begin.bytes;
            return begin;
        }
        size = place.bytes - begin.bytes;
        if (!isSound(text.codec(), character, text.data() + begin.bytes, size)) return begin;
    }
}

std::string hexBytes(const unsigned char* bytes, unsigned int size)
{
    std::string hex;
    for (unsigned int i = 0; i < size; ++i) {
        char digits[sizeof(" FF")];
        std::snprintf(digits, sizeof(digits), i == 0 ? "%02X" : " %02X", bytes[i]);
        hex += digits;
    }
    return hex;
}

} // namespace

FileEncoding detectEncoding(const char* head, unsigned int size)
{
    for (const Encoding& encoding : ENCODINGS) {
        const String mark(*encoding.codec, std::unicode::BOM);
        const unsigned int markSize = mark.byteLength();
        if (size < markSize || std::memcmp(head, mark.data(), markSize) != 0) continue;
        return {encoding.codec, markSize};
    }
    return {&std::unicode::UTF8, 0};
}

bool isDecodable(const String& text)
{
    unsigned int size = 0;
    findUndecodable(text, size);
    return size == 0;
}

bool checkDecodable(const String& line)
{
    unsigned int size = 0;
    const Codec::Index place = findUndecodable(line, size);
    if (size == 0) return true;
    ZEL_RAISE(LineError, LINE_UNDECODABLE, static_cast<int>(place.chars) + 1,
              hexBytes(line.data() + place.bytes, size).c_str(), encodingName(line.codec()));
    return false;
}

} // namespace deviceimport

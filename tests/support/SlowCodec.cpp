// SPDX-License-Identifier: Apache-2.0

#include <support/SlowCodec.h>

#include <cstdint>

namespace support::slow {

namespace {

using Wide = std::uint64_t;

unsigned int sizeOf(const Bytes& data)
{
    return static_cast<unsigned int>(data.size());
}

/// Looks at bits 11 to 15 alone: U+1D800 and its like count, too.
bool isSurrogate(unsigned int c)
{
    return (c & 0xF800) == 0xD800;
}

unsigned int withoutSurrogate(unsigned int c)
{
    return isSurrogate(c) ? REPLACEMENT : c;
}

bool isContinuation(unsigned char byte)
{
    return (byte & 0xC0) == 0x80;
}

unsigned int leadBits(unsigned char lead, int length)
{
    return lead & (0x7Fu >> length);
}

unsigned int readUtf8(const Bytes& data, Place at)
{
    if (at.bytes >= data.size()) return REPLACEMENT;
    const unsigned char lead = data[at.bytes];
    const int length = type(lead);
    if (length == 1) return lead;
    if (length < 1) return REPLACEMENT;
    unsigned int value = leadBits(lead, length);
    for (int i = 1; i < length; ++i) {
        ++at.bytes;
        if (at.bytes >= data.size() || !isContinuation(data[at.bytes])) return REPLACEMENT;
        value = value << 6 | (data[at.bytes] & 0x3Fu);
    }
    return length < 3 ? value : withoutSurrogate(value);
}

/// Takes one character, whose bytes are consumed before they are tested.
unsigned int takeUtf8(const Bytes& data, Place& at)
{
    const unsigned char lead = data[at.bytes];
    ++at.bytes;
    ++at.chars;
    const int length = type(lead);
    if (length == 1) return lead;
    if (length < 1) return REPLACEMENT;
    unsigned int value = length == 6 ? 0 : leadBits(lead, length);
    for (int i = 1; i < length; ++i) {
        if (at.bytes >= data.size()) return REPLACEMENT;
        const unsigned char byte = data[at.bytes];
        ++at.bytes;
        if (!isContinuation(byte)) return REPLACEMENT;
        // Bit 30 of the longest form comes from here, and not from its lead.
        if (length == 6 && i == 1) value = byte & 1u;
        value = value << 6 | (byte & 0x3Fu);
    }
    return value;
}

unsigned int forwardUtf8(const Bytes& data, Place& at, unsigned int n, unsigned int& last)
{
    if (n == 0) return 0;
    for (unsigned int i = 0; i < n; ++i) {
        if (at.bytes >= data.size()) return 0;
        last = takeUtf8(data, at);
    }
    last = withoutSurrogate(last);
    return 1;
}

unsigned int lengthUtf8(unsigned int c)
{
    if (c < 0x80) return 1;
    if (c < 0x800) return 2;
    if (c < 0x10000) return 3;
    if (c < 0x200000) return 4;
    if (c < 0x4000000) return 5;
    return 6;
}

unsigned int writeUtf8(Bytes& data, Place& at, unsigned int c)
{
    if (isSurrogate(c) || c >= 0x80000000) {
        if (Wide{at.bytes} + 3 > data.size()) return 0;
        data[at.bytes] = 0xEF;
        data[at.bytes + 1] = 0xBF;
        data[at.bytes + 2] = 0xBD;
        at = {at.chars + 1, at.bytes + 3};
        return 0;
    }
    const unsigned int length = lengthUtf8(c);
    if (Wide{at.bytes} + length > data.size()) return 0;
    const unsigned int leads[] = {0, 0, 0xC0, 0xE0, 0xF0, 0xF8, 0xFC};
    for (unsigned int i = 0; i < length; ++i) {
        const unsigned int bits = c >> (6 * (length - 1 - i));
        const unsigned int byte = i == 0 ? (leads[length] | bits) : (0x80 | (bits & 0x3F));
        data[at.bytes + i] = static_cast<unsigned char>(byte);
    }
    at = {at.chars + 1, at.bytes + length};
    return 1;
}

unsigned int unitAt(Encoding encoding, const Bytes& data, unsigned int place)
{
    const unsigned int first = data[place];
    const unsigned int second = data[place + 1];
    return encoding == UTF16BE ? first << 8 | second : second << 8 | first;
}

bool isHigh(unsigned int unit)
{
    return unit >= 0xD800 && unit <= 0xDBFF;
}

bool isLow(unsigned int unit)
{
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

unsigned int paired(unsigned int high, unsigned int low)
{
    return withoutSurrogate(((high & 0x3FF) << 10 | (low & 0x3FF)) + 0x10000);
}

unsigned int readUtf16(Encoding encoding, const Bytes& data, Place at)
{
    if (Wide{at.bytes} + 1 >= data.size()) return REPLACEMENT;
    const unsigned int unit = unitAt(encoding, data, at.bytes);
    if (isLow(unit)) return REPLACEMENT;
    if (!isHigh(unit)) return unit;
    if (Wide{at.bytes} + 3 >= data.size()) return REPLACEMENT;
    const unsigned int next = unitAt(encoding, data, at.bytes + 2);
    return isLow(next) ? paired(unit, next) : REPLACEMENT;
}

unsigned int forwardUtf16(Encoding encoding, const Bytes& data, Place& at, unsigned int n,
                          unsigned int& last)
{
    if (n == 0) return 0;
    for (unsigned int i = 0; i < n; ++i) {
        if (Wide{at.bytes} + 1 >= data.size()) return 0;
        last = REPLACEMENT;
        const unsigned int unit = unitAt(encoding, data, at.bytes);
        unsigned int used = 2;
        if (!isHigh(unit) && !isLow(unit)) last = unit;
        if (isHigh(unit) && Wide{at.bytes} + 3 < data.size()) {
            // The unit behind is taken along, whatever it is.
            const unsigned int next = unitAt(encoding, data, at.bytes + 2);
            used = 4;
            if (isLow(next)) last = paired(unit, next);
        }
        at = {at.chars + 1, at.bytes + used};
    }
    return 1;
}

void putUnit(Encoding encoding, Bytes& data, unsigned int place, unsigned int unit)
{
    const auto high = static_cast<unsigned char>(unit >> 8);
    const auto low = static_cast<unsigned char>(unit & 0xFF);
    data[place] = encoding == UTF16BE ? high : low;
    data[place + 1] = encoding == UTF16BE ? low : high;
}

unsigned int writeUtf16(Encoding encoding, Bytes& data, Place& at, unsigned int c)
{
    const bool isReplaced = isSurrogate(c) || c >= 0x110000;
    if (!isReplaced && c >= 0x10000) {
        if (Wide{at.bytes} + 4 > data.size()) return 0;
        putUnit(encoding, data, at.bytes, 0xD800 | ((c - 0x10000) >> 10));
        putUnit(encoding, data, at.bytes + 2, 0xDC00 | (c & 0x3FF));
        at = {at.chars + 1, at.bytes + 4};
        return 1;
    }
    if (Wide{at.bytes} + 2 > data.size()) return 0;
    putUnit(encoding, data, at.bytes, isReplaced ? REPLACEMENT : c);
    at = {at.chars + 1, at.bytes + 2};
    return isReplaced ? 0 : 1;
}

unsigned int readUcs4(const Bytes& data, Place at)
{
    if (Wide{at.bytes} + 4 > data.size()) return REPLACEMENT;
    unsigned int value = 0;
    for (unsigned int i = 4; i > 0; --i)
        value = value << 8 | data[at.bytes + i - 1];
    return withoutSurrogate(value);
}

unsigned int forwardUcs4(const Bytes& data, Place& at, unsigned int n, unsigned int& last)
{
    if (at.bytes >= data.size()) return 0;
    if (Wide{at.bytes} + Wide{n} * 4 > data.size()) {
        at = {sizeOf(data) / 4, sizeOf(data)};
        return 0;
    }
    for (unsigned int i = 0; i < n; ++i) {
        last = readUcs4(data, at);
        at = {at.chars + 1, at.bytes + 4};
    }
    return 1;
}

unsigned int writeUcs4(Bytes& data, Place& at, unsigned int c)
{
    if (isSurrogate(c)) return 0;
    const Wide behind = Wide{at.bytes} + 4;
    at = {at.chars + 1, at.bytes + 4};
    if (behind > data.size()) return 0;
    for (unsigned int i = 0; i < 4; ++i)
        data[at.bytes - 4 + i] = static_cast<unsigned char>(c >> (8 * i));
    return 1;
}

} // namespace

int type(unsigned char byte)
{
    if ((byte & 0x80) == 0) return 1;
    if ((byte & 0xC0) == 0x80) return 0;
    if ((byte & 0xE0) == 0xC0) return 2;
    if ((byte & 0xF0) == 0xE0) return 3;
    if ((byte & 0xF8) == 0xF0) return 4;
    if ((byte & 0xFC) == 0xF8) return 5;
    if ((byte & 0xFE) == 0xFC) return 6;
    return -1;
}

unsigned int read(Encoding encoding, const Bytes& data, Place at)
{
    if (encoding == UTF8) return readUtf8(data, at);
    if (encoding == UCS4) return readUcs4(data, at);
    return readUtf16(encoding, data, at);
}

unsigned int readForward(Encoding encoding, const Bytes& data, Place& at, unsigned int n,
                         unsigned int& last)
{
    if (encoding == UTF8) return forwardUtf8(data, at, n, last);
    if (encoding == UCS4) return forwardUcs4(data, at, n, last);
    return forwardUtf16(encoding, data, at, n, last);
}

unsigned int writeForward(Encoding encoding, Bytes& data, Place& at, unsigned int c)
{
    if (encoding == UTF8) return writeUtf8(data, at, c);
    if (encoding == UCS4) return writeUcs4(data, at, c);
    return writeUtf16(encoding, data, at, c);
}

unsigned int encodedBytes(Encoding encoding, unsigned int c)
{
    if (encoding == UCS4) return 4;
    if (encoding != UTF8) return c - 0x10000 < 0x100000 ? 4 : 2;
    return isSurrogate(c) || c >= 0x80000000 ? 3 : lengthUtf8(c);
}

Place placeOf(Encoding encoding, const Bytes& data, unsigned int i)
{
    if (encoding == UCS4) {
        if (Wide{i} * 4 > data.size()) return {sizeOf(data) / 4, sizeOf(data)};
        return {i, i * 4};
    }
    Place at;
    unsigned int last = 0;
    readForward(encoding, data, at, i, last);
    return at;
}

Bytes convert(Encoding from, Encoding to, const Bytes& data, unsigned int maxBytes)
{
    Place at;
    Wide total = 0;
    unsigned int c = 0;
    while (at.bytes < data.size()) {
        // What is no whole unit at the end of the data is no character.
        if (readForward(from, data, at, 1, c) == 0) break;
        if (total + encodedBytes(to, c) > maxBytes) {
            --at.chars;
            break;
        }
        total += encodedBytes(to, c);
    }
    Bytes result(static_cast<std::size_t>(total));
    Place source;
    Place target;
    while (source.chars < at.chars) {
        readForward(from, data, source, 1, c);
        writeForward(to, result, target, c);
    }
    return result;
}

unsigned int count(Encoding encoding, const Bytes& data)
{
    Place at;
    unsigned int last = 0;
    while (at.bytes < data.size()) {
        const unsigned int before = at.bytes;
        readForward(encoding, data, at, 1, last);
        if (at.bytes == before) break;
    }
    return at.chars;
}

} // namespace support::slow

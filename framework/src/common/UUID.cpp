// SPDX-License-Identifier: Apache-2.0

#include <common/UUID.h>

#include <cstring>
#include <utility>

#include <common/error/Error.h>

#include "../zelbase/constantInit.h"

namespace std {

namespace {

// The place that the error names, fixed whatever becomes of the code.
constexpr const char* FILE_NAME = "framework/include/common/UUID";
constexpr int LINE_PARSE = 196;

constexpr unsigned int DASHES[] = {8, 13, 18, 23};

constexpr unsigned char nibbleOf(unsigned int c)
{
    if (c >= '0' && c <= '9') return static_cast<unsigned char>(c - '0');
    if (c >= 'a' && c <= 'f') return static_cast<unsigned char>(c - 'a' + 10);
    if (c >= 'A' && c <= 'F') return static_cast<unsigned char>(c - 'A' + 10);
    return 0;
}

/// What each byte is as a digit, and the two digits of each: a look-up for what would be a branch.
struct Digits
{
    constexpr Digits()
    {
        for (unsigned int byte = 0; byte < 256; ++byte) {
            values[byte] = nibbleOf(byte);
            pairs[byte][0] = "0123456789abcdef"[byte >> 4];
            pairs[byte][1] = "0123456789abcdef"[byte & 0xF];
        }
    }

    unsigned char values[256] = {};
    char pairs[256][2] = {};
};
constexpr Digits DIGITS;

/// Returns the number that two, or four, hexadecimal digits at `text` stand for.
unsigned int twoDigits(const char* text)
{
    const auto* const digits = reinterpret_cast<const unsigned char*>(text);
    return static_cast<unsigned int>(DIGITS.values[digits[0]] << 4 | DIGITS.values[digits[1]]);
}
unsigned int fourDigits(const char* text)
{
    return twoDigits(text) << 8 | twoDigits(text + 2);
}

/// Writes the lowest `size` bytes of `value` as hexadecimal digits. Returns the place behind them.
char* putHex(char* out, unsigned int value, int size)
{
    for (int shift = 8 * (size - 1); shift >= 0; shift -= 8, out += 2)
        std::memcpy(out, DIGITS.pairs[value >> shift & 0xFF], 2);
    return out;
}

bool hasDashes(const char* text)
{
    for (const unsigned int position : DASHES)
        if (text[position] != '-') return false;
    return true;
}

unsigned int bigEndian(const unsigned char* bytes, int size)
{
    unsigned int value = 0;
    for (; size > 0; --size, ++bytes)
        value = value << 8 | *bytes;
    return value;
}

char* putBigEndian(char* out, unsigned int value, int size)
{
    for (int shift = 8 * (size - 1); shift >= 0; shift -= 8)
        *out++ = static_cast<char>(value >> shift & 0xFF);
    return out;
}

UUIDValue fromBytes(const unsigned char* bytes)
{
    UUIDValue value;
    value.timeLow = bigEndian(bytes, 4);
    value.timeMid = static_cast<uint16_t>(bigEndian(bytes + 4, 2));
    value.timeHiAndVersion = static_cast<uint16_t>(bigEndian(bytes + 6, 2));
    value.clockSeq = static_cast<uint16_t>(bigEndian(bytes + 8, 2));
    std::memcpy(value.node, bytes + 10, sizeof value.node);
    return value;
}

template <typename Number>
int ordered(Number left, Number right)
{
    if (left == right) return 0;
    return left < right ? -1 : 1;
}

} // namespace

ZELCOMMON_CONSTANT_INIT const ErrorID UUID::ERROR_TABLE[1] = {{0, "Syntax error UUID", 0}};
ZELCOMMON_CONSTANT_INIT ErrorType UUID::Error(UUID::ERROR_TABLE, 1);

UUID::UUID(unsigned int time_low, unsigned int time_mid, unsigned int time_hi,
           unsigned short clock_seq, unsigned char node0, unsigned char node1, unsigned char node2,
           unsigned char node3, unsigned char node4, unsigned char node5)
    : m_value{time_low,
              static_cast<uint16_t>(time_mid), // kept: declared wider than the field
              static_cast<uint16_t>(time_hi),
              clock_seq,
              {node0, node1, node2, node3, node4, node5}}
{}

UUID::UUID(const unsigned char* bytes, Version version)
{
    if (bytes == nullptr) return;
    m_value = fromBytes(bytes);
    m_value.timeHiAndVersion = static_cast<uint16_t>((m_value.timeHiAndVersion & 0x0FFF) |
                                                     static_cast<unsigned int>(version) << 12);
    m_value.clockSeq = static_cast<uint16_t>((m_value.clockSeq & 0x3FFF) | 0x8000);
}

UUID::UUID(const std::string& text)
{
    parse(text);
}

void UUID::parse(const std::string& text)
{
    m_invalid = false;
    if (text.empty() || fromChars(text.data(), text.size(), *this)) return;
    m_invalid = true;
    ErrorOutput(FILE_NAME, LINE_PARSE, true)(Error, 0);
}

bool UUID::fromChars(const char* text, std::size_t size, UUID& out)
{
    if (size < TEXT_LENGTH || !hasDashes(text)) return false;
    UUIDValue& value = out.m_value;
    out.m_invalid = false;
    value.timeLow = fourDigits(text) << 16 | fourDigits(text + 4);
    value.timeMid = static_cast<uint16_t>(fourDigits(text + 9));
    value.timeHiAndVersion = static_cast<uint16_t>(fourDigits(text + 14));
    value.clockSeq = static_cast<uint16_t>(fourDigits(text + 19));
    const char* digits = text + 24;
    for (uint8_t& byte : value.node) {
        byte = static_cast<uint8_t>(twoDigits(digits));
        digits += 2;
    }
    return true;
}

void UUID::toChars(char* out) const
{
    out = putHex(out, m_value.timeLow, 4);
    *out++ = '-';
    out = putHex(out, m_value.timeMid, 2);
    *out++ = '-';
    out = putHex(out, m_value.timeHiAndVersion, 2);
    *out++ = '-';
    out = putHex(out, m_value.clockSeq, 2);
    *out++ = '-';
    for (const uint8_t byte : m_value.node)
        out = putHex(out, byte, 1);
}

std::string UUID::toString() const
{
    char text[TEXT_LENGTH];
    toChars(text);
    return std::string(text, TEXT_LENGTH);
}

void UUID::toString(std::string& out) const
{
    std::string text = toString();
    out.swap(text);
}

void UUID::appendHex(std::string& s, unsigned char b)
{
    s.append(DIGITS.pairs[b], 2);
}

void UUID::appendHex(std::string& s, unsigned short v)
{
    appendHex(s, static_cast<unsigned char>(v >> 8));
    appendHex(s, static_cast<unsigned char>(v & 0xFF));
}

void UUID::appendHex(std::string& s, unsigned int v)
{
    appendHex(s, static_cast<unsigned short>(v >> 16));
    appendHex(s, static_cast<unsigned short>(v & 0xFFFF));
}

unsigned char UUID::nibble(char c)
{
    return DIGITS.values[static_cast<unsigned char>(c)];
}

void UUID::copyFrom(const char* bytes)
{
    m_value = fromBytes(reinterpret_cast<const unsigned char*>(bytes));
}

void UUID::copyTo(char* bytes) const
{
    bytes = putBigEndian(bytes, m_value.timeLow, 4);
    bytes = putBigEndian(bytes, m_value.timeMid, 2);
    bytes = putBigEndian(bytes, m_value.timeHiAndVersion, 2);
    bytes = putBigEndian(bytes, m_value.clockSeq, 2);
    std::memcpy(bytes, m_value.node, sizeof m_value.node);
}

void UUID::toNetwork()
{
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    m_value.timeLow = __builtin_bswap32(m_value.timeLow);
    m_value.timeMid = __builtin_bswap16(m_value.timeMid);
    m_value.timeHiAndVersion = __builtin_bswap16(m_value.timeHiAndVersion);
    m_value.clockSeq = __builtin_bswap16(m_value.clockSeq);
#endif
}

UUID::Variant UUID::variant() const
{
    const unsigned int top = m_value.clockSeq >> 13;
    if ((top & 6) == 6) return static_cast<Variant>(top);
    return (top & 4) != 0 ? VARIANT_RFC4122 : VARIANT_NCS;
}

int UUID::compare(const UUID& other) const
{
    if (const int order = ordered(m_value.timeLow, other.m_value.timeLow)) return order;
    if (const int order = ordered(m_value.timeMid, other.m_value.timeMid)) return order;
    if (const int order = ordered(m_value.timeHiAndVersion, other.m_value.timeHiAndVersion))
        return order;
    if (const int order = ordered(m_value.clockSeq, other.m_value.clockSeq)) return order;
    return ordered(std::memcmp(m_value.node, other.m_value.node, sizeof m_value.node), 0);
}

std::size_t UUID::hash() const
{
    // The multiplier of Fibonacci hashing spreads each half upwards, the shifts bring it down
    // again.
    constexpr uint64_t MULTIPLIER = 0x9E3779B97F4A7C15;
    uint64_t halves[2];
    static_assert(sizeof halves == sizeof m_value, "every bit counts");
    std::memcpy(halves, &m_value, sizeof halves);
    uint64_t mixed = halves[0] * MULTIPLIER;
    mixed = ((mixed ^ mixed >> 32) + halves[1]) * MULTIPLIER;
    return static_cast<std::size_t>(mixed ^ mixed >> 32);
}

void UUID::swap(UUID& other)
{
    std::swap(m_value, other.m_value);
}

const UUID& UUID::nil()
{
    static const UUID s_nil;
    return s_nil;
}

} // namespace std

// SPDX-License-Identifier: Apache-2.0
//
// A slow reader and printer of UUIDs, which go character by character.

#ifndef ZELCOMMON_TESTS_SUPPORT_SLOWUUID_H
#define ZELCOMMON_TESTS_SUPPORT_SLOWUUID_H

#include <cstddef>
#include <cstdio>
#include <string>

#include <common/UUID.h>

namespace support::slow {

/// The value of a digit, found in a list; 0 for what is in none.
inline unsigned int digit(char c)
{
    const char* const digits = "00112233445566778899aAbBcCdDeEfF";
    for (unsigned int i = 0; i < 32; ++i)
        if (digits[i] == c) return i / 2;
    return 0;
}

inline unsigned int number(const std::string& text, std::size_t first, std::size_t last)
{
    unsigned int value = 0;
    for (std::size_t i = first; i <= last; ++i)
        value = value * 16 + digit(text[i]);
    return value;
}

/// Walks over the 36 positions. Returns false, with `value` as it was, where the text has ended or
/// misses a dash.
inline bool parseUuid(const std::string& text, std::UUIDValue& value)
{
    for (std::size_t i = 0; i < 36; ++i) {
        if (i == text.size()) return false;
        const bool dash = i == 8 || i == 13 || i == 18 || i == 23;
        if (dash && text[i] != '-') return false;
    }
    value.timeLow = number(text, 0, 7);
    value.timeMid = static_cast<unsigned short>(number(text, 9, 12));
    value.timeHiAndVersion = static_cast<unsigned short>(number(text, 14, 17));
    value.clockSeq = static_cast<unsigned short>(number(text, 19, 22));
    for (std::size_t i = 0; i < 6; ++i)
        value.node[i] = static_cast<unsigned char>(number(text, 24 + 2 * i, 25 + 2 * i));
    return true;
}

inline std::string printUuid(const std::UUIDValue& value)
{
    char text[40];
    std::snprintf(text, sizeof text, "%08lx-%04x-%04x-%04x-%02x%02x%02x%02x%02x%02x",
                  static_cast<unsigned long>(value.timeLow), value.timeMid, value.timeHiAndVersion,
                  value.clockSeq, value.node[0], value.node[1], value.node[2], value.node[3],
                  value.node[4], value.node[5]);
    return text;
}

/// What `toUUIDValue` gives, printed.
inline std::string printUuid(const std::UUID& id)
{
    std::UUIDValue value;
    id.toUUIDValue(value);
    return printUuid(value);
}

} // namespace support::slow

#endif // ZELCOMMON_TESTS_SUPPORT_SLOWUUID_H

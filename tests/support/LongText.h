// SPDX-License-Identifier: Apache-2.0
//
// Long texts at random, the same on every machine: runs of one kind of characters, as real texts
// have them, and whatever else bytes can be between these.

#ifndef ZELCOMMON_TESTS_SUPPORT_LONGTEXT_H
#define ZELCOMMON_TESTS_SUPPORT_LONGTEXT_H

#include <vector>

#include <support/RandomText.h>

namespace support {

/// Of which characters a run is, by their bytes in UTF-8.
enum Filler { ASCII, LATIN, EAST, EMOJI };
constexpr Filler FILLERS[] = {ASCII, LATIN, EAST, EMOJI};
constexpr slow::Encoding ENCODINGS[] = {slow::UTF8, slow::UTF16LE, slow::UTF16BE, slow::UCS4};

inline void append(slow::Bytes& data, const slow::Bytes& more)
{
    data.insert(data.end(), more.begin(), more.end());
}

/// The bytes of a code point that each encoding has.
inline slow::Bytes encoded(slow::Encoding encoding, unsigned int c)
{
    slow::Bytes data(slow::encodedBytes(encoding, c));
    slow::Place at;
    slow::writeForward(encoding, data, at, c);
    return data;
}

class LongText : public RandomText
{
public:
    using RandomText::RandomText;

    Filler filler() { return FILLERS[below(4)]; }

    unsigned int character(Filler kind)
    {
        static const std::vector<unsigned int> OF_KIND[] = {
            {'a', 'b', 'c', 'z', ' ', ';', 0, 1, 0x7E, 0x7F},
            {0x80, 0xE4, 0xFC, 0xFF, 0x100, 0x3B1, 0x416, 0x7FF},
            {0x800, 0xFFF, 0x1000, 0x20AC, 0x6F22, 0x5B57, 0xAC00, 0xD7FF, 0xE000, 0xFEFF, 0xFFFC,
             0xFFFF},
            {0x10000, 0x1D7FF, 0x1E000, 0x1F600, 0x1F98A, 0x10FFFF}};
        const std::vector<unsigned int>& all = OF_KIND[kind];
        return all[below(static_cast<unsigned int>(all.size()))];
    }

    /// `count` characters of a kind.
    slow::Bytes run(slow::Encoding encoding, Filler kind, unsigned int count)
    {
        slow::Bytes data;
        for (; count > 0; --count)
            append(data, encoded(encoding, character(kind)));
        return data;
    }

    /// What is not as it should be, in many cases.
    slow::Bytes odd(slow::Encoding encoding)
    {
        static const std::vector<slow::Bytes> MORE = {
            {0xF5, 0x80, 0x80, 0x80}, {0xF7, 0xBF, 0xBF, 0xBF},
            {0xF4, 0x8F, 0xBF, 0xBF}, {0xC1, 0xA1},
            {0xE0, 0x9F, 0xBF},       {0xE0, 0x81, 0xA1},
            {0xF0, 0x8F, 0xBF, 0xBF}, {0xED, 0x9F, 0xBF},
            {0xEE, 0x80, 0x80},       {0xF4, 0x8D, 0xA0, 0x80},
            {0xF0, 0x9F, 0x98},       {0xFC, 0x84, 0x80, 0x80, 0x80}};
        if (encoding == slow::UTF8 && below(3) == 0)
            return MORE[below(static_cast<unsigned int>(MORE.size()))];
        return bytes(encoding, 3);
    }

    /// Runs of up to `longest` characters, about `most` in all, with odd ones between them.
    slow::Bytes mixed(slow::Encoding encoding, unsigned int most, unsigned int longest = 300)
    {
        slow::Bytes data;
        for (unsigned int left = below(most + 1); left > 0;) {
            const unsigned int count = 1 + below(left < longest ? left : longest);
            append(data, run(encoding, filler(), count));
            if (below(2) == 0) append(data, odd(encoding));
            left -= count;
        }
        if (below(3) == 0) append(data, odd(encoding));
        if (encoding != slow::UTF8 && below(8) == 0) data.push_back(0x61);
        return data;
    }
};

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_LONGTEXT_H

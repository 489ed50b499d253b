// SPDX-License-Identifier: Apache-2.0
//
// Texts at random, the same on every machine: few different characters, so that searches find
// something, in every form that bytes can have, well-formed or not.

#ifndef ZELCOMMON_TESTS_SUPPORT_RANDOMTEXT_H
#define ZELCOMMON_TESTS_SUPPORT_RANDOMTEXT_H

#include <utility>
#include <vector>

#include <support/Random.h>
#include <support/SlowText.h>

namespace support {

class RandomText : private Random
{
public:
    using Random::below;
    using Random::Random;

    slow::Encoding encoding() { return static_cast<slow::Encoding>(below(4)); }

    /// A value at a limit of the encodings or beside it, or any.
    unsigned int value()
    {
        static const std::vector<unsigned int> LIMITS = {
            0,        'a',       0x7F,      0x80,       0x7FF,      0x800,      0xD7FF,    0xD800,
            0xDBFF,   0xDC00,    0xDFFF,    0xE000,     0xFEFF,     0xFFFD,     0xFFFE,    0xFFFF,
            0x10000,  0x1D7FF,   0x1D800,   0x1DFFF,    0x1E000,    0x10FFFF,   0x110000,  0x1FFFFF,
            0x200000, 0x3FFFFFF, 0x4000000, 0x7FFFFFFF, 0x80000000, 0x8000D800, 0xFFFFFFFF};
        if (below(4) == 0) return number();
        return pick(LIMITS);
    }

    /// Up to `most` characters or other pieces.
    slow::Bytes bytes(slow::Encoding encoding, unsigned int most)
    {
        slow::Bytes data;
        for (unsigned int i = below(most + 1); i > 0; --i) {
            const slow::Bytes next = piece(encoding);
            data.insert(data.end(), next.begin(), next.end());
        }
        if (encoding != slow::UTF8 && below(16) == 0) data.push_back(0x61);
        return data;
    }

private:
    template <typename Type>
    const Type& pick(const std::vector<Type>& from)
    {
        return from[below(static_cast<unsigned int>(from.size()))];
    }

    slow::Bytes piece(slow::Encoding encoding)
    {
        if (encoding == slow::UTF8) return piece8();
        if (encoding == slow::UCS4) return piece32();
        slow::Bytes data = piece16();
        if (encoding == slow::UTF16LE) return data;
        for (std::size_t i = 0; i + 1 < data.size(); i += 2)
            std::swap(data[i], data[i + 1]);
        return data;
    }

    slow::Bytes piece8()
    {
        // Plain ones; two to six bytes; cut off or broken off; bad leads; overlong; surrogates; and
        // longest forms whose bit 30 is in the lead, in the byte behind it, or in both.
        static const std::vector<slow::Bytes> PIECES = {{'a'},
                                                        {'a'},
                                                        {'b'},
                                                        {';'},
                                                        {0x00},
                                                        {0xC3, 0xA4},
                                                        {0xDF, 0xBF},
                                                        {0xE2, 0x82, 0xAC},
                                                        {0xEF, 0xBF, 0xBD},
                                                        {0xF0, 0x9F, 0x98, 0x80},
                                                        {0xF4, 0x90, 0x80, 0x80},
                                                        {0xF8, 0x88, 0x80, 0x80, 0x80},
                                                        {0xFC, 0x84, 0x80, 0x80, 0x80, 0x80},
                                                        {0xC3},
                                                        {0xE2, 0x82},
                                                        {0xF0, 0x9F},
                                                        {0xF8},
                                                        {0xFC, 0x84, 0x80},
                                                        {0xFD, 0xBF},
                                                        {0x80},
                                                        {0xBF},
                                                        {0xFE},
                                                        {0xFF},
                                                        {0xC0, 0x80},
                                                        {0xE0, 0x80, 0x80},
                                                        {0xF0, 0x80, 0x81, 0xA1},
                                                        {0xED, 0xA0, 0x80},
                                                        {0xED, 0xBF, 0xBF},
                                                        {0xF0, 0x9D, 0xA0, 0x80},
                                                        {0xF0, 0x9D, 0xBF, 0xBF},
                                                        {0xFD, 0x80, 0x80, 0x80, 0x80, 0x80},
                                                        {0xFC, 0x81, 0x80, 0x80, 0x80, 0x80},
                                                        {0xFD, 0xBF, 0xBF, 0xBF, 0xBF, 0xBF}};
        return pick(PIECES);
    }

    /// Low byte first.
    slow::Bytes piece16()
    {
        static const std::vector<slow::Bytes> PIECES = {{'a', 0},
                                                        {'a', 0},
                                                        {'b', 0},
                                                        {';', 0},
                                                        {0, 0},
                                                        {0xE4, 0x00},
                                                        {0xAC, 0x20},
                                                        {0xFD, 0xFF},
                                                        {0x00, 0xE0},
                                                        {0xFF, 0xD7},
                                                        {0x3D, 0xD8, 0x00, 0xDE},
                                                        {0xFF, 0xDB, 0xFF, 0xDF},
                                                        {0x36, 0xD8, 0x00, 0xDC},
                                                        {0x37, 0xD8, 0xFF, 0xDF},
                                                        {0x00, 0xD8},
                                                        {0xFF, 0xDB},
                                                        {0x00, 0xDC},
                                                        {0xFF, 0xDF}};
        return pick(PIECES);
    }

    slow::Bytes piece32()
    {
        static const std::vector<slow::Bytes> PIECES = {{'a', 0, 0, 0},
                                                        {'a', 0, 0, 0},
                                                        {'b', 0, 0, 0},
                                                        {';', 0, 0, 0},
                                                        {0, 0, 0, 0},
                                                        {0xE4, 0, 0, 0},
                                                        {0xAC, 0x20, 0, 0},
                                                        {0xFD, 0xFF, 0, 0},
                                                        {0x00, 0xF6, 0x01, 0},
                                                        {0xFF, 0xFF, 0x10, 0},
                                                        {0x00, 0x00, 0x11, 0},
                                                        {0x00, 0xD8, 0, 0},
                                                        {0xFF, 0xDF, 0, 0},
                                                        {0x00, 0xD8, 0x01, 0},
                                                        {0xFF, 0xFF, 0xFF, 0x7F},
                                                        {0, 0, 0, 0x80},
                                                        {0xFF, 0xFF, 0xFF, 0xFF}};
        return pick(PIECES);
    }
};

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_RANDOMTEXT_H

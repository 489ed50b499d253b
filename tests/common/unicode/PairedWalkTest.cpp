// SPDX-License-Identifier: Apache-2.0
//
// Where the walk over two texts ends: in front of both ends, whatever is behind them.

#include <common/unicode/PairedWalk.h>

#include <climits>
#include <string>

#include <gtest/gtest.h>

namespace {

using textcore::Ucs4Encoding;
using textcore::Utf16Encoding;
using textcore::Utf8Encoding;

/// Takes whatever there is.
struct TakeAll
{
    using Byte = const unsigned char;

    template <typename From, typename To>
    static unsigned int ascii(const unsigned char*, const unsigned char*)
    {
        return textcore::ASCII_BLOCK;
    }
    template <typename From, typename To>
    static bool asciiBlock(const unsigned char*, const unsigned char*)
    {
        return true;
    }
    template <unsigned int LENGTH, typename Target>
    static bool character(const Target&, const unsigned char*, unsigned int)
    {
        return true;
    }
};

const unsigned char* bytesOf(const std::string& text)
{
    return reinterpret_cast<const unsigned char*>(text.data());
}

/// Returns how much is left of the first `size` bytes of `text`, beside `otherSize` of another one.
template <typename Encoding>
std::ptrdiff_t leftBeside(const std::string& text, unsigned int size, unsigned int otherSize,
                          unsigned int chars)
{
    const unsigned char* const from = bytesOf(text);
    textcore::Course<const unsigned char> at{from, from + size, from, from + otherSize, chars};
    textcore::PairedWalk<TakeAll, Encoding, Encoding>::walk(at);
    EXPECT_EQ(at.from, at.to);
    return at.fromEnd - at.from;
}

/// The same, beside as many.
template <typename Encoding>
std::ptrdiff_t leftOf(const std::string& text, unsigned int size, unsigned int chars)
{
    return leftBeside<Encoding>(text, size, size, chars);
}

std::string repeated(const std::string& character, int count)
{
    std::string text;
    for (; count > 0; --count)
        text += character;
    return text;
}

TEST(PairedWalk, StaysBeforeTheEnd_WhateverTheNumberOfCharacters)
{
    for (const unsigned int chars : {0x7FFFFFFFU, 0x80000000U, 0x80000001U, UINT_MAX}) {
        EXPECT_EQ(6, leftOf<Utf8Encoding>(repeated("\u20AC", 100), 150, chars)) << chars;
        EXPECT_EQ(4, leftOf<Utf8Encoding>(repeated("\U0001F600", 100), 200, chars)) << chars;
        EXPECT_EQ(8, leftOf<Utf8Encoding>(repeated("a", 100), 64, chars)) << chars;
    }
}

TEST(PairedWalk, LeavesAWholeUnit_WhereTheLastOneIsCut)
{
    const std::string units = repeated(std::string("a\0", 2), 200);
    EXPECT_EQ(2, leftOf<Utf16Encoding>(units, 2 * 25, UINT_MAX));
    EXPECT_EQ(33, leftOf<Utf16Encoding>(units, 2 * 24 + 1, UINT_MAX));
    const std::string wide = repeated(std::string("a\0\0\0", 4), 200);
    EXPECT_EQ(4, leftOf<Ucs4Encoding>(wide, 4 * 25, UINT_MAX));
    EXPECT_EQ(67, leftOf<Ucs4Encoding>(wide, 4 * 24 + 3, UINT_MAX));
}

TEST(PairedWalk, StaysBeforeTheEnd_OneCharacterOfTwoBytesAtATime)
{
    for (const unsigned int size : {50U, 52U, 300U, 302U})
        EXPECT_EQ(16, leftOf<Utf8Encoding>(repeated("\u00FC", 200), size, UINT_MAX)) << size;
}

TEST(PairedWalk, StaysBeforeBothEnds)
{
    const std::string text = repeated("\u20AC", 100);
    EXPECT_EQ(6, leftBeside<Utf8Encoding>(text, 150, 300, UINT_MAX));
    EXPECT_EQ(156, leftBeside<Utf8Encoding>(text, 300, 150, UINT_MAX));
}

TEST(PairedWalk, StaysBeforeTheEnd_BehindBlocksOfAscii)
{
    const std::string text = repeated("a", 56) + repeated("\u20AC", 20);
    EXPECT_EQ(9, leftOf<Utf8Encoding>(text, 56 + 9, UINT_MAX));
    EXPECT_EQ(1, leftOf<Utf8Encoding>(text, 56 + 1, UINT_MAX));
}

TEST(PairedWalk, GoesOn_RunsOfOneCharacter)
{
    EXPECT_EQ(14, leftOf<Utf8Encoding>(repeated("\u20AC\U0001F600", 100), 350, UINT_MAX));
    EXPECT_EQ(15, leftOf<Utf8Encoding>(repeated("\u00FC\u20AC", 100), 350, UINT_MAX));
}

TEST(PairedWalk, LeavesACharacter)
{
    EXPECT_EQ(300 - 24, leftOf<Utf8Encoding>(repeated("a", 400), 300, 25));
    EXPECT_EQ(300 - 3 * 24, leftOf<Utf8Encoding>(repeated("\u20AC", 200), 300, 25));
    EXPECT_EQ(300 - 4 * 24, leftOf<Utf8Encoding>(repeated("\U0001F600", 200), 300, 25));
}

} // namespace

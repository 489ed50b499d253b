// SPDX-License-Identifier: Apache-2.0

#include <common/unicode/String.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "Cursor.h"
#include "PairedWalk.h"

namespace std::unicode {

namespace {

using textcore::AnyEncoding;
using textcore::Cursor;
using textcore::Kind;
using textcore::kindOf;
using textcore::REPLACEMENT;
using textcore::Ucs4Encoding;
using textcore::Utf16Encoding;
using textcore::Utf8Encoding;

/// The first pair of code points in which two texts differ.
struct Difference
{
    unsigned int left;
    unsigned int right;
};

/// Goes on as long as two texts are the same.
struct Compare
{
    using Byte = const unsigned char;

    template <typename From, typename To>
    static unsigned int ascii(const unsigned char* from, const unsigned char* other)
    {
        return textcore::equalAsciiLength<From, To>(from, other);
    }

    template <typename From, typename To>
    static bool asciiBlock(const unsigned char* from, const unsigned char* other)
    {
        return textcore::equalAsciiBlock<From, To>(from, other);
    }

    template <unsigned int LENGTH, typename Target>
    static bool character(const Target& target, const unsigned char* other, unsigned int c)
    {
        constexpr std::ptrdiff_t BEHIND = 32 - 8 * textcore::bytesOf<LENGTH, Target>();
        const std::uint32_t bytes = textcore::encoded<LENGTH>(target, c);
        return (bytes ^ textcore::load<std::uint32_t>(other)) << BEHIND == 0;
    }
};

/// Passes characters that are the same in both texts, fewer than `steps`, and not to the end of
/// either. Returns how many.
template <typename Left, typename Right>
unsigned int passEqual(Cursor<Left>& left, Cursor<Right>& right, unsigned int steps)
{
    const textcore::Bytes rest = left.rest();
    const textcore::Bytes otherRest = right.rest();
    textcore::Course<const unsigned char> at{rest.data, rest.data + rest.size, otherRest.data,
                                             otherRest.data + otherRest.size, steps};
    textcore::PairedWalk<Compare, Left, Right>::walk(at);
    const unsigned int passed = steps - at.chars;
    left.pass(static_cast<unsigned int>(at.from - rest.data), passed);
    right.pass(static_cast<unsigned int>(at.to - otherRest.data), passed);
    return passed;
}

/// Walks both texts for `steps` characters, or to the first difference. Where a text has fewer that
/// can be decoded than its size says, the last one stands for the rest.
template <typename Left, typename Right>
Difference differenceOf(Cursor<Left> left, Cursor<Right> right, unsigned int steps)
{
    Difference last{REPLACEMENT, REPLACEMENT};
    for (; steps > 0; --steps) {
        const bool leftMoved = left.step(last.left);
        const bool rightMoved = right.step(last.right);
        if (last.left != last.right || (!leftMoved && !rightMoved)) break;
        steps -= passEqual(left, right, steps);
    }
    return last;
}

Difference firstDifference(const String& left, const String& right)
{
    const unsigned int steps = std::min(left.size(), right.size());
    const auto compare = [&](const auto& first, const auto& second) {
        return differenceOf(Cursor(first, left), Cursor(second, right), steps);
    };
    const Kind kind = kindOf(left.codec());
    const Kind otherKind = kindOf(right.codec());
    if (kind == otherKind && kind != Kind::OTHER)
        return textcore::withEncoding(
            left.codec(), [&](const auto& encoding) { return compare(encoding, encoding); });
    if (kind == Kind::UTF8 && otherKind == Kind::UTF16LE)
        return compare(Utf8Encoding(), Utf16Encoding());
    if (kind == Kind::UTF8 && otherKind == Kind::UCS4)
        return compare(Utf8Encoding(), Ucs4Encoding());
    if (otherKind == Kind::UTF8 && kind != Kind::OTHER) {
        const Difference other = firstDifference(right, left);
        return {other.right, other.left};
    }
    return compare(AnyEncoding(left.codec()), AnyEncoding(right.codec()));
}

/// Equal bytes of one encoding are equal texts; different ones may be, too.
bool hasEqualBytes(const String& left, const String& right)
{
    if (&left.codec() != &right.codec()) return false;
    if (kindOf(left.codec()) == Kind::OTHER) return false; // it may count its calls
    if (left.byteLength() != right.byteLength()) return false;
    return left.data() == right.data() || left.byteLength() == 0 ||
           std::memcmp(left.data(), right.data(), left.byteLength()) == 0;
}

} // namespace

bool String::operator==(const String& other) const
{
    if (m_count != other.m_count) return false;
    if (hasEqualBytes(*this, other)) return true;
    const Difference difference = firstDifference(*this, other);
    return difference.left == difference.right;
}

bool String::operator<(const String& other) const
{
    if (hasEqualBytes(*this, other)) return m_count < other.m_count;
    const Difference difference = firstDifference(*this, other);
    if (difference.left != difference.right) return difference.left < difference.right;
    return m_count < other.m_count;
}

bool String::operator>(const String& other) const
{
    return other < *this;
}

std::size_t String::hash() const
{
    // FNV-1a over code points instead of bytes, so that it does not depend on the encoding.
    constexpr std::uint64_t OFFSET_BASIS = 0xCBF29CE484222325;
    constexpr std::uint64_t PRIME = 0x100000001B3;
    return textcore::withEncoding(*m_codec, [this](const auto& encoding) {
        Cursor cursor(encoding, *this);
        std::uint64_t hash = OFFSET_BASIS;
        unsigned int c = REPLACEMENT;
        for (unsigned int i = 0; i < m_count; ++i) {
            cursor.step(c);
            hash = (hash ^ c) * PRIME;
        }
        return static_cast<std::size_t>(hash ^ hash >> 32);
    });
}

} // namespace std::unicode

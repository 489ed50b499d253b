// SPDX-License-Identifier: Apache-2.0

#include <common/unicode/String.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "Cursor.h"

namespace std::unicode {

namespace {

using textcore::Cursor;
using textcore::REPLACEMENT;
using textcore::withEncodings;

/// The first pair of code points in which two texts differ.
struct Difference
{
    unsigned int left;
    unsigned int right;
};

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
    }
    return last;
}

Difference firstDifference(const String& left, const String& right)
{
    return withEncodings(left.codec(), right.codec(), [&](const auto& first, const auto& second) {
        return differenceOf(Cursor(first, left), Cursor(second, right),
                            std::min(left.size(), right.size()));
    });
}

/// Equal bytes of one encoding are equal texts; different ones may be, too.
bool hasEqualBytes(const String& left, const String& right)
{
    if (&left.codec() != &right.codec()) return false;
    if (textcore::kindOf(left.codec()) == textcore::Kind::OTHER)
        return false; // it may count its calls
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

// SPDX-License-Identifier: Apache-2.0

#include "Character.h"

#include <algorithm>
#include <iterator>

namespace zeliconv {

namespace {

constexpr unsigned int MAX_CODE_POINT = 0x10FFFF;

/// What may follow the lead bytes of UTF-8 from `first` to `last`.
struct Sequence
{
    unsigned char first;
    unsigned char last;
    unsigned int size;
    /// The range of the second byte; it keeps overlong forms, surrogates and large values out.
    unsigned char low;
    unsigned char high;
};

constexpr unsigned char LOW = 0x80;
constexpr unsigned char HIGH = 0xBF;

constexpr Sequence SEQUENCES[] = {
    {0x00, 0x7F, 1, LOW, HIGH},  {0xC2, 0xDF, 2, LOW, HIGH}, {0xE0, 0xE0, 3, 0xA0, HIGH},
    {0xE1, 0xEC, 3, LOW, HIGH},  {0xED, 0xED, 3, LOW, 0x9F}, {0xEE, 0xEF, 3, LOW, HIGH},
    {0xF0, 0xF0, 4, 0x90, HIGH}, {0xF1, 0xF3, 4, LOW, HIGH}, {0xF4, 0xF4, 4, LOW, 0x8F},
};

bool isSurrogate(unsigned int unit)
{
    return unit >= 0xD800 && unit <= 0xDFFF;
}

Character judge(unsigned int value, unsigned int size)
{
    const bool isReplaced = isSurrogate(value & 0xFFFF); // surrogates themselves are malformed
    return {isReplaced ? Verdict::UNSUPPORTED : Verdict::SOUND, size, value};
}

/// Returns the bits of the lead byte that belong to the value.
unsigned int leadBits(unsigned char lead, unsigned int size)
{
    return size == 1 ? lead : lead & (0x7FU >> size);
}

unsigned int littleUnit(const unsigned char* bytes)
{
    return bytes[0] | unsigned{bytes[1]} << 8;
}

unsigned int bigUnit(const unsigned char* bytes)
{
    return unsigned{bytes[0]} << 8 | bytes[1];
}

using UnitReader = unsigned int (*)(const unsigned char* bytes);

Character scanUtf16(const unsigned char* bytes, unsigned int size, UnitReader unit)
{
    if (size < 2) return {Verdict::CUT_OFF, size, 0};
    const unsigned int first = unit(bytes);
    if (!isSurrogate(first)) return judge(first, 2);
    if (first >= 0xDC00) return {Verdict::MALFORMED, 2, 0};
    if (size < 4) return {Verdict::CUT_OFF, size, 0};
    const unsigned int second = unit(bytes + 2);
    if (second < 0xDC00 || second > 0xDFFF) return {Verdict::MALFORMED, 2, 0};
    return judge(0x10000 + ((first - 0xD800) << 10) + (second - 0xDC00), 4);
}

Character scanUcs4(unsigned int value)
{
    if (value > MAX_CODE_POINT || isSurrogate(value)) return {Verdict::MALFORMED, 4, 0};
    return judge(value, 4);
}

} // namespace

Character scanUtf8(const unsigned char* bytes, unsigned int size)
{
    const auto isMeant = [lead = bytes[0]](const Sequence& sequence) {
        return lead >= sequence.first && lead <= sequence.last;
    };
    const Sequence* const sequence =
        std::find_if(std::begin(SEQUENCES), std::end(SEQUENCES), isMeant);
    if (sequence == std::end(SEQUENCES)) return {Verdict::MALFORMED, 1, 0};
    unsigned int value = leadBits(bytes[0], sequence->size);
    for (unsigned int i = 1; i < sequence->size; ++i) {
        if (i == size) return {Verdict::CUT_OFF, size, 0};
        const unsigned char low = i == 1 ? sequence->low : LOW;
        const unsigned char high = i == 1 ? sequence->high : HIGH;
        if (bytes[i] < low || bytes[i] > high) return {Verdict::MALFORMED, i, 0};
        value = value << 6 | (bytes[i] & 0x3FU);
    }
    return judge(value, sequence->size);
}

Character scanUtf16Little(const unsigned char* bytes, unsigned int size)
{
    return scanUtf16(bytes, size, littleUnit);
}

Character scanUtf16Big(const unsigned char* bytes, unsigned int size)
{
    return scanUtf16(bytes, size, bigUnit);
}

Character scanUcs4Little(const unsigned char* bytes, unsigned int size)
{
    if (size < 4) return {Verdict::CUT_OFF, size, 0};
    return scanUcs4(littleUnit(bytes) | littleUnit(bytes + 2) << 16);
}

Character scanUcs4Big(const unsigned char* bytes, unsigned int size)
{
    if (size < 4) return {Verdict::CUT_OFF, size, 0};
    return scanUcs4(bigUnit(bytes) << 16 | bigUnit(bytes + 2));
}

} // namespace zeliconv

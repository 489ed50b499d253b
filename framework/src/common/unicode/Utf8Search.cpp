// SPDX-License-Identifier: Apache-2.0

#include "Utf8Search.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include "Encoders.h"
#include "Utf8Structure.h"

namespace textcore {

namespace {

constexpr long long NOT_CANONICAL = -1;

/// Bytes that a search begins with, and how many times as many it goes on with where these count:
/// where they do not, it must not have gone on to a hit far behind, each time anew.
constexpr unsigned int FIRST_BYTES = 256;
constexpr unsigned int GROWTH = 4;

/// Moves over one character. Returns whether encoding it gives the same bytes.
bool passCanonical(const Bytes& text, Codec::Index& at)
{
    const unsigned int begin = at.bytes;
    if (text.data[begin] < 0x80) {
        ++at.bytes;
        ++at.chars;
        return true;
    }
    unsigned int c = 0;
    const unsigned int length = Utf8Decoder::wholeLength(text.data + begin, text.size - begin, c);
    if (length != 0) {
        at.bytes += length;
        ++at.chars;
        return Utf8Encoder::bytesOf(c) == length && !isSurrogate(c);
    }
    Utf8Decoder::step(text.data, text.size, at, c);
    unsigned char encoded[6];
    Codec::Index written;
    Utf8Encoder::write(encoded, sizeof encoded, written, c);
    return written.bytes == at.bytes - begin &&
           std::memcmp(encoded, text.data + begin, written.bytes) == 0;
}

/// Returns characters from the beginning of `text` on that are what encoding them gives. Those of
/// four bytes, which cost more, are looked for where others end.
Run plainRun(const Bytes& text)
{
    const Run run = Utf8Structure<Widest, Accept::PLAIN>(text).prove();
    const Bytes rest = behind(text, run.bytes);
    const Run more = Utf8Structure<Widest, Accept::PLAIN_FOUR>(rest).prove();
    return {run.bytes + more.bytes, run.chars + more.chars};
}

/// Returns `text` without its last character, which may be cut.
Bytes withoutLast(Bytes text)
{
    constexpr unsigned int LONGEST_TAIL = 5;
    for (unsigned int i = 0; i < LONGEST_TAIL; ++i)
        if (Utf8Decoder::isContinuation(text.data[text.size - 1])) --text.size;
    --text.size; // the lead
    return text;
}

} // namespace

long long canonicalCount(const Bytes& text)
{
    Codec::Index at;
    const auto pass = [&] { return passCanonical(text, at); };
    return passText(text, at, plainRun, pass) ? at.chars : NOT_CANONICAL;
}

ByteSearch findBytes(const Bytes& text, const Codec::Index& start, const Bytes& needle)
{
    Codec::Index at = start;
    for (unsigned int most = FIRST_BYTES;; most = std::min(most, UINT_MAX / GROWTH) * GROWTH) {
        // All places among the first `most`, and what the needle has behind the last one.
        Bytes part = behind(text, at.bytes);
        const bool isRest = part.size <= most || part.size - most <= needle.size;
        if (!isRest) part.size = most + needle.size;
        const unsigned char* const hit = firstBytes(part, needle);
        if (hit != nullptr)
            part.size = static_cast<unsigned int>(hit - part.data);
        else if (!isRest)
            part = withoutLast({part.data, most});
        const long long chars = canonicalCount(part);
        if (chars == NOT_CANONICAL) return {false, false, start};
        at.bytes += part.size;
        at.chars += static_cast<unsigned int>(chars);
        if (hit != nullptr || isRest) return {true, hit != nullptr, at};
    }
}

} // namespace textcore

// SPDX-License-Identifier: Apache-2.0

#include "Utf8Search.h"

#include <algorithm>
#include <cstring>

#include "Encoders.h"
#include "Utf8Structure.h"

namespace textcore {

namespace {

constexpr long long NOT_CANONICAL = -1;

/// Bytes that a search begins with: where these do not count already, it must not have gone on to a
/// hit far behind, each time anew.
constexpr unsigned int FIRST_BYTES = 256;

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

/// Returns whether that holds for the first bytes of a text, of which a character may be cut.
bool beginsCanonical(Bytes first)
{
    constexpr unsigned int LONGEST_TAIL = 5;
    for (unsigned int i = 0; i < LONGEST_TAIL; ++i)
        if (Utf8Decoder::isContinuation(first.data[first.size - 1])) --first.size;
    --first.size; // the lead
    return canonicalCount(first) != NOT_CANONICAL;
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
    const Bytes rest{text.data + start.bytes, text.size - start.bytes};
    const Bytes first{rest.data, std::min(rest.size, FIRST_BYTES)};
    const unsigned char* hit = firstBytes(first, needle);
    if (hit == nullptr && first.size < rest.size) {
        if (!beginsCanonical(first)) return {false, false, start};
        hit = firstBytes(rest, needle);
    }
    const bool isHit = hit != nullptr;
    const unsigned int before = isHit ? static_cast<unsigned int>(hit - rest.data) : rest.size;
    const long long chars = canonicalCount({rest.data, before});
    if (chars == NOT_CANONICAL) return {false, false, start};
    return {true, isHit, {start.chars + static_cast<unsigned int>(chars), start.bytes + before}};
}

} // namespace textcore

// SPDX-License-Identifier: Apache-2.0
//
// Texts made of given bytes, and what tests look at in a text: its bytes and places in it.

#ifndef ZELCOMMON_TESTS_SUPPORT_TEXTS_H
#define ZELCOMMON_TESTS_SUPPORT_TEXTS_H

#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include <common/unicode/String.h>

namespace support {

/// A block of exactly `bytes`, with one reference, which the caller owns.
inline std::SharedBuf blockWith(std::string_view bytes)
{
    std::SharedBuf block(static_cast<unsigned int>(bytes.size()));
    if (!bytes.empty()) std::memcpy(block.payload(), bytes.data(), bytes.size());
    return block;
}

/// A text of exactly `bytes`, unchecked, whose block it alone holds.
inline std::unicode::String textWith(std::string_view bytes, const std::unicode::Codec& codec)
{
    const std::SharedBuf block = blockWith(bytes);
    std::unicode::String text(block, codec);
    block.unref();
    return text;
}

/// The encoded bytes of `text`.
inline std::string bytesOf(const std::unicode::String& text)
{
    std::string bytes(text.byteLength(), '\0');
    if (!bytes.empty()) std::memcpy(bytes.data(), text.data(), bytes.size());
    return bytes;
}

/// The code points that a walk over `text` meets.
inline std::vector<unsigned int> codePointsOf(const std::unicode::String& text)
{
    return {text.begin(), text.end()};
}

/// The position of `text` that `steps` increments reach.
inline std::unicode::String::Iterator placeAt(const std::unicode::String& text, int steps)
{
    std::unicode::String::Iterator place = text.begin();
    for (int step = 0; step < steps; ++step)
        ++place;
    return place;
}

/// Where `place` is in `text`, as "CHARACTERS/BYTES"; "elsewhere ..." if it is in another text.
inline std::string nameOf(const std::unicode::String& text,
                          const std::unicode::String::Iterator& place)
{
    return (place.string == &text ? "" : "elsewhere ") + std::to_string(place.position.chars) +
           "/" + std::to_string(place.position.bytes);
}

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_TEXTS_H

// SPDX-License-Identifier: Apache-2.0

#include "Printable.h"

#include <common/UUID.h>

#include "../common/unicode/Decoders.h"

namespace tracing {
namespace impl {

namespace {

using textcore::Utf8Decoder;

/// Returns how many bytes the character at the beginning of `text` has; 1 for a byte that is none.
std::size_t characterSize(std::string_view text)
{
    const std::size_t size = 1 + Utf8Decoder::tailLength(static_cast<unsigned char>(text[0]));
    if (size > text.size()) return 1;
    for (const char c : text.substr(1, size - 1))
        if (!Utf8Decoder::isContinuation(static_cast<unsigned char>(c))) return 1;
    return size;
}

bool isControl(std::string_view character)
{
    const auto first = static_cast<unsigned char>(character[0]);
    // U+0080 to U+009F, of which one begins commands to a terminal, as a byte and in UTF-8.
    if (character.size() == 2)
        return first == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0;
    return (first < 0x20 && first != '\t') || first == 0x7F || (first >= 0x80 && first < 0xA0);
}

void appendEscaped(std::string& out, char c)
{
    switch (c) {
    case '\n': out += "\\n"; break;
    case '\r': out += "\\r"; break;
    default:
        out += "\\x";
        std::UUID::appendHex(out, static_cast<unsigned char>(c));
        break;
    }
}

} // namespace

void appendPrintable(std::string& out, std::string_view text)
{
    std::size_t plain = 0;
    for (std::size_t place = 0; place < text.size();) {
        const std::string_view character = text.substr(place, characterSize(text.substr(place)));
        place += character.size();
        if (!isControl(character)) continue;
        out.append(text.substr(plain, place - character.size() - plain));
        for (const char c : character)
            appendEscaped(out, c);
        plain = place;
    }
    out.append(text.substr(plain));
}

std::string printable(std::string_view text)
{
    std::string out;
    appendPrintable(out, text);
    return out;
}

} // namespace impl
} // namespace tracing

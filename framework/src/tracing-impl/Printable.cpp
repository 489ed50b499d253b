// SPDX-License-Identifier: Apache-2.0

#include "Printable.h"

#include <common/UUID.h>

namespace tracing {
namespace impl {

namespace {

/// Returns how many bytes the control character at the beginning of `text` has, 0 for another one.
std::size_t controlSize(std::string_view text)
{
    const auto first = static_cast<unsigned char>(text[0]);
    if ((first < 0x20 && first != '\t') || first == 0x7F) return 1;
    // U+0080 to U+009F in UTF-8, of which one begins commands to a terminal.
    if (first != 0xC2 || text.size() < 2) return 0;
    const auto second = static_cast<unsigned char>(text[1]);
    return second >= 0x80 && second < 0xA0 ? 2 : 0;
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
        const std::size_t size = controlSize(text.substr(place));
        if (size == 0) {
            ++place;
            continue;
        }
        out.append(text.substr(plain, place - plain));
        for (const char c : text.substr(place, size))
            appendEscaped(out, c);
        place += size;
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

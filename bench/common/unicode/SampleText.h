// SPDX-License-Identifier: Apache-2.0
//
// Text to measure with, in UTF-8: four kinds of well-formed text and one that is not.

#ifndef ZELCOMMON_BENCH_COMMON_UNICODE_SAMPLETEXT_H
#define ZELCOMMON_BENCH_COMMON_UNICODE_SAMPLETEXT_H

#include <cstddef>
#include <string>

namespace bench {

enum Kind {
    ASCII,
    LATIN,
    CJK,
    EMOJI,
    MALFORMED,
};

/// Returns whole characters of about `size` bytes; never more.
inline std::string sampleText(Kind kind, std::size_t size)
{
    static const char* const PIECES[] = {
        "The quick brown fox jumps over the lazy dog. ",
        "Fünf gro\xC3\x9F"
        "e Jungfüchse jagen müde Bären über Äcker. ",
        "\xE6\x95\x8F\xE6\x8D\xB7\xE7\x9A\x84\xE6\xA3\x95\xE8\x89\xB2\xE7\x8B\x90\xE7\x8B\xB8",
        "\xF0\x9F\xA6\x8A\xF0\x9F\x90\x95\xF0\x9F\x8C\xB3",
        "ab\xC3\x41\xFF\xE2\x82\xED\xA0\x80xyz",
    };
    const std::string piece = PIECES[kind];
    std::string text;
    while (text.size() + piece.size() <= size)
        text += piece;
    return text;
}

} // namespace bench

#endif // ZELCOMMON_BENCH_COMMON_UNICODE_SAMPLETEXT_H

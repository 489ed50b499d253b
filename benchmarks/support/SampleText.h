// SPDX-License-Identifier: Apache-2.0
//
// Texts to measure with, in UTF-8: well-formed ones of four scripts and of all of them together,
// and two that are not well-formed.

#ifndef ZELCOMMON_BENCHMARKS_SUPPORT_SAMPLETEXT_H
#define ZELCOMMON_BENCHMARKS_SUPPORT_SAMPLETEXT_H

#include <cstddef>
#include <initializer_list>
#include <string>
#include <vector>

namespace bench {

enum Kind {
    ASCII,
    LATIN,
    CJK,
    EMOJI,
    /// All of the above by turns.
    MIXED,
    /// Hardly anything that can be decoded.
    MALFORMED,
    /// ASCII with one wrong byte in each 500.
    DAMAGED,
};

constexpr std::size_t KB = 1024;

/// A text, and its name in the name of a case: "CJK/64K".
struct Input
{
    std::string name;
    std::string text;
};

/// Returns a text of `size` bytes, or up to three fewer, so that the last character is whole.
std::string sampleText(Kind kind, std::size_t size);

/// Returns a text of each kind in each size.
std::vector<Input> inputs(std::initializer_list<Kind> kinds,
                          std::initializer_list<std::size_t> sizes);

/// As above, the four kinds of one script each.
std::vector<Input> inputs(std::initializer_list<std::size_t> sizes);

} // namespace bench

#endif // ZELCOMMON_BENCHMARKS_SUPPORT_SAMPLETEXT_H

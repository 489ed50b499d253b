// SPDX-License-Identifier: Apache-2.0
//
// Text to count with, in UTF-8. Not shared with the host's benchmarks: whoever changes a text there
// is not to change the counts here.

#ifndef ZELCOMMON_BENCHMARKS_ARM_SAMPLETEXT_H
#define ZELCOMMON_BENCHMARKS_ARM_SAMPLETEXT_H

#include <cstddef>
#include <string>

namespace counts {

/// A kind of text: its name and what is repeated.
struct Kind
{
    const char* name;
    const char* piece;
};

// Names of animals, where there is something to read.
constexpr Kind ASCII = {"ascii", "badger, heron and otter; adder, newt and toad. "};
constexpr Kind LATIN = {"latin", "Dächse, Füchse und Störche; Bären, Käuze und Mäuse. "};
constexpr Kind CJK = {"cjk", "\u72D0\u72F8\u9E64\u718A\u9F20\u86C7\u86D9"};
constexpr Kind EMOJI = {"emoji", "\U0001F98A\U0001F9A1\U0001F43B\U0001F42D\U0001F438"};
constexpr Kind MIXED = {"mixed", "heron, Störche, \u9E64, \U0001F98A; "};
/// A lead without its continuation, bytes that nothing begins with, a cut character, a surrogate.
constexpr Kind MALFORMED = {"malformed", "ab\xC3"
                                         "A\xFF\xE2\x82\xED\xA0\x80xyz"};

constexpr Kind WELL_FORMED[] = {ASCII, LATIN, CJK, EMOJI};

constexpr std::size_t KILOBYTE = 1024;
/// The long texts, and the kilobytes that their counts are divided by.
constexpr unsigned int LONG_UNITS = 64;
constexpr std::size_t LONG = LONG_UNITS * KILOBYTE;

/// Returns whole pieces of the kind, filled up with full stops to `size` bytes.
inline std::string sampleText(const Kind& kind, std::size_t size)
{
    const std::string piece = kind.piece;
    std::string text;
    while (text.size() + piece.size() <= size)
        text += piece;
    text.resize(size, '.');
    return text;
}

} // namespace counts

#endif // ZELCOMMON_BENCHMARKS_ARM_SAMPLETEXT_H

// SPDX-License-Identifier: Apache-2.0
//
// A text with all that it is made of, and texts in brackets, for expectations that are literals.

#ifndef ZELCOMMON_TESTS_SUPPORT_TEXTFORM_H
#define ZELCOMMON_TESTS_SUPPORT_TEXTFORM_H

#include <string>

#include <common/unicode/String.h>

#include "support/CodecCalls.h"

namespace support {

inline const char* nameOf(const std::unicode::Codec& codec)
{
    if (&codec == &std::unicode::UTF8) return "UTF-8";
    if (&codec == &std::unicode::UTF16LE) return "UTF-16LE";
    if (&codec == &std::unicode::UTF16BE) return "UTF-16BE";
    return &codec == &std::unicode::UCS4 ? "UCS-4" : "own codec";
}

/// "CODEC, COUNT: BYTES", as in "UTF-16LE, 1: AC 20". Decodes nothing.
inline std::string formOf(const std::unicode::String& text)
{
    return std::string(nameOf(text.codec())) + ", " + std::to_string(text.size()) + ": " +
           bytesText(text.data(), text.byteLength());
}

/// The texts of [first, last) in UTF-8, each in brackets. A walk that does not end is given up
/// after twenty.
template <typename Iterator>
std::string bracketed(Iterator first, const Iterator& last)
{
    std::string texts;
    for (int count = 0; first != last && count < 20; ++first, ++count)
        texts += "[" + (*first).toUtf8() + "]";
    return texts;
}

/// The pieces of `text`, each in brackets.
inline std::string piecesOf(const std::unicode::String& text, const std::unicode::String& separator)
{
    using Walk = std::unicode::String::Spliterator;
    return bracketed(Walk(text, separator), Walk());
}

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_TEXTFORM_H

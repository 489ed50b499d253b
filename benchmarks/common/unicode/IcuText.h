// SPDX-License-Identifier: Apache-2.0
//
// The same text for ICU.

#ifndef ZELCOMMON_BENCHMARKS_COMMON_UNICODE_ICUTEXT_H
#define ZELCOMMON_BENCHMARKS_COMMON_UNICODE_ICUTEXT_H

#include <string>

#include <unicode/unistr.h>

namespace bench {

/// Returns the UTF-8 of `text` in UTF-16; what is malformed becomes U+FFFD.
inline icu::UnicodeString icuText(const std::string& text)
{
    return icu::UnicodeString::fromUTF8(text);
}

} // namespace bench

#endif // ZELCOMMON_BENCHMARKS_COMMON_UNICODE_ICUTEXT_H

// SPDX-License-Identifier: Apache-2.0
//
// An iterator over texts that is no forward iterator.

#ifndef ZELCOMMON_TESTS_SUPPORT_SINGLEPASS_H
#define ZELCOMMON_TESTS_SUPPORT_SINGLEPASS_H

#include <common/unicode/String.h>

namespace support {

/// Gives a text, as often as it is told, and can be walked once only.
struct SinglePass
{
    const std::unicode::String& operator*() const { return *piece; }
    SinglePass& operator++() { return ++step, *this; }
    bool operator!=(const SinglePass& other) const { return step != other.step; }

    const std::unicode::String* piece;
    int step = 0;
};

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_SINGLEPASS_H

// SPDX-License-Identifier: Apache-2.0
//
// Streams whose implementation fails without raising an error, one for each place that reports it.
//
//     support::failToFlush();
//     EXPECT_FALSE(std::ErrorStorage::isError(false));

#ifndef ZELCOMMON_TESTS_SUPPORT_FAILINGSTREAMS_H
#define ZELCOMMON_TESTS_SUPPORT_FAILINGSTREAMS_H

#include <gtest/gtest.h>

#include "support/ScriptedStreams.h"

namespace support {

inline void failToRefill()
{
    ScriptedInput input(4, {deliver("").failing()});
    EXPECT_EQ("-1 ", readText(input, 1));
}

inline void failToReadDirectly()
{
    ScriptedInput input(4, {deliver("").failing()});
    EXPECT_EQ("-1 ", readText(input, 4));
}

inline void failToWriteTheFullBuffer()
{
    ScriptedOutput output(4, {take(0).failing()});
    EXPECT_EQ("-1 4", writeText(output, "abcd"));
}

inline void failToWriteTheRest()
{
    ScriptedOutput output(4, {take(0).failing()});
    EXPECT_EQ("-1 0", writeText(output, "abcde"));
}

inline void failToWriteDirectly()
{
    ScriptedOutput output(0, {take(0).failing()});
    EXPECT_EQ("-1 0", writeText(output, "abcd"));
}

inline void failToFlush()
{
    ScriptedOutput output(4, {take(0).failing()});
    EXPECT_EQ("1 2", writeText(output, "ab"));
    EXPECT_TRUE(output.flush(true));
}

inline void failToFlushDeeply()
{
    HookedOutput output(4);
    output.sync = [] { return true; };
    EXPECT_TRUE(output.flush(true));
}

inline void failEverywhere()
{
    failToRefill();
    failToReadDirectly();
    failToWriteTheFullBuffer();
    failToWriteTheRest();
    failToWriteDirectly();
    failToFlush();
    failToFlushDeeply();
}

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_FAILINGSTREAMS_H

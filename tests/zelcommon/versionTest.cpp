// SPDX-License-Identifier: Apache-2.0

#include <zelcommon/version.h>

#include <gtest/gtest.h>

namespace {

// The preprocessor can use it.
#if ZELCOMMON_VERSION < 10000 || ZELCOMMON_VERSION >= 20000
#error "the numbers do not make up one of the first major version"
#endif

TEST(Version, IsMadeUpOfItsParts_Headers)
{
    EXPECT_EQ(1, ZELCOMMON_VERSION_MAJOR);
    EXPECT_EQ(0, ZELCOMMON_VERSION_MINOR);
    EXPECT_EQ(0, ZELCOMMON_VERSION_PATCH);
    EXPECT_EQ(10000, ZELCOMMON_VERSION);
    EXPECT_STREQ("1.0.0", ZELCOMMON_VERSION_STRING);
}

TEST(Version, IsThatOfTheLibrary_Running)
{
    EXPECT_STREQ("1.0.0", zel::libraryVersion());
}

TEST(Version, IsTheSameText_EachCall)
{
    EXPECT_EQ(zel::libraryVersion(), zel::libraryVersion());
}

} // namespace

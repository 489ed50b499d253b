// SPDX-License-Identifier: Apache-2.0

#include "common/error/ErrorText.h"

#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include <gtest/gtest.h>
#include <pthread.h>

namespace {

using errorcore::printable;
using errorcore::reasonOf;
using errorcore::reasonToCopy;
using errorcore::shortSourcePath;

TEST(ShortSourcePath, NullAndEmpty_AreReturnedAsTheyAre)
{
    const char* const empty = "";
    EXPECT_EQ(nullptr, shortSourcePath(nullptr));
    EXPECT_EQ(empty, shortSourcePath(empty));
}

TEST(ShortSourcePath, BeginsAtTheSourceDirectory)
{
    EXPECT_STREQ("src/common/error/Error",
                 shortSourcePath("/build/device/framework/src/common/error/Error"));
    EXPECT_STREQ("include/zel/Tls.h", shortSourcePath("/build/framework/include/zel/Tls.h"));
    EXPECT_STREQ("src/pump.cpp:5, start()", shortSourcePath("framework/src/pump.cpp:5, start()"));
}

TEST(ShortSourcePath, PointsIntoThePath)
{
    const char* const path = "/build/src/pump.cpp";
    EXPECT_EQ(path + 7, shortSourcePath(path));
}

TEST(ShortSourcePath, TakesEitherSeparator)
{
    EXPECT_STREQ("src\\pump.cpp", shortSourcePath("C:\\build\\src\\pump.cpp"));
    EXPECT_STREQ("include\\pump.h", shortSourcePath("C:\\build\\include\\pump.h"));
    EXPECT_STREQ("src/pump.cpp", shortSourcePath("C:\\build\\src/pump.cpp"));
    EXPECT_STREQ("include/pump.h", shortSourcePath("C:\\build\\include/pump.h"));
    EXPECT_STREQ("src\\pump.cpp", shortSourcePath("/build/src\\pump.cpp"));
    EXPECT_STREQ("include\\pump.h", shortSourcePath("/build/include\\pump.h"));
}

TEST(ShortSourcePath, CountsTheFirstCharacter)
{
    EXPECT_STREQ("src/pump.cpp", shortSourcePath("/src/pump.cpp"));
    EXPECT_STREQ("include\\pump.h", shortSourcePath("\\include\\pump.h"));
}

TEST(ShortSourcePath, FirstOfSeveral)
{
    EXPECT_STREQ("src/a/include/b.h", shortSourcePath("/build/src/a/include/b.h"));
    EXPECT_STREQ("include/a/src/b.h", shortSourcePath("/build/include/a/src/b.h"));
    EXPECT_STREQ("src/src/b.h", shortSourcePath("/src/src/b.h"));
    EXPECT_STREQ("src/b.h", shortSourcePath("//src/b.h"));
}

TEST(ShortSourcePath, NeedsASeparatorBefore)
{
    EXPECT_STREQ("src/pump.cpp", shortSourcePath("src/pump.cpp"));
    EXPECT_STREQ("include/pump.h", shortSourcePath("include/pump.h"));
    EXPECT_STREQ("src/b.h", shortSourcePath("src/a/src/b.h"));
    EXPECT_STREQ("include/b.h", shortSourcePath("src/a/include/b.h"));
    EXPECT_STREQ("/build/mysrc/pump.cpp", shortSourcePath("/build/mysrc/pump.cpp"));
}

TEST(ShortSourcePath, NeedsTheWholeName)
{
    EXPECT_STREQ("/build/src_root/pump.cpp", shortSourcePath("/build/src_root/pump.cpp"));
    EXPECT_STREQ("/build/includes/pump.h", shortSourcePath("/build/includes/pump.h"));
    EXPECT_STREQ("/build/inc/pump.h", shortSourcePath("/build/inc/pump.h"));
    EXPECT_STREQ("/build/Src/pump.cpp", shortSourcePath("/build/Src/pump.cpp"));
    EXPECT_STREQ("src/pump.cpp", shortSourcePath("/build/src_root/src/pump.cpp"));
}

TEST(ShortSourcePath, NeedsASeparatorBehind)
{
    EXPECT_STREQ("/build/src", shortSourcePath("/build/src"));
    EXPECT_STREQ("/build/include", shortSourcePath("/build/include"));
    EXPECT_STREQ("src/", shortSourcePath("/build/src/"));
    EXPECT_STREQ("include\\", shortSourcePath("/build/include\\"));
}

TEST(ShortSourcePath, EndsWithinAName)
{
    EXPECT_STREQ("/", shortSourcePath("/"));
    EXPECT_STREQ("/build/sr", shortSourcePath("/build/sr"));
    EXPECT_STREQ("\\inclu", shortSourcePath("\\inclu"));
    EXPECT_STREQ("pump.cpp", shortSourcePath("pump.cpp"));
}

TEST(ReasonOf, NullReason_IsANullView)
{
    std::ErrorObject error;
    error.m_reason = nullptr;
    EXPECT_EQ(nullptr, reasonOf(error).data());
    EXPECT_EQ("", reasonOf(error));
}

TEST(ReasonOf, TextOfATable_IsWhole)
{
    const std::string text(300, 'x');
    std::ErrorObject error;
    error.m_reason = text.c_str();
    EXPECT_EQ(std::string(300, 'x'), reasonOf(error));
    EXPECT_EQ(text.c_str(), reasonOf(error).data());
}

TEST(ReasonOf, OwnBuffer_EndsAtItsTerminator)
{
    std::ErrorObject error;
    error.m_reason = error.m_buffer;
    strcpy(error.m_buffer, "valve");
    EXPECT_EQ("valve", reasonOf(error));
}

TEST(ReasonOf, FullBuffer_EndsWithIt)
{
    std::ErrorObject error;
    error.m_reason = error.m_buffer;
    memset(error.m_buffer, 'x', sizeof error.m_buffer);
    memset(&error.m_thread, 'y', sizeof error.m_thread);
    EXPECT_EQ(std::string(256, 'x'), reasonOf(error));
    error.m_buffer[255] = '\0';
    EXPECT_EQ(std::string(255, 'x'), reasonOf(error));
}

TEST(ReasonToCopy, NullReason_IsEmptyButNotNull)
{
    std::ErrorObject error;
    error.m_reason = nullptr;
    EXPECT_EQ("", reasonToCopy(error));
    EXPECT_NE(nullptr, reasonToCopy(error).data());
}

TEST(ReasonToCopy, EndsAfter256Characters)
{
    std::ErrorObject error;
    const std::string text(257, 'x');
    error.m_reason = text.c_str();
    EXPECT_EQ(std::string(256, 'x'), reasonToCopy(error));
    error.m_reason = text.c_str() + 1;
    EXPECT_EQ(std::string(256, 'x'), reasonToCopy(error));
    error.m_reason = text.c_str() + 2;
    EXPECT_EQ(std::string(255, 'x'), reasonToCopy(error));
}

TEST(ReasonToCopy, Unterminated_IsNotReadBeyond256Characters)
{
    const std::unique_ptr<char[]> text(new char[256]);
    memset(text.get(), 'x', 256);
    std::ErrorObject error;
    error.m_reason = text.get();
    EXPECT_EQ(std::string(256, 'x'), reasonToCopy(error));
}

TEST(Printable, NullText)
{
    const char* const none = nullptr;
    EXPECT_STREQ("(null)", printable(none));
    EXPECT_EQ("(null)", printable(std::string_view()));
}

TEST(Printable, OtherTexts_AreReturnedAsTheyAre)
{
    const char* const text = "valve";
    const char* const empty = "";
    EXPECT_EQ(text, printable(text));
    EXPECT_EQ(empty, printable(empty));
    EXPECT_EQ("valve", printable(std::string_view(text)));
    EXPECT_EQ("", printable(std::string_view(empty)));
}

TEST(ThreadNumber, IsTheWholeIdWithItsSign)
{
    EXPECT_EQ(5, errorcore::threadNumber(5));
    EXPECT_EQ(-1, errorcore::threadNumber(~pthread_t{0}));
    EXPECT_EQ(static_cast<long>(pthread_self()), errorcore::threadNumber(pthread_self()));
}

} // namespace

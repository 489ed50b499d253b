// SPDX-License-Identifier: Apache-2.0

#include <tracing-impl/CurrentThread.h>

#include <string>
#include <string_view>
#include <utility>

#include <gtest/gtest.h>
#include <unistd.h>

#include "support/ChildProcess.h"
#include "support/HoldingThread.h"

namespace {

using support::onAnotherThread;
using support::runInChild;
using tracing::impl::currentThreadId;
using tracing::impl::currentThreadName;
using tracing::impl::isOwnThread;
using tracing::impl::nameCurrentThread;
using tracing::impl::OwnThread;

/// The name that a new thread has after it was given `name`.
std::string nameAfter(std::string_view name)
{
    return onAnotherThread([name] {
        nameCurrentThread(name);
        return std::string(currentThreadName());
    });
}

TEST(CurrentThread, Id_IsThatOfTheKernel)
{
    EXPECT_EQ(gettid(), currentThreadId());
    EXPECT_EQ(getpid(), currentThreadId());
    EXPECT_EQ(getpid(), currentThreadId());
}

TEST(CurrentThread, Id_IsAnotherOneInEachThread)
{
    const std::pair<pid_t, pid_t> ids =
        onAnotherThread([] { return std::pair(gettid(), currentThreadId()); });
    EXPECT_EQ(ids.first, ids.second);
    EXPECT_NE(currentThreadId(), ids.second);
}

TEST(CurrentThread, Id_IsAnotherOneInAProcessThatIsForkedOff)
{
    EXPECT_EQ(getpid(), currentThreadId());
    const support::ChildResult result = runInChild([] {
        EXPECT_EQ(getpid(), currentThreadId());
        EXPECT_EQ(gettid(), currentThreadId());
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(getpid(), currentThreadId());
}

TEST(CurrentThread, Name_IsEmptyAtFirst)
{
    EXPECT_EQ("", onAnotherThread([] { return std::string(currentThreadName()); }));
}

TEST(CurrentThread, Name_IsKept)
{
    EXPECT_EQ("receiver", nameAfter("receiver"));
    EXPECT_EQ(std::string("a\0\xff\n", 4), nameAfter(std::string_view("a\0\xff\n", 4)));
}

TEST(CurrentThread, Name_IsCutAfter31Bytes)
{
    EXPECT_EQ("123456789012345678901234567890", nameAfter("123456789012345678901234567890"));
    EXPECT_EQ("1234567890123456789012345678901", nameAfter("1234567890123456789012345678901"));
    EXPECT_EQ("1234567890123456789012345678901", nameAfter("12345678901234567890123456789012"));
    EXPECT_EQ(std::string(31, 'a'), nameAfter(std::string(100000, 'a')));
}

TEST(CurrentThread, Name_IsReplacedAndTakenAway)
{
    const std::string names = onAnotherThread([] {
        nameCurrentThread("receiver");
        nameCurrentThread("tx");
        std::string text(currentThreadName());
        nameCurrentThread("");
        text += "|" + std::string(currentThreadName());
        nameCurrentThread("rx");
        nameCurrentThread(std::string_view());
        return text + "|" + std::string(currentThreadName());
    });
    EXPECT_EQ("tx||", names);
}

TEST(CurrentThread, Name_BelongsToOneThread)
{
    nameCurrentThread("main");
    EXPECT_EQ("receiver", nameAfter("receiver"));
    EXPECT_EQ("main", currentThreadName());
    nameCurrentThread("");
}

TEST(CurrentThread, Name_StaysInAProcessThatIsForkedOff)
{
    nameCurrentThread("main");
    const support::ChildResult result = runInChild([] { EXPECT_EQ("main", currentThreadName()); });
    EXPECT_EQ(0, result.exitCode) << result.out;
    nameCurrentThread("");
}

TEST(CurrentThread, OwnThread_MarksUntilItsEnd)
{
    EXPECT_FALSE(isOwnThread());
    {
        const OwnThread mark;
        EXPECT_TRUE(isOwnThread());
    }
    EXPECT_FALSE(isOwnThread());
}

TEST(CurrentThread, OwnThread_Nested_RestoresWhatWasBefore)
{
    const OwnThread outer;
    {
        const OwnThread inner;
        EXPECT_TRUE(isOwnThread());
    }
    EXPECT_TRUE(isOwnThread());
}

TEST(CurrentThread, OwnThread_BelongsToOneThread)
{
    const OwnThread mark;
    EXPECT_FALSE(onAnotherThread([] { return isOwnThread(); }));
    EXPECT_TRUE(isOwnThread());
}

} // namespace

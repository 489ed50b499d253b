// SPDX-License-Identifier: Apache-2.0

#include "../src/Progress.h"

#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <unistd.h>

#include "Terminal.h"

namespace {

using deviceimport::Progress;
using registrytest::Terminal;
using zelbase::TimePoint;

TEST(Progress, IsSilent_ForASecond)
{
    Terminal terminal;
    Progress progress(terminal.fd(), TimePoint(5000));
    progress.show(1, TimePoint(5000));
    progress.show(2, TimePoint(6000));
    EXPECT_EQ("", terminal.take());
    progress.show(3, TimePoint(6001));
    EXPECT_EQ("\r3 lines read", terminal.take());
}

TEST(Progress, IsRewritten_TenTimesASecond)
{
    Terminal terminal;
    Progress progress(terminal.fd(), TimePoint(0));
    progress.show(9, TimePoint(1500));
    progress.show(10, TimePoint(1501));
    progress.show(11, TimePoint(1599));
    progress.show(12, TimePoint(1600));
    progress.show(13, TimePoint(1699));
    progress.show(14, TimePoint(1950));
    EXPECT_EQ("\r9 lines read\r12 lines read\r14 lines read", terminal.take());
}

TEST(Progress, IsErased_AndComesAgain)
{
    Terminal terminal;
    Progress progress(terminal.fd(), TimePoint(0));
    progress.show(123, TimePoint(2000));
    terminal.take();
    progress.erase();
    progress.erase();
    EXPECT_EQ("\r              \r", terminal.take());
    progress.show(124, TimePoint(2099));
    progress.show(125, TimePoint(2100));
    EXPECT_EQ("\r125 lines read", terminal.take());
}

TEST(Progress, IsErased_InTheEnd)
{
    Terminal terminal;
    {
        Progress progress(terminal.fd(), TimePoint(0));
        progress.show(18446744073709551615U, TimePoint(2000));
        EXPECT_EQ("\r18446744073709551615 lines read", terminal.take());
    }
    EXPECT_EQ("\r                               \r", terminal.take());
}

TEST(Progress, IsNotErased_WhenItNeverWasThere)
{
    Terminal terminal;
    {
        Progress progress(terminal.fd(), TimePoint(0));
        progress.show(1, TimePoint(1000));
    }
    EXPECT_EQ("", terminal.take());
}

TEST(Progress, IsForTerminalsAlone)
{
    int ends[2];
    ASSERT_EQ(0, pipe2(ends, O_NONBLOCK));
    {
        Progress progress(ends[1], TimePoint(0));
        EXPECT_FALSE(progress.isWatched());
        progress.show(1, TimePoint(2000));
    }
    char byte = 0;
    EXPECT_EQ(-1, read(ends[0], &byte, 1));
    close(ends[0]);
    close(ends[1]);
}

TEST(Progress, Ends_WhenTheTerminalIsGone)
{
    int reader = -1;
    int writer = -1;
    ASSERT_EQ(0, openpty(&reader, &writer, nullptr, nullptr, nullptr));
    Progress progress(writer, TimePoint(0));
    EXPECT_TRUE(progress.isWatched());
    close(reader);
    progress.show(1, TimePoint(2000));
    EXPECT_FALSE(progress.isWatched());
    close(writer);
}

} // namespace

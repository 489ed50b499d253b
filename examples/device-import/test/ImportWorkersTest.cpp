// SPDX-License-Identifier: Apache-2.0

#include "../src/ImportWorkers.h"

#include <string>

#include <gtest/gtest.h>

#include "Terminal.h"
#include "TestDirectory.h"

namespace {

using deviceimport::ImportResult;
using deviceimport::ImportWorkers;
using deviceimport::Progress;
using registrytest::Terminal;
using registrytest::TestDirectory;
using zelbase::Duration;
using zelbase::TimePoint;

/// So long ago that a line is due at once.
const TimePoint LONG_AGO;

TEST(ImportWorkers, ShowProgress_WhileTheyAreWaitedFor)
{
    Terminal terminal;
    const TestDirectory directory;
    const std::string list = directory.write("list.csv", "#\n#\n#\n");
    Progress progress(terminal.fd(), LONG_AGO);
    ImportWorkers workers(1, 1, {}, Duration(250), progress);
    ImportResult result;
    ASSERT_TRUE(workers.give({0, list}));
    ASSERT_TRUE(workers.take(result));
    EXPECT_EQ(3, result.lines);
    EXPECT_FALSE(workers.take(result));
    const std::string shown = terminal.take();
    EXPECT_EQ(0U, shown.find("\r0 lines read\r")) << shown;
    EXPECT_NE(std::string::npos, shown.find("\r3 lines read")) << shown;
}

TEST(ImportWorkers, ShowNoMoreProgress_AfterAFailure)
{
    Terminal terminal;
    Progress progress(terminal.fd(), LONG_AGO);
    ImportWorkers workers(1, 1, {}, Progress::PERIOD, progress);
    ImportResult result;
    EXPECT_FALSE(workers.take(result));
    EXPECT_EQ("\r0 lines read", terminal.take());
    EXPECT_FALSE(workers.take(result)); // the next line would be due
    EXPECT_EQ("", terminal.take());
}

TEST(ImportWorkers, KeepToTheTimeout_WhetherWatchedOrNot)
{
    Terminal terminal;
    for (const int fd : {terminal.fd(), -1}) {
        Progress progress(fd, LONG_AGO);
        ImportWorkers workers(1, 1, {}, Duration(150), progress);
        ImportResult result;
        const TimePoint start = TimePoint::now();
        EXPECT_FALSE(workers.take(result));
        EXPECT_LE(Duration(150), TimePoint::now() - start);
    }
}

TEST(ImportWorkers, HandOnDevices_WhenAsked)
{
    const TestDirectory directory;
    const std::string list =
        directory.write("list.csv", "123e4567-e89b-12d3-a456-426614174000;Fan coil;1F/101;50\n");
    Progress progress(-1, LONG_AGO);
    deviceimport::ImportSettings settings;
    settings.keepDevices = true;
    ImportWorkers workers(1, 1, settings, Duration(60000), progress);
    ImportResult result;
    ASSERT_TRUE(workers.give({0, list}));
    ASSERT_TRUE(workers.take(result));
    ASSERT_EQ(1U, result.devices.devices().size());
    EXPECT_EQ(1, result.devices.lineOf(result.devices.devices()[0]));
    EXPECT_EQ(list, result.name);
}

} // namespace

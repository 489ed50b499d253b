// SPDX-License-Identifier: Apache-2.0

#include <tracing-impl/LocalTime.h>

#include <atomic>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include <support/ChildProcess.h>
#include <support/ForkedChild.h>

namespace {

using support::ChildResult;
using support::runForked;
using tracing::impl::appendClock;
using tracing::impl::appendDate;
using tracing::impl::forgetLocalOffset;
using tracing::impl::localSeconds;

/// An hour ahead of UTC; two from the last Sunday of March to the last one of October.
constexpr const char* CENTRAL_EUROPE = "CET-1CEST,M3.5.0,M10.5.0/3";
/// When the clock is put forward and back in 2026.
constexpr std::time_t SUMMER = 1774746000;
constexpr std::time_t WINTER = 1792890000;

std::string dateOf(long long seconds)
{
    std::string text;
    appendDate(text, seconds);
    return text;
}

std::string clockOf(long long seconds)
{
    std::string text;
    appendClock(text, seconds);
    return text;
}

/// Returns the local time of `now` as "2000-01-31 23:59:59".
std::string localText(std::time_t now)
{
    const long long seconds = localSeconds(now);
    return dateOf(seconds) + ' ' + clockOf(seconds);
}

void setZone(const char* zone)
{
    setenv("TZ", zone, 1);
    tzset();
    forgetLocalOffset();
}

TEST(LocalTime, Date_AroundTheBeginning)
{
    EXPECT_EQ("1970-01-01", dateOf(0));
    EXPECT_EQ("1970-01-01", dateOf(86399));
    EXPECT_EQ("1970-01-02", dateOf(86400));
    EXPECT_EQ("1969-12-31", dateOf(-1));
    EXPECT_EQ("1969-12-31", dateOf(-86400));
    EXPECT_EQ("1969-12-30", dateOf(-86401));
}

TEST(LocalTime, Date_LeapYears)
{
    EXPECT_EQ("2000-02-29", dateOf(951782400));
    EXPECT_EQ("2000-03-01", dateOf(951868800));
    EXPECT_EQ("2024-02-29", dateOf(1709164800));
    EXPECT_EQ("2024-12-31", dateOf(1735603200));
    EXPECT_EQ("2026-02-28", dateOf(1772236800));
    EXPECT_EQ("2026-03-01", dateOf(1772323200));
}

TEST(LocalTime, Date_2100_IsNoLeapYear)
{
    EXPECT_EQ("2100-02-28", dateOf(4107456000));
    EXPECT_EQ("2100-02-28", dateOf(4107542399));
    EXPECT_EQ("2100-03-01", dateOf(4107542400));
}

TEST(LocalTime, Date_FarAway)
{
    EXPECT_EQ("2038-01-19", dateOf(2147483648));
    EXPECT_EQ("9999-12-31", dateOf(253402300799));
    EXPECT_EQ("10000-01-01", dateOf(253402300800));
}

TEST(LocalTime, Date_LongBefore1970)
{
    EXPECT_EQ("1968-02-29", dateOf(-58060800));
    EXPECT_EQ("1900-01-01", dateOf(-2208988800));
    EXPECT_EQ("1600-12-31", dateOf(-11644473601));
    EXPECT_EQ("1601-01-01", dateOf(-11644473600));
}

TEST(LocalTime, Clock_OfADay)
{
    EXPECT_EQ("00:00:00", clockOf(0));
    EXPECT_EQ("00:00:59", clockOf(59));
    EXPECT_EQ("00:59:59", clockOf(3599));
    EXPECT_EQ("12:34:56", clockOf(45296));
    EXPECT_EQ("23:59:59", clockOf(86399));
    EXPECT_EQ("00:00:00", clockOf(86400));
    EXPECT_EQ("23:59:59", clockOf(253402300799));
}

TEST(LocalTime, Clock_Before1970)
{
    EXPECT_EQ("23:59:59", clockOf(-1));
    EXPECT_EQ("00:00:01", clockOf(-86399));
    EXPECT_EQ("00:00:00", clockOf(-86400));
    EXPECT_EQ("23:59:59", clockOf(-86401));
}

TEST(LocalTime, Append_KeepsWhatIsThere)
{
    std::string text = "at ";
    appendDate(text, 951782400);
    appendClock(text, 1);
    EXPECT_EQ("at 2000-02-2900:00:01", text);
}

TEST(LocalTime, LocalSeconds_Utc)
{
    const ChildResult child = support::runInChild([] {
        setZone("UTC");
        EXPECT_EQ(0, localSeconds(0));
        EXPECT_EQ(1774746000, localSeconds(SUMMER));
        EXPECT_EQ("2026-10-25 01:00:00", localText(WINTER));
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
}

TEST(LocalTime, LocalSeconds_ClockIsPutForward)
{
    const ChildResult child = support::runInChild([] {
        setZone(CENTRAL_EUROPE);
        EXPECT_EQ("2026-03-29 01:59:58", localText(SUMMER - 2));
        EXPECT_EQ("2026-03-29 01:59:59", localText(SUMMER - 1));
        EXPECT_EQ("2026-03-29 03:00:00", localText(SUMMER));
        EXPECT_EQ("2026-03-29 03:00:01", localText(SUMMER + 1));
        EXPECT_EQ("2026-03-29 01:59:59", localText(SUMMER - 1));
        EXPECT_EQ("1970-01-01 00:59:59", localText(-1));
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
}

TEST(LocalTime, LocalSeconds_ClockIsPutBack)
{
    const ChildResult child = support::runInChild([] {
        setZone(CENTRAL_EUROPE);
        EXPECT_EQ("2026-10-25 02:59:58", localText(WINTER - 2));
        EXPECT_EQ("2026-10-25 02:59:59", localText(WINTER - 1));
        EXPECT_EQ("2026-10-25 02:00:00", localText(WINTER));
        EXPECT_EQ("2026-10-25 02:00:01", localText(WINTER + 1));
        EXPECT_EQ("2026-10-25 02:59:59", localText(WINTER - 1));
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
}

TEST(LocalTime, LocalSeconds_QuartersOfAnHour)
{
    const ChildResult child = support::runInChild([] {
        setZone("NPT-5:45");
        EXPECT_EQ("2026-03-29 06:45:00", localText(SUMMER));
        setZone("MART9:30");
        EXPECT_EQ("2026-03-28 15:30:00", localText(SUMMER));
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
}

TEST(LocalTime, LocalSeconds_ClockIsPutForwardWithinAnHourOfUtc)
{
    const ChildResult child = support::runInChild([] {
        setZone("LHST-10:30LHDT-11,M10.1.0,M4.1.0");
        EXPECT_EQ("2026-10-04 01:59:59", localText(1791041399));
        EXPECT_EQ("2026-10-04 02:30:00", localText(1791041400));
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
}

TEST(LocalTime, LocalSeconds_BeyondTheCalendar_KeepsTheOffset)
{
    if (sizeof(std::time_t) == 4) GTEST_SKIP() << "the calendar has all that there is";
    const ChildResult child = support::runInChild([] {
        constexpr std::time_t BEYOND = std::numeric_limits<std::time_t>::max() / 2;
        setZone(CENTRAL_EUROPE);
        EXPECT_EQ(SUMMER + 7200, localSeconds(SUMMER));
        EXPECT_EQ(BEYOND + 7200, localSeconds(BEYOND));
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
}

TEST(LocalTime, Forget_AlsoTheOffsetOfThisMoment)
{
    const ChildResult child = support::runInChild([] {
        const std::time_t now = std::time(nullptr);
        setZone("UTC");
        EXPECT_EQ(now, localSeconds(now));
        setZone("NPT-5:45");
        EXPECT_EQ(now + 20700, localSeconds(now));
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
}

TEST(LocalTime, Forget_AsksForTheOffsetAnew)
{
    const ChildResult child = support::runInChild([] {
        setZone("UTC");
        EXPECT_EQ("2026-03-29 01:00:00", localText(SUMMER));
        setenv("TZ", CENTRAL_EUROPE, 1);
        tzset();
        EXPECT_EQ("2026-03-29 01:00:00", localText(SUMMER));
        forgetLocalOffset();
        EXPECT_EQ("2026-03-29 03:00:00", localText(SUMMER));
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
}

/// In a forked child. Returns 0 if the zone of it means nothing.
int ignoresItsZone()
{
    setZone("UTC");
    if (localText(SUMMER) != "2026-03-29 03:00:00") return 1;
    return localText(WINTER) == "2026-10-25 03:00:00" ? 0 : 2;
}

TEST(LocalTime, Fork_ChildWithAnotherZone_KeepsTheOffset)
{
    const ChildResult child = support::runInChild([] {
        setZone(CENTRAL_EUROPE);
        EXPECT_EQ("2026-03-29 03:00:00", localText(SUMMER));
        EXPECT_EQ(0, runForked(ignoresItsZone));
        EXPECT_EQ("2026-10-25 02:00:00", localText(WINTER));
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
}

/// A thread that formats times without a pause, each of which has the system asked for the offset.
class FormattingThread
{
public:
    ~FormattingThread()
    {
        m_isDone = true;
        m_thread.join();
    }

private:
    void format()
    {
        while (!m_isDone) {
            localText(SUMMER);
            localText(WINTER);
        }
    }

    std::atomic<bool> m_isDone{false};
    std::thread m_thread{[this] { format(); }};
};

TEST(LocalTime, Fork_OthersFormat_NoChildHangs)
{
    const ChildResult child = support::runInChild([] {
        setZone("UTC");
        EXPECT_EQ("2026-03-29 01:00:00", localText(SUMMER));
        const FormattingThread formatting;
        for (int i = 0; i < 300; ++i)
            ASSERT_EQ(0, runForked([] {
                          return localText(SUMMER + 900) == "2026-03-29 01:15:00" ? 0 : 1;
                      }));
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
}

} // namespace

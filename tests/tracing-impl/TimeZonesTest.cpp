// SPDX-License-Identifier: Apache-2.0

#include <tracing-impl/TimeZones.h>

#include <climits>
#include <cstdlib>
#include <ctime>
#include <string>
#include <thread>

#include <gtest/gtest.h>

namespace {

/// 2026-11-21 12:00:00 in UTC.
constexpr std::time_t NOON = 1795262400;

class TimeZones : public testing::Test
{
protected:
    TimeZones()
    {
        setenv("TZ", "UTC", 1);
        tzset();
    }

    std::string text() const
    {
        std::string out;
        m_zones.append(out, NOON);
        return out;
    }

    tracing::impl::TimeZones m_zones;
};

TEST_F(TimeZones, Append_NothingWithoutZones)
{
    std::string out = "|";
    m_zones.append(out, NOON);
    EXPECT_EQ("|", out);
}

TEST_F(TimeZones, Append_EachInTheOrderInWhichTheyCame)
{
    m_zones.add("gps", 18);
    m_zones.add("radio", -3600);
    m_zones.add("any", 0);
    EXPECT_EQ(" gps 12:00:18 radio 11:00:00 any 12:00:00", text());
}

TEST_F(TimeZones, Append_KeepsWhatIsThere)
{
    m_zones.add("gps", 18);
    std::string out = "12:00:00";
    m_zones.append(out, NOON);
    EXPECT_EQ("12:00:00 gps 12:00:18", out);
}

TEST_F(TimeZones, Append_BeyondMidnight)
{
    m_zones.add("late", 43200);
    m_zones.add("early", -43201);
    EXPECT_EQ(" late 00:00:00 early 23:59:59", text());
}

TEST_F(TimeZones, Append_NamesInPrint)
{
    m_zones.add("", 0);
    m_zones.add("\x1b[2J\n", 0);
    EXPECT_EQ("  12:00:00 \\x1b[2J\\n 12:00:00", text());
}

TEST_F(TimeZones, Add_ReturnsIdsFrom0)
{
    EXPECT_EQ(0, m_zones.add("a", 1));
    EXPECT_EQ(1, m_zones.add("b", 2));
    EXPECT_EQ(2, m_zones.add("A", 3));
}

TEST_F(TimeZones, Add_SameNameGetsAnotherOffset)
{
    m_zones.add("a", 1);
    m_zones.add("b", 2);
    EXPECT_EQ(0, m_zones.add("a", 5));
    EXPECT_EQ(" a 12:00:05 b 12:00:02", text());
}

TEST_F(TimeZones, Add_AsManyAsThereCanBe)
{
    for (const char* name : {"1", "2", "3", "4", "5", "6", "7"})
        m_zones.add(name, 0);
    EXPECT_EQ(7, m_zones.add("8", 8));
    EXPECT_EQ(-1, m_zones.add("9", 9));
    EXPECT_EQ(" 1 12:00:00 2 12:00:00 3 12:00:00 4 12:00:00 5 12:00:00 6 12:00:00 7 12:00:00"
              " 8 12:00:08",
              text());
    EXPECT_EQ(7, m_zones.add("8", 10));
    EXPECT_EQ(0, m_zones.add("1", 1));
}

TEST_F(TimeZones, Update_ChangesTheOffset)
{
    m_zones.add("a", 1);
    const int id = m_zones.add("b", 2);
    m_zones.update(id, 30);
    EXPECT_EQ(" a 12:00:01 b 12:00:30", text());
    m_zones.update(id, -1);
    EXPECT_EQ(" a 12:00:01 b 11:59:59", text());
}

TEST_F(TimeZones, Update_OfAnIdThatIsNoneDoesNothing)
{
    m_zones.update(0, 5);
    m_zones.add("a", 1);
    m_zones.update(-1, 5);
    m_zones.update(1, 5);
    m_zones.update(INT_MAX, 5);
    m_zones.update(INT_MIN, 5);
    EXPECT_EQ(" a 12:00:01", text());
}

TEST_F(TimeZones, Append_OthersAddAndChange_IsWhole)
{
    constexpr int ROUNDS = 1000;
    std::thread other([this] {
        for (int round = 0; round < ROUNDS; ++round)
            m_zones.update(m_zones.add(std::to_string(round % 8), 3600), 3600);
    });
    for (int round = 0; round < ROUNDS; ++round)
        EXPECT_EQ(0U, text().size() % 11);
    other.join();
    EXPECT_EQ(" 0 13:00:00 1 13:00:00", text().substr(0, 22));
}

TEST_F(TimeZones, Offsets_OfManyYears)
{
    m_zones.add("ahead", 36500LL * 24 * 60 * 60 + 1);
    m_zones.add("behind", -36500LL * 24 * 60 * 60 - 1);
    EXPECT_EQ(" ahead 12:00:01 behind 11:59:59", text());
}

TEST_F(TimeZones, Offsets_ThatMakeNoSenseKeepTheForm)
{
    const int id = m_zones.add("a", LLONG_MAX);
    m_zones.add("b", LLONG_MIN);
    EXPECT_EQ(22U, text().size());
    m_zones.update(id, LLONG_MIN);
    m_zones.add("b", LLONG_MAX);
    EXPECT_EQ(22U, text().size());
    m_zones.update(id, LLONG_MAX);
    EXPECT_EQ(22U, text().size());
    m_zones.update(id, 1);
    EXPECT_EQ(" a 12:00:01", text().substr(0, 11));
}

} // namespace

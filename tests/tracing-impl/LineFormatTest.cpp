// SPDX-License-Identifier: Apache-2.0

#include <tracing-impl/LineFormat.h>

#include <cstdint>
#include <cstdlib>
#include <limits>
#include <string>
#include <string_view>

#include <common/tracing/Levels.h>
#include <gtest/gtest.h>
#include <tracing-impl/LocalTime.h>

namespace {

using tracing::Modifiers;
using tracing::impl::appendBody;
using tracing::impl::appendRest;
using tracing::impl::appendThread;
using tracing::impl::appendTime;
using tracing::impl::colouredLineOf;
using tracing::impl::levelName;
using tracing::impl::lineOf;
using tracing::impl::Message;
using tracing::impl::TimeZones;

class LineFormat : public testing::Test
{
protected:
    LineFormat()
    {
        setZone("UTC");
        m_message.path = "net_tcp";
        m_message.level = 3;
        m_message.payload = "peer 7 has gone";
        m_message.time = {1795262400, 123456789}; // 2026-11-21 12:00:00 in UTC
        m_message.threadId = 4711;
    }
    ~LineFormat() override { setZone("UTC"); }

    static void setZone(const char* zone)
    {
        setenv("TZ", zone, 1);
        tzset();
        tracing::impl::forgetLocalOffset();
    }

    std::string line() const { return lineOf(m_message, m_zones); }
    std::string colouredLine(short level)
    {
        m_message.level = level;
        return colouredLineOf(m_message, m_zones);
    }
    std::string body() const
    {
        std::string out;
        appendBody(out, m_message);
        return out;
    }
    /// The body of the raw message `bytes`.
    std::string rawBody(std::string_view bytes, short type = 256)
    {
        m_message.isRaw = true;
        m_message.messageType = type;
        m_message.payload = bytes;
        return body();
    }

    Message m_message = {};
    TimeZones m_zones;
};

TEST_F(LineFormat, LineOf_AText)
{
    EXPECT_EQ("2026-11-21 12:00:00.123456 warning net_tcp [4711] peer 7 has gone\n", line());
}

TEST_F(LineFormat, LineOf_WithEverything)
{
    m_zones.add("gps", 18);
    m_message.threadName = "receiver";
    m_message.hasStamp = true;
    m_message.stamp = 99;
    m_message.level = 5;
    EXPECT_EQ("2026-11-21 12:00:00.123456 gps 12:00:18 fatal net_tcp [4711 receiver] "
              "@99 peer 7 has gone\n",
              line());
}

TEST_F(LineFormat, LineOf_AnEmptyMessage)
{
    m_message.path = {};
    m_message.payload = {};
    EXPECT_EQ("2026-11-21 12:00:00.123456 warning  [4711] \n", line());
}

TEST_F(LineFormat, LineOf_HasOneEndOfLine)
{
    m_message.path = "a\nb";
    m_message.threadName = "c\nd";
    m_message.payload = "e\n\x1b[2Jf\r\n";
    m_zones.add("g\nh", 0);
    EXPECT_EQ("2026-11-21 12:00:00.123456 g\\nh 12:00:00 warning a\\nb [4711 c\\nd] "
              "e\\n\\x1b[2Jf\\r\\n\n",
              line());
}

TEST_F(LineFormat, LevelName_OfAllLevels)
{
    EXPECT_EQ("trace", levelName(0));
    EXPECT_EQ("debug", levelName(1));
    EXPECT_EQ("info", levelName(2));
    EXPECT_EQ("warning", levelName(3));
    EXPECT_EQ("error", levelName(4));
    EXPECT_EQ("fatal", levelName(5));
    EXPECT_EQ("off", levelName(6));
    EXPECT_EQ("none", levelName(7));
    EXPECT_EQ("disabled", levelName(8));
    EXPECT_EQ("default", levelName(9));
}

TEST_F(LineFormat, LevelName_IsANumberForWhatIsNone)
{
    EXPECT_EQ("10", levelName(10));
    EXPECT_EQ("-1", levelName(-1));
    EXPECT_EQ("32767", levelName(32767));
    EXPECT_EQ("-32768", levelName(-32768));
    m_message.level = -1;
    EXPECT_EQ("2026-11-21 12:00:00.123456 -1 net_tcp [4711] peer 7 has gone\n", line());
}

TEST_F(LineFormat, Time_OfTheEndsOfASecond)
{
    m_message.time = {0, 0};
    std::string out;
    appendTime(out, m_message, m_zones);
    EXPECT_EQ("1970-01-01 00:00:00.000000", out);
    m_message.time = {std::numeric_limits<std::int32_t>::max(), 999999999};
    out = "|";
    appendTime(out, m_message, m_zones);
    EXPECT_EQ("|2038-01-19 03:14:07.999999", out);
}

TEST_F(LineFormat, Time_IsTheLocalOne)
{
    setZone("XYZ-05:30");
    m_zones.add("gps", 18);
    std::string out;
    appendTime(out, m_message, m_zones);
    EXPECT_EQ("2026-11-21 17:30:00.123456 gps 17:30:18", out);
}

TEST_F(LineFormat, Time_FractionOutOfRangeKeepsTheForm)
{
    m_message.time.tv_nsec = -1;
    std::string out;
    appendTime(out, m_message, m_zones);
    EXPECT_EQ(26U, out.size());
    EXPECT_EQ("2026-11-21 12:00:00.", out.substr(0, 20));
}

TEST_F(LineFormat, Thread_WithAndWithoutAName)
{
    std::string out;
    appendThread(out, m_message);
    m_message.threadName = "main thread";
    appendThread(out, m_message);
    EXPECT_EQ("[4711][4711 main thread]", out);
}

TEST_F(LineFormat, Rest_IsPathThreadAndBody)
{
    std::string out = "|";
    appendRest(out, m_message);
    EXPECT_EQ("|net_tcp [4711] peer 7 has gone", out);
}

TEST_F(LineFormat, Body_Stamps)
{
    m_message.hasStamp = true;
    EXPECT_EQ("@0 peer 7 has gone", body());
    m_message.stamp = std::numeric_limits<long long>::max();
    EXPECT_EQ("@9223372036854775807 peer 7 has gone", body());
    m_message.stamp = std::numeric_limits<long long>::min();
    EXPECT_EQ("@-9223372036854775808 peer 7 has gone", body());
}

TEST_F(LineFormat, Body_StampIsNotShownWithoutOne)
{
    m_message.stamp = 99;
    EXPECT_EQ("peer 7 has gone", body());
}

TEST_F(LineFormat, Body_OfBytes)
{
    EXPECT_EQ("type 256, 0 bytes:", rawBody(""));
    EXPECT_EQ("type 128, 3 bytes: 00 7f ff", rawBody(std::string_view("\0\x7f\xff", 3), 128));
    EXPECT_EQ("type -1, 2 bytes: 61 0a", rawBody("a\n", -1));
}

TEST_F(LineFormat, Body_OfAsManyBytesAsAreShown)
{
    EXPECT_EQ("type 256, 64 bytes:"
              " 61 61 61 61 61 61 61 61 61 61 61 61 61 61 61 61"
              " 61 61 61 61 61 61 61 61 61 61 61 61 61 61 61 61"
              " 61 61 61 61 61 61 61 61 61 61 61 61 61 61 61 61"
              " 61 61 61 61 61 61 61 61 61 61 61 61 61 61 61 61",
              rawBody(std::string(64, 'a')));
}

TEST_F(LineFormat, Body_OfMoreBytesThanAreShown)
{
    EXPECT_EQ("type 256, 65 bytes:"
              " 61 61 61 61 61 61 61 61 61 61 61 61 61 61 61 61"
              " 61 61 61 61 61 61 61 61 61 61 61 61 61 61 61 61"
              " 61 61 61 61 61 61 61 61 61 61 61 61 61 61 61 61"
              " 61 61 61 61 61 61 61 61 61 61 61 61 61 61 61 61 ...",
              rawBody(std::string(64, 'a') + "b"));
}

TEST_F(LineFormat, Obfuscated_TextIsShownByItsSizeAlone)
{
    m_message.modifiers = Modifiers::OBFUSCATE;
    EXPECT_EQ("2026-11-21 12:00:00.123456 warning net_tcp [4711] 15 bytes, obfuscated\n", line());
    m_message.payload = {};
    EXPECT_EQ("0 bytes, obfuscated", body());
}

TEST_F(LineFormat, Obfuscated_WithOtherModifiers)
{
    m_message.modifiers = 7;
    EXPECT_EQ("15 bytes, obfuscated", body());
    m_message.modifiers = -1;
    EXPECT_EQ("15 bytes, obfuscated", body());
    m_message.modifiers = 3;
    EXPECT_EQ("peer 7 has gone", body());
}

TEST_F(LineFormat, Obfuscated_BytesAreShownByTypeAndSizeAlone)
{
    m_message.modifiers = Modifiers::OBFUSCATE;
    EXPECT_EQ("type 137, 6 bytes, obfuscated", rawBody("secret", 137));
}

TEST_F(LineFormat, Obfuscated_StampStays)
{
    m_message.modifiers = Modifiers::OBFUSCATE;
    m_message.hasStamp = true;
    m_message.stamp = -5;
    EXPECT_EQ("@-5 15 bytes, obfuscated", body());
    EXPECT_EQ("@-5 type 2, 6 bytes, obfuscated", rawBody("secret", 2));
}

TEST_F(LineFormat, Coloured_LevelAlone)
{
    const std::string head = "2026-11-21 12:00:00.123456 ";
    const std::string rest = " net_tcp [4711] peer 7 has gone\n";
    EXPECT_EQ(head + "\x1b[37mtrace\x1b[m" + rest, colouredLine(0));
    EXPECT_EQ(head + "\x1b[36mdebug\x1b[m" + rest, colouredLine(1));
    EXPECT_EQ(head + "\x1b[32minfo\x1b[m" + rest, colouredLine(2));
    EXPECT_EQ(head + "\x1b[33m\x1b[1mwarning\x1b[m" + rest, colouredLine(3));
    EXPECT_EQ(head + "\x1b[31m\x1b[1merror\x1b[m" + rest, colouredLine(4));
    EXPECT_EQ(head + "\x1b[1m\x1b[41mfatal\x1b[m" + rest, colouredLine(5));
}

TEST_F(LineFormat, Coloured_WhatIsNoLevel_HasTheNearestColour)
{
    const std::string head = "2026-11-21 12:00:00.123456 ";
    const std::string rest = " net_tcp [4711] peer 7 has gone\n";
    EXPECT_EQ(head + "\x1b[37m-1\x1b[m" + rest, colouredLine(-1));
    EXPECT_EQ(head + "\x1b[1m\x1b[41moff\x1b[m" + rest, colouredLine(6));
    EXPECT_EQ(head + "\x1b[1m\x1b[41m99\x1b[m" + rest, colouredLine(99));
}

TEST_F(LineFormat, Coloured_HostileText_BringsNoColoursOfItsOwn)
{
    m_message.path = "net\x1b[1m";
    m_message.payload = "\x1b[31m\n";
    EXPECT_EQ("2026-11-21 12:00:00.123456 \x1b[32minfo\x1b[m net\\x1b[1m [4711] \\x1b[31m\\n\n",
              colouredLine(2));
}

} // namespace

// SPDX-License-Identifier: Apache-2.0

#include <common/tracing/log.h>

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include <common/tracing/SharedChannelMap.h>

#include "support/RecordingClient.h"

namespace {

using support::RecordingClient;
using tracing::Channel;
using tracing::Levels;

/// A channel at level 3, and counts of what was evaluated.
class Log : public testing::Test
{
protected:
    Log() : m_channel("net", 0, 0)
    {
        m_channel.m_client = &m_client;
        m_channel.setFilterLevel(3);
    }

    Channel& countedChannel()
    {
        ++m_channels;
        return m_channel;
    }
    short countedLevel(short level)
    {
        ++m_levels;
        return level;
    }
    int counted(int value)
    {
        ++m_values;
        return value;
    }

    RecordingClient m_client;
    Channel m_channel;
    int m_channels = 0;
    int m_levels = 0;
    int m_values = 0;
};

TEST_F(Log, TextAlone)
{
    ZEL_LOG(m_channel, Levels::LevelWARN, "text");
    EXPECT_EQ("string channel=net level=3 modifiers=0 text=text", m_client.calls());
}

TEST_F(Log, TextWithValues)
{
    ZEL_LOG(m_channel, Levels::LevelFATAL, "%s %d%%", "pump", 7);
    ZEL_LOG(m_channel, 4, "%c%c%c%c%c%c%c%c", 'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h');
    EXPECT_EQ("string channel=net level=5 modifiers=0 text=pump 7%\n"
              "string channel=net level=4 modifiers=0 text=abcdefgh",
              m_client.calls());
}

TEST_F(Log, TextIsCutAfter511Characters)
{
    const std::string letters(511, 'x');
    ZEL_LOG(m_channel, 3, "%s%s", letters.c_str(), "yz");
    EXPECT_EQ("string channel=net level=3 modifiers=0 text=" + letters, m_client.calls());
}

TEST_F(Log, PassesFromTheFilterLevelOn)
{
    ZEL_LOG(m_channel, 2, "below");
    EXPECT_EQ("", m_client.calls());
    ZEL_LOG(m_channel, 3, "equal");
    ZEL_LOG(m_channel, 4, "above");
    EXPECT_EQ("string channel=net level=3 modifiers=0 text=equal\n"
              "string channel=net level=4 modifiers=0 text=above",
              m_client.calls());
}

TEST_F(Log, FilterNone_DoesNotFollowTheParent)
{
    Channel root("root", 0, 0);
    root.setFilterLevel(0);
    m_channel.m_parent = &root;
    m_channel.setFilterLevel(7);
    ZEL_LOG(m_channel, 5, "up");
    EXPECT_EQ("", m_client.calls());
}

TEST_F(Log, Passed_EverythingIsEvaluatedOnce)
{
    ZEL_LOG(countedChannel(), countedLevel(3), "%d %d", counted(1), counted(2));
    EXPECT_EQ("string channel=net level=3 modifiers=0 text=1 2", m_client.calls());
    EXPECT_EQ(1, m_channels);
    EXPECT_EQ(1, m_levels);
    EXPECT_EQ(2, m_values);
}

TEST_F(Log, Suppressed_NoValueIsEvaluated)
{
    ZEL_LOG(countedChannel(), countedLevel(2), "%d %d", counted(1), counted(2));
    EXPECT_EQ("", m_client.calls());
    EXPECT_EQ(1, m_channels);
    EXPECT_EQ(1, m_levels);
    EXPECT_EQ(0, m_values);
}

TEST_F(Log, FreshChannel_NoValueIsEvaluated)
{
    Channel fresh("fresh", 0, 0);
    ZEL_LOG(fresh, Levels::LevelFATAL, "%d", counted(1));
    EXPECT_EQ(0, m_values);
}

TEST_F(Log, ChannelWithoutAClient_ValuesAreEvaluatedAndNothingIsSent)
{
    m_channel.m_client = nullptr;
    ZEL_LOG(m_channel, 3, "%d", counted(1));
    EXPECT_EQ(1, m_values);
    EXPECT_EQ("", m_client.calls());
}

TEST_F(Log, ValueThatChangesTheFilter_TheMessageStillPasses)
{
    ZEL_LOG(m_channel, 3, "%d", (m_channel.setFilterLevel(6), 1));
    EXPECT_EQ("string channel=net level=3 modifiers=0 text=1", m_client.calls());
}

TEST_F(Log, IsOneStatement)
{
    if (m_channel.m_client == nullptr)
        ZEL_LOG(m_channel, 3, "first");
    else
        ZEL_LOG(m_channel, 3, "second");
    for (int count = 0; count < 2; ++count)
        ZEL_LOG(m_channel, 3, "%d", count);
    EXPECT_EQ("string channel=net level=3 modifiers=0 text=second\n"
              "string channel=net level=3 modifiers=0 text=0\n"
              "string channel=net level=3 modifiers=0 text=1",
              m_client.calls());
}

TEST_F(Log, SuppressedBranch_TakesNoOtherBranch)
{
    bool isElse = false;
    if (m_channel.m_client != nullptr)
        ZEL_LOG(m_channel, 2, "first");
    else
        isElse = true;
    EXPECT_FALSE(isElse);
    EXPECT_EQ("", m_client.calls());
}

TEST_F(Log, ChannelAndLevelAreWholeExpressions)
{
    Channel other("disk", 0, 0);
    other.m_client = &m_client;
    other.setFilterLevel(3);
    const bool isDisk = m_values == 0;
    ZEL_LOG(isDisk ? other : m_channel, isDisk ? Levels::LevelERROR : Levels::LevelTRACE, "up");
    EXPECT_EQ("string channel=disk level=4 modifiers=0 text=up", m_client.calls());
}

TEST_F(Log, ChannelBehindAPointer)
{
    const std::unique_ptr<Channel> channel = std::make_unique<Channel>("disk", Levels::LevelOFF, 0);
    channel->m_client = &m_client;
    channel->setFilterLevel(3);
    ZEL_LOG(*channel, 3, "up");
    Channel* const plain = &m_channel;
    ZEL_LOG(*plain, 3, "%s", "down");
    EXPECT_EQ("string channel=disk level=3 modifiers=0 text=up\n"
              "string channel=net level=3 modifiers=0 text=down",
              m_client.calls());
}

TEST_F(Log, SharedChannel)
{
    const tracing::SharedChannelPtr channel("disk");
    channel->m_client = &m_client;
    channel->setFilterLevel(3);
    ZEL_LOG(*channel, 3, "up");
    ZEL_LOG(*channel, 2, "%d", counted(1));
    EXPECT_EQ("string channel=disk level=3 modifiers=0 text=up", m_client.calls());
    EXPECT_EQ(0, m_values);
}

TEST_F(Log, ReachesTheChannelsOwnClient)
{
    RecordingClient other;
    const support::InstalledClient process(other);
    ZEL_LOG(m_channel, 3, "up");
    EXPECT_EQ("string channel=net level=3 modifiers=0 text=up", m_client.calls());
    EXPECT_EQ("", other.calls());
}

} // namespace

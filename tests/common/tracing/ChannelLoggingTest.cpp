// SPDX-License-Identifier: Apache-2.0
//
// Levels of a channel, and which call on which client each logging call becomes. What becomes of
// formats and sizes is in ChannelFormatsTest.cpp and ChannelLimitsTest.cpp.

#include <common/tracing/Channel.h>

#include <stdexcept>
#include <string>

#include <common/tracing/IClient.h>
#include <common/tracing/Levels.h>
#include <gtest/gtest.h>

#include "support/RecordingClient.h"

namespace {

using support::InstalledClient;
using support::RecordingClient;
using tracing::Channel;
using tracing::IClient;

/// A channel that `client` serves, at `level`.
class ServedChannel : public Channel
{
public:
    explicit ServedChannel(IClient* client, short level = 0) : Channel("net", 3, 0)
    {
        m_client = client;
        m_filterLevel = level;
    }
};

/// Makes every logging call once, at the highest level of a message.
void logEverything(Channel& channel)
{
    const std::string text("s");
    channel.log(5, text);
    channel.log(5, 1, text);
    channel.log(5, "c");
    channel.log(5, 1, "c");
    channel.logMessage(5, text);
    channel.logMessage(5, 1, text);
    channel.logC(5, "c");
    channel.logC(5, 1, "c");
    channel.logCV(5, "%d", 3);
    channel.logCV(5, 1, "%d", 3);
    channel.logCV(5, 1, 9LL, "%d", 3);
    channel.logCVN(5, 4u, "%d", 3);
    channel.logCVN(5, 1, 4u, "%d", 3);
    channel.logCVN(5, 1, 9LL, 4u, "%d", 3);
    channel.logRaw(5, 2, 1, "raw", 3);
    channel.logRaw(5, 2, "raw", 3);
    channel.logRawV(5, 2, 1, "ra", 2u, "w", 1u, nullptr);
    channel.logRawV(5, 2, "ra", 2u, "w", 1u, nullptr);
}

/// What a client hears of `logEverything`: of the calls that test the level, and of the others.
constexpr const char* TESTED = "string channel=net level=5 modifiers=0 text=s\n"
                               "string channel=net level=5 modifiers=1 text=s\n"
                               "string channel=net level=5 modifiers=0 text=c\n"
                               "string channel=net level=5 modifiers=1 text=c\n";
constexpr const char* UNTESTED = "string channel=net level=5 modifiers=0 text=s\n"
                                 "string channel=net level=5 modifiers=1 text=s\n"
                                 "string channel=net level=5 modifiers=0 text=c\n"
                                 "string channel=net level=5 modifiers=1 text=c\n"
                                 "string channel=net level=5 modifiers=0 text=3\n"
                                 "string channel=net level=5 modifiers=1 text=3\n"
                                 "stamped channel=net level=5 modifiers=1 time=9 lent text=3\n"
                                 "buffer channel=net level=5 modifiers=0 owned text=3\n"
                                 "buffer channel=net level=5 modifiers=1 owned text=3\n"
                                 "stamped channel=net level=5 modifiers=1 time=9 owned text=3\n"
                                 "raw channel=net level=5 modifiers=1 type=2 size=3 data=raw\n"
                                 "raw channel=net level=5 modifiers=0 type=2 size=3 data=raw\n"
                                 "raw channel=net level=5 modifiers=1 type=2 size=3 data=raw\n"
                                 "raw channel=net level=5 modifiers=0 type=2 size=3 data=raw";

TEST(ChannelLevels, SetFilterLevel_StoresAndDoesNothingElse)
{
    RecordingClient client;
    ServedChannel channel(&client);
    channel.setFilterLevel(-32768);
    EXPECT_EQ(-32768, channel.m_filterLevel);
    channel.setFilterLevel(9);
    EXPECT_EQ(9, channel.m_filterLevel);
    EXPECT_EQ(3, channel.m_initialLevel);
    EXPECT_EQ("", client.calls());
}

TEST(ChannelLevels, ClientIsAskedAndAnswersYes)
{
    RecordingClient client;
    ServedChannel channel(&client, 4);
    EXPECT_TRUE(channel.changeFilterLevel(2));
    EXPECT_TRUE(channel.enable());
    EXPECT_TRUE(channel.disable());
    EXPECT_EQ("change net 2\nenable net\ndisable net", client.calls());
    EXPECT_EQ(4, channel.m_filterLevel);
}

TEST(ChannelLevels, ClientIsAskedAndAnswersNo)
{
    RecordingClient client;
    client.answer = false;
    ServedChannel channel(&client, 4);
    EXPECT_FALSE(channel.changeFilterLevel(2));
    EXPECT_FALSE(channel.enable());
    EXPECT_FALSE(channel.disable());
    EXPECT_EQ("change net 2\nenable net\ndisable net", client.calls());
    EXPECT_EQ(4, channel.m_filterLevel);
}

TEST(ChannelLevels, ChannelWithoutAClient_NobodyIsAsked)
{
    RecordingClient client;
    const InstalledClient process(client);
    ServedChannel channel(nullptr, 4);
    EXPECT_FALSE(channel.changeFilterLevel(2));
    EXPECT_FALSE(channel.enable());
    EXPECT_FALSE(channel.disable());
    EXPECT_EQ("", client.calls());
    EXPECT_EQ(4, channel.m_filterLevel);
}

TEST(ChannelLevels, ProxyAsItsClient_TheProcesssClientIsAsked)
{
    RecordingClient client;
    const InstalledClient process(client);
    IClient proxy;
    ServedChannel channel(&proxy, 4);
    EXPECT_TRUE(channel.changeFilterLevel(2));
    EXPECT_TRUE(channel.enable());
    EXPECT_TRUE(channel.disable());
    EXPECT_EQ("change net 2\nenable net\ndisable net", client.calls());
}

TEST(ChannelLevels, LevelAlongThePath_FreshChannelIsOff)
{
    const Channel channel("net", 3, 0);
    EXPECT_EQ(6, channel.getValidFilterLevelAlongPath());
}

TEST(ChannelLevels, LevelAlongThePath_FirstThatIsNotNone)
{
    ServedChannel root(nullptr, 1);
    ServedChannel net(nullptr, 3);
    ServedChannel tcp(nullptr, 7);
    net.m_parent = &root;
    tcp.m_parent = &net;
    EXPECT_EQ(3, tcp.getValidFilterLevelAlongPath());
    net.m_filterLevel = 7;
    EXPECT_EQ(1, tcp.getValidFilterLevelAlongPath());
    root.m_filterLevel = 7;
    EXPECT_EQ(7, tcp.getValidFilterLevelAlongPath());
    EXPECT_EQ(7, tcp.m_filterLevel);
}

TEST(ChannelLevels, LevelAlongThePath_OtherFilterSettingsAreLevelsOfTheirOwn)
{
    ServedChannel root(nullptr, 1);
    ServedChannel net(nullptr, 6);
    net.m_parent = &root;
    EXPECT_EQ(6, net.getValidFilterLevelAlongPath());
    net.m_filterLevel = 8;
    EXPECT_EQ(8, net.getValidFilterLevelAlongPath());
    net.m_filterLevel = 9;
    EXPECT_EQ(9, net.getValidFilterLevelAlongPath());
    net.m_filterLevel = 0;
    EXPECT_EQ(0, net.getValidFilterLevelAlongPath());
}

TEST(ChannelLogging, EachCallIsOneCallOnTheClient)
{
    RecordingClient client;
    ServedChannel channel(&client);
    logEverything(channel);
    EXPECT_EQ(std::string(TESTED) + UNTESTED, client.calls());
}

TEST(ChannelLogging, ChannelWithoutAClient_NothingIsSent)
{
    RecordingClient client;
    const InstalledClient process(client);
    ServedChannel channel(nullptr);
    logEverything(channel);
    EXPECT_EQ("", client.calls());
}

TEST(ChannelLogging, ProcessHasAnotherClient_TheChannelsOwnIsCalled)
{
    RecordingClient other;
    const InstalledClient process(other);
    RecordingClient client;
    ServedChannel channel(&client);
    logEverything(channel);
    EXPECT_EQ(std::string(TESTED) + UNTESTED, client.calls());
    EXPECT_EQ("", other.calls());
}

TEST(ChannelLogging, ProxyAsItsClient_TheProcesssClientIsCalled)
{
    RecordingClient client;
    const InstalledClient process(client);
    IClient proxy;
    ServedChannel channel(&proxy);
    logEverything(channel);
    EXPECT_EQ(std::string(TESTED) + UNTESTED, client.calls());
}

TEST(ChannelLogging, ProxyWithoutAClientBehindIt_NothingIsSent)
{
    RecordingClient client;
    IClient proxy;
    ServedChannel channel(&proxy);
    logEverything(channel);
    channel.m_client = &client;
    channel.logC(2, "up");
    EXPECT_EQ("string channel=net level=2 modifiers=0 text=up", client.calls());
}

TEST(ChannelLogging, FilterOff_OnlyLogTestsIt)
{
    RecordingClient client;
    ServedChannel channel(&client, 6);
    logEverything(channel);
    EXPECT_EQ(UNTESTED, client.calls());
}

TEST(ChannelLogging, Log_PassesFromTheFilterLevelOn)
{
    RecordingClient client;
    ServedChannel channel(&client, 3);
    channel.log(2, std::string("below"));
    channel.log(2, 4, std::string("below"));
    channel.log(2, "below");
    channel.log(2, 4, "below");
    EXPECT_EQ("", client.calls());
    channel.log(3, std::string("equal"));
    channel.log(3, 4, std::string("equal"));
    channel.log(4, "above");
    channel.log(3, 4, "equal");
    EXPECT_EQ("string channel=net level=3 modifiers=0 text=equal\n"
              "string channel=net level=3 modifiers=4 text=equal\n"
              "string channel=net level=4 modifiers=0 text=above\n"
              "string channel=net level=3 modifiers=4 text=equal",
              client.calls());
}

TEST(ChannelLogging, Log_FilterNoneDoesNotFollowTheParent)
{
    RecordingClient client;
    ServedChannel root(&client, 0);
    ServedChannel channel(&client, 7);
    channel.m_parent = &root;
    channel.log(5, std::string("up"));
    channel.log(5, 1, std::string("up"));
    channel.log(5, "up");
    channel.log(5, 1, "up");
    EXPECT_EQ("", client.calls());
    channel.log(7, "compared with the plain number");
    EXPECT_EQ("string channel=net level=7 modifiers=0 text=compared with the plain number",
              client.calls());
}

TEST(ChannelLogging, StringForm_TextAsGivenWithItsNullBytes)
{
    RecordingClient client;
    ServedChannel channel(&client);
    const std::string text("a\0b%d", 5);
    channel.log(2, text);
    channel.logMessage(2, 1, text);
    EXPECT_EQ("string channel=net level=2 modifiers=0 text=" + text +
                  "\nstring channel=net level=2 modifiers=1 text=" + text,
              client.calls());
}

TEST(ChannelLogging, LogC_TextIsNoFormatAndEmptyTextIsSent)
{
    RecordingClient client;
    ServedChannel channel(&client);
    channel.logC(2, "100%s");
    channel.log(2, "%d");
    channel.logC(-32768, 32767, "");
    EXPECT_EQ("string channel=net level=2 modifiers=0 text=100%s\n"
              "string channel=net level=2 modifiers=0 text=%d\n"
              "string channel=net level=-32768 modifiers=32767 text=",
              client.calls());
}

/// The words of the logic error that `call` throws.
template <typename Call>
std::string thrownBy(Call call)
{
    try {
        call();
    } catch (const std::logic_error& error) {
        return error.what();
    }
    return "nothing";
}

TEST(ChannelLogging, NullText_WithAClient_ThrowsTheStandardLibrarysError)
{
    RecordingClient client;
    ServedChannel channel(&client);
    const char* const text = nullptr;
    const std::string expected = thrownBy([&] { std::string copy(text); });
    EXPECT_EQ("basic_string", expected.substr(0, 12));
    EXPECT_EQ(expected, thrownBy([&] { channel.logC(2, text); }));
    EXPECT_EQ(expected, thrownBy([&] { channel.logC(2, 1, text); }));
    EXPECT_EQ(expected, thrownBy([&] { channel.log(2, text); }));
    EXPECT_EQ(expected, thrownBy([&] { channel.log(2, 1, text); }));
    EXPECT_EQ("", client.calls());
}

TEST(ChannelLogging, NullText_WithoutAClientOrSuppressed_IsHarmless)
{
    RecordingClient client;
    ServedChannel channel(nullptr);
    const char* const text = nullptr;
    EXPECT_EQ("nothing", thrownBy([&] { channel.logC(2, text); }));
    EXPECT_EQ("nothing", thrownBy([&] { channel.logC(2, 1, text); }));
    EXPECT_EQ("nothing", thrownBy([&] { channel.log(2, text); }));
    channel.m_client = &client;
    channel.m_filterLevel = 3;
    EXPECT_EQ("nothing", thrownBy([&] { channel.log(2, text); }));
    EXPECT_EQ("nothing", thrownBy([&] { channel.log(2, 1, text); }));
    EXPECT_EQ("", client.calls());
}

TEST(ChannelLogging, LogRaw_TypeComesBeforeModifiersAndBytesAreAsGiven)
{
    RecordingClient client;
    ServedChannel channel(&client);
    channel.logRaw(4, 256, 2, "a\0b", 3);
    channel.logRaw(4, 256, "a\0b", 2);
    const std::string zero(1, '\0');
    EXPECT_EQ("raw channel=net level=4 modifiers=2 type=256 size=3 data=a" + zero +
                  "b\nraw channel=net level=4 modifiers=0 type=256 size=2 data=a" + zero,
              client.calls());
}

} // namespace

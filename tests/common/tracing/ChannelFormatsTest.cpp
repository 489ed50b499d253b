// SPDX-License-Identifier: Apache-2.0
//
// What the logging calls with a printf-style format send. A client that the text belongs to is in
// ChannelLimitsTest.cpp.

#include <common/tracing/Channel.h>

#include <cerrno>
#include <climits>
#include <string>

#include <common/tracing/IClient.h>
#include <gtest/gtest.h>

#include "support/RecordingClient.h"

namespace {

using support::RecordingClient;
using tracing::Channel;

/// A character that no text of the C locale holds: formatting it fails, and sets `errno`.
constexpr wchar_t UNENCODABLE[] = {0x110000, 0};

/// Tells what reaches the client of one channel.
class ChannelFormats : public testing::Test
{
protected:
    ChannelFormats() : channel("net", 0, 0) { channel.m_client = &client; }

    RecordingClient client;
    Channel channel;
};

/// `length` times the letter x.
std::string letters(std::string::size_type length)
{
    return std::string(length, 'x');
}

TEST_F(ChannelFormats, LogCV_Plain)
{
    channel.logCV(2, "up");
    channel.logCV(2, "%s of %d: %5.1f%%", "pump", 7, 99.5);
    channel.logCV(2, "%s", "");
    EXPECT_EQ("string channel=net level=2 modifiers=0 text=up\n"
              "string channel=net level=2 modifiers=0 text=pump of 7:  99.5%\n"
              "string channel=net level=2 modifiers=0 text=",
              client.calls());
}

TEST_F(ChannelFormats, LogCV_Modifiers)
{
    channel.logCV(2, 5, "up");
    channel.logCV(-32768, 32767, "%lld", LLONG_MAX);
    EXPECT_EQ("string channel=net level=2 modifiers=5 text=up\n"
              "string channel=net level=-32768 modifiers=32767 text=9223372036854775807",
              client.calls());
}

TEST_F(ChannelFormats, LogCV_TimeIsPassedThroughAndTheTextIsLent)
{
    channel.logCV(2, 5, 78187493530LL, "%s %d", "pump", 7);
    channel.logCV(2, 0, -1LL, "up");
    channel.logCV(2, 0, LLONG_MAX, "up");
    channel.logCV(2, 0, LLONG_MIN, "%lld", 4294967296LL);
    EXPECT_EQ(
        "stamped channel=net level=2 modifiers=5 time=78187493530 lent text=pump 7\n"
        "stamped channel=net level=2 modifiers=0 time=-1 lent text=up\n"
        "stamped channel=net level=2 modifiers=0 time=9223372036854775807 lent text=up\n"
        "stamped channel=net level=2 modifiers=0 time=-9223372036854775808 lent text=4294967296",
        client.calls());
}

TEST_F(ChannelFormats, LogCV_510Characters)
{
    const std::string text = letters(509) + "y";
    channel.logCV(2, "%s", text.c_str());
    EXPECT_EQ("string channel=net level=2 modifiers=0 text=" + text, client.calls());
    channel.logCV(2, 1, "%s", text.c_str());
    EXPECT_EQ("string channel=net level=2 modifiers=1 text=" + text, client.calls());
    channel.logCV(2, 1, 9LL, "%s", text.c_str());
    EXPECT_EQ("stamped channel=net level=2 modifiers=1 time=9 lent text=" + text, client.calls());
}

TEST_F(ChannelFormats, LogCV_511Characters)
{
    const std::string text = letters(510) + "y";
    channel.logCV(2, "%s", text.c_str());
    EXPECT_EQ("string channel=net level=2 modifiers=0 text=" + text, client.calls());
    channel.logCV(2, 1, "%s", text.c_str());
    EXPECT_EQ("string channel=net level=2 modifiers=1 text=" + text, client.calls());
    channel.logCV(2, 1, 9LL, "%s", text.c_str());
    EXPECT_EQ("stamped channel=net level=2 modifiers=1 time=9 lent text=" + text, client.calls());
}

TEST_F(ChannelFormats, LogCV_512Characters_TheLastIsCut)
{
    const std::string text = letters(510) + "yz";
    const std::string cut = letters(510) + "y";
    channel.logCV(2, "%s", text.c_str());
    EXPECT_EQ("string channel=net level=2 modifiers=0 text=" + cut, client.calls());
    channel.logCV(2, 1, "%s", text.c_str());
    EXPECT_EQ("string channel=net level=2 modifiers=1 text=" + cut, client.calls());
    channel.logCV(2, 1, 9LL, "%s", text.c_str());
    EXPECT_EQ("stamped channel=net level=2 modifiers=1 time=9 lent text=" + cut, client.calls());
}

TEST_F(ChannelFormats, LogCV_600Characters_TheFirst511AreSent)
{
    const std::string text = letters(511) + std::string(89, 'z');
    channel.logCV(2, "%s", text.c_str());
    EXPECT_EQ("string channel=net level=2 modifiers=0 text=" + letters(511), client.calls());
    channel.logCV(2, 1, "%s", text.c_str());
    EXPECT_EQ("string channel=net level=2 modifiers=1 text=" + letters(511), client.calls());
    channel.logCV(2, 1, 9LL, "%s", text.c_str());
    EXPECT_EQ("stamped channel=net level=2 modifiers=1 time=9 lent text=" + letters(511),
              client.calls());
}

TEST_F(ChannelFormats, LogCV_FirstTerminatorEndsTheText)
{
    channel.logCV(2, "a%cb", 0);
    channel.logCV(2, 1, "a%cb", 0);
    channel.logCV(2, "%cb", 0);
    EXPECT_EQ("string channel=net level=2 modifiers=0 text=a\n"
              "string channel=net level=2 modifiers=1 text=a\n"
              "string channel=net level=2 modifiers=0 text=",
              client.calls());
}

/// Keeps the bytes that a lent buffer begins with.
class BytesClient : public tracing::IClient
{
public:
    using IClient::logMessage;
    void logMessage(const Channel&, short, short, long long, char* text, bool) override
    {
        m_bytes.assign(text, 4);
        m_lastByte = text[511];
        text[0] = '!';
    }

    std::string m_bytes;
    char m_lastByte = '?';
};

/// Leaves letters where the buffers of the next call will be.
__attribute__((noinline)) void fillTheStack()
{
    volatile char bytes[8192];
    for (volatile char& byte : bytes)
        byte = '#';
}

TEST_F(ChannelFormats, LogCV_LentBufferHas512BytesAndTakesWrites)
{
    BytesClient bytes;
    channel.m_client = &bytes;
    fillTheStack();
    channel.logCV(2, 1, 9LL, "a%cb", 0);
    EXPECT_EQ(std::string("a\0b\0", 4), bytes.m_bytes);
    EXPECT_EQ('\0', bytes.m_lastByte);
}

TEST_F(ChannelFormats, LogCV_FailedFormatting_SendsAnEmptyText)
{
    channel.logCV(2, "up %ls", UNENCODABLE);
    channel.logCV(2, 1, "up %ls", UNENCODABLE);
    channel.logCV(2, 1, 9LL, "up %ls", UNENCODABLE);
    EXPECT_EQ("string channel=net level=2 modifiers=0 text=\n"
              "string channel=net level=2 modifiers=1 text=\n"
              "stamped channel=net level=2 modifiers=1 time=9 lent text=",
              client.calls());
}

TEST_F(ChannelFormats, LogCV_WithoutAClient_FormatsAllTheSame)
{
    channel.m_client = nullptr;
    errno = 0;
    channel.logCV(2, "%ls", UNENCODABLE);
    EXPECT_EQ(EILSEQ, errno);
    errno = 0;
    channel.logCV(2, 1, "%ls", UNENCODABLE);
    EXPECT_EQ(EILSEQ, errno);
    errno = 0;
    channel.logCV(2, 1, 9LL, "%ls", UNENCODABLE);
    EXPECT_EQ(EILSEQ, errno);
    EXPECT_EQ("", client.calls());
}

TEST_F(ChannelFormats, LogCVN_Plain)
{
    channel.logCVN(2, 100, "%s of %d: %5.1f%%", "pump", 7, 99.5);
    channel.logCVN(2, 100, "%s", "");
    EXPECT_EQ("buffer channel=net level=2 modifiers=0 owned text=pump of 7:  99.5%\n"
              "buffer channel=net level=2 modifiers=0 owned text=",
              client.calls());
}

TEST_F(ChannelFormats, LogCVN_Modifiers)
{
    channel.logCVN(2, 5, 100, "%s", "up");
    channel.logCVN(-32768, 32767, 100u, "%d%d", 1, 2);
    EXPECT_EQ("buffer channel=net level=2 modifiers=5 owned text=up\n"
              "buffer channel=net level=-32768 modifiers=32767 owned text=12",
              client.calls());
}

TEST_F(ChannelFormats, LogCVN_TimeIsPassedThrough)
{
    channel.logCVN(2, 5, 78187493530LL, 100, "%s %d", "pump", 7);
    channel.logCVN(2, 0, -1LL, 100, "up");
    channel.logCVN(2, 0, LLONG_MIN, 100, "%lld", 4294967296LL);
    EXPECT_EQ(
        "stamped channel=net level=2 modifiers=5 time=78187493530 owned text=pump 7\n"
        "stamped channel=net level=2 modifiers=0 time=-1 owned text=up\n"
        "stamped channel=net level=2 modifiers=0 time=-9223372036854775808 owned text=4294967296",
        client.calls());
}

TEST_F(ChannelFormats, LogCVN_LongerThanAnyBufferOfTheLibrarys)
{
    const std::string text = letters(5000);
    channel.logCVN(2, 5001, "%s", text.c_str());
    EXPECT_EQ("buffer channel=net level=2 modifiers=0 owned text=" + text, client.calls());
}

TEST_F(ChannelFormats, LogCVN_TextMayHoldTerminators)
{
    channel.logCVN(2, 100, "a%cb", 0);
    EXPECT_EQ("buffer channel=net level=2 modifiers=0 owned text=a", client.calls());
    EXPECT_EQ(std::string("a\0b\0", 4), std::string(client.lastBuffer(), 4));
}

TEST_F(ChannelFormats, LogCVN_FailedFormatting_SendsAnEmptyText)
{
    channel.logCVN(2, 100, "up %ls", UNENCODABLE);
    channel.logCVN(2, 1, 100, "up %ls", UNENCODABLE);
    channel.logCVN(2, 1, 9LL, 100, "up %ls", UNENCODABLE);
    channel.logCVN(2, 0, "up %ls", UNENCODABLE);
    EXPECT_EQ("buffer channel=net level=2 modifiers=0 owned text=\n"
              "buffer channel=net level=2 modifiers=1 owned text=\n"
              "stamped channel=net level=2 modifiers=1 time=9 owned text=\n"
              "buffer channel=net level=2 modifiers=0 owned text=",
              client.calls());
}

TEST_F(ChannelFormats, LogCVN_WithoutAClient_DoesNotFormat)
{
    channel.m_client = nullptr;
    errno = 0;
    channel.logCVN(2, 100, "%ls", UNENCODABLE);
    channel.logCVN(2, 1, 100, "%ls", UNENCODABLE);
    channel.logCVN(2, 1, 9LL, 100, "%ls", UNENCODABLE);
    EXPECT_EQ(0, errno);
    EXPECT_EQ("", client.calls());
}

} // namespace

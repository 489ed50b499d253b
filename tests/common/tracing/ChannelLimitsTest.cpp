// SPDX-License-Identifier: Apache-2.0
//
// Sizes of the messages that take memory of their own: texts of the caller's length, and raw
// messages joined from pieces. Arrays are allocated here, so that each can be accounted for.

#include <common/tracing/Channel.h>

#include <climits>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

#include <common/tracing/IClient.h>
#include <gtest/gtest.h>

#include "support/RecordingClient.h"

#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define FIXED_OPERATORS // the thread sanitizer keeps array new and array delete to itself
#endif
#endif

namespace {

// What was asked of array new.
std::size_t s_lastSize = 0;
int s_allocations = 0;
/// The arrays that array delete did not get back.
int s_live = 0;
bool s_isExhausted = false;

} // namespace

#ifndef FIXED_OPERATORS

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    s_lastSize = size;
    ++s_allocations;
    void* const block = s_isExhausted ? nullptr : std::malloc(size);
    if (block == nullptr) return nullptr;
    ++s_live;
    return std::memset(block, '#', size); // what nobody writes is seen
}

void* operator new[](std::size_t size)
{
    if (void* const block = operator new[](size, std::nothrow)) return block;
    throw std::bad_alloc();
}

void operator delete[](void* block) noexcept
{
    if (block == nullptr) return;
    --s_live;
    std::free(block);
}

void operator delete[](void* block, std::size_t) noexcept
{
    operator delete[](block);
}

#endif

namespace {

using support::RecordingClient;
using tracing::Channel;

constexpr const char* TEN = "0123456789";
constexpr const char* TWENTY = "0123456789abcdefghij";

/// Tells what reaches the client of one channel.
class ChannelLimits : public testing::Test
{
protected:
    ChannelLimits() : channel("net", 0, 0) { channel.m_client = &client; }

    RecordingClient client;
    Channel channel;
};

TEST_F(ChannelLimits, LogCVN_LengthZero_SendsAnEmptyText)
{
    channel.logCVN(2, 0u, "%s", TWENTY);
    EXPECT_EQ("buffer channel=net level=2 modifiers=0 owned text=", client.calls());
    channel.logCVN(2, 1, 0u, "%s", TWENTY);
    EXPECT_EQ("buffer channel=net level=2 modifiers=1 owned text=", client.calls());
    channel.logCVN(2, 1, 9LL, 0u, "%s", TWENTY);
    EXPECT_EQ("stamped channel=net level=2 modifiers=1 time=9 owned text=", client.calls());
}

TEST_F(ChannelLimits, LogCVN_LengthOne_SendsAnEmptyText)
{
    channel.logCVN(2, 1, "%s", TWENTY);
    EXPECT_EQ("buffer channel=net level=2 modifiers=0 owned text=", client.calls());
    EXPECT_EQ(std::string("\0\0", 2), std::string(client.lastBuffer(), 2));
}

TEST_F(ChannelLimits, LogCVN_LengthTwo_SendsOneCharacter)
{
    channel.logCVN(2, 2, "%s", TWENTY);
    EXPECT_EQ("buffer channel=net level=2 modifiers=0 owned text=0", client.calls());
    EXPECT_EQ(std::string("0\0\0", 3), std::string(client.lastBuffer(), 3));
}

TEST_F(ChannelLimits, LogCVN_LengthTen_SendsNineCharacters)
{
    channel.logCVN(2, 10, "%s", TWENTY);
    EXPECT_EQ("buffer channel=net level=2 modifiers=0 owned text=012345678", client.calls());
    channel.logCVN(2, 1, 10, "%s", TWENTY);
    EXPECT_EQ("buffer channel=net level=2 modifiers=1 owned text=012345678", client.calls());
    channel.logCVN(2, 1, 9LL, 10, "%s", TWENTY);
    EXPECT_EQ("stamped channel=net level=2 modifiers=1 time=9 owned text=012345678",
              client.calls());
}

TEST_F(ChannelLimits, LogCVN_TextThatJustFits)
{
    channel.logCVN(2, 10, "%s", "012345678");
    channel.logCVN(2, 10, "%s", TEN);
    channel.logCVN(2, 11, "%s", TEN);
    channel.logCVN(2, 20, "%s", TWENTY);
    channel.logCVN(2, 21, "%s", TWENTY);
    EXPECT_EQ("buffer channel=net level=2 modifiers=0 owned text=012345678\n"
              "buffer channel=net level=2 modifiers=0 owned text=012345678\n"
              "buffer channel=net level=2 modifiers=0 owned text=0123456789\n"
              "buffer channel=net level=2 modifiers=0 owned text=0123456789abcdefghi\n"
              "buffer channel=net level=2 modifiers=0 owned text=0123456789abcdefghij",
              client.calls());
}

TEST_F(ChannelLimits, LogCVN_LargestLength_IsDropped)
{
    channel.logCVN(2, UINT_MAX, "up");
    channel.logCVN(2, 1, UINT_MAX, "up");
    channel.logCVN(2, 1, 9LL, UINT_MAX, "up");
    EXPECT_EQ("", client.calls());
}

/// Needs the arrays accounted for.
class ChannelArrays : public ChannelLimits
{
protected:
#ifdef FIXED_OPERATORS
    void SetUp() override
    {
        GTEST_SKIP() << "array new cannot be replaced";
    }
#endif
};

TEST_F(ChannelArrays, LogCVN_TakesOneByteMoreThanTheLength)
{
    channel.logCVN(2, 0u, "up");
    EXPECT_EQ(1u, s_lastSize);
    channel.logCVN(2, 10, "up");
    EXPECT_EQ(11u, s_lastSize);
    channel.logCVN(2, 1, 20, "up");
    EXPECT_EQ(21u, s_lastSize);
    channel.logCVN(2, 1, 9LL, 600, "up");
    EXPECT_EQ(601u, s_lastSize);
}

TEST_F(ChannelArrays, LogCVN_LastByteIsATerminatorThatTheTextNeverReaches)
{
    channel.logCVN(2, 10, "%s", TWENTY);
    EXPECT_EQ(std::string("012345678\0\0", 11), std::string(client.lastBuffer(), 11));
    channel.logCVN(2, 1, 10, "up");
    EXPECT_EQ(std::string("up\0#######\0", 11), std::string(client.lastBuffer(), 11));
    channel.logCVN(2, 1, 9LL, 10, "up");
    EXPECT_EQ(std::string("up\0#######\0", 11), std::string(client.lastBuffer(), 11));
}

TEST_F(ChannelArrays, LogCVN_FailedFormatting_TextIsEmptyAndEndsTwice)
{
    const wchar_t unencodable[] = {0x110000, 0};
    channel.logCVN(2, 10, "%ls", unencodable);
    EXPECT_EQ('\0', client.lastBuffer()[0]);
    EXPECT_EQ('\0', client.lastBuffer()[10]);
    EXPECT_EQ("buffer channel=net level=2 modifiers=0 owned text=", client.calls());
}

TEST_F(ChannelArrays, LogCVN_ReceiverOwnsTheText)
{
    const int live = s_live;
    {
        RecordingClient owner;
        channel.m_client = &owner;
        channel.logCVN(2, 10, "up");
        channel.logCVN(2, 1, 9LL, 10, "up");
        EXPECT_EQ(live + 2, s_live);
    }
    EXPECT_EQ(live, s_live);
}

TEST_F(ChannelArrays, LogCVN_WithoutAClient_TextIsReleased)
{
    channel.m_client = nullptr;
    const int live = s_live;
    s_allocations = 0;
    channel.logCVN(2, 10, "up");
    channel.logCVN(2, 1, 10, "up");
    channel.logCVN(2, 1, 9LL, 10, "up");
    EXPECT_EQ(3, s_allocations);
    EXPECT_EQ(live, s_live);
}

TEST_F(ChannelArrays, LogCVN_NobodyBehindTheClient_TextIsReleased)
{
    tracing::IClient proxy;
    channel.m_client = &proxy;
    const int live = s_live;
    s_allocations = 0;
    channel.logCVN(2, 10, "up");
    channel.logCVN(2, 1, 10, "up");
    channel.logCVN(2, 1, 9LL, 10, "up");
    EXPECT_EQ(3, s_allocations);
    EXPECT_EQ(live, s_live);
}

TEST_F(ChannelArrays, LogCVN_NoMemory_MessageIsDropped)
{
    s_isExhausted = true;
    channel.logCVN(2, 10, "up");
    channel.logCVN(2, 1, 10, "up");
    channel.logCVN(2, 1, 9LL, 10, "up");
    s_isExhausted = false;
    EXPECT_EQ("", client.calls());
    channel.logCVN(2, 10, "up");
    EXPECT_EQ("buffer channel=net level=2 modifiers=0 owned text=up", client.calls());
}

TEST_F(ChannelArrays, LogCV_TakesNoArray)
{
    s_allocations = 0;
    channel.logCV(2, "up");
    channel.logCV(2, 1, "up");
    channel.logCV(2, 1, 9LL, "up");
    EXPECT_EQ(0, s_allocations);
}

TEST_F(ChannelLimits, LogRawV_NoPieces_SendsNoBytes)
{
    channel.logRawV(2, 3, nullptr);
    channel.logRawV(2, 3, 1, nullptr);
    EXPECT_EQ("raw channel=net level=2 modifiers=0 type=3 size=0 data=\n"
              "raw channel=net level=2 modifiers=1 type=3 size=0 data=",
              client.calls());
}

TEST_F(ChannelLimits, LogRawV_OnePiece)
{
    channel.logRawV(2, 3, "abc", 3u, nullptr);
    channel.logRawV(2, 3, 1, "abc", 2u, nullptr);
    EXPECT_EQ("raw channel=net level=2 modifiers=0 type=3 size=3 data=abc\n"
              "raw channel=net level=2 modifiers=1 type=3 size=2 data=ab",
              client.calls());
}

TEST_F(ChannelLimits, LogRawV_TwoPieces_OneAfterTheOther)
{
    channel.logRawV(4, 256, "abc", 3u, "de", 2u, nullptr);
    channel.logRawV(4, 256, 2, "de", 2u, "abc", 3u, nullptr);
    EXPECT_EQ("raw channel=net level=4 modifiers=0 type=256 size=5 data=abcde\n"
              "raw channel=net level=4 modifiers=2 type=256 size=5 data=deabc",
              client.calls());
}

TEST_F(ChannelLimits, LogRawV_ManyPieces)
{
    channel.logRawV(2, 3, 1, "a", 1u, "bc", 2u, "d", 1u, "efg", 3u, "h", 1u, "i", 1u, "jk", 2u, "l",
                    1u, "m", 1u, nullptr);
    EXPECT_EQ("raw channel=net level=2 modifiers=1 type=3 size=13 data=abcdefghijklm",
              client.calls());
}

TEST_F(ChannelLimits, LogRawV_PiecesOfNoBytes)
{
    channel.logRawV(2, 3, "a", 0u, "bc", 2u, "d", 0u, nullptr);
    channel.logRawV(2, 3, "a", 0u, nullptr);
    EXPECT_EQ("raw channel=net level=2 modifiers=0 type=3 size=2 data=bc\n"
              "raw channel=net level=2 modifiers=0 type=3 size=0 data=",
              client.calls());
}

TEST_F(ChannelLimits, LogRawV_ZerosAmongTheBytes)
{
    channel.logRawV(2, 3, "a\0b", 3u, "\0", 1u, nullptr);
    const std::string bytes("a\0b\0", 4);
    EXPECT_EQ("raw channel=net level=2 modifiers=0 type=3 size=4 data=" + bytes, client.calls());
}

TEST_F(ChannelLimits, LogRawV_SumBeyond32Bits_IsDropped)
{
    channel.logRawV(2, 3, "a", 0xFFFFFFFFu, "bc", 2u, nullptr);
    channel.logRawV(2, 3, 1, "bc", 2u, "a", 0xFFFFFFFFu, nullptr);
    channel.logRawV(2, 3, "a", 0x80000000u, "b", 0x80000000u, nullptr);
    channel.logRawV(2, 3, "a", 0xFFFFFFFFu, "b", 1u, "c", 1u, nullptr);
    EXPECT_EQ("", client.calls());
    channel.logRawV(2, 3, "abc", 3u, nullptr);
    EXPECT_EQ("raw channel=net level=2 modifiers=0 type=3 size=3 data=abc", client.calls());
}

TEST_F(ChannelLimits, LogRawV_WithoutAClient_NothingIsSent)
{
    channel.m_client = nullptr;
    channel.logRawV(2, 3, nullptr);
    channel.logRawV(2, 3, 1, "abc", 3u, nullptr);
    EXPECT_EQ("", client.calls());
}

/// Notes where the bytes of a raw message are.
class PlaceClient : public tracing::IClient
{
public:
    using IClient::logMessage;
    void logMessage(const Channel&, short, short, short, const void* data,
                    unsigned int size) override
    {
        m_data = data;
        m_size = size;
    }

    const void* m_data = this;
    unsigned int m_size = 0;
};

TEST_F(ChannelLimits, LogRawV_BytesAreInMemoryOfTheirOwn)
{
    PlaceClient place;
    channel.m_client = &place;
    const char piece[] = "abc";
    channel.logRawV(2, 3, piece, 3u, nullptr);
    EXPECT_NE(static_cast<const void*>(piece), place.m_data);
    EXPECT_NE(static_cast<const void*>(&place), place.m_data);
    EXPECT_EQ(3u, place.m_size);
}

TEST_F(ChannelLimits, LogRaw_PlaceAndSizeAsTheyAre)
{
    PlaceClient place;
    channel.m_client = &place;
    const char bytes[] = "abc";
    channel.logRaw(2, 3, bytes, 0xFFFFFFFFu);
    EXPECT_EQ(static_cast<const void*>(bytes), place.m_data);
    EXPECT_EQ(0xFFFFFFFFu, place.m_size);
    channel.logRaw(2, 3, 1, nullptr, 7);
    EXPECT_EQ(nullptr, place.m_data);
    EXPECT_EQ(7u, place.m_size);
}

} // namespace

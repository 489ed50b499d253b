// SPDX-License-Identifier: Apache-2.0

#include <tracing-impl/QueuedMessage.h>

#include <cstring>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

#include <gtest/gtest.h>

#include "support/ArrayMemory.h"

namespace {

using support::arrayMemory;
using tracing::impl::Message;
using tracing::impl::OwnedText;

static_assert(!std::is_copy_constructible_v<tracing::impl::QueuedMessage>);
static_assert(!std::is_copy_assignable_v<tracing::impl::QueuedMessage>);

/// Bytes of texts that find room in the message itself.
constexpr std::size_t ROOM = 224;

/// Texts that are overwritten before they go.
struct Source
{
    Source(std::string path, std::string thread, std::string payload)
        : m_path(std::move(path)), m_thread(std::move(thread)), m_payload(std::move(payload))
    {}
    ~Source()
    {
        for (std::string* text : {&m_path, &m_thread, &m_payload})
            text->assign(text->size(), '#');
    }

    Message message() const
    {
        return {m_path, 4, 5, true, 256, m_payload, {7, 8}, true, 9, 4711, m_thread};
    }

    std::string m_path;
    std::string m_thread;
    std::string m_payload;
};

OwnedText ownedText(std::string_view text)
{
    OwnedText owned(new char[text.size() + 1]);
    std::memcpy(owned.get(), text.data(), text.size());
    owned[text.size()] = '\0';
    return owned;
}

using Queued = tracing::impl::QueuedMessage;

class QueuedMessage : public testing::Test
{
protected:
    /// Blocks that were allocated for arrays and are not released.
    static int blocks() { return arrayMemory.allocations - arrayMemory.releases - s_before; }

    QueuedMessage() { s_before = arrayMemory.allocations - arrayMemory.releases; }
    ~QueuedMessage() override { EXPECT_EQ(0, blocks()); }

    static void expectBlocks([[maybe_unused]] int count)
    {
#ifndef SUPPORT_FIXED_ARRAY_MEMORY
        EXPECT_EQ(count, blocks());
#endif
    }

private:
    static inline int s_before = 0;
};

/// Fills `queued` from texts that are gone afterwards; the payload is taken over if `isOwned`.
bool fill(Queued& queued, std::size_t payloadSize, bool isOwned = false)
{
    const Source source("net_tcp", "receiver", std::string(payloadSize, 'p'));
    Message message = source.message();
    OwnedText owned = isOwned ? ownedText(source.m_payload) : nullptr;
    if (isOwned) message.payload = std::string_view(owned.get(), payloadSize);
    return queued.assign(message, std::move(owned));
}

void expectFilled(const Queued& queued, std::size_t payloadSize)
{
    const Message& message = queued.message();
    EXPECT_EQ("net_tcp", message.path);
    EXPECT_EQ("receiver", message.threadName);
    EXPECT_EQ(std::string(payloadSize, 'p'), message.payload);
}

void expectEmpty(const Queued& queued)
{
    EXPECT_EQ("", queued.message().path);
    EXPECT_EQ("", queued.message().threadName);
    EXPECT_EQ("", queued.message().payload);
}

/// Whether the text lies in the object itself.
bool isOnTheSpot(const Queued& queued, std::string_view text)
{
    const std::less_equal<const void*> isBefore;
    return isBefore(&queued, text.data()) && isBefore(text.data() + text.size(), &queued + 1);
}

TEST_F(QueuedMessage, Construction_IsEmpty)
{
    const Queued queued{};
    expectEmpty(queued);
}

TEST_F(QueuedMessage, Assign_KeepsAllFields)
{
    Queued queued;
    EXPECT_TRUE(fill(queued, 4));
    const Message& message = queued.message();
    expectFilled(queued, 4);
    EXPECT_EQ(4, message.level);
    EXPECT_EQ(5, message.modifiers);
    EXPECT_TRUE(message.isRaw);
    EXPECT_EQ(256, message.messageType);
    EXPECT_EQ(7, message.time.tv_sec);
    EXPECT_EQ(8, message.time.tv_nsec);
    EXPECT_TRUE(message.hasStamp);
    EXPECT_EQ(9, message.stamp);
    EXPECT_EQ(4711, message.threadId);
}

TEST_F(QueuedMessage, Assign_ShortTextsAreKeptOnTheSpot)
{
    Queued queued;
    EXPECT_TRUE(fill(queued, ROOM - 15));
    expectFilled(queued, ROOM - 15);
    expectBlocks(0);
    EXPECT_TRUE(isOnTheSpot(queued, queued.message().path));
    EXPECT_TRUE(isOnTheSpot(queued, queued.message().threadName));
    EXPECT_TRUE(isOnTheSpot(queued, queued.message().payload));
}

TEST_F(QueuedMessage, Assign_LongTextsAreKeptInOneBlock)
{
    Queued queued;
    EXPECT_TRUE(fill(queued, ROOM - 14));
    expectFilled(queued, ROOM - 14);
    expectBlocks(1);
    EXPECT_FALSE(isOnTheSpot(queued, queued.message().path));
    EXPECT_TRUE(fill(queued, 100000));
    expectFilled(queued, 100000);
    expectBlocks(1);
}

TEST_F(QueuedMessage, Assign_EmptyTexts)
{
    Queued queued;
    EXPECT_TRUE(queued.assign(Message{}, nullptr));
    expectEmpty(queued);
    EXPECT_TRUE(fill(queued, 0));
    expectFilled(queued, 0);
    expectBlocks(0);
}

TEST_F(QueuedMessage, Assign_AnyBytes)
{
    const Source source(std::string("a\0b", 3), std::string("\xff\n", 2), std::string("\0\0", 2));
    Queued queued;
    EXPECT_TRUE(queued.assign(source.message(), nullptr));
    EXPECT_EQ(std::string("a\0b", 3), queued.message().path);
    EXPECT_EQ(std::string("\xff\n", 2), queued.message().threadName);
    EXPECT_EQ(std::string("\0\0", 2), queued.message().payload);
}

TEST_F(QueuedMessage, Assign_PayloadIsTakenOver)
{
    Queued queued;
    OwnedText owned = ownedText("owned text");
    const char* const address = owned.get();
    Message message = {};
    message.path = "net";
    message.payload = address;
    EXPECT_TRUE(queued.assign(message, std::move(owned)));
    EXPECT_EQ(address, queued.message().payload.data());
    EXPECT_EQ("owned text", queued.message().payload);
    EXPECT_TRUE(isOnTheSpot(queued, queued.message().path));
    expectBlocks(1);
}

TEST_F(QueuedMessage, Assign_LongPathBesideAPayloadThatIsTakenOver)
{
    const Source source(std::string(300, 'n'), "receiver", "");
    Queued queued;
    OwnedText owned = ownedText("owned");
    Message message = source.message();
    message.payload = owned.get();
    EXPECT_TRUE(queued.assign(message, std::move(owned)));
    EXPECT_EQ(std::string(300, 'n'), queued.message().path);
    EXPECT_EQ("owned", queued.message().payload);
    expectBlocks(2);
}

TEST_F(QueuedMessage, Assign_ReleasesWhatWasKept)
{
    Queued queued;
    EXPECT_TRUE(fill(queued, 1000, true));
    EXPECT_TRUE(fill(queued, 1000));
    expectBlocks(1);
    EXPECT_TRUE(fill(queued, 10, true));
    expectBlocks(1);
    EXPECT_TRUE(fill(queued, 10));
    expectBlocks(0);
    expectFilled(queued, 10);
}

TEST_F(QueuedMessage, Clear_ReleasesWhatIsKept)
{
    Queued queued;
    EXPECT_TRUE(fill(queued, 1000));
    queued.clear();
    expectEmpty(queued);
    expectBlocks(0);
    EXPECT_TRUE(fill(queued, 1000, true));
    queued.clear();
    expectEmpty(queued);
    expectBlocks(0);
    queued.clear();
    expectEmpty(queued);
}

TEST_F(QueuedMessage, Destruction_ReleasesOnce)
{
    std::optional<Queued> queued;
    fill(queued.emplace(), 1000);
    queued.reset();
    expectBlocks(0);
    fill(queued.emplace(), 1000, true);
    queued.reset();
    expectBlocks(0);
}

/// Moves a message with that payload over one that keeps something else.
void expectMoved(std::size_t payloadSize, bool isOwned)
{
    Queued to;
    fill(to, 1000, true);
    {
        Queued from;
        fill(from, payloadSize, isOwned);
        from.moveTo(to);
        expectEmpty(from);
        fill(from, 5);
    }
    expectFilled(to, payloadSize);
    EXPECT_EQ(4711, to.message().threadId);
}

TEST_F(QueuedMessage, MoveTo_OnTheSpot)
{
    expectMoved(10, false);
    expectMoved(0, false);
    expectMoved(ROOM - 15, false);
}

TEST_F(QueuedMessage, MoveTo_OnTheSpot_TakesTheTextsAlong)
{
    Queued from;
    Queued to;
    fill(from, 10);
    from.moveTo(to);
    EXPECT_TRUE(isOnTheSpot(to, to.message().path));
    EXPECT_TRUE(isOnTheSpot(to, to.message().threadName));
    EXPECT_TRUE(isOnTheSpot(to, to.message().payload));
}

TEST_F(QueuedMessage, MoveTo_InABlock)
{
    expectMoved(1000, false);
}

TEST_F(QueuedMessage, MoveTo_TakenOver)
{
    expectMoved(10, true);
    expectMoved(1000, true);
}

TEST_F(QueuedMessage, MoveTo_KeepsTheTextsWhereTheyAre)
{
    Queued from;
    Queued to;
    fill(from, 10, true);
    const char* const payload = from.message().payload.data();
    from.moveTo(to);
    EXPECT_EQ(payload, to.message().payload.data());
    EXPECT_TRUE(isOnTheSpot(to, to.message().path));
    EXPECT_TRUE(isOnTheSpot(to, to.message().threadName));
    expectBlocks(1);
}

TEST_F(QueuedMessage, MoveTo_AnEmptyOne)
{
    Queued from;
    Queued to;
    fill(to, 1000, true);
    from.moveTo(to);
    expectEmpty(to);
    expectBlocks(0);
}

TEST_F(QueuedMessage, Assign_MoreThanAnyMemory_IsEmptyAndReleasesWhatWasKept)
{
    Queued queued;
    fill(queued, 1000);
    Message message = {};
    message.path = "net";
    message.payload = std::string_view("a", std::numeric_limits<std::size_t>::max());
    EXPECT_FALSE(queued.assign(message, nullptr));
    expectEmpty(queued);
    expectBlocks(0);
}

#ifndef SUPPORT_FIXED_ARRAY_MEMORY

TEST_F(QueuedMessage, Assign_WithoutMemoryIsEmptyAndReleasesAll)
{
    const Source source(std::string(300, 'n'), "receiver", "");
    Queued queued;
    fill(queued, 1000);
    OwnedText owned = ownedText("owned");
    Message message = source.message();
    message.payload = owned.get();
    arrayMemory.isExhausted = true;
    EXPECT_FALSE(queued.assign(message, std::move(owned)));
    arrayMemory.isExhausted = false;
    expectEmpty(queued);
    expectBlocks(0);
    EXPECT_TRUE(fill(queued, 1000));
    expectFilled(queued, 1000);
}

TEST_F(QueuedMessage, Assign_OnTheSpotTakesNoMemory)
{
    Queued queued;
    arrayMemory.isExhausted = true;
    const bool done = fill(queued, ROOM - 15);
    arrayMemory.isExhausted = false;
    EXPECT_TRUE(done);
    expectFilled(queued, ROOM - 15);
}

#endif

} // namespace

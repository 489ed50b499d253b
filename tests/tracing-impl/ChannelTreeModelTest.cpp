// SPDX-License-Identifier: Apache-2.0
//
// Thousands of calls at random, the same in each run, of the tree and of its slow model.

#include <tracing-impl/ChannelTree.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/Random.h"
#include "support/SlowTree.h"
#include "support/TracingTree.h"

namespace {

using support::Random;
using support::ROOT;
using support::SlowTree;
using support::TracingTree;
using tracing::Channel;
using tracing::Levels;
using tracing::impl::ChannelState;

/// Paths of few parts, so that they meet.
std::string somePath(Random& random)
{
    static const char* const PARTS[] = {"a", "b", "a_", "_a", "", "ab"};
    std::string path = PARTS[random.below(6)];
    for (unsigned int more = random.below(4); more > 0; --more)
        path += std::string("_") + PARTS[random.below(6)];
    return path;
}

short someLevel(Random& random)
{
    return static_cast<short>(static_cast<int>(random.below(13)) - 1);
}

std::string someSettings(Random& random)
{
    std::string text = random.oneIn(2) ? "" : Levels::NAMES[random.below(10)];
    for (unsigned int more = random.below(6); more > 0; --more)
        text += "," + somePath(random) + "=" + Levels::NAMES[random.below(10)];
    return text;
}

/// The tree and its model, with channels that come and go.
class Pair
{
public:
    Pair(Random& random, const std::string& settings)
        : m_random(random), m_pump(settings), m_model(support::levelSettings(settings)),
          m_channels(25)
    {}

    ~Pair()
    {
        for (Slot& slot : m_channels)
            if (slot.channel != nullptr) m_pump.tree.release(*slot.channel);
    }

    void step()
    {
        Slot& slot = m_channels[m_random.below(25)];
        const unsigned int kind = m_random.below(8);
        if (m_random.oneIn(150))
            releaseAll();
        else if (slot.channel == nullptr)
            takeIn(slot);
        else if (kind < 2)
            release(slot);
        else if (kind < 4)
            setEnabled(*slot.channel, kind == 2);
        else
            setLevel(slot, kind == 4 ? somePath(m_random) : slot.name);
        check();
    }

private:
    struct Slot
    {
        std::string name;
        std::unique_ptr<Channel> channel;
    };

    void takeIn(Slot& slot)
    {
        slot.name = somePath(m_random);
        const bool isName = m_random.oneIn(4);
        slot.channel = std::make_unique<Channel>(slot.name, someLevel(m_random), isName ? 1U : 0U);
        m_pump.tree.takeIn(*slot.channel);
        m_model.takeIn(*slot.channel, slot.name, isName);
        EXPECT_EQ(&m_pump.client, slot.channel->m_client);
    }

    void release(Slot& slot)
    {
        m_pump.tree.release(*slot.channel);
        m_model.release(*slot.channel);
        forget(slot);
    }

    void releaseAll()
    {
        EXPECT_EQ(m_model.releaseAll(), m_pump.tree.releaseAll());
        for (Slot& slot : m_channels)
            if (slot.channel != nullptr) forget(slot);
    }

    /// Destroys a channel that was released.
    static void forget(Slot& slot)
    {
        const bool isName = slot.channel->m_flags != 0;
        EXPECT_EQ("name=" + (isName ? slot.name : "") + " path=" + (isName ? "" : slot.name) +
                      " id=-1 level=6 children=0 without client",
                  support::fieldsOf(*slot.channel));
        slot.channel.reset();
    }

    void setLevel(const Slot& slot, const std::string& path)
    {
        const short level = someLevel(m_random);
        const bool byChannel = path == slot.name && m_random.oneIn(2);
        const bool done = byChannel ? m_pump.tree.setLevel(*slot.channel, level)
                                    : m_pump.tree.setLevel(path, level);
        EXPECT_EQ(m_model.setLevel(path, level), done);
    }

    void setEnabled(const Channel& channel, bool isEnabled)
    {
        EXPECT_EQ(m_model.setEnabled(channel, isEnabled),
                  m_pump.tree.setEnabled(channel, isEnabled));
    }

    const Channel* channelOf(int id) const
    {
        for (const Slot& slot : m_channels)
            if (slot.channel != nullptr && slot.channel->m_channelId == id)
                return slot.channel.get();
        return nullptr;
    }

    void check() const
    {
        std::string text;
        for (const ChannelState& state : m_pump.tree.states()) {
            const Channel* const channel = channelOf(state.id);
            ASSERT_NE(nullptr, channel);
            EXPECT_EQ(state.effectiveLevel, channel->m_filterLevel);
            EXPECT_EQ(state.path, channel->m_path);
            text += state.path + " below " + parentOf(*channel) +
                    " id=" + std::to_string(state.id) + " own=" + std::to_string(state.ownLevel) +
                    " level=" + std::to_string(channel->m_filterLevel) + "\n";
            checkPlace(*channel);
        }
        EXPECT_EQ(m_model.text(), text);
    }

    static std::string parentOf(const Channel& channel)
    {
        return channel.m_parent->m_parent == nullptr ? ROOT : channel.m_parent->m_path;
    }

    /// The channels lead to one another as their paths say.
    static void checkPlace(const Channel& channel)
    {
        std::string path;
        channel.fillPathString(path);
        EXPECT_EQ(channel.m_path, path);
        for (const Channel* one = &channel; one->m_parent != nullptr; one = one->m_parent) {
            const auto& siblings = one->m_parent->m_children;
            EXPECT_EQ(1, std::count(siblings.begin(), siblings.end(), one));
        }
    }

    Random& m_random;
    TracingTree m_pump;
    SlowTree m_model;
    std::vector<Slot> m_channels;
};

TEST(ChannelTreeModel, AnswersAlike)
{
    Random random(20261121);
    for (int round = 0; round < 40 && !HasFailure(); ++round) {
        const std::string settings = someSettings(random);
        SCOPED_TRACE(testing::Message() << "round " << round << " with " << settings);
        Pair pair(random, settings);
        for (int step = 0; step < 200 && !HasFailure(); ++step)
            pair.step();
    }
}

} // namespace

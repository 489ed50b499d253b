// SPDX-License-Identifier: Apache-2.0
//
// A tree of channels called "pump", and pictures of it as text.
//
//     support::TracingTree pump("net=info");
//     support::Member tcp(pump, "net_tcp");
//     EXPECT_EQ("pump(net(tcp#1))", support::pictureOf(tcp));

#ifndef ZELCOMMON_TESTS_SUPPORT_TRACINGTREE_H
#define ZELCOMMON_TESTS_SUPPORT_TRACINGTREE_H

#include <string>
#include <utility>

#include <common/tracing/Channel.h>
#include <common/tracing/IClient.h>
#include <common/tracing/Levels.h>
#include <tracing-impl/ChannelTree.h>
#include <tracing-impl/Settings.h>

namespace support {

/// Notes what it is told: " net=3" for a channel that changed.
class RecordingObserver : public tracing::impl::ChannelObserver
{
public:
    void channelChanged(const std::string& path, short level) override
    {
        m_calls += " " + path + "=" + std::to_string(level);
    }

    /// Returns the calls since the last time this was asked.
    std::string takeCalls() { return std::exchange(m_calls, ""); }

private:
    std::string m_calls;
};

inline tracing::impl::LevelSettings levelSettings(const std::string& text)
{
    tracing::impl::LevelSettings settings;
    tracing::impl::Ignored ignored;
    tracing::impl::readLevels(text, settings, ignored);
    return settings;
}

/// The tree, with all that it needs. `levels` as in the environment.
struct TracingTree
{
    explicit TracingTree(const std::string& levels = "")
        : tree("pump", client, levelSettings(levels), observer)
    {}

    tracing::IClient client;
    RecordingObserver observer;
    tracing::impl::ChannelTree tree;
};

/// A channel that is in the tree for as long as it lives.
class Member : public tracing::Channel
{
public:
    Member(TracingTree& pump, const std::string& name, short level = tracing::Levels::LevelNONE,
           unsigned int flags = 0)
        : Channel(name, level, flags), m_pump(pump)
    {
        m_pump.tree.takeIn(*this);
    }
    ~Member() { m_pump.tree.release(*this); }

private:
    TracingTree& m_pump;
};

/// Returns the name, the id behind a "#" if there is one, and the children in brackets. A child
/// that has another parent is marked by a "!".
inline std::string picture(const tracing::Channel& channel)
{
    std::string text = channel.m_name;
    if (channel.m_channelId > 0) text += "#" + std::to_string(channel.m_channelId);
    std::string children;
    for (const tracing::Channel* child : channel.m_children) {
        children += children.empty() ? "" : " ";
        children += picture(*child) + (child->m_parent == &channel ? "" : "!");
    }
    return children.empty() ? text : text + "(" + children + ")";
}

inline const tracing::Channel& rootOf(const tracing::Channel& channel)
{
    return channel.m_parent == nullptr ? channel : rootOf(*channel.m_parent);
}

/// Returns the picture of the whole tree that `channel` is in.
inline std::string pictureOf(const tracing::Channel& channel)
{
    return picture(rootOf(channel));
}

/// Returns the fields of a channel that the tree writes.
inline std::string fieldsOf(const tracing::Channel& channel)
{
    return "name=" + channel.m_name + " path=" + channel.m_path +
           " id=" + std::to_string(channel.m_channelId) +
           " level=" + std::to_string(channel.m_filterLevel) +
           (channel.m_parent == nullptr ? "" : " parent=" + channel.m_parent->m_path) +
           " children=" + std::to_string(channel.m_children.size()) +
           (channel.m_client == nullptr ? " without client" : "");
}

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_TRACINGTREE_H

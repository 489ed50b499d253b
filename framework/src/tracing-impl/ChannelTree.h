// SPDX-License-Identifier: Apache-2.0
//
// The channels of the process as a tree by their paths, with the level that each has in the end.
//
//     ChannelTree tree(client, settings.levels, observer);
//     tree.takeIn(channel);
//     tree.setLevel("net_tcp", Levels::LevelTRACE);

#ifndef TRACINGIMPL_SRC_TRACINGIMPL_CHANNELTREE_H
#define TRACINGIMPL_SRC_TRACINGIMPL_CHANNELTREE_H

#include <list>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <common/tracing/Channel.h>
#include <common/tracing/IClient.h>
#include <common/tracing/Levels.h>
#include <zel/Mutex.h>
#include <zel/attributes.h>

#include "Settings.h"

namespace tracing {
namespace impl {

/// What a tool is told about a channel.
struct ChannelState
{
    std::string path;
    int id;
    /// The level that was set for the channel itself, `LevelNONE` if it takes that of its parent.
    short ownLevel;
    /// What its filter is set to.
    short effectiveLevel;
};

/// Is told of channels while the tree is locked: must not call it, nor log, nor throw.
class ChannelObserver
{
public:
    /// The channel was taken in, or its level in the end may have changed.
    virtual void channelChanged(const std::string& path, short level) = 0;

protected:
    ~ChannelObserver() = default;
};

/// The tree. Any thread may call anything.
///
/// A path is split at "_", and channels that nobody registered stand in for what is missing in
/// between. A name may hold a "_" itself: the longest path that there is already is the parent.
/// A channel that is registered later takes the place of one that stood in for it.
///
/// A channel's own level is the first of these that there is: the one set while the process runs,
/// the one of the environment, the one that it was built with. "none" is none; "default" stands for
/// the one that it was built with. Without an own level it has that of its parent, and the root,
/// without any, "warning". The level in the end is what is stored in the channel's filter.
class ChannelTree
{
public:
    /// The root is called `name`. `client`, which the channels are given, and `observer` are not
    /// owned and must outlive the tree.
    ChannelTree(const std::string& name, IClient& client, LevelSettings settings,
                ChannelObserver& observer);
    /// Takes all channels out.
    ~ChannelTree();
    ChannelTree(const ChannelTree&) = delete;
    ChannelTree& operator=(const ChannelTree&) = delete;

    /// Gives the channel its place, path, id, level and client. Ids are never used again.
    /// Without memory for that the channel stays as it is, and logs nothing. Does nothing for one
    /// that is here already.
    void takeIn(Channel& channel) ZEL_EXCLUDES(m_mutex);
    /// Takes the channel out; what is below it stays. Does nothing for one that is not here.
    void release(Channel& channel) ZEL_EXCLUDES(m_mutex);
    /// Takes all channels out. Returns them in the order of their ids. Allocates nothing.
    std::list<Channel*> releaseAll() ZEL_EXCLUDES(m_mutex);

    /// Set the level of all channels of a path while the process runs; `LevelNONE` makes them take
    /// that of the parent. What is below follows.
    /// Return false for what is no level, or a channel that is not here, or without memory.
    bool setLevel(const Channel& channel, short level) ZEL_EXCLUDES(m_mutex);
    bool setLevel(const std::string& path, short level) ZEL_EXCLUDES(m_mutex);

    /// Switches a channel off, without a change of what is below, and on again. Returns false for
    /// one that is not here.
    bool setEnabled(const Channel& channel, bool isEnabled) ZEL_EXCLUDES(m_mutex);

    /// Returns the registered channels in the order of their paths.
    std::vector<ChannelState> states() const ZEL_EXCLUDES(m_mutex);

private:
    /// The place of a path.
    struct Node
    {
        std::string path;
        /// Null for the root.
        Node* parent = nullptr;
        std::vector<Node*> children;
        /// Registered under the path, not owned. The first is the node's face in the tree of
        /// channels; without any it is `standIn`.
        std::vector<Channel*> channels;
        Channel standIn{"", Levels::LevelNONE, Channel::FLAG_LOCAL_NAME};
        /// What channels below inherit.
        short level = Levels::LevelNONE;

        Channel& face() { return channels.empty() ? standIn : *channels.front(); }
    };

    Node& nodeAt(const std::string& path, bool isName) ZEL_REQUIRES(m_mutex);
    Node& addNode(Node& parent, const std::string& path) ZEL_REQUIRES(m_mutex);
    Node* findNode(const Channel& channel) ZEL_REQUIRES(m_mutex);
    Node* parentOf(const std::string& path) ZEL_REQUIRES(m_mutex);
    void attach(Node& node, Channel& channel) ZEL_REQUIRES(m_mutex);
    void detach(Node& node, Channel& channel) ZEL_REQUIRES(m_mutex);
    void detachAll() ZEL_REQUIRES(m_mutex);
    void prune(Node* node) ZEL_REQUIRES(m_mutex);
    bool change(Node& node, short level) ZEL_REQUIRES(m_mutex);
    short ownLevel(const Node& node, short initialLevel) const ZEL_REQUIRES(m_mutex);
    void resolve(Node& node) ZEL_REQUIRES(m_mutex);
    void apply(const Node& node, Channel& channel) ZEL_REQUIRES(m_mutex);
    short levelOf(const Node& node, short initialLevel) const ZEL_REQUIRES(m_mutex);
    ChannelState stateOf(const Node& node, const Channel& channel) const ZEL_REQUIRES(m_mutex);

    mutable zel::Mutex m_mutex;
    IClient& m_client;
    ChannelObserver& m_observer;
    const LevelSettings m_settings;
    /// The channels in the order of their ids.
    std::list<Channel*> m_channels ZEL_GUARDED_BY(m_mutex);
    Node m_root ZEL_GUARDED_BY(m_mutex);
    std::map<std::string, Node> m_nodes ZEL_GUARDED_BY(m_mutex);
    /// Levels that were set while the process runs; they outlive the channels.
    std::map<std::string, short> m_levels ZEL_GUARDED_BY(m_mutex);
    /// Channels that are switched off.
    std::set<const Channel*> m_disabled ZEL_GUARDED_BY(m_mutex);
    int m_nextId ZEL_GUARDED_BY(m_mutex) = 1;
};

} // namespace impl
} // namespace tracing

#endif // TRACINGIMPL_SRC_TRACINGIMPL_CHANNELTREE_H

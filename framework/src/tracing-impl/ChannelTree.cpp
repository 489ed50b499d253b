// SPDX-License-Identifier: Apache-2.0

#include "ChannelTree.h"

#include <algorithm>
#include <list>
#include <new>
#include <utility>

namespace tracing {
namespace impl {

namespace {

constexpr char SEPARATOR = '_';
constexpr int NO_ID = -1;

/// Returns whether a path may be parted at `place`: no part is empty.
bool isBoundary(const std::string& path, std::size_t place)
{
    return path[place] == SEPARATOR && place > 0 && place + 1 < path.size() &&
           path[place - 1] != SEPARATOR;
}

/// Puts `to` into the place of `from` below `parent`, with all that is below.
void replaceFace(Channel& parent, Channel& from, Channel& to)
{
    to.m_parent = &parent;
    std::replace(parent.m_children.begin(), parent.m_children.end(), &from, &to);
    to.m_children.splice(to.m_children.end(), from.m_children);
    for (Channel* const child : to.m_children)
        child->m_parent = &to;
}

/// Makes room for one more.
template <typename Item>
void reserveOne(std::vector<Item>& items)
{
    if (items.size() == items.capacity()) items.reserve(2 * items.size() + 1);
}

bool isLevel(short level)
{
    return level >= Levels::LevelTRACE && level <= Levels::LevelDEFAULT;
}

} // namespace

ChannelTree::ChannelTree(const std::string& name, IClient& client, LevelSettings settings,
                         ChannelObserver& observer)
    : m_client(client), m_observer(observer), m_settings(std::move(settings))
{
    m_root.standIn.m_name = name;
    m_root.standIn.m_path = name;
    m_root.standIn.m_channelId = 0;
    const short level = m_settings.root.value_or(Levels::LevelWARN);
    m_root.level =
        level <= Levels::LevelOFF || level == Levels::LevelDISABLED ? level : Levels::LevelWARN;
}

ChannelTree::~ChannelTree()
{
    const zel::ScopedLock lock(m_mutex);
    detachAll();
}

void ChannelTree::takeIn(Channel& channel)
{
    const zel::ScopedLock lock(m_mutex);
    if (findNode(channel) != nullptr) return;
    const bool hasName = (channel.m_flags & Channel::FLAG_LOCAL_NAME) != 0;
    const std::string& path = hasName ? channel.m_name : channel.m_path;
    try {
        std::list<Channel*> link(1, &channel);
        attach(nodeAt(path, hasName), channel);
        m_channels.splice(m_channels.end(), link);
    } catch (const std::bad_alloc&) {
        return; // places may stay that nobody needs
    }
    channel.m_channelId = m_nextId++;
    channel.m_client = &m_client;
    resolve(*findNode(channel));
}

/// Returns the place of a path, with all that is missing on the way there. A name is not split.
ChannelTree::Node& ChannelTree::nodeAt(const std::string& path, bool isName)
{
    const auto found = m_nodes.find(path);
    if (found != m_nodes.end()) return found->second;
    Node* parent = isName ? &m_root : parentOf(path);
    const std::size_t known = parent == &m_root ? 0 : parent->path.size() + 1;
    for (std::size_t place = known; !isName && place < path.size(); ++place)
        if (isBoundary(path, place)) parent = &addNode(*parent, path.substr(0, place));
    return addNode(*parent, path);
}

/// Returns the place of the longest path that `path` begins with, or the root.
ChannelTree::Node* ChannelTree::parentOf(const std::string& path)
{
    for (std::size_t place = path.size(); place-- > 0;) {
        if (!isBoundary(path, place)) continue;
        const auto found = m_nodes.find(path.substr(0, place));
        if (found != m_nodes.end()) return &found->second;
    }
    return &m_root;
}

/// Adds a place below `parent`. Nothing is changed without memory for it.
ChannelTree::Node& ChannelTree::addNode(Node& parent, const std::string& path)
{
    std::string name = &parent == &m_root ? path : path.substr(parent.path.size() + 1);
    std::string nodePath = path;
    std::string channelPath = path;
    std::list<Channel*> link(1, nullptr);
    reserveOne(parent.children);
    Node& node = m_nodes[path]; // the last that takes memory
    node.path = std::move(nodePath);
    node.parent = &parent;
    node.standIn.m_path = std::move(channelPath);
    node.standIn.m_name = std::move(name);
    node.standIn.m_parent = &parent.face();
    link.front() = &node.standIn;
    parent.face().m_children.splice(parent.face().m_children.end(), link);
    parent.children.push_back(&node);
    node.level = levelOf(node, Levels::LevelNONE);
    return node;
}

/// Puts `channel` into the tree of channels, in the place of the one that stood in for it. Nothing
/// is changed without memory for it.
void ChannelTree::attach(Node& node, Channel& channel)
{
    std::string name = node.standIn.m_name;
    std::string path = node.path;
    std::list<Channel*> link(1, &channel);
    reserveOne(node.channels); // the last that takes memory
    Channel& parent = node.parent->face();
    if (node.channels.empty())
        replaceFace(parent, node.standIn, channel);
    else
        parent.m_children.splice(parent.m_children.end(), link);
    node.channels.push_back(&channel);
    channel.m_parent = &parent;
    channel.m_name = std::move(name);
    channel.m_path = std::move(path);
}

/// Takes `channel` out of the tree of channels, and gives it back its name.
void ChannelTree::detach(Node& node, Channel& channel)
{
    Channel& parent = node.parent->face();
    const bool isFace = node.channels.front() == &channel;
    node.channels.erase(std::find(node.channels.begin(), node.channels.end(), &channel));
    if (isFace && !node.channels.empty()) parent.m_children.remove(&node.face());
    if (isFace)
        replaceFace(parent, channel, node.face());
    else
        parent.m_children.remove(&channel);
    channel.m_client = nullptr;
    channel.m_parent = nullptr;
    channel.m_channelId = NO_ID;
    channel.setFilterLevel(Levels::LevelOFF);
    if ((channel.m_flags & Channel::FLAG_LOCAL_NAME) != 0) {
        channel.m_name = std::move(channel.m_path);
        channel.m_path.clear();
    } else {
        channel.m_name.clear();
    }
    m_disabled.erase(&channel);
}

void ChannelTree::detachAll()
{
    for (Channel* const channel : m_channels)
        detach(*findNode(*channel), *channel);
}

/// Removes the place, and those above it, if nothing needs it any more.
void ChannelTree::prune(Node* node)
{
    while (node != &m_root && node->channels.empty() && node->children.empty()) {
        Node* const parent = node->parent;
        parent->face().m_children.remove(&node->standIn);
        parent->children.erase(std::find(parent->children.begin(), parent->children.end(), node));
        m_nodes.erase(m_nodes.find(node->path));
        node = parent;
    }
}

void ChannelTree::release(Channel& channel)
{
    const zel::ScopedLock lock(m_mutex);
    Node* const node = findNode(channel);
    if (node == nullptr) return;
    detach(*node, channel);
    m_channels.remove(&channel);
    resolve(*node); // what is below may have had its level
    prune(node);
}

std::list<Channel*> ChannelTree::releaseAll()
{
    const zel::ScopedLock lock(m_mutex);
    detachAll();
    m_root.standIn.detach();
    m_root.children.clear();
    m_nodes.clear();
    return std::move(m_channels);
}

/// Returns the place of a registered channel, or null.
ChannelTree::Node* ChannelTree::findNode(const Channel& channel)
{
    const auto found = m_nodes.find(channel.m_path);
    if (found == m_nodes.end()) return nullptr;
    const std::vector<Channel*>& channels = found->second.channels;
    const bool isHere = std::find(channels.begin(), channels.end(), &channel) != channels.end();
    return isHere ? &found->second : nullptr;
}

bool ChannelTree::setLevel(const Channel& channel, short level)
{
    const zel::ScopedLock lock(m_mutex);
    Node* const node = findNode(channel);
    return node != nullptr && change(*node, level);
}

bool ChannelTree::setLevel(const std::string& path, short level)
{
    const zel::ScopedLock lock(m_mutex);
    const auto found = m_nodes.find(path);
    return found != m_nodes.end() && change(found->second, level);
}

bool ChannelTree::change(Node& node, short level)
{
    if (!isLevel(level)) return false;
    try {
        m_levels[node.path] = level;
    } catch (const std::bad_alloc&) {
        return false;
    }
    resolve(node);
    return true;
}

bool ChannelTree::setEnabled(const Channel& channel, bool isEnabled)
{
    const zel::ScopedLock lock(m_mutex);
    Node* const node = findNode(channel);
    if (node == nullptr) return false;
    try {
        if (isEnabled)
            m_disabled.erase(&channel);
        else
            m_disabled.insert(&channel);
    } catch (const std::bad_alloc&) {
        return false;
    }
    resolve(*node);
    return true;
}

/// Returns the level that a channel of the place has itself, or `LevelNONE`.
short ChannelTree::ownLevel(const Node& node, short initialLevel) const
{
    const short initial = initialLevel == Levels::LevelDEFAULT || !isLevel(initialLevel)
                              ? Levels::LevelNONE
                              : initialLevel;
    const auto changed = m_levels.find(node.path);
    const auto given = m_settings.paths.find(node.path);
    short level = Levels::LevelDEFAULT;
    if (changed != m_levels.end())
        level = changed->second;
    else if (given != m_settings.paths.end())
        level = given->second;
    return level == Levels::LevelDEFAULT ? initial : level;
}

/// Returns that level, or the inherited one.
short ChannelTree::levelOf(const Node& node, short initialLevel) const
{
    const short own = ownLevel(node, initialLevel);
    return own == Levels::LevelNONE ? node.parent->level : own;
}

/// Brings the levels of the place, and of those below it, up to date.
void ChannelTree::resolve(Node& node)
{
    node.level = levelOf(node, node.face().m_initialLevel);
    for (Channel* const channel : node.channels)
        apply(node, *channel);
    for (Node* const child : node.children)
        resolve(*child);
}

void ChannelTree::apply(const Node& node, Channel& channel)
{
    const short level = levelOf(node, channel.m_initialLevel);
    const bool isDisabled = m_disabled.count(&channel) != 0;
    channel.setFilterLevel(isDisabled ? Levels::LevelDISABLED : level);
    m_observer.channelChanged(node.path, channel.m_filterLevel);
}

ChannelState ChannelTree::stateOf(const Node& node, const Channel& channel) const
{
    return {node.path, channel.m_channelId, ownLevel(node, channel.m_initialLevel),
            channel.m_filterLevel};
}

std::vector<ChannelState> ChannelTree::states() const
{
    const zel::ScopedLock lock(m_mutex);
    std::vector<ChannelState> states;
    for (const auto& entry : m_nodes)
        for (const Channel* const channel : entry.second.channels)
            states.push_back(stateOf(entry.second, *channel));
    return states;
}

} // namespace impl
} // namespace tracing

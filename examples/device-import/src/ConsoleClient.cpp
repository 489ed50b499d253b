// SPDX-License-Identifier: Apache-2.0

#include "ConsoleClient.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <iterator>
#include <memory>
#include <new>
#include <utility>

#include <common/tracing/Levels.h>
#include <pthread.h>

namespace deviceimport {

namespace {

using tracing::Channel;
using tracing::ChannelList;
using tracing::Levels;

constexpr char SEPARATOR = '_';
constexpr int NO_ID = -1;

/// Bytes of a raw message that are shown.
constexpr unsigned int MAX_BYTES = 128;

/// Keeps the thread from being cancelled while it prints, as logging may be called by a destructor.
class UncancelledSection
{
public:
    UncancelledSection() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_state); }
    ~UncancelledSection() { pthread_setcancelstate(m_state, nullptr); }
    UncancelledSection(const UncancelledSection&) = delete;
    UncancelledSection& operator=(const UncancelledSection&) = delete;

private:
    int m_state = PTHREAD_CANCEL_ENABLE;
};

bool isLevel(short level)
{
    return level >= 0 && static_cast<std::size_t>(level) < std::size(Levels::NAMES);
}

/// What the client owns of a text that came in a buffer.
std::unique_ptr<char[]> ownedPart(char* text, bool isOwned)
{
    return std::unique_ptr<char[]>(isOwned ? text : nullptr);
}

} // namespace

ConsoleClient::ConsoleClient(TraceLevels levels)
    : m_levels(std::move(levels)), m_root("", Levels::LevelWARN, Channel::FLAG_LOCAL_NAME)
{
    tracing::IClientHelper::setClientHelper(this);
}

ConsoleClient::~ConsoleClient()
{
    ConsoleClient::deinit();
    tracing::IClientHelper::resetClientHelper();
}

bool ConsoleClient::init(const std::string& processName)
{
    ChannelList* const list = ChannelList::getInstance();
    if (list == nullptr) return false;
    s_client = this;
    list->setListener(this);

    const zel::ScopedLock lock(m_mutex);
    m_root.m_name = processName;
    std::list<Channel*> collected;
    collected.swap(list->getChannels());
    for (Channel* const channel : collected)
        takeIn(*channel);
    return true;
}

void ConsoleClient::deinit()
{
    if (s_client != this) return;
    ChannelList* const list = ChannelList::getInstance();
    list->setListener(nullptr);
    s_client = nullptr;

    const zel::ScopedLock lock(m_mutex);
    for (Channel* const channel : m_channels)
        release(*channel);
    m_root.detach();
    m_nodes.clear();
    list->getChannels().splice(list->getChannels().end(), m_channels);
}

void ConsoleClient::channelRegistered(Channel* channel)
{
    const zel::ScopedLock lock(m_mutex);
    takeIn(*channel);
}

void ConsoleClient::channelUnregistered(Channel* channel)
{
    const zel::ScopedLock lock(m_mutex);
    m_channels.remove(channel);
    release(*channel);
}

void ConsoleClient::takeIn(Channel& channel)
{
    if (channel.m_client == this) return; // registered twice
    try {
        m_channels.push_back(&channel);
        place(channel);
    } catch (const std::bad_alloc&) {
        // It logs nothing, as without a client.
    }
}

/// Leaves `channel` as it was when it was built.
void ConsoleClient::release(Channel& channel)
{
    if (channel.m_client != this) return;
    channel.m_client = nullptr;
    channel.m_parent->m_children.remove(&channel);
    channel.m_parent = nullptr;
    channel.m_channelId = NO_ID;
    channel.setFilterLevel(Levels::LevelOFF);
}

/// Puts `channel` into the tree, and its level, if it has one, among those of the paths.
void ConsoleClient::place(Channel& channel)
{
    Channel* parent = &m_root;
    if ((channel.m_flags & Channel::FLAG_LOCAL_NAME) == 0) {
        const std::string& path = channel.m_path;
        std::size_t begin = 0;
        for (std::size_t end = path.find(SEPARATOR); end != std::string::npos;
             end = path.find(SEPARATOR, begin)) {
            parent = &nodeBelow(*parent, path.substr(begin, end - begin));
            begin = end + 1;
        }
        channel.m_name = path.substr(begin);
    }
    link(*parent, channel);
    if (channel.m_initialLevel != Levels::LevelNONE)
        m_levels.try_emplace(channel.m_path, channel.m_initialLevel);
    resolveLevels(m_root, m_root.m_initialLevel);
}

/// Changes nothing if there is no memory for the entry.
void ConsoleClient::link(Channel& parent, Channel& channel)
{
    parent.m_children.push_back(&channel);
    channel.m_parent = &parent;
    channel.determinePathString();
    channel.m_channelId = m_nextId++;
    channel.m_client = this;
}

/// Returns the client's own child of `parent` with that name, which the first call creates. Others
/// of the same name, which may end at any time, are passed over.
Channel& ConsoleClient::nodeBelow(Channel& parent, const std::string& name)
{
    for (Channel& node : m_nodes)
        if (node.m_parent == &parent && node.m_name == name) return node;
    Channel& node = m_nodes.emplace_back(name, Levels::LevelNONE, Channel::FLAG_LOCAL_NAME);
    link(parent, node);
    return node;
}

/// Sets the filter levels from `channel` down. None of them is `LevelNONE` on the way, or messages
/// of other threads would get lost.
void ConsoleClient::resolveLevels(Channel& channel, short inherited)
{
    const auto own = m_levels.find(channel.m_path);
    const bool inherits = own == m_levels.end() || own->second == Levels::LevelNONE;
    const short level = inherits ? inherited : own->second;
    channel.setFilterLevel(level);
    for (Channel* const child : channel.m_children)
        resolveLevels(*child, level);
}

bool ConsoleClient::changeChannelFilterLevel(Channel* channel, short level)
{
    const zel::ScopedLock lock(m_mutex);
    if (channel == nullptr || channel->m_client != this || !isLevel(level)) return false;
    try {
        m_levels[channel->m_path] = level;
    } catch (const std::bad_alloc&) {
        return false;
    }
    resolveLevels(m_root, m_root.m_initialLevel);
    return true;
}

void ConsoleClient::logMessage(const Channel& channel, short level, short /*modifiers*/,
                               const std::string& text)
{
    print(channel, level, "", text.c_str());
}

void ConsoleClient::logMessage(const Channel& channel, short level, short messageType,
                               short /*modifiers*/, const void* data, unsigned int size)
{
    const auto* const bytes = static_cast<const unsigned char*>(data);
    const unsigned int shown = std::min(size, MAX_BYTES);
    char digits[3 * MAX_BYTES + 1] = ""; // " ff" each + terminator
    for (unsigned int index = 0; index < shown; ++index)
        std::snprintf(digits + std::size_t{3} * index, 4, " %02x", bytes[index]);

    char text[sizeof digits + 48];
    std::snprintf(text, sizeof text, "type %d, %u bytes:%s%s", messageType, size, digits,
                  shown < size ? " ..." : "");
    print(channel, level, "", text);
}

void ConsoleClient::logMessage(const Channel& channel, short level, short /*modifiers*/, char* text,
                               bool takeOwnership)
{
    const std::unique_ptr<char[]> owned = ownedPart(text, takeOwnership);
    print(channel, level, "", text);
}

void ConsoleClient::logMessage(const Channel& channel, short level, short /*modifiers*/,
                               long long timestamp, char* text, bool takeOwnership)
{
    const std::unique_ptr<char[]> owned = ownedPart(text, takeOwnership);
    char stamp[32];
    std::snprintf(stamp, sizeof stamp, " [%lld]", timestamp);
    print(channel, level, stamp, text);
}

void ConsoleClient::print(const Channel& channel, short level, const char* stamp, const char* text)
{
    const UncancelledSection section;
    const zel::ScopedLock lock(m_mutex);
    std::fprintf(stderr, "%s %s%s: %s\n", isLevel(level) ? Levels::NAMES[level] : "?",
                 channel.m_path.c_str(), stamp, text != nullptr ? text : "");
}

} // namespace deviceimport

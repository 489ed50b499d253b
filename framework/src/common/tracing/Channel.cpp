// SPDX-License-Identifier: Apache-2.0

#include <common/tracing/Channel.h>

#include <cstddef>
#include <new>

#include <common/tracing/ChannelList.h>
#include <common/tracing/IClient.h>
#include <common/tracing/Levels.h>

#include "../error/ReportGuard.h"

namespace tracing {

namespace {

constexpr int NO_ID = -1;

/// The list of channels, unless there was no memory for it.
ChannelList* listFor(unsigned int flags)
{
    return (flags & Channel::FLAG_REGISTER) != 0 ? ChannelList::getInstance() : nullptr;
}

/// Assigns `text` if there is memory for it.
void assignIfPossible(std::string& target, const std::string& text)
{
    try {
        target = text;
    } catch (const std::bad_alloc&) {
        // A channel without a name still logs.
    }
}

} // namespace

Channel::Channel(const std::string& name, short level, unsigned int flags)
    : m_client(nullptr), m_parent(nullptr), m_filterLevel(Levels::LevelOFF), m_initialLevel(level),
      m_channelId(NO_ID), m_flags(flags)
{
    assignIfPossible((flags & FLAG_LOCAL_NAME) != 0 ? m_name : m_path, name);
    if (ChannelList* const list = listFor(flags)) list->registerChannel(this);
}

Channel::~Channel()
{
    ChannelList* const list = listFor(m_flags);
    if (list == nullptr) return;
    const errorcore::ReportGuard guard; // a listener may hold cancellation points
    list->unregisterChannel(this);
}

void Channel::detach()
{
    m_parent = nullptr;
    for (Channel* const child : m_children)
        child->detach();
    m_children.clear();
}

Channel* Channel::findChild(const std::string& name) const
{
    for (Channel* const child : m_children)
        if (child->m_name == name) return child;
    return nullptr;
}

Channel* Channel::findByChannelId(int id)
{
    if (id == NO_ID) return nullptr;
    if (m_channelId == id) return this;
    for (Channel* const child : m_children)
        if (Channel* const found = child->findByChannelId(id)) return found;
    return nullptr;
}

void Channel::appendPath(std::string& out) const
{
    if (m_parent != nullptr && m_parent->m_parent != nullptr) {
        m_parent->appendPath(out);
        out += '_';
    }
    out += m_name;
}

void Channel::fillPathString(std::string& out) const
{
    const std::size_t length = out.size();
    try {
        appendPath(out);
    } catch (const std::bad_alloc&) {
        out.resize(length);
    }
}

void Channel::determinePathString()
{
    try {
        std::string path;
        appendPath(path);
        m_path.swap(path);
    } catch (const std::bad_alloc&) {
        // The path that the channel had serves on.
    }
}

short Channel::getValidFilterLevelAlongPath() const
{
    for (const Channel* channel = this; channel != nullptr; channel = channel->m_parent) {
        const short level = __atomic_load_n(&channel->m_filterLevel, __ATOMIC_RELAXED);
        if (level != Levels::LevelNONE) return level;
    }
    return Levels::LevelNONE;
}

bool Channel::changeFilterLevel(short level)
{
    return m_client != nullptr && m_client->changeChannelFilterLevel(this, level);
}

bool Channel::enable()
{
    return m_client != nullptr && m_client->enableChannel(this);
}

bool Channel::disable()
{
    return m_client != nullptr && m_client->disableChannel(this);
}

} // namespace tracing

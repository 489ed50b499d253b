// SPDX-License-Identifier: Apache-2.0

#include <common/tracing/SharedChannelMap.h>

#include <atomic>
#include <new>

#include <common/tracing/Channel.h>
#include <common/tracing/Levels.h>

namespace tracing {

namespace {

std::atomic<bool> s_isInstanceGone{false};

/// Tells the handles that outlive it that the map is gone.
struct Instance
{
    ~Instance() { s_isInstanceGone = true; }

    SharedChannelMap map;
};

} // namespace

SharedChannelMap* SharedChannelMap::getInstance()
{
    static Instance s_instance;
    return &s_instance.map;
}

SharedChannelMap::SharedChannelMap() = default;
SharedChannelMap::~SharedChannelMap() = default;

SharedChannelEntry* SharedChannelMap::takeUse(const std::string& name)
{
    const auto found = m_channels.find(name);
    if (found != m_channels.end()) {
        ++found->second.count;
        return &found->second;
    }

    Channel* const channel =
        new (std::nothrow) Channel(name, Levels::LevelNONE, Channel::FLAG_REGISTER);
    try {
        SharedChannelEntry& entry = m_channels[name];
        entry = {1, channel};
        return &entry;
    } catch (const std::bad_alloc&) {
        delete channel;
        return nullptr;
    }
}

Channel* SharedChannelMap::mapChannel(const std::string& name)
{
    const SharedChannelEntry* const entry = takeUse(name);
    return entry != nullptr ? entry->channel : nullptr;
}

void SharedChannelMap::unmapChannel(const std::string& name)
{
    const auto found = m_channels.find(name);
    if (found == m_channels.end()) return;
    if (--found->second.count > 0) return;

    // By iterator, as the name may be a field of the channel; and first, as the channel's end is
    // told to a listener, which must not meet an entry of no use.
    Channel* const channel = found->second.channel;
    m_channels.erase(found);
    delete channel;
}

SharedChannelPtr::SharedChannelPtr(const std::string& name) : m_channel(nullptr), m_hasUse(false)
{
    if (s_isInstanceGone) return;
    try {
        m_name = name;
    } catch (const std::bad_alloc&) {
        return;
    }
    const SharedChannelEntry* const entry = SharedChannelMap::getInstance()->takeUse(m_name);
    if (entry == nullptr) return;
    m_hasUse = true;
    m_channel = entry->channel;
}

SharedChannelPtr::~SharedChannelPtr()
{
    if (m_hasUse && !s_isInstanceGone) SharedChannelMap::getInstance()->unmapChannel(m_name);
    m_channel = nullptr;
}

} // namespace tracing

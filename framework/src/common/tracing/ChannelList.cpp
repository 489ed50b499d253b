// SPDX-License-Identifier: Apache-2.0

#include <common/tracing/ChannelList.h>

#include <new>

namespace tracing {

IChannelListListener::~IChannelListListener() = default;

ChannelList* ChannelList::getInstance()
{
    static ChannelList* const s_instance = new (std::nothrow) ChannelList;
    return s_instance;
}

void ChannelList::registerChannel(Channel* channel)
{
    if (m_listener != nullptr) return m_listener->channelRegistered(channel);
    try {
        m_channels.push_back(channel);
    } catch (const std::bad_alloc&) {
        // Not listed: it logs nothing, as a channel without a client does.
    }
}

void ChannelList::unregisterChannel(Channel* channel)
{
    if (m_listener != nullptr) return m_listener->channelUnregistered(channel);
    m_channels.remove(channel);
}

std::list<Channel*>& ChannelList::getChannels()
{
    return m_channels;
}

void ChannelList::setListener(IChannelListListener* listener)
{
    m_listener = listener;
}

} // namespace tracing

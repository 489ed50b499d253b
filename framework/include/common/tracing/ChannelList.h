// SPDX-License-Identifier: Apache-2.0
//
// tracing::ChannelList is where channels announce their birth and death to the trace client, also
// before there is one: until a listener is set, the list collects them.
//
//     list->setListener(&listener);
//     for (tracing::Channel* channel : list->getChannels()) takeIn(channel);
//     list->getChannels().clear();

#ifndef ZELCOMMON_COMMON_TRACING_CHANNELLIST_H
#define ZELCOMMON_COMMON_TRACING_CHANNELLIST_H

#include <list>

#include <zel/attributes.h>

namespace tracing {

class Channel;

/// What the client hears of channels. Called by slot, in this order.
class ZEL_EXPORT IChannelListListener
{
public:
    virtual ~IChannelListListener();

    /// `channel` is built, and lives until it is unregistered. Must not throw.
    virtual void channelRegistered(Channel* channel) = 0;
    /// `channel` is about to be destroyed; its fields are whole. Must not throw.
    virtual void channelUnregistered(Channel* channel) = 0;
};

/// The channels of the process. Nothing here is locked: registration, changes of the listener and
/// walks are serialised by the callers or the client.
class ZEL_EXPORT ChannelList
{
public:
    /// Returns the one list, created by the first call and never destroyed, so that channels may
    /// unregister while the process exits. Null, for good, if there was no memory for it. Any
    /// thread.
    static ChannelList* getInstance();

    ChannelList(const ChannelList&) = delete;
    ChannelList& operator=(const ChannelList&) = delete;

    /// Tells the listener of `channel`, or puts it at the end of the list if there is none. Without
    /// memory for that the channel is not listed.
    void registerChannel(Channel* channel);
    /// Tells the listener of `channel`, or removes all its entries from the list if there is none.
    void unregisterChannel(Channel* channel);

    /// Returns the channels that were collected while there was no listener. A listener that takes
    /// them in also removes them here, as their end is told to it alone.
    std::list<Channel*>& getChannels();

    /// Sets the listener, which is not owned and must live until the next call; null for none.
    /// Channels that are already collected are not told to it.
    void setListener(IChannelListListener* listener);

private:
    ChannelList() = default;

    std::list<Channel*> m_channels;
    IChannelListListener* m_listener = nullptr;
};

} // namespace tracing

#endif // ZELCOMMON_COMMON_TRACING_CHANNELLIST_H

// SPDX-License-Identifier: Apache-2.0
//
// The channels that are registered with the list of the process, and who is told of them.

#ifndef ZELCOMMON_TESTS_SUPPORT_REGISTEREDCHANNELS_H
#define ZELCOMMON_TESTS_SUPPORT_REGISTEREDCHANNELS_H

#include <string>

#include <common/tracing/Channel.h>
#include <common/tracing/ChannelList.h>

namespace support {

/// Returns their paths, each in brackets.
inline std::string registeredPaths()
{
    std::string paths;
    for (const tracing::Channel* channel : tracing::ChannelList::getInstance()->getChannels())
        paths += "[" + channel->m_path + "]";
    return paths;
}

/// Remembers the last channel that it was told of.
struct LastChannel : tracing::IChannelListListener
{
    void channelRegistered(tracing::Channel* channel) override { registered = channel; }
    void channelUnregistered(tracing::Channel* channel) override { unregistered = channel; }

    tracing::Channel* registered = nullptr;
    tracing::Channel* unregistered = nullptr;
};

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_REGISTEREDCHANNELS_H

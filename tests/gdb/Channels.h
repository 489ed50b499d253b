// SPDX-License-Identifier: Apache-2.0
//
// Channels that wait for a trace client, trees of channels, and a trace client of another kind.

#ifndef ZELCOMMON_TESTS_GDB_CHANNELS_H
#define ZELCOMMON_TESTS_GDB_CHANNELS_H

#include <zelcommon.h>

struct Channels
{
    static constexpr unsigned int REGISTERED = tracing::Channel::FLAG_REGISTER;
    static constexpr unsigned int NAMED = REGISTERED | tracing::Channel::FLAG_LOCAL_NAME;

    Channels()
    {
        root.m_children = {&pump, &circle, nullptr, reinterpret_cast<tracing::Channel*>(1)};
        circle.m_children = {&root};
        level.m_filterLevel = 77;
        level.m_client = reinterpret_cast<tracing::IClient*>(8); // none that is called
    }

    tracing::Channel root{"root", tracing::Levels::LevelWARN, 0};
    tracing::Channel pump{"root_pump", tracing::Levels::LevelTRACE, 0};
    tracing::Channel circle{"circle", tracing::Levels::LevelNONE, 0};
    tracing::Channel level{"level", tracing::Levels::LevelDEFAULT, 0};

    tracing::Channel net{"net", tracing::Levels::LevelINFO, REGISTERED};
    tracing::Channel tcp{"net_ip_tcp", tracing::Levels::LevelNONE, REGISTERED};
    tracing::Channel valve{"valve", tracing::Levels::LevelTRACE, NAMED};
};

class OtherListener : public tracing::IChannelListListener
{
public:
    void channelRegistered(tracing::Channel*) override {}
    void channelUnregistered(tracing::Channel*) override {}
};

#endif // ZELCOMMON_TESTS_GDB_CHANNELS_H

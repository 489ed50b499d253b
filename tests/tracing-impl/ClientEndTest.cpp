// SPDX-License-Identifier: Apache-2.0
//
// What the client's parts find of each other while it is destroyed.

#include <tracing-impl/Client.h>

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include <common/tracing/Channel.h>

namespace {

using tracing::Channel;
using tracing::impl::Client;
using tracing::impl::Message;
using tracing::impl::Sink;
using tracing::impl::TimeZones;

/// Asks for the channels at its end, as a tool may that it serves.
class AskingSink : public Sink
{
public:
    AskingSink(Client& client, std::string& paths) : m_client(client), m_paths(paths) {}
    ~AskingSink() override
    {
        for (const tracing::impl::ChannelState& state : m_client.channels())
            m_paths += state.path + ' ';
    }
    void write(const Message&) override {}

private:
    Client& m_client;
    std::string& m_paths;
};

TEST(ClientEnd, Destruction_SinkAsksForTheChannels_FindsThem)
{
    const std::string name = "pump";
    TimeZones zones;
    std::string paths;
    Channel net("net", 2, 0);
    Channel tcp("net_tcp", 2, 0);
    {
        Client client(name, {}, 8, zones);
        client.addSink(std::make_unique<AskingSink>(client, paths));
        client.channelRegistered(&net);
        client.channelRegistered(&tcp);
    }
    EXPECT_EQ("net net_tcp ", paths);
}

} // namespace

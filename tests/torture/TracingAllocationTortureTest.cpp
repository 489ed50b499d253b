// SPDX-License-Identifier: Apache-2.0
//
// Channels and what is logged on them, of which each allocation fails in turn.

#include "support/AllocationTorture.h"

#include <cstring>
#include <string>

#include <common/tracing/Channel.h>
#include <common/tracing/ChannelList.h>
#include <common/tracing/IClient.h>
#include <common/tracing/SharedChannelMap.h>
#include <common/tracing/TraceBuffer.h>
#include <gtest/gtest.h>

namespace {

using support::Outcome;
using support::rightIf;
using support::rightOrRefused;
using support::torture;
using tracing::Channel;
using tracing::ChannelList;
using tracing::SharedChannelMap;
using tracing::SharedChannelPtr;
using tracing::TraceBuffer;

const std::string s_long = "longer than any string that fits into the string object";

/// Holds what arrives against one text, and keeps nothing.
struct ComparingClient : tracing::IClient
{
    void take(const char* text)
    {
        ++messages;
        isRight = isRight && s_long == text;
    }
    void logMessage(const Channel&, short, short, const std::string& text) override
    {
        take(text.c_str());
    }
    void logMessage(const Channel&, short, short, short, const void* data,
                    unsigned int size) override
    {
        ++messages;
        isRight = isRight && size == 20 && std::memcmp(data, s_long.data(), 20) == 0;
    }
    void logMessage(const Channel&, short, short, char* text, bool isOwned) override
    {
        take(text);
        if (isOwned) delete[] text;
    }
    void logMessage(const Channel&, short, short, long long, char* text, bool isOwned) override
    {
        take(text);
        if (isOwned) delete[] text;
    }

    int messages = 0;
    bool isRight = true;
};

/// Logs with `log` on a channel that there is. A message arrives whole or not at all.
template <typename Log>
std::string tortureLogging(const Log& log)
{
    Channel channel("net", 0, 0);
    channel.setFilterLevel(0);
    return torture([&] {
        ComparingClient client;
        channel.m_client = &client;
        log(channel);
        const Outcome outcome = rightOrRefused(client.messages == 1, client.messages == 0);
        return client.isRight ? outcome : support::WRONG;
    });
}

/// How many channels are listed.
std::size_t listed()
{
    return ChannelList::getInstance()->getChannels().size();
}

TEST(TracingAllocationTorture, RegisteredChannel)
{
    EXPECT_EQ("2 points", torture([] {
                  const std::size_t before = listed();
                  const Channel channel(s_long, 3, Channel::FLAG_REGISTER);
                  const bool isWhole = channel.m_path == s_long && listed() == before + 1;
                  const bool isPart = channel.m_path.empty() || listed() == before;
                  return rightOrRefused(isWhole, isPart);
              }));
    EXPECT_EQ(0U, listed());
}

TEST(TracingAllocationTorture, ChannelWithALocalName)
{
    EXPECT_EQ("1 points", torture([] {
                  const Channel channel(s_long, 3, Channel::FLAG_LOCAL_NAME);
                  return rightOrRefused(channel.m_name == s_long, channel.m_name.empty());
              }));
}

TEST(TracingAllocationTorture, Paths)
{
    Channel root("root", 0, Channel::FLAG_LOCAL_NAME);
    Channel middle("net", 0, Channel::FLAG_LOCAL_NAME);
    Channel leaf(s_long, 0, Channel::FLAG_LOCAL_NAME);
    middle.m_parent = &root;
    leaf.m_parent = &middle;
    const std::string whole = "at net_" + s_long;
    EXPECT_EQ("1 points", torture([&] {
                  std::string path = "at ";
                  leaf.fillPathString(path);
                  return rightOrRefused(path == whole, path == "at ");
              }));
    EXPECT_EQ("1 points", torture([&] {
                  std::string().swap(leaf.m_path);
                  leaf.determinePathString();
                  const bool isNone = leaf.m_path.empty();
                  const bool isWhole = leaf.m_path.compare(0, 4, "net_") == 0;
                  std::string().swap(leaf.m_path);
                  return rightOrRefused(isWhole, isNone);
              }));
}

TEST(TracingAllocationTorture, SharedChannel)
{
    EXPECT_EQ("7 points", torture([] {
                  const SharedChannelPtr handle(s_long);
                  const SharedChannelPtr other(s_long);
                  const bool isWhole = handle && other && listed() == 1;
                  if (handle && other && other.get() != handle.get()) return support::WRONG;
                  return rightOrRefused(isWhole, !handle || !other || listed() == 0);
              }));
    EXPECT_EQ(0U, listed());
}

TEST(TracingAllocationTorture, SharedChannelOfAMap)
{
    SharedChannelMap map;
    EXPECT_EQ("5 points", torture([&] {
                  Channel* const channel = map.mapChannel(s_long);
                  Channel* const again = map.mapChannel(s_long);
                  const bool isSame = channel != nullptr && again == channel;
                  const Outcome outcome =
                      rightOrRefused(isSame && channel->m_path == s_long,
                                     channel == nullptr || (isSame && channel->m_path.empty()));
                  map.unmapChannel(s_long);
                  map.unmapChannel(s_long);
                  return outcome;
              }));
    EXPECT_EQ(0U, listed());
}

TEST(TracingAllocationTorture, Copies)
{
    const char* const text = s_long.c_str();
    EXPECT_EQ("1 points", tortureLogging([&](Channel& net) { net.logC(5, text); }));
    EXPECT_EQ("1 points", tortureLogging([&](Channel& net) { net.log(5, short{1}, text); }));
    EXPECT_EQ("1 points", tortureLogging([&](Channel& net) { net.logCV(5, "%s", text); }));
    EXPECT_EQ("1 points",
              tortureLogging([&](Channel& net) { net.logCV(5, short{1}, "%s", text); }));
}

TEST(TracingAllocationTorture, OwnedTexts)
{
    const char* const text = s_long.c_str();
    EXPECT_EQ("1 points", tortureLogging([&](Channel& net) { net.logCVN(5, 99U, "%s", text); }));
    EXPECT_EQ("1 points",
              tortureLogging([&](Channel& net) { net.logCVN(5, short{1}, 99U, "%s", text); }));
    EXPECT_EQ("1 points",
              tortureLogging([&](Channel& net) { net.logCVN(5, short{1}, 7LL, 99U, "%s", text); }));
}

TEST(TracingAllocationTorture, WhatIsThere)
{
    EXPECT_EQ("0 points", tortureLogging([](Channel& net) { net.log(5, s_long); }));
    EXPECT_EQ("0 points", tortureLogging([](Channel& net) { net.logMessage(5, s_long); }));
    EXPECT_EQ("0 points",
              tortureLogging([](Channel& net) { net.logRaw(5, 2, s_long.data(), 20); }));
    EXPECT_EQ("0 points", tortureLogging([](Channel& net) {
                  net.logCV(5, short{1}, 7LL, "%s", s_long.c_str());
              }));
}

TEST(TracingAllocationTorture, Pieces)
{
    const void* const first = s_long.data();
    const void* const second = s_long.data() + 15;
    EXPECT_EQ("1 points", tortureLogging([&](Channel& net) {
                  net.logRawV(5, 2, first, 15U, second, 5U, nullptr);
              }));
    EXPECT_EQ("1 points", tortureLogging([&](Channel& net) {
                  net.logRawV(5, 2, short{1}, first, 15U, second, 5U, nullptr);
              }));
}

// Pieces that find no memory are left out, so the line may be a shorter one.
TEST(TracingAllocationTorture, TraceBuffer)
{
    Channel channel("net", 0, 0);
    channel.setFilterLevel(0);
    const std::string first = s_long.substr(0, 40);
    EXPECT_EQ("3 points", torture([&] {
                  ComparingClient client;
                  channel.m_client = &client;
                  TraceBuffer line(&channel);
                  line.set(3, first.c_str());
                  line.appendf(4, "%s", s_long.c_str() + 40);
                  line.print();
                  const bool isWhole = client.messages == 1 && client.isRight;
                  return rightOrRefused(isWhole, client.messages == 0 || !client.isRight);
              }));
}

TEST(TracingAllocationTorture, TraceBuffer_PiecesWithoutALevel)
{
    Channel channel("net", 0, 0);
    channel.setFilterLevel(0);
    const std::string first = s_long.substr(0, 20);
    const std::string second = s_long.substr(20, 20);
    EXPECT_EQ("3 points", torture([&] {
                  ComparingClient client;
                  channel.m_client = &client;
                  TraceBuffer line(&channel);
                  line.setf(3, "%s", first.c_str());
                  line.append(second.c_str());
                  line.appendf("%s", s_long.c_str() + 40);
                  line.print();
                  const bool isWhole = client.messages == 1 && client.isRight;
                  return rightOrRefused(isWhole, client.messages == 0 || !client.isRight);
              }));
}

TEST(TracingAllocationTorture, WithoutAClientLibrary)
{
    EXPECT_EQ("0 points", support::tortureInChild([] {
                  tracing::IClient& client = *tracing::client_helper->getClient();
                  client.emergencyLog(s_long);
                  client.registerThread(s_long);
                  const bool isRefused = client.registerTimeZone(s_long, 1) == -1;
                  return rightIf(isRefused && !tracing::client_helper->init(s_long) &&
                                 client.getClientId().empty());
              }));
}

} // namespace

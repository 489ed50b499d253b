// SPDX-License-Identifier: Apache-2.0
//
// The end of the client while a tool has the process called back.

#include <atomic>
#include <cstdlib>
#include <future>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

#include <common/tracing/Channel.h>
#include <common/tracing/IClient.h>
#include <common/tracing/log.h>
#include <support/ChildProcess.h>
#include <support/ControlTool.h>
#include <support/TemporaryFolder.h>

namespace {

using support::ChildResult;
using support::ControlTool;
using tracing::Channel;
using tracing::client_helper;
using tracing::IClient;

constexpr unsigned int REGISTER = Channel::FLAG_REGISTER;
constexpr unsigned int PATIENCE = 60; // seconds
constexpr int ROUNDS = 5;
constexpr int TIMES = 2000;

std::promise<void>* s_begun = nullptr;
/// Whether the client was there at the end of the callback.
std::atomic<bool> s_wasServed{false};

/// A name that is on the heap.
const char* const LONG_NAME = "net_with_a_name_that_is_longer_than_what_fits_on_the_spot";

Channel& localChannel()
{
    static Channel s_channel(LONG_NAME, 2, REGISTER | Channel::FLAG_LOCAL_NAME);
    return s_channel;
}

void logMuch(int, void*, unsigned int)
{
    s_begun->set_value();
    for (int i = 0; i < TIMES; ++i)
        ZEL_LOG(localChannel(), 2, "in the callback %d", i);
    s_wasServed = IClient::s_client != nullptr;
}

void buildMuch(int, void*, unsigned int)
{
    s_begun->set_value();
    for (int i = 0; i < TIMES; ++i) {
        Channel channel("built", 2, REGISTER);
        channel.log(1, "below the filter");
    }
    s_wasServed = IClient::s_client != nullptr;
}

/// Ends the client some times while `callback` is under way.
ChildResult endDuring(IClient::Callback callback)
{
    const support::TemporaryFolder folder;
    const std::string path = folder.pathOf("sock");
    return support::runInChild([&] {
        for (const char* const variable : {"ZEL_TRACE", "ZEL_TRACE_SINKS", "ZEL_TRACE_QUEUE"})
            unsetenv(variable);
        setenv("ZEL_TRACE_CONTROL", path.c_str(), 1);
        alarm(PATIENCE);
        localChannel();
        for (int i = 0; i < ROUNDS; ++i) {
            std::promise<void> begun;
            s_begun = &begun;
            s_wasServed = false;
            client_helper->init("pump");
            IClient::s_client->registerCallback("bye", callback);
            ControlTool tool(path);
            EXPECT_TRUE(tool.send("call bye -\n"));
            begun.get_future().wait();
            client_helper->deinit();
            EXPECT_TRUE(s_wasServed);
            EXPECT_EQ("ok\n", tool.rest());
        }
    });
}

TEST(HelperCallbacks, Deinit_CallbackLogs_WaitsForIt)
{
    const ChildResult child = endDuring(logMuch);
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ(0, child.signal);
}

TEST(HelperCallbacks, Deinit_CallbackBuildsChannels_WaitsForIt)
{
    const ChildResult child = endDuring(buildMuch);
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ(0, child.signal);
    EXPECT_EQ("", child.err);
}

} // namespace

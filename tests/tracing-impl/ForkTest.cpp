// SPDX-License-Identifier: Apache-2.0
//
// Processes that are forked off, also while other threads log.

#include <tracing-impl/Fork.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <common/tracing/Channel.h>
#include <common/tracing/ChannelList.h>
#include <support/ChildProcess.h>
#include <support/Descriptors.h>
#include <support/ForkedChild.h>
#include <support/RecordingSink.h>
#include <support/TraceLines.h>
#include <tracing-impl/CallbackObject.h>
#include <tracing-impl/Client.h>
#include <tracing-impl/CurrentThread.h>

namespace {

using support::RecordingSink;
using support::SinkRecord;
using tracing::Channel;
using tracing::ChannelList;
using tracing::impl::Client;
using tracing::impl::forkGeneration;
using tracing::impl::Message;
using tracing::impl::Sink;
using tracing::impl::TimeZones;

const std::string s_name = "pump";

TEST(Fork, Generation_IsTheSameInOneProcess)
{
    const unsigned int here = forkGeneration();
    EXPECT_EQ(here, forkGeneration());
    std::thread other([here] { EXPECT_EQ(here, forkGeneration()); });
    other.join();
}

TEST(Fork, Generation_IsAnotherInAChild)
{
    const unsigned int here = forkGeneration();
    EXPECT_EQ(0, support::runForked([here] {
                  const unsigned int child = forkGeneration();
                  const auto inGrandchild = [=] { return forkGeneration() == child ? 1 : 0; };
                  return child == here ? 2 : support::runForked(inGrandchild);
              }));
    EXPECT_EQ(here, forkGeneration());
}

TEST(Fork, ThreadId_IsTheChilds)
{
    EXPECT_EQ(gettid(), tracing::impl::currentThreadId());
    EXPECT_EQ(
        0, support::runForked([] { return tracing::impl::currentThreadId() == getpid() ? 0 : 1; }));
}

class NullSink : public Sink
{
public:
    void write(const Message&) override {}
};

/// A client whose channel four threads log on, and whose tree a fifth one changes.
class BusyClient
{
public:
    explicit BusyClient(std::size_t queueLength) : m_client(s_name, {}, queueLength, m_zones)
    {
        m_client.addSink(std::make_unique<NullSink>());
        ChannelList::getInstance()->setListener(&m_client);
        m_client.channelRegistered(&m_net);
        for (int i = 0; i < 4; ++i)
            m_threads.emplace_back([this] { log(); });
        m_threads.emplace_back([this] { change(); });
    }
    ~BusyClient()
    {
        m_isDone = true;
        for (std::thread& thread : m_threads)
            thread.join();
        ChannelList::getInstance()->setListener(nullptr);
    }

    TimeZones m_zones;
    Channel m_net{"net", 2, 0};
    Client m_client;

private:
    void log()
    {
        while (!m_isDone)
            m_net.log(2, "busy");
    }
    void change()
    {
        while (!m_isDone) {
            m_client.setLevel("net", 1);
            m_client.setLevel("net", 2);
            m_client.registerTimeZone("gps", 18);
        }
    }

    std::atomic<bool> m_isDone{false};
    std::vector<std::thread> m_threads;
};

/// In a child. Returns 0 if all is as it should be.
int useForked(BusyClient& busy)
{
    busy.m_net.log(2, "from the child");
    const Channel built("net_built", 3, Channel::FLAG_REGISTER);
    Channel named("named", 7, Channel::FLAG_REGISTER | Channel::FLAG_LOCAL_NAME);
    named.log(3, "named");
    named.log(2, "below the filter");
    busy.m_client.flushMessages(true);
    busy.m_client.emergencyLog("emergency");
    const bool isChanged = busy.m_client.changeChannelFilterLevel(&named, 0) ||
                           busy.m_client.disableChannel(&named) ||
                           busy.m_client.enableChannel(&named);
    return built.m_filterLevel == 3 && named.m_filterLevel == 3 && !isChanged ? 0 : 1;
}

TEST(Fork, Client_OthersLog_ChildLogsAndRegisters)
{
    const support::ChildResult child = support::runInChild([] {
        BusyClient busy(16);
        EXPECT_EQ(0, support::runForked([&busy] { return useForked(busy); }));
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("TIME info net [T] from the child\n"
              "TIME warning named [T] named\n"
              "emergency\n",
              support::bareLines(child.err));
}

TEST(Fork, Client_OthersLogAtOnce_ChildLogsAndRegisters)
{
    const support::ChildResult child = support::runInChild([] {
        BusyClient busy(0);
        EXPECT_EQ(0, support::runForked([&busy] { return useForked(busy); }));
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("TIME info net [T] from the child\n"
              "TIME warning named [T] named\n"
              "emergency\n",
              support::bareLines(child.err));
}

/// In a child. Returns 0 if nothing is registered there.
int registerForked(BusyClient& busy)
{
    class Ignoring : public tracing::CallbackObject
    {
        void called(int, void*, unsigned int) override {}
    } object;
    const auto ignore = [](int, void*, unsigned int) {};
    busy.m_client.updateTimeZone(0, 60);
    const bool isRefused = busy.m_client.registerCallback("function", ignore) == -1 &&
                           busy.m_client.registerCallback("object", &object) == -1 &&
                           busy.m_client.unregisterCallback(0) == -1 &&
                           busy.m_client.registerTimeZone("other", 60) == -1;
    return isRefused ? 0 : 1;
}

TEST(Fork, Client_OthersLog_ChildRegistersNothingElse)
{
    const support::ChildResult child = support::runInChild([] {
        BusyClient busy(16);
        EXPECT_EQ(0, busy.m_client.registerCallback("restart", [](int, void*, unsigned int) {}));
        EXPECT_EQ(0, support::runForked([&busy] { return registerForked(busy); }));
        EXPECT_EQ(0, busy.m_client.unregisterCallback(0));
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("", child.err);
}

/// In a child. Returns the filter of a channel that is built there.
int builtForked(short level)
{
    const Channel built("built", level, Channel::FLAG_REGISTER);
    return built.m_filterLevel;
}

TEST(Fork, Client_ChannelBuiltInAChild_HasItsLevelOrWarning)
{
    const support::ChildResult child = support::runInChild([] {
        BusyClient busy(16);
        EXPECT_EQ(0, support::runForked([] { return builtForked(0); }));
        EXPECT_EQ(6, support::runForked([] { return builtForked(6); }));
        EXPECT_EQ(8, support::runForked([] { return builtForked(8); }));
        EXPECT_EQ(3, support::runForked([] { return builtForked(7); }));
        EXPECT_EQ(3, support::runForked([] { return builtForked(9); }));
        EXPECT_EQ(3, support::runForked([] { return builtForked(-1); }));
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
}

TEST(Fork, Client_OthersLog_ManyChildren)
{
    const support::ChildResult child = support::runInChild([] {
        BusyClient busy(16);
        for (int i = 0; i < 20; ++i)
            EXPECT_EQ(0, support::runForked([&busy] {
                          const Channel built("built", 3, Channel::FLAG_REGISTER);
                          busy.m_net.log(2, "a");
                          return 0;
                      }));
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    std::string expected;
    for (int i = 0; i < 20; ++i)
        expected += "TIME info net [T] a\n";
    EXPECT_EQ(expected, support::bareLines(child.err));
}

TEST(Fork, Client_OthersLog_ParentGoesOn)
{
    const support::ChildResult child = support::runInChild([] {
        TimeZones zones;
        SinkRecord record;
        Channel net("net", 2, 0);
        Client client(s_name, {}, 16, zones);
        client.addSink(std::make_unique<RecordingSink>(record));
        client.channelRegistered(&net);
        EXPECT_EQ(0, support::runForked([&client] { return client.isForked() ? 0 : 1; }));
        EXPECT_FALSE(client.isForked());
        net.log(2, "a");
        client.flushMessages(true);
        EXPECT_EQ("changed net 2\ninfo net a\nflush\n", record.take());
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("", child.err);
}

/// Has three threads of this process, a child, log while it forks grandchildren that log and end.
/// Returns 0 if all of them end well.
int forkGrandchildren(Channel& net)
{
    constexpr int GRANDCHILDREN = 300;
    std::atomic<bool> isDone{false};
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i)
        threads.emplace_back([&] {
            while (!isDone)
                net.log(2, "from the child");
        });
    int failures = 0;
    for (int i = 0; i < GRANDCHILDREN && failures == 0; ++i)
        failures += support::runForked([&net] {
            net.log(2, "from the grandchild");
            return 0;
        });
    isDone = true;
    for (std::thread& thread : threads)
        thread.join();
    return failures;
}

TEST(Fork, Grandchildren_ChildLogs_LogAndEnd)
{
    const support::ChildResult child = support::runInChild([] {
        const support::Descriptor null(open("/dev/null", O_WRONLY | O_CLOEXEC));
        dup2(null, STDERR_FILENO); // which takes lines at once
        TimeZones zones;
        Channel net("net", 2, 0);
        Client client(s_name, {}, 0, zones);
        client.channelRegistered(&net);
        EXPECT_EQ(0, support::runForked([&net] { return forkGrandchildren(net); }));
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
}

} // namespace

// SPDX-License-Identifier: Apache-2.0
//
// The socket with many tools, and with some that do not behave.

#include <tracing-impl/ControlSocket.h>

#include <algorithm>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <support/ControlTool.h>
#include <support/ForkedChild.h>
#include <support/TemporaryFolder.h>

namespace {

using support::ControlTool;
using tracing::impl::ChannelState;
using tracing::impl::ControlSocket;
using tracing::impl::Watchers;

constexpr const char* SET = "set net_tcp off\n";

class ControlSocketPeersTest : public testing::Test
{
protected:
    ControlSocketPeersTest()
    {
        std::string reason;
        EXPECT_TRUE(m_socket->open(m_path, reason)) << reason;
    }

    support::TemporaryFolder m_folder;
    const std::string m_path = m_folder.pathOf("sock");
    support::RecordingTarget m_target;
    std::shared_ptr<Watchers> m_watchers = std::make_shared<Watchers>();
    std::unique_ptr<ControlSocket> m_socket = std::make_unique<ControlSocket>(m_target, m_watchers);
};

TEST_F(ControlSocketPeersTest, OneAfterAnother)
{
    for (int i = 0; i < 50; ++i) {
        ControlTool tool(m_path);
        EXPECT_EQ("ok\n", tool.ask(SET));
    }
}

TEST_F(ControlSocketPeersTest, Eight_AreServedAtTheSameTime)
{
    std::vector<std::unique_ptr<ControlTool>> tools;
    for (int i = 0; i < 8; ++i)
        tools.push_back(std::make_unique<ControlTool>(m_path));
    for (const auto& tool : tools)
        ASSERT_TRUE(tool->send("set net_"));
    for (const auto& tool : tools)
        EXPECT_EQ("ok\n", tool->ask("tcp off\n"));
}

TEST_F(ControlSocketPeersTest, Ninth_WaitsUntilOneGoes)
{
    std::vector<std::unique_ptr<ControlTool>> tools;
    for (int i = 0; i < 8; ++i) {
        tools.push_back(std::make_unique<ControlTool>(m_path));
        EXPECT_EQ("ok\n", tools.back()->ask(SET));
    }
    ControlTool ninth(m_path);
    ASSERT_TRUE(ninth.send(SET));
    for (int i = 0; i < 4; ++i) // in which time it would have been answered
        EXPECT_EQ("ok\n", tools.front()->ask(SET));
    EXPECT_FALSE(ninth.hasAnswer());
    tools[3].reset();
    EXPECT_EQ("ok\n", ninth.lines(1));
    EXPECT_EQ("ok\n", tools.back()->ask(SET));
}

TEST_F(ControlSocketPeersTest, SeveralThreads_EachGetsItsOwnAnswers)
{
    std::vector<std::thread> threads;
    for (const char* const name : {"a", "b", "c", "d"})
        threads.emplace_back([this, name] {
            ControlTool tool(m_path);
            const std::string request = std::string("set ") + name + " off\n";
            const std::string answer = std::string("error no such channel: ") + name + "\n";
            for (int i = 0; i < 50; ++i)
                EXPECT_EQ(answer, tool.ask(request));
        });
    for (std::thread& thread : threads)
        thread.join();
}

TEST_F(ControlSocketPeersTest, HangsUpInTheMiddleOfARequest_OthersAreServed)
{
    {
        ControlTool tool(m_path);
        ASSERT_TRUE(tool.send("set net_tcp of"));
    }
    EXPECT_EQ("ok\n", ControlTool(m_path).ask("call restart -\n"));
    EXPECT_EQ("call restart \n", m_target.take());
}

TEST_F(ControlSocketPeersTest, HangsUpBeforeTheAnswer_OthersAreServed)
{
    for (int i = 0; i < 50; ++i) {
        ControlTool tool(m_path);
        ASSERT_TRUE(tool.send("list\nlist\nlist\nlist\n"));
    }
    EXPECT_EQ("ok\n", ControlTool(m_path).ask(SET));
}

TEST_F(ControlSocketPeersTest, ConnectsAndSaysNothing_OthersAreServed)
{
    const ControlTool silent(m_path);
    EXPECT_EQ("ok\n", ControlTool(m_path).ask(SET));
}

/// An answer that no socket's buffer takes.
std::vector<ChannelState> manyChannels()
{
    const ChannelState channel{std::string(1000, 'x'), 1, 2, 2};
    return std::vector<ChannelState>(4000, channel);
}

TEST_F(ControlSocketPeersTest, DoesNotRead_IsHungUpOnAndOthersAreServed)
{
    m_target.setChannels(manyChannels());
    ControlTool lazy(m_path);
    ASSERT_TRUE(lazy.send("list\n"));
    ControlTool other(m_path);
    EXPECT_EQ("ok\n", other.ask(SET));
    const std::string text = lazy.rest();
    EXPECT_EQ("1 info info xxxx", text.substr(0, 16));
    EXPECT_GT(4000u * 1000u, text.size());
}

TEST_F(ControlSocketPeersTest, LongAnswer_IsWhole)
{
    m_target.setChannels(manyChannels());
    ControlTool tool(m_path);
    ASSERT_TRUE(tool.send("list\nwatch\nx\n"));
    const std::string text = tool.rest();
    const std::string end = "xxx\nok\nok\nerror there are no requests behind watch\n";
    EXPECT_EQ(4000u * 1013u - 4u + end.size(), text.size());
    EXPECT_EQ(end, text.substr(text.size() - end.size()));
}

TEST_F(ControlSocketPeersTest, WatcherDoesNotRead_OthersAreServed)
{
    ControlTool watcher(m_path);
    EXPECT_EQ("ok\n", watcher.ask("watch\n"));
    const std::string line(1000, 'x');
    for (int i = 0; i < 4000; ++i)
        m_watchers->show(line + "\n");
    EXPECT_EQ("ok\n", ControlTool(m_path).ask(SET));
    EXPECT_EQ(line + "\n", watcher.lines(1));
}

TEST_F(ControlSocketPeersTest, SlowWatcher_IsToldOfItsGapWithoutANextMessage)
{
    constexpr int MORE_THAN_A_SOCKET_TAKES = 1000;
    ControlTool watcher(m_path);
    EXPECT_EQ("ok\n", watcher.ask("watch\n"));
    for (int i = 0; i < MORE_THAN_A_SOCKET_TAKES; ++i)
        m_watchers->show(std::string(1000, 'x') + "\n");
    std::string line = watcher.lines(1);
    while (line[0] == 'x')
        line = watcher.lines(1);
    EXPECT_EQ(" messages missed)\n", line.substr(std::min(line.size(), line.find(' '))));
}

TEST_F(ControlSocketPeersTest, SeveralWatchers_AllSeeEverything)
{
    ControlTool one(m_path);
    ControlTool other(m_path);
    EXPECT_EQ("ok\n", one.ask("watch\n"));
    EXPECT_EQ("ok\n", other.ask("watch\n"));
    m_watchers->show("a\n");
    one.hangUp();
    m_watchers->show("b\n");
    EXPECT_EQ("a\nb\n", other.lines(2));
}

TEST_F(ControlSocketPeersTest, Destruction_HangsUpOnAll)
{
    ControlTool silent(m_path);
    ControlTool watcher(m_path);
    ControlTool middle(m_path);
    EXPECT_EQ("ok\n", watcher.ask("watch\n"));
    EXPECT_EQ("ok\n", middle.ask("set net_tcp off\nset net_"));
    EXPECT_EQ("ok\n", silent.ask(SET));
    m_socket.reset();
    EXPECT_EQ("", silent.rest());
    EXPECT_EQ("", watcher.rest());
    EXPECT_EQ("", middle.rest());
    EXPECT_FALSE(ControlTool(m_path).isConnected());
}

TEST_F(ControlSocketPeersTest, OtherUser_IsHungUpOn)
{
    if (geteuid() != 0) GTEST_SKIP() << "only root can be another user";
    ASSERT_EQ(0, chmod(m_folder.path().c_str(), 0755));
    ASSERT_EQ(0, chmod(m_path.c_str(), 0666));
    EXPECT_EQ(0, support::runForked([this] {
                  constexpr uid_t NOBODY = 65534;
                  if (setuid(NOBODY) != 0) return 2;
                  ControlTool tool(m_path);
                  if (!tool.isConnected()) return 3;
                  tool.send(SET);
                  return tool.rest().empty() ? 0 : 4;
              }));
    EXPECT_EQ("", m_target.take());
    EXPECT_EQ("ok\n", ControlTool(m_path).ask(SET));
}

TEST_F(ControlSocketPeersTest, OtherUser_IsKeptOutByTheMode)
{
    if (geteuid() != 0) GTEST_SKIP() << "only root can be another user";
    ASSERT_EQ(0, chmod(m_folder.path().c_str(), 0755));
    EXPECT_EQ(0, support::runForked([this] {
                  constexpr uid_t NOBODY = 65534;
                  if (setuid(NOBODY) != 0) return 2;
                  return ControlTool(m_path).isConnected() ? 3 : 0;
              }));
}

#ifndef SUPPORT_KEEPS_THREADS
TEST_F(ControlSocketPeersTest, Child_DoesNotRemoveTheSocket)
{
    EXPECT_EQ(0, support::runForked([this] {
                  m_socket.reset();
                  return 0;
              }));
    EXPECT_EQ("ok\n", ControlTool(m_path).ask(SET));
}
#endif

} // namespace

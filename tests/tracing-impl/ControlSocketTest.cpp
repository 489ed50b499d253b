// SPDX-License-Identifier: Apache-2.0
//
// The socket with one tool: its file, and requests as they come. Several tools, and hostile ones,
// are in ControlSocketPeersTest.cpp.

#include <tracing-impl/ControlSocket.h>

#include <fstream>
#include <memory>
#include <string>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <support/ControlTool.h>
#include <support/RecordingSink.h>
#include <support/TemporaryFolder.h>

namespace {

using support::ControlTool;
using tracing::impl::ControlSocket;
using tracing::impl::Watchers;

mode_t modeOf(const std::string& path)
{
    struct stat status = {};
    return lstat(path.c_str(), &status) == 0 ? status.st_mode : 0;
}

class ControlSocketTest : public testing::Test
{
protected:
    ~ControlSocketTest() override { umask(m_umask); }

    /// Returns the reason if that fails.
    std::string open(ControlSocket& socket)
    {
        std::string reason = "none";
        return socket.open(m_path, reason) ? "served" : reason;
    }

    const mode_t m_umask = umask(0);
    support::TemporaryFolder m_folder;
    const std::string m_path = m_folder.pathOf("sock");
    support::RecordingTarget m_target;
    std::shared_ptr<Watchers> m_watchers = std::make_shared<Watchers>();
};

TEST_F(ControlSocketTest, Open_IsForTheOwnerAlone)
{
    ControlSocket socket(m_target, m_watchers);
    ASSERT_EQ("served", open(socket));
    EXPECT_EQ(mode_t(S_IFSOCK | 0600), modeOf(m_path));
}

TEST_F(ControlSocketTest, Open_NarrowUmask_LeavesWhatItLeaves)
{
    umask(0777);
    ControlSocket socket(m_target, m_watchers);
    ASSERT_EQ("served", open(socket));
    EXPECT_EQ(mode_t(S_IFSOCK), modeOf(m_path));
}

TEST_F(ControlSocketTest, Destruction_RemovesTheSocket)
{
    {
        ControlSocket socket(m_target, m_watchers);
        ASSERT_EQ("served", open(socket));
    }
    EXPECT_EQ(mode_t(0), modeOf(m_path));
}

TEST_F(ControlSocketTest, Destruction_NeverOpened_DoesNothing)
{
    std::ofstream(m_path) << "a file";
    {
        ControlSocket socket(m_target, m_watchers);
    }
    EXPECT_NE(mode_t(0), modeOf(m_path));
}

TEST_F(ControlSocketTest, Destruction_SomebodyElsesFile_Stays)
{
    {
        ControlSocket socket(m_target, m_watchers);
        ASSERT_EQ("served", open(socket));
        // beside the socket, whose number the file would else be given
        std::ofstream(m_folder.pathOf("other")) << "a file";
        ASSERT_EQ(0, rename(m_folder.pathOf("other").c_str(), m_path.c_str()));
    }
    EXPECT_TRUE(S_ISREG(modeOf(m_path)));
}

TEST_F(ControlSocketTest, Destruction_HangsUp)
{
    auto socket = std::make_unique<ControlSocket>(m_target, m_watchers);
    ASSERT_EQ("served", open(*socket));
    ControlTool tool(m_path);
    EXPECT_EQ("ok\n", tool.ask("watch\n"));
    EXPECT_FALSE(m_watchers->isEmpty());
    socket.reset();
    EXPECT_EQ("", tool.rest());
    EXPECT_TRUE(m_watchers->isEmpty());
}

TEST_F(ControlSocketTest, Open_Abandoned_IsReplaced)
{
    support::abandonSocket(m_path);
    ControlSocket socket(m_target, m_watchers);
    ASSERT_EQ("served", open(socket));
    EXPECT_EQ(mode_t(S_IFSOCK | 0600), modeOf(m_path));
    ControlTool tool(m_path);
    EXPECT_EQ("ok\n", tool.ask("set net_tcp info\n"));
}

TEST_F(ControlSocketTest, Open_Served_IsRefused)
{
    ControlSocket socket(m_target, m_watchers);
    ASSERT_EQ("served", open(socket));
    {
        ControlSocket other(m_target, m_watchers);
        EXPECT_EQ("Address already in use", open(other));
    }
    ControlTool tool(m_path);
    EXPECT_EQ("ok\n", tool.ask("set net_tcp info\n"));
}

TEST_F(ControlSocketTest, Open_FileInTheWay_IsRefusedAndStays)
{
    std::ofstream(m_path) << "a file";
    {
        ControlSocket socket(m_target, m_watchers);
        EXPECT_EQ("Address already in use", open(socket));
    }
    EXPECT_TRUE(S_ISREG(modeOf(m_path)));
}

TEST_F(ControlSocketTest, Open_LinkInTheWay_IsRefusedAndStays)
{
    ASSERT_EQ(0, symlink("elsewhere", m_path.c_str()));
    {
        ControlSocket socket(m_target, m_watchers);
        EXPECT_EQ("Address already in use", open(socket));
    }
    EXPECT_TRUE(S_ISLNK(modeOf(m_path)));
}

TEST_F(ControlSocketTest, Open_NoFolder_IsRefused)
{
    ControlSocket socket(m_target, m_watchers);
    std::string reason;
    EXPECT_FALSE(socket.open(m_folder.pathOf("none/sock"), reason));
    EXPECT_EQ("No such file or directory", reason);
}

TEST_F(ControlSocketTest, Open_PathTooLong_IsRefused)
{
    const std::string longest = m_path + std::string(107 - m_path.size(), 'x');
    std::string reason;
    ControlSocket refused(m_target, m_watchers);
    EXPECT_FALSE(refused.open(longest + "x", reason));
    EXPECT_EQ("File name too long", reason);
    ControlSocket socket(m_target, m_watchers);
    EXPECT_TRUE(socket.open(longest, reason));
    EXPECT_EQ(mode_t(S_IFSOCK | 0600), modeOf(longest));
    EXPECT_TRUE(ControlTool(longest).isConnected());
}

class ServedSocketTest : public ControlSocketTest
{
protected:
    ServedSocketTest() { EXPECT_EQ("served", open(m_socket)); }

    ControlSocket m_socket{m_target, m_watchers};
};

TEST_F(ServedSocketTest, Requests_OneByOne)
{
    ControlTool tool(m_path);
    EXPECT_EQ("1 info info net\n2 none info net_tcp\nok\n", tool.ask("list\n", 3));
    EXPECT_EQ("ok\n", tool.ask("set net_tcp debug\n"));
    EXPECT_EQ("error no such channel: udp\n", tool.ask("set udp debug\n"));
    EXPECT_EQ("ok\n", tool.ask("call restart 6e6f77\n"));
    EXPECT_EQ("error no such request: \n", tool.ask("\n"));
    EXPECT_EQ("set net_tcp 1\nset udp 1\ncall restart now\n", m_target.take());
}

TEST_F(ServedSocketTest, Requests_SeveralAtOnce)
{
    ControlTool tool(m_path);
    EXPECT_EQ("ok\nerror no such request: x\n1 info info net\n2 none info net_tcp\nok\n",
              tool.ask("set net_tcp debug\nx\nlist\n", 5));
}

TEST_F(ServedSocketTest, Requests_ByteByByte)
{
    ControlTool tool(m_path);
    for (const char* const byte : {"s", "e", "t", " ", "n", "e", "t", "_", "t", "c", "p", " "})
        ASSERT_TRUE(tool.send(byte));
    EXPECT_EQ("ok\n", tool.ask("off\n"));
    EXPECT_EQ("set net_tcp 6\n", m_target.take());
}

TEST_F(ServedSocketTest, Requests_EndOfOneAndBeginningOfTheNext)
{
    ControlTool tool(m_path);
    ASSERT_TRUE(tool.send("set net_tcp"));
    EXPECT_EQ("ok\n", tool.ask(" off\nset net_"));
    EXPECT_EQ("ok\n", tool.ask("tcp info\n"));
    EXPECT_EQ("set net_tcp 6\nset net_tcp 2\n", m_target.take());
}

TEST_F(ServedSocketTest, Requests_HostileBytes)
{
    ControlTool tool(m_path);
    EXPECT_EQ("error no such request: \\x00\xff\\x1b[2J\\r\n",
              tool.ask(std::string("\0\xff\x1b[2J\r\n", 8)));
    EXPECT_EQ("error no such level: \\x00\n", tool.ask(std::string("set net_tcp \0\n", 14)));
    EXPECT_EQ("ok\n", tool.ask("set net_tcp off\n"));
}

TEST_F(ServedSocketTest, Request_Longest_IsAnswered)
{
    ControlTool tool(m_path);
    const std::string text(1024, 'x');
    EXPECT_EQ("error no such request: " + text + "\n", tool.ask(text + "\n"));
    EXPECT_EQ("ok\n", tool.ask("set net_tcp off\n"));
}

TEST_F(ServedSocketTest, Request_TooLong_IsAnsweredWithAnError)
{
    ControlTool tool(m_path);
    EXPECT_EQ("error the request is too long\n", tool.ask(std::string(1025, 'x') + "\n"));
    EXPECT_EQ("", m_target.take());
}

TEST_F(ServedSocketTest, Request_TooLongWithoutAnEnd_IsHungUpOn)
{
    ControlTool tool(m_path);
    ASSERT_TRUE(tool.send(std::string(1025, 'x')));
    EXPECT_EQ("error the request is too long\n", tool.rest());
    EXPECT_EQ("", m_target.take());
}

TEST_F(ServedSocketTest, Request_EndlesslyLong_IsHungUpOn)
{
    ControlTool tool(m_path);
    const std::string block(4096, '\0');
    while (tool.send(block)) {} // until it is hung up on
    EXPECT_EQ("ok\n", ControlTool(m_path).ask("set net_tcp off\n"));
}

TEST_F(ServedSocketTest, Request_WithoutAnEnd_IsAnErrorAndDoesNothing)
{
    ControlTool tool(m_path);
    ASSERT_TRUE(tool.send("set net_tcp info\nset net_tcp off"));
    tool.endRequests();
    EXPECT_EQ("ok\nerror the request has no end\n", tool.rest());
    EXPECT_EQ("set net_tcp 2\n", m_target.take());
}

TEST_F(ServedSocketTest, Request_NoneAfterTheLast_IsNoError)
{
    ControlTool tool(m_path);
    ASSERT_TRUE(tool.send("set net_tcp info\n"));
    tool.endRequests();
    EXPECT_EQ("ok\n", tool.rest());
    ControlTool silent(m_path);
    silent.endRequests();
    EXPECT_EQ("", silent.rest());
}

TEST_F(ServedSocketTest, Watch_ShowsWhatComesFromThenOn)
{
    ControlTool tool(m_path);
    m_watchers->show("before\n");
    EXPECT_EQ("ok\n", tool.ask("watch\n"));
    m_watchers->show("a\n");
    m_watchers->show("b\n");
    EXPECT_EQ("a\nb\n", tool.lines(2));
}

TEST_F(ServedSocketTest, Watch_RequestBehindIt_IsAnErrorAndHungUpOn)
{
    ControlTool tool(m_path);
    ASSERT_TRUE(tool.send("watch\nset net_tcp off\n"));
    EXPECT_EQ("ok\nerror there are no requests behind watch\n", tool.rest());
    EXPECT_EQ("", m_target.take());
    ControlTool other(m_path);
    EXPECT_EQ("ok\n", other.ask("set net_tcp off\n"));
    EXPECT_TRUE(m_watchers->isEmpty());
}

TEST_F(ServedSocketTest, Watch_ToolHangsUp_IsForgotten)
{
    {
        ControlTool tool(m_path);
        EXPECT_EQ("ok\n", tool.ask("watch\n"));
    }
    // The one that came later is served by the same thread, after the hang-up was noticed.
    ControlTool other(m_path);
    EXPECT_EQ("ok\n", other.ask("set net_tcp off\n"));
    EXPECT_TRUE(m_watchers->isEmpty());
    m_watchers->show("a\n");
}

} // namespace

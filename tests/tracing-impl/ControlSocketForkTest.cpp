// SPDX-License-Identifier: Apache-2.0
//
// The socket of a process that forks, and of one without standard streams.

#include <tracing-impl/ControlSocket.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <support/ControlTool.h>
#include <support/Descriptors.h>
#include <support/ForkedChild.h>
#include <support/TemporaryFolder.h>

namespace {

using support::ControlTool;
using support::Pipe;
using tracing::impl::ControlSocket;
using tracing::impl::Watchers;

constexpr unsigned int PATIENCE = 120; // seconds
constexpr const char* SET = "set net_tcp off\n";

class ControlSocketFork : public testing::Test
{
protected:
    /// Returns whether that went well.
    bool open(ControlSocket& socket)
    {
        std::string reason;
        return socket.open(m_path, reason);
    }

    support::TemporaryFolder m_folder;
    const std::string m_path = m_folder.pathOf("sock");
    support::RecordingTarget m_target;
    std::shared_ptr<Watchers> m_watchers = std::make_shared<Watchers>();
};

bool isOpen(int fd)
{
    return fcntl(fd, F_GETFD) != -1;
}

/// A process that serves the socket, and that ends at a command without another word, while its
/// child lives on.
class MortalProcess
{
public:
    template <typename Serve>
    explicit MortalProcess(const Serve& serve) : m_id(fork())
    {
        if (m_id != 0) {
            m_life.writer.close();
            return;
        }
        alarm(PATIENCE);
        const auto socket = serve();
        m_life.writer.put("s");
        m_command.reader.take();
        if (fork() == 0) outlive();
        _exit(0);
    }
    ~MortalProcess() { m_end.writer.close(); }

    /// Returns whether the process serves.
    bool isReady() const { return m_life.reader.take() == "s"; }
    /// Returns when the process is dead, and its child alone.
    void die()
    {
        m_command.writer.put("d");
        while (waitpid(m_id, nullptr, 0) < 0) {}
        EXPECT_EQ("c", m_life.reader.take());
    }
    /// Returns whether the child was there to the end.
    bool endChild()
    {
        m_end.writer.put("e");
        return m_life.reader.take() == "e";
    }

private:
    [[noreturn]] void outlive()
    {
        alarm(PATIENCE);
        m_life.writer.put("c");
        m_end.writer.close();
        const std::string last = m_end.reader.take();
        m_life.writer.put(last);
        _exit(0);
    }

    Pipe m_command;
    Pipe m_life;
    Pipe m_end;
    const pid_t m_id;
};

TEST_F(ControlSocketFork, ChildOutlivesTheProcess_ToolSeesTheEnd)
{
    MortalProcess process([this] {
        auto socket = std::make_unique<ControlSocket>(m_target, m_watchers);
        open(*socket);
        return socket;
    });
    ASSERT_TRUE(process.isReady());
    ControlTool tool(m_path);
    EXPECT_EQ("ok\n", tool.ask(SET));
    process.die();
    EXPECT_EQ("", tool.rest());
    EXPECT_TRUE(process.endChild());
}

TEST_F(ControlSocketFork, ChildOutlivesTheProcess_SocketIsReplaced)
{
    MortalProcess process([this] {
        auto socket = std::make_unique<ControlSocket>(m_target, m_watchers);
        open(*socket);
        return socket;
    });
    ASSERT_TRUE(process.isReady());
    process.die();
    EXPECT_FALSE(ControlTool(m_path).isConnected());
    {
        ControlSocket socket(m_target, m_watchers);
        EXPECT_TRUE(open(socket));
        EXPECT_EQ("ok\n", ControlTool(m_path).ask(SET));
    }
    EXPECT_TRUE(process.endChild());
}

TEST_F(ControlSocketFork, Child_DestroysTheSocket_ClosesNothingOfItsOwn)
{
    auto socket = std::make_unique<ControlSocket>(m_target, m_watchers);
    support::Descriptor before(dup(STDIN_FILENO));
    const int number = before; // which the socket is given
    before.close();
    ASSERT_TRUE(open(*socket));
    EXPECT_EQ(0, support::runForked([&] {
                  const support::Descriptor own(dup(STDIN_FILENO));
                  if (own != number) return 1;
                  socket.reset();
                  return isOpen(own) ? 0 : 2;
              }));
    EXPECT_EQ("ok\n", ControlTool(m_path).ask(SET));
}

/// Returns whether a child has all of the next ten descriptors.
bool childHasTheNext()
{
    std::vector<std::unique_ptr<support::Descriptor>> own;
    for (int i = 0; i < 10; ++i)
        own.push_back(std::make_unique<support::Descriptor>(dup(STDIN_FILENO)));
    return support::runForked([&own] {
               const auto isThere = [](const auto& fd) { return isOpen(*fd); };
               return std::all_of(own.begin(), own.end(), isThere) ? 0 : 1;
           }) == 0;
}

TEST_F(ControlSocketFork, Destruction_ChildKeepsWhatHasTheNumbersThen)
{
    {
        ControlSocket socket(m_target, m_watchers);
        ASSERT_TRUE(open(socket));
        EXPECT_EQ("ok\n", ControlTool(m_path).ask(SET));
    }
    EXPECT_TRUE(childHasTheNext());
}

TEST_F(ControlSocketFork, ToolsHangUp_ChildKeepsWhatHasTheirNumbersThen)
{
    ControlSocket socket(m_target, m_watchers);
    ASSERT_TRUE(open(socket));
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ("ok\n", ControlTool(m_path).ask(SET));
    ControlTool last(m_path); // by which the others are gone
    EXPECT_EQ("ok\n", last.ask(SET));
    EXPECT_TRUE(childHasTheNext());
}

TEST_F(ControlSocketFork, NotOpened_ChildKeepsWhatHasTheNumbersThen)
{
    std::string reason;
    ControlSocket socket(m_target, m_watchers);
    EXPECT_FALSE(socket.open(m_folder.pathOf("none/sock"), reason));
    EXPECT_TRUE(childHasTheNext());
}

/// Without standard streams. Returns 0 if a tool is served that has the place of the first one, and
/// the others stay free.
int serveWithoutStreams(const std::string& path)
{
    support::RecordingTarget target;
    std::string reason;
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        close(fd);
    ControlSocket socket(target, std::make_shared<Watchers>());
    if (!socket.open(path, reason)) return 1;
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (isOpen(fd)) return 2;
    ControlTool tool(path);
    if (tool.ask(SET) != "ok\n") return 3;
    return isOpen(STDIN_FILENO) && !isOpen(STDOUT_FILENO) && !isOpen(STDERR_FILENO) ? 0 : 4;
}

TEST_F(ControlSocketFork, NoStandardStreams_ServesAndLeavesTheirPlacesFree)
{
    EXPECT_EQ(0, support::runForked([this] { return serveWithoutStreams(m_path); }));
}

} // namespace

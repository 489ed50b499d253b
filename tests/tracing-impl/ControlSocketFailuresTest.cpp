// SPDX-License-Identifier: Apache-2.0
//
// The socket when the system has nothing left, or somebody else's things are in the way.

#include <tracing-impl/ControlSocket.h>

#include <csignal>
#include <memory>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <support/ChildProcess.h>
#include <support/ControlTool.h>
#include <support/Descriptors.h>
#include <support/ForkedChild.h>
#include <support/TemporaryFolder.h>

namespace {

using support::ControlTool;
using support::Descriptor;
using tracing::impl::ControlSocket;
using tracing::impl::Watchers;

constexpr const char* SET = "set net_tcp off\n";
constexpr uid_t STRANGER = 65534;

/// Returns the address of a path that is not too long.
sockaddr_un addressOf(const std::string& path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

/// While it exists, the process can have `more` descriptors beside those that it has.
class DescriptorLimit
{
public:
    explicit DescriptorLimit(int more)
    {
        constexpr int LEAST = 16; // poll takes no more entries than there can be descriptors
        int next = dup(STDERR_FILENO);
        while (next + more < LEAST)
            next = dup(STDERR_FILENO);
        close(next);
        getrlimit(RLIMIT_NOFILE, &m_before);
        const rlimit limit = {static_cast<rlim_t>(next + more), m_before.rlim_max};
        EXPECT_EQ(0, setrlimit(RLIMIT_NOFILE, &limit));
    }
    ~DescriptorLimit() { setrlimit(RLIMIT_NOFILE, &m_before); }
    DescriptorLimit(const DescriptorLimit&) = delete;
    DescriptorLimit& operator=(const DescriptorLimit&) = delete;

private:
    rlimit m_before = {};
};

/// Returns how many descriptors a program would have that is started now.
int inherited()
{
    constexpr int MOST = 256;
    int count = 0;
    for (int fd = 0; fd < MOST; ++fd) {
        const int flags = fcntl(fd, F_GETFD);
        if (flags != -1 && (flags & FD_CLOEXEC) == 0) ++count;
    }
    return count;
}

class ControlSocketFailures : public testing::Test
{
protected:
    /// Returns the reason if that fails.
    std::string open(ControlSocket& control, const std::string& path)
    {
        std::string reason = "none";
        return control.open(path, reason) ? "served" : reason;
    }
    std::string open(ControlSocket& control) { return open(control, m_path); }
    /// Has `fd` take the path's place.
    void occupy(int fd) const
    {
        const sockaddr_un address = addressOf(m_path);
        ASSERT_EQ(0, bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address));
    }

    support::TemporaryFolder m_folder;
    const std::string m_path = m_folder.pathOf("sock");
    support::RecordingTarget m_target;
    std::shared_ptr<Watchers> m_watchers = std::make_shared<Watchers>();
};

TEST_F(ControlSocketFailures, Open_NoPath_IsRefused)
{
    ControlSocket control(m_target, m_watchers);
    EXPECT_EQ("File name too long", open(control, ""));
}

TEST_F(ControlSocketFailures, Open_SocketOfAnotherKindInTheWay_IsRefusedAndStays)
{
    const Descriptor served(socket(AF_UNIX, SOCK_DGRAM, 0));
    occupy(served);
    ControlSocket control(m_target, m_watchers);
    EXPECT_EQ("Address already in use", open(control));
    EXPECT_EQ(0, access(m_path.c_str(), F_OK));
}

TEST_F(ControlSocketFailures, Open_ServedWithoutRoomForATool_IsRefusedAtOnce)
{
    const Descriptor served(socket(AF_UNIX, SOCK_STREAM, 0));
    occupy(served);
    ASSERT_EQ(0, listen(served, 0));
    const ControlTool waiting(m_path); // in the only place
    ASSERT_TRUE(waiting.isConnected());
    ControlSocket control(m_target, m_watchers);
    EXPECT_EQ("Address already in use", open(control));
}

TEST_F(ControlSocketFailures, Open_AbandonedByAnotherUser_IsRefusedAndStays)
{
    if (geteuid() != 0) GTEST_SKIP() << "only root can be another user";
    occupy(Descriptor(socket(AF_UNIX, SOCK_STREAM, 0)));
    ASSERT_EQ(0, chown(m_path.c_str(), STRANGER, STRANGER));
    ControlSocket control(m_target, m_watchers);
    EXPECT_EQ("Address already in use", open(control));
    EXPECT_EQ(0, access(m_path.c_str(), F_OK));
}

TEST_F(ControlSocketFailures, Open_LinkToAnAbandonedSocket_IsRefusedAndStays)
{
    occupy(Descriptor(socket(AF_UNIX, SOCK_STREAM, 0)));
    const std::string link = m_folder.pathOf("link");
    ASSERT_EQ(0, symlink(m_path.c_str(), link.c_str()));
    ControlSocket control(m_target, m_watchers);
    EXPECT_EQ("Address already in use", open(control, link));
    EXPECT_EQ(0, access(link.c_str(), F_OK));
}

TEST_F(ControlSocketFailures, Open_TooFewDescriptors_IsRefused)
{
    for (const int more : {0, 1, 2}) { // for the socket, and two to end the thread
        const support::ChildResult child = support::runInChild([&] {
            ControlSocket control(m_target, m_watchers);
            const DescriptorLimit limit(more);
            EXPECT_EQ("Too many open files", open(control));
        });
        EXPECT_EQ(0, child.exitCode) << child.out;
        EXPECT_NE(0, access(m_path.c_str(), F_OK));
    }
}

TEST_F(ControlSocketFailures, Open_NoThread_IsRefused)
{
    const support::ChildResult child = support::runInChild([&] {
        constexpr std::size_t MORE_THAN_THERE_IS = ~std::size_t(0) / 8 * 7 & ~std::size_t(0xFFFF);
        pthread_attr_t attributes;
        pthread_attr_init(&attributes);
        pthread_attr_setstacksize(&attributes, MORE_THAN_THERE_IS);
        pthread_setattr_default_np(&attributes);
        ControlSocket control(m_target, m_watchers);
        EXPECT_EQ("Resource temporarily unavailable", open(control));
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_NE(0, access(m_path.c_str(), F_OK));
}

TEST_F(ControlSocketFailures, Open_Refused_ClosesItsDescriptor)
{
    ControlSocket control(m_target, m_watchers);
    const int next = dup(STDERR_FILENO);
    close(next);
    EXPECT_EQ("No such file or directory", open(control, m_folder.pathOf("none/sock")));
    EXPECT_EQ(next, Descriptor(dup(STDERR_FILENO)));
}

TEST_F(ControlSocketFailures, Accept_NoDescriptor_IsServedWhenThereIsOne)
{
    const support::ChildResult child = support::runInChild([&] {
        ControlSocket control(m_target, m_watchers);
        ASSERT_EQ("served", open(control));
        ControlTool first(m_path);
        EXPECT_EQ("ok\n", first.ask(SET));
        auto limit = std::make_unique<DescriptorLimit>(1);
        ControlTool second(m_path); // for which no descriptor is left
        EXPECT_TRUE(second.isConnected());
        EXPECT_TRUE(second.send("list\n"));
        EXPECT_EQ("ok\n", first.ask(SET));
        EXPECT_EQ("ok\n", first.ask(SET)); // in a round behind the one that did not accept
        EXPECT_FALSE(second.hasAnswer());
        limit.reset();
        EXPECT_EQ("1 info info net\n2 none info net_tcp\nok\n", second.lines(3));
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
}

TEST_F(ControlSocketFailures, Descriptors_AreNotForOtherPrograms)
{
    const int before = inherited();
    ControlSocket control(m_target, m_watchers);
    ASSERT_EQ("served", open(control));
    ControlTool tool(m_path);
    EXPECT_EQ("ok\n", tool.ask(SET));
    EXPECT_EQ(before, inherited());
}

TEST_F(ControlSocketFailures, Descriptors_AllAreClosed)
{
    const int next = dup(STDERR_FILENO);
    close(next);
    {
        ControlSocket control(m_target, m_watchers);
        ASSERT_EQ("served", open(control));
        EXPECT_EQ("ok\n", ControlTool(m_path).ask(SET));
        ControlTool tool(m_path);
        EXPECT_EQ("ok\n", tool.ask("watch\n"));
    }
    EXPECT_EQ(next, Descriptor(dup(STDERR_FILENO)));
}

/// Throws what it is called with, and writes down the thread's signals.
class ThrowingTarget : public support::RecordingTarget
{
public:
    bool call(const std::string& name, std::string bytes) override
    {
        sigset_t held;
        pthread_sigmask(SIG_SETMASK, nullptr, &held);
        holdsSignals = sigismember(&held, SIGTERM) == 1 && sigismember(&held, SIGSEGV) == 0;
        if (name == "throw") throw std::runtime_error(bytes);
        return true;
    }

    bool holdsSignals = false;
};

TEST_F(ControlSocketFailures, TargetThrows_ToolsAreHungUpOnAndOthersAreServed)
{
    ThrowingTarget target;
    ControlSocket control(target, m_watchers);
    ASSERT_EQ("served", open(control));
    ControlTool tool(m_path);
    ControlTool watcher(m_path);
    EXPECT_EQ("ok\n", watcher.ask("watch\n"));
    EXPECT_TRUE(tool.send("call throw -\n"));
    EXPECT_EQ("", tool.rest());
    EXPECT_EQ("", watcher.rest());
    EXPECT_EQ("ok\n", ControlTool(m_path).ask(SET));
    EXPECT_TRUE(m_watchers->isEmpty());
}

TEST_F(ControlSocketFailures, Thread_HoldsTheProgramsSignalsBack)
{
    ThrowingTarget target;
    ControlSocket control(target, m_watchers);
    ASSERT_EQ("served", open(control));
    EXPECT_EQ("ok\n", ControlTool(m_path).ask("call restart -\n"));
    EXPECT_TRUE(target.holdsSignals);
    sigset_t held;
    pthread_sigmask(SIG_SETMASK, nullptr, &held);
    EXPECT_EQ(0, sigismember(&held, SIGTERM));
}

TEST_F(ControlSocketFailures, Root_IsServedByAnotherUser)
{
    if (geteuid() != 0) GTEST_SKIP() << "only root can be another user";
    ASSERT_EQ(0, chmod(m_folder.path().c_str(), 0777));
    const support::ChildResult child = support::runInChild([&] {
        ASSERT_EQ(0, seteuid(STRANGER));
        ControlSocket control(m_target, m_watchers);
        ASSERT_EQ("served", open(control));
        EXPECT_EQ(0, support::runForked([this] {
                      if (seteuid(0) != 0) return 2;
                      return ControlTool(m_path).ask(SET) == "ok\n" ? 0 : 3;
                  }));
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
}

} // namespace

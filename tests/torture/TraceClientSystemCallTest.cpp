// SPDX-License-Identifier: Apache-2.0
//
// Each call of the system that the control socket makes, failing: when it is opened, while it
// serves, and at its end. A tool is answered or hung up on, and the next one is served. And a time
// of day that cannot be had.

#include "support/FailingCall.h"

#include <cerrno>
#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <string>

#include <common/tracing/Channel.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <tracing-impl/Client.h>
#include <tracing-impl/ControlSocket.h>
#include <tracing-impl/Watchers.h>
#include <unistd.h>

#include "support/ControlTool.h"
#include "support/RecordingSink.h"
#include "support/TemporaryFolder.h"

namespace {

using support::ControlTool;
using support::EACH_CALL;
using support::FailingCall;
using support::FailingCallElsewhere;
using tracing::impl::ControlSocket;
using tracing::impl::Message;
using tracing::impl::Sink;
using tracing::impl::Watchers;

constexpr const char* SET = "set net_tcp off\n";
constexpr unsigned int PATIENCE = 60; // seconds

/// Returns how many descriptors the process has.
int descriptors()
{
    int count = 0;
    for (int fd = 0; fd < 64; ++fd)
        count += fcntl(fd, F_GETFD) != -1 ? 1 : 0;
    return count;
}

class ControlSystemCall : public testing::Test
{
protected:
    ControlSystemCall() { alarm(PATIENCE); }
    ~ControlSystemCall() override { alarm(0); }

    std::string openFailing(const char* call, int code)
    {
        std::string reason = "served";
        const int before = descriptors();
        {
            ControlSocket control(m_target, m_watchers);
            const FailingCall failing(call, code);
            EXPECT_FALSE(control.open(m_path, reason)) << call;
            EXPECT_EQ(1, failing.calls()) << call;
        }
        EXPECT_EQ(before, descriptors()) << call;
        EXPECT_NE(0, access(m_path.c_str(), F_OK)) << call;
        EXPECT_EQ("ok\n", askAnew()) << call;
        return reason;
    }
    /// Asks a socket that is opened for that.
    std::string askAnew()
    {
        ControlSocket control(m_target, m_watchers);
        std::string reason;
        if (!control.open(m_path, reason)) return reason;
        return ControlTool(m_path).ask(SET);
    }
    /// Asks while `count` of those calls of the socket's thread fail. Returns the answer, which may
    /// be the end. The next tool is served.
    std::string askFailing(const char* call, int code, int count = 1)
    {
        ControlSocket control(m_target, m_watchers);
        std::string reason;
        EXPECT_TRUE(control.open(m_path, reason)) << reason;
        std::string answer;
        {
            const FailingCallElsewhere failing(call, code, count);
            ControlTool tool(m_path);
            tool.send(SET);
            answer = tool.lines(1);
            EXPECT_LE(count, failing.calls()) << call;
        }
        EXPECT_EQ("ok\n", ControlTool(m_path).ask(SET)) << call << ' ' << code;
        return answer;
    }

    const support::TemporaryFolder m_folder;
    const std::string m_path = m_folder.pathOf("sock");
    support::RecordingTarget m_target;
    const std::shared_ptr<Watchers> m_watchers = std::make_shared<Watchers>();
};

TEST_F(ControlSystemCall, Open_Fails)
{
    EXPECT_EQ("Too many open files", openFailing("socket", EMFILE));
    EXPECT_EQ("Cannot allocate memory", openFailing("socket", ENOMEM));
    EXPECT_EQ("Operation not permitted", openFailing("fchmod", EPERM));
    EXPECT_EQ("Permission denied", openFailing("bind", EACCES));
    EXPECT_EQ("Read-only file system", openFailing("bind", EROFS));
    EXPECT_EQ("Address already in use", openFailing("listen", EADDRINUSE));
    EXPECT_EQ("Too many open files", openFailing("pipe2", EMFILE));
    for (const char* const call : {"socket", "fchmod", "bind", "listen", "pipe2"})
        EXPECT_EQ("Invalid cross-device link", openFailing(call, EXDEV)) << call;
}

/// As `openFailing`, for what asks of the path before it is bound, and after.
TEST_F(ControlSystemCall, Open_PathCannotBeLookedAt_LeavesNoFile)
{
    for (const int code : {EACCES, EXDEV}) {
        std::string reason;
        {
            ControlSocket control(m_target, m_watchers);
            const FailingCall failing("lstat", code, EACH_CALL);
            EXPECT_FALSE(control.open(m_path, reason));
            EXPECT_EQ(2, failing.calls());
        }
        EXPECT_EQ(std::strerror(code), reason);
        EXPECT_NE(0, access(m_path.c_str(), F_OK));
    }
}

TEST_F(ControlSystemCall, Open_Abandoned_CannotBeTriedOrRemoved_IsRefusedAndStays)
{
    support::abandonSocket(m_path);
    for (const char* const call : {"connect", "unlink"})
        for (const int code : {EACCES, EXDEV}) {
            ControlSocket control(m_target, m_watchers);
            std::string reason;
            const FailingCall failing(call, code);
            EXPECT_FALSE(control.open(m_path, reason)) << call;
            EXPECT_EQ("Address already in use", reason);
            EXPECT_EQ(1, failing.calls());
        }
    EXPECT_EQ(0, access(m_path.c_str(), F_OK));
    EXPECT_EQ("ok\n", askAnew());
}

TEST_F(ControlSystemCall, Accept_Fails_IsTriedAgain)
{
    EXPECT_EQ("ok\n", askFailing("accept4", EINTR, 3));
    EXPECT_EQ("ok\n", askFailing("accept4", EAGAIN));
    EXPECT_EQ("ok\n", askFailing("accept4", ECONNABORTED, 3));
    EXPECT_EQ("ok\n", askFailing("accept4", EPERM, 3));
    EXPECT_EQ("ok\n", askFailing("accept4", EPROTO, 3));
    EXPECT_EQ("ok\n", askFailing("accept4", EXDEV, 3));
}

TEST_F(ControlSystemCall, Accept_Crowded_IsTriedAgainAfterAPause)
{
    EXPECT_EQ("ok\n", askFailing("accept4", EMFILE));
    EXPECT_EQ("ok\n", askFailing("accept4", ENFILE));
    EXPECT_EQ("ok\n", askFailing("accept4", ENOMEM));
    EXPECT_EQ("ok\n", askFailing("accept4", ENOBUFS));
}

TEST_F(ControlSystemCall, PeerIsUnknown_IsHungUpOn)
{
    EXPECT_EQ("(end)", askFailing("getsockopt", ENOMEM));
    EXPECT_EQ("(end)", askFailing("getsockopt", EXDEV));
    EXPECT_EQ("set net_tcp 6\nset net_tcp 6\n", m_target.take()); // of the tools behind
}

TEST_F(ControlSystemCall, Recv_Answers)
{
    EXPECT_EQ("ok\n", askFailing("recv", EINTR, 3));
    EXPECT_EQ("ok\n", askFailing("recv", EAGAIN, 3));
    EXPECT_EQ("(end)", askFailing("recv", ECONNRESET));
    EXPECT_EQ("(end)", askFailing("recv", ENOMEM));
    EXPECT_EQ("(end)", askFailing("recv", EXDEV));
}

TEST_F(ControlSystemCall, Send_Answers)
{
    EXPECT_EQ("ok\n", askFailing("send", EINTR, 3));
    EXPECT_EQ("ok\n", askFailing("send", EAGAIN, 3));
    EXPECT_EQ("(end)", askFailing("send", EPIPE));
    EXPECT_EQ("(end)", askFailing("send", ECONNRESET));
    EXPECT_EQ("(end)", askFailing("send", EXDEV));
}

TEST_F(ControlSystemCall, Send_WaitForRoomIsInterrupted_WaitsOn)
{
    const FailingCallElsewhere failing("poll for room", EINTR, 3);
    EXPECT_EQ("ok\n", askFailing("send", EAGAIN));
    EXPECT_EQ(4, failing.calls());
}

// There is no telling when there would be room, and without a wait the thread would not rest.
TEST_F(ControlSystemCall, Send_WaitForRoomFails_IsHungUpOn)
{
    for (const int code : {ENOMEM, EINVAL, EXDEV}) {
        const FailingCallElsewhere failing("poll for room", code, EACH_CALL);
        EXPECT_EQ("(end)", askFailing("send", EAGAIN));
        EXPECT_EQ(1, failing.calls());
    }
}

TEST_F(ControlSystemCall, Watch_WaitForRoomIsInterrupted_Watches)
{
    ControlSocket control(m_target, m_watchers);
    std::string reason;
    EXPECT_TRUE(control.open(m_path, reason)) << reason;
    const FailingCallElsewhere failing("poll for room", EINTR, 3);
    EXPECT_EQ("ok\n", ControlTool(m_path).ask("watch\n"));
    EXPECT_EQ(4, failing.calls());
}

TEST_F(ControlSystemCall, Watch_WaitForRoomFails_IsHungUpOn)
{
    for (const int code : {ENOMEM, EINVAL, EXDEV}) {
        ControlSocket control(m_target, m_watchers);
        std::string reason;
        EXPECT_TRUE(control.open(m_path, reason)) << reason;
        const FailingCallElsewhere failing("poll for room", code);
        EXPECT_EQ("(end)", ControlTool(m_path).ask("watch\n"));
        EXPECT_EQ("ok\n", ControlTool(m_path).ask(SET));
        EXPECT_EQ(1, failing.calls());
    }
}

TEST_F(ControlSystemCall, Poll_Interrupted_GoesOn)
{
    ControlSocket control(m_target, m_watchers);
    std::string reason;
    EXPECT_TRUE(control.open(m_path, reason)) << reason;
    ControlTool tool(m_path);
    EXPECT_EQ("ok\n", tool.ask(SET));
    const FailingCallElsewhere failing("poll", EINTR, 3);
    EXPECT_EQ("ok\n", tool.ask(SET)); // ends the wait that had begun
    EXPECT_EQ("ok\n", tool.ask(SET));
    EXPECT_LE(3, failing.calls());
}

// A thread that cannot wait ends, and no tool waits for it.
TEST_F(ControlSystemCall, Poll_Fails_ToolsAreHungUpOnAndRefused)
{
    for (const int code : {ENOMEM, EINVAL, EXDEV}) {
        ControlSocket control(m_target, m_watchers);
        std::string reason;
        EXPECT_TRUE(control.open(m_path, reason)) << reason;
        ControlTool tool(m_path);
        EXPECT_EQ("ok\n", tool.ask(SET));
        const FailingCallElsewhere failing("poll", code, EACH_CALL);
        tool.send(SET);
        const std::string rest = tool.rest();
        EXPECT_TRUE(rest.empty() || rest == "ok\n") << rest; // the wait may have begun before
        EXPECT_EQ("", ControlTool(m_path).rest());
    }
}

TEST_F(ControlSystemCall, WakeUp_Interrupted_IsMadeAgain)
{
    std::optional<ControlSocket> control(std::in_place, m_target, m_watchers);
    std::string reason;
    EXPECT_TRUE(control->open(m_path, reason)) << reason;
    const FailingCall failing("write", EINTR, 3);
    control.reset();
    EXPECT_EQ(4, failing.calls());
    EXPECT_NE(0, access(m_path.c_str(), F_OK));
}

TEST_F(ControlSystemCall, WakeUp_Fails_EndsAllTheSame)
{
    for (const int code : {EAGAIN, EIO, EXDEV}) {
        std::optional<ControlSocket> control(std::in_place, m_target, m_watchers);
        std::string reason;
        EXPECT_TRUE(control->open(m_path, reason)) << reason;
        const int before = descriptors();
        const FailingCall failing("write", code, EACH_CALL);
        control.reset();
        EXPECT_EQ(before - 3, descriptors());
    }
}

TEST_F(ControlSystemCall, End_PathCannotBeLookedAtOrRemoved_Ends)
{
    for (const char* const call : {"lstat", "unlink", "close"}) {
        std::optional<ControlSocket> control(std::in_place, m_target, m_watchers);
        std::string reason;
        EXPECT_TRUE(control->open(m_path, reason)) << reason;
        const FailingCall failing(call, EIO, EACH_CALL);
        control.reset();
        EXPECT_LE(1, failing.calls()) << call;
    }
    EXPECT_EQ("ok\n", askAnew()); // what stayed is replaced
}

class ClockSystemCall : public testing::Test
{
protected:
    /// Writes down the time of each message, and does not take "bad".
    class TimeSink : public Sink
    {
    public:
        explicit TimeSink(std::string& times) : m_times(times) {}
        void write(const Message& message) override
        {
            m_times += std::to_string(message.time.tv_sec) + ' ';
            if (message.payload == "bad") throw std::bad_alloc();
        }

    private:
        std::string& m_times;
    };

    /// Logs `text` through a queue while the time of day cannot be had, which is asked for `count`
    /// times. Returns what came.
    std::string logFailing(const char* text, int code, int count)
    {
        support::SinkRecord record;
        tracing::impl::TimeZones zones;
        tracing::impl::Client client(m_name, {}, 8, zones);
        client.addSink(std::make_unique<TimeSink>(m_times));
        client.addSink(std::make_unique<support::RecordingSink>(record));
        const FailingCall failing("clock_gettime", code, EACH_CALL);
        client.logMessage(tracing::Channel("net", 2, 0), 2, 0, text);
        client.flushMessages(true);
        EXPECT_EQ(count, failing.calls());
        return record.take();
    }

    const std::string m_name = "pump";
    std::string m_times;
};

TEST_F(ClockSystemCall, NoTimeOfDay_MessageHasTheBeginningOfTime)
{
    for (const int code : {EINVAL, EXDEV})
        EXPECT_EQ("info net up\nflush\n", logFailing("up", code, 1));
    EXPECT_EQ("0 0 ", m_times);
}

TEST_F(ClockSystemCall, NoTimeOfDay_DroppedOnesAreReportedAllTheSame)
{
    for (const int code : {EINVAL, EXDEV})
        EXPECT_EQ("info net bad\nwarning tracing 1 messages were dropped\nflush\n",
                  logFailing("bad", code, 2));
    EXPECT_EQ("0 0 0 0 ", m_times);
}

} // namespace

// SPDX-License-Identifier: Apache-2.0
//
// The trace client, of which each allocation fails in turn: those of the caller, and those of its
// own threads. With the sinks that it has itself.

#include "support/AllocationTorture.h"

#include <cstdlib>
#include <memory>
#include <new>
#include <optional>
#include <string>

#include <common/tracing/Channel.h>
#include <common/tracing/IClient.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <tracing-impl/Client.h>
#include <tracing-impl/ControlSocket.h>
#include <tracing-impl/CurrentThread.h>
#include <tracing-impl/StderrSink.h>
#include <tracing-impl/Watchers.h>
#include <unistd.h>

#include "support/ControlTool.h"
#include "support/TemporaryFolder.h"

namespace {

using support::ControlTool;
using support::Outcome;
using support::RIGHT;
using support::rightIf;
using support::rightOrRefused;
using support::torture;
using support::tortureElsewhere;
using tracing::Channel;
using tracing::client_helper;
using tracing::impl::Client;
using tracing::impl::ControlSocket;
using tracing::impl::Message;
using tracing::impl::StderrSink;
using tracing::impl::TimeZones;
using tracing::impl::Watchers;
using tracing::impl::WatchSink;

const std::string s_name = "pump";
const std::string s_path = "net_with_a_path_that_is_longer_than_any_text_on_the_spot";
const std::string s_text(50000, 'x'); // far more than a queue holds in place
const std::string s_line(200, 'y');
const std::string s_zone = "a_zone_with_a_name_that_is_longer_than_any_text_on_the_spot";

/// What comes to standard error goes nowhere while this exists.
class SilentStandardError
{
public:
    SilentStandardError() : m_before(dup(STDERR_FILENO))
    {
        const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
        dup2(nowhere, STDERR_FILENO);
        close(nowhere);
    }
    ~SilentStandardError()
    {
        dup2(m_before, STDERR_FILENO);
        close(m_before);
    }
    SilentStandardError(const SilentStandardError&) = delete;
    SilentStandardError& operator=(const SilentStandardError&) = delete;

private:
    const int m_before;
};

/// Counts messages with the text, and keeps nothing.
class CountingSink : public tracing::impl::Sink
{
public:
    explicit CountingSink(int& count) : m_count(count) {}
    void write(const Message& message) override
    {
        if (message.payload == s_text) ++m_count;
    }

private:
    int& m_count;
};

int s_calls = 0;

void noteCall(int, void* bytes, unsigned int size)
{
    const bool isRight = size == 2 && std::memcmp(bytes, "\x0a\xff", 2) == 0;
    s_calls += isRight ? 1 : 1000;
}

/// Returns the number of points that a result tells of.
int pointsOf(const std::string& result)
{
    return std::atoi(result.c_str());
}

/// Returns what was wrong.
std::string faultsOf(const std::string& result)
{
    return result.substr(result.find("points") + 6);
}

class TraceClientAllocationTorture : public testing::Test
{
protected:
    const SilentStandardError m_silence;
};

/// Logs two messages, beside one for an emergency.
void logTwice(Client& client, Channel& net)
{
    client.emergencyLog(s_text);
    net.logC(4, s_text.c_str());
    net.logCVN(4, 60000U, "%s", s_text.c_str());
    client.flushMessages(true);
}

/// Uses all of a client.
Outcome useClient(Client& client, const int& written)
{
    Channel net(s_path, 2, 0);
    client.channelRegistered(&net);
    const bool hasZone = client.registerTimeZone(s_zone, 3600) == 0;
    const int callback = client.registerCallback(s_zone, noteCall);
    const bool isSet = client.changeChannelFilterLevel(&net, 1);
    if (isSet != (net.m_filterLevel == 1)) return support::WRONG;
    const bool isToggled = client.disableChannel(&net) && client.enableChannel(&net);
    logTwice(client, net);
    client.unregisterCallback(callback);
    client.channelUnregistered(&net);
    if (net.m_client != nullptr || written > 2) return support::WRONG;
    return rightOrRefused(hasZone && callback != -1 && isSet && isToggled && written == 2, true);
}

/// Makes a client for that. Whoever starts one deals with the want of memory himself.
Outcome makeAndUseClient()
{
    TimeZones zones;
    int written = 0;
    std::optional<Client> client;
    try {
        client.emplace(s_name, tracing::impl::LevelSettings(), 4U, zones);
        client->addSink(std::make_unique<CountingSink>(written));
        client->addSink(std::make_unique<StderrSink>(zones));
    } catch (const std::bad_alloc&) {
        return support::REFUSED;
    }
    return useClient(*client, written);
}

TEST_F(TraceClientAllocationTorture, FromBeginningToEnd)
{
    const std::string result = torture(makeAndUseClient);
    EXPECT_EQ("", faultsOf(result));
    EXPECT_LE(25, pointsOf(result));
}

// Whether a message is written is the thread's to say, so it is lost as a whole, and told of.
TEST_F(TraceClientAllocationTorture, ThreadOfTheClient)
{
    const std::string result = tortureElsewhere(makeAndUseClient);
    EXPECT_EQ("", faultsOf(result));
    EXPECT_LE(1, pointsOf(result));
}

/// A client with a control socket.
class ControlAllocationTorture : public TraceClientAllocationTorture
{
protected:
    ControlAllocationTorture()
    {
        m_client.addSink(std::make_unique<WatchSink>(m_watchers, m_zones));
        m_client.channelRegistered(&m_net);
        EXPECT_NE(-1, m_client.registerCallback(s_zone, noteCall));
        std::string reason;
        EXPECT_TRUE(m_control.open(m_path, reason)) << reason;
    }
    ~ControlAllocationTorture() override { m_client.channelUnregistered(&m_net); }

    /// Returns after the socket's thread has done with the tools before.
    void awaitThread() const
    {
        ControlTool next(m_path);
        next.endRequests();
        next.rest();
    }
    /// Asks with a tool of its own, which is answered or hung up on.
    Outcome ask(const std::string& request, const std::string& answer) const
    {
        std::string given;
        {
            ControlTool tool(m_path);
            tool.send(request);
            tool.endRequests();
            given = tool.rest();
        }
        awaitThread();
        return rightOrRefused(given == answer, given.empty());
    }
    std::string tortureRequest(const std::string& request, const std::string& answer) const
    {
        return tortureElsewhere([&] { return ask(request, answer); });
    }

    const support::TemporaryFolder m_folder;
    const std::string m_path = m_folder.pathOf("sock");
    TimeZones m_zones;
    const std::shared_ptr<Watchers> m_watchers = std::make_shared<Watchers>();
    Channel m_net{s_path, 2, 0};
    Client m_client{s_name, {}, 8, m_zones};
    ControlSocket m_control{m_client, m_watchers};
};

TEST_F(ControlAllocationTorture, List)
{
    const std::string result = tortureRequest("list\n", "1 info info " + s_path + "\nok\n");
    EXPECT_EQ("", faultsOf(result));
    EXPECT_LE(3, pointsOf(result));
}

TEST_F(ControlAllocationTorture, Set)
{
    const std::string result = tortureRequest("set " + s_path + " info\n", "ok\n");
    EXPECT_EQ("", faultsOf(result));
    EXPECT_LE(2, pointsOf(result));
    EXPECT_EQ(2, m_net.m_filterLevel);
}

TEST_F(ControlAllocationTorture, Call)
{
    s_calls = 0;
    const std::string result = tortureRequest("call " + s_zone + " 0aff\n", "ok\n");
    EXPECT_EQ("", faultsOf(result));
    EXPECT_LE(2, pointsOf(result));
    EXPECT_LE(pointsOf(result), s_calls);
    EXPECT_GT(1000, s_calls);
}

TEST_F(ControlAllocationTorture, UnknownRequest)
{
    const std::string request = "ask for something that nobody has ever heard of";
    const std::string result =
        tortureRequest(request + "\n", "error no such request: " + request + "\n");
    EXPECT_EQ("", faultsOf(result));
    EXPECT_LE(2, pointsOf(result));
}

// The line, or that it was lost, or the end.
TEST_F(ControlAllocationTorture, Watch)
{
    const std::string result = tortureElsewhere([&] {
        std::string line;
        {
            ControlTool tool(m_path);
            if (tool.ask("watch\n") == "ok\n") {
                m_net.logC(2, s_line.c_str());
                m_client.flushMessages(true);
                line = tool.lines(1);
            }
            tool.endRequests();
            tool.rest();
        }
        awaitThread();
        m_client.flushMessages(true);
        const bool isRefused = line.empty() || line.find("(end)") != line.npos ||
                               line.find("1 messages were dropped") != line.npos;
        return rightOrRefused(line.find(s_line) != line.npos, isRefused);
    });
    EXPECT_EQ("", faultsOf(result));
    EXPECT_LE(1, pointsOf(result));
}

TEST_F(TraceClientAllocationTorture, ControlSocketFromBeginningToEnd)
{
    const support::TemporaryFolder folder;
    const std::string path = folder.pathOf("sock");
    support::RecordingTarget target;
    const auto watchers = std::make_shared<Watchers>();
    const std::string result = torture<std::bad_alloc>([&] {
        std::string reason;
        bool isOpen = false;
        {
            ControlSocket control(target, watchers);
            isOpen = control.open(path, reason);
        }
        const bool isGone = access(path.c_str(), F_OK) != 0;
        if (!isGone) return support::WRONG;
        return rightOrRefused(isOpen && reason.empty(), !isOpen && !reason.empty());
    });
    EXPECT_EQ("", faultsOf(result));
    EXPECT_LE(3, pointsOf(result));
}

TEST_F(TraceClientAllocationTorture, DeinitOfACallback)
{
    EXPECT_EQ("0 points", torture([] {
                  const tracing::impl::OwnThread mark;
                  client_helper->deinit();
                  return rightIf(!client_helper->init(s_name));
              }));
}

} // namespace

// SPDX-License-Identifier: Apache-2.0
//
// What the four variables do to a process, and what it says of those that it does not understand.

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <future>
#include <iterator>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <common/tracing/Channel.h>
#include <common/tracing/IClient.h>
#include <support/ChildProcess.h>
#include <support/ControlTool.h>
#include <support/ForkedChild.h>
#include <support/TemporaryFolder.h>
#include <support/TraceLines.h>
#include <tracing-impl/LocalTime.h>

namespace {

using support::bareLines;
using support::ChildResult;
using support::ControlTool;
using support::TemporaryFolder;
using tracing::Channel;
using tracing::client_helper;
using tracing::IClient;

constexpr unsigned int REGISTER = Channel::FLAG_REGISTER;

using Variables = std::map<std::string, std::string>;

/// Runs `body` between `init` and `deinit` in a child with these variables alone.
ChildResult runWith(const Variables& variables, const std::function<void()>& body)
{
    return support::runInChild([&] {
        for (const char* const variable :
             {"ZEL_TRACE", "ZEL_TRACE_SINKS", "ZEL_TRACE_QUEUE", "ZEL_TRACE_CONTROL"})
            unsetenv(variable);
        for (const auto& variable : variables)
            setenv(variable.first.c_str(), variable.second.c_str(), 1);
        EXPECT_TRUE(client_helper->init("pump"));
        body();
        client_helper->deinit();
    });
}

/// Logs at each level on channels that say "info" and "none" themselves.
void logAll()
{
    Channel net("net", 2, REGISTER);
    Channel tcp("net_tcp", 7, REGISTER);
    for (short level = 0; level <= 5; ++level) {
        net.log(level, "a");
        tcp.log(level, "b");
    }
}

TEST(HelperEnvironment, Levels_None)
{
    const ChildResult child = runWith({}, logAll);
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("TIME info net [T] a\nTIME info net_tcp [T] b\n"
              "TIME warning net [T] a\nTIME warning net_tcp [T] b\n"
              "TIME error net [T] a\nTIME error net_tcp [T] b\n"
              "TIME fatal net [T] a\nTIME fatal net_tcp [T] b\n",
              bareLines(child.err));
}

TEST(HelperEnvironment, Levels_OfChannels)
{
    const ChildResult child = runWith({{"ZEL_TRACE", "off,net=fatal,net_tcp=error"}}, logAll);
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("TIME error net_tcp [T] b\nTIME fatal net [T] a\nTIME fatal net_tcp [T] b\n",
              bareLines(child.err));
}

TEST(HelperEnvironment, Levels_OfTheRoot)
{
    const ChildResult child = runWith({{"ZEL_TRACE", "fatal"}}, [] {
        const Channel net("net", 2, REGISTER);
        const Channel other("other", 7, REGISTER);
        EXPECT_EQ(2, net.m_filterLevel);
        EXPECT_EQ(5, other.m_filterLevel);
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("", child.err);
}

TEST(HelperEnvironment, Levels_NotUnderstood_AreToldAndTheRestHolds)
{
    const ChildResult child = runWith({{"ZEL_TRACE", "loud,net=fatal,=info,tcp=\x1b[1m"}}, [] {
        Channel net("net", 2, REGISTER);
        net.log(5, "a");
        net.log(4, "below the filter");
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("tracing: ZEL_TRACE: 'loud' is ignored: no such level\n"
              "tracing: ZEL_TRACE: '=info' is ignored: no channel\n"
              "tracing: ZEL_TRACE: 'tcp=\\x1b[1m' is ignored: no such level\n"
              "TIME fatal net [T] a\n",
              bareLines(child.err));
}

void logOnce()
{
    Channel net("net", 2, REGISTER);
    net.log(2, "a");
}

TEST(HelperEnvironment, Sinks_Stderr)
{
    const ChildResult child = runWith({{"ZEL_TRACE_SINKS", "stderr,stderr"}}, logOnce);
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("TIME info net [T] a\nTIME info net [T] a\n", bareLines(child.err));
}

TEST(HelperEnvironment, Sinks_NotUnderstood_IsToldAndStandardErrorServes)
{
    const ChildResult child = runWith({{"ZEL_TRACE_SINKS", "paper,,file:"}}, logOnce);
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("tracing: ZEL_TRACE_SINKS: 'paper' is ignored: no such sink\n"
              "tracing: ZEL_TRACE_SINKS: 'file:' is ignored: no such sink\n"
              "TIME info net [T] a\n",
              bareLines(child.err));
}

TEST(HelperEnvironment, Sinks_CannotBeOpened_IsOneLineAndStandardErrorServes)
{
    const TemporaryFolder folder;
    std::ofstream(folder.pathOf("taken")) << "a file";
    const std::string sink = "file:" + folder.pathOf("taken/x.log");
    const ChildResult child = runWith({{"ZEL_TRACE_SINKS", sink}}, logOnce);
    EXPECT_EQ(0, child.exitCode) << child.out;
    const std::string complaint = "tracing: ZEL_TRACE_SINKS: '" + sink + "' is ignored: ";
    EXPECT_EQ(complaint, child.err.substr(0, complaint.size()));
    const std::size_t end = child.err.find('\n');
    ASSERT_LT(complaint.size(), end);
    EXPECT_EQ("TIME info net [T] a\n", bareLines(child.err.substr(end + 1)));
}

TEST(HelperEnvironment, Sinks_OneOfTwoCannotBeOpened_TheOtherServesAlone)
{
    const TemporaryFolder folder;
    std::ofstream(folder.pathOf("taken")) << "a file";
    const std::string sinks = "file:" + folder.pathOf("taken/x.log") + ",stderr";
    const ChildResult child = runWith({{"ZEL_TRACE_SINKS", sinks}}, logOnce);
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("TIME info net [T] a\n", bareLines(child.err.substr(child.err.find('\n') + 1)));
}

TEST(HelperEnvironment, Sinks_File)
{
    const TemporaryFolder folder;
    const std::string name = folder.pathOf("x.log");
    const ChildResult child = runWith({{"ZEL_TRACE_SINKS", "file:" + name + ":64K:2"}}, logOnce);
    EXPECT_EQ(0, child.exitCode) << child.out;
    if (child.err.find("it is not built in") != std::string::npos)
        GTEST_SKIP() << "files are not built in";
    EXPECT_EQ("", child.err);
    std::ifstream file(name);
    EXPECT_EQ("TIME info net [T] a\n",
              bareLines(std::string(std::istreambuf_iterator<char>(file), {})));
}

TEST(HelperEnvironment, Queue_None_WritesAtOnce)
{
    const ChildResult child = runWith({{"ZEL_TRACE_QUEUE", "0"}}, [] {
        logOnce();
        _exit(0);
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("TIME info net [T] a\n", bareLines(child.err));
}

TEST(HelperEnvironment, Queue_NotUnderstood_IsTold)
{
    const ChildResult child = runWith({{"ZEL_TRACE_QUEUE", "many\n"}}, logOnce);
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("tracing: ZEL_TRACE_QUEUE: 'many\\n' is ignored: "
              "no number of messages from 0 to 1048576\n"
              "TIME info net [T] a\n",
              bareLines(child.err));
}

TEST(HelperEnvironment, Errno_IsKept)
{
    const support::TemporaryFolder folder;
    setenv("ZEL_TRACE_CONTROL", folder.pathOf("none/sock").c_str(), 1);
    const ChildResult child = support::runInChild([] {
        errno = EDOM;
        EXPECT_TRUE(client_helper->init("pump"));
        EXPECT_EQ(EDOM, errno);
        client_helper->deinit();
        EXPECT_EQ(EDOM, errno);
    });
    unsetenv("ZEL_TRACE_CONTROL");
    EXPECT_EQ(0, child.exitCode) << child.out;
}

TEST(HelperEnvironment, TimeZone_IsReadAnewByInit)
{
    const ChildResult child = runWith({{"TZ", "UTC"}}, [] {
        EXPECT_EQ(0, tracing::impl::localSeconds(0));
        client_helper->deinit();
        setenv("TZ", "XYZ-5", 1);
        client_helper->init("pump");
        EXPECT_EQ(18000, tracing::impl::localSeconds(0));
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
}

TEST(HelperEnvironment, Control_ServesTools)
{
    const TemporaryFolder folder;
    const std::string path = folder.pathOf("sock");
    const ChildResult child = runWith({{"ZEL_TRACE_CONTROL", path}}, [&path] {
        const Channel net("net", 2, REGISTER);
        const Channel tcp("net_tcp", 7, REGISTER);
        ControlTool tool(path);
        EXPECT_EQ("1 info info net\n2 none info net_tcp\nok\n", tool.ask("list\n", 3));
        EXPECT_EQ("ok\n", tool.ask("set net trace\n"));
        EXPECT_EQ(0, net.m_filterLevel);
        EXPECT_EQ(0, tcp.m_filterLevel);
        EXPECT_EQ("1 trace trace net\n2 none trace net_tcp\nok\n", tool.ask("list\n", 3));
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("", child.err);
    struct stat status;
    EXPECT_EQ(-1, lstat(path.c_str(), &status));
}

std::string s_called;

TEST(HelperEnvironment, Control_CallsBack)
{
    const TemporaryFolder folder;
    const std::string path = folder.pathOf("sock");
    const ChildResult child = runWith({{"ZEL_TRACE_CONTROL", path}}, [&path] {
        IClient::s_client->registerCallback("restart", [](int, void* data, unsigned int size) {
            s_called.assign(static_cast<char*>(data), size);
        });
        ControlTool tool(path);
        EXPECT_EQ("ok\n", tool.ask("call restart 6e6f77\n"));
        EXPECT_EQ("now", s_called);
        EXPECT_EQ("error no such callback: stop\n", tool.ask("call stop -\n"));
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("", child.err);
}

TEST(HelperEnvironment, Control_CallbackCallsDeinit_IsIgnored)
{
    const TemporaryFolder folder;
    const std::string path = folder.pathOf("sock");
    const ChildResult child = runWith({{"ZEL_TRACE_CONTROL", path}}, [&path] {
        IClient* const client = IClient::s_client;
        const auto end = [](int, void*, unsigned int) { client_helper->deinit(); };
        client->registerCallback("end", end);
        ControlTool tool(path);
        EXPECT_EQ("ok\n", tool.ask("call end -\n"));
        EXPECT_EQ("ok\n", tool.ask("call end -\n"));
        EXPECT_EQ(client, IClient::s_client);
        client_helper->deinit();
        EXPECT_EQ(nullptr, IClient::s_client);
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("tracing: deinit from a callback is ignored\n"
              "tracing: deinit from a callback is ignored\n",
              child.err);
}

std::promise<void> s_begun;

TEST(HelperEnvironment, Control_CallbackCallsInitWhileDeinitWaits_Returns)
{
    const TemporaryFolder folder;
    const std::string path = folder.pathOf("sock");
    const ChildResult child = runWith({{"ZEL_TRACE_CONTROL", path}}, [&path] {
        alarm(60);
        IClient::s_client->registerCallback("begin", [](int, void*, unsigned int) {
            s_begun.set_value();
            for (int i = 0; i < 1000; ++i) {
                EXPECT_TRUE(client_helper->init("other"));
                std::this_thread::yield();
            }
        });
        ControlTool tool(path);
        EXPECT_TRUE(tool.send("call begin -\n"));
        s_begun.get_future().wait();
        client_helper->deinit();
        EXPECT_EQ(nullptr, IClient::s_client);
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("", child.err);
}

TEST(HelperEnvironment, Control_WatchSeesEverythingUpToTheEnd)
{
    const TemporaryFolder folder;
    const std::string path = folder.pathOf("sock");
    const ChildResult child = runWith({{"ZEL_TRACE_CONTROL", path}}, [&path] {
        Channel net("net", 2, REGISTER);
        ControlTool tool(path);
        EXPECT_EQ("ok\n", tool.ask("watch\n"));
        for (const char* const text : {"a", "b", "c", "d", "e", "f", "g", "h"})
            net.log(2, text);
        client_helper->deinit();
        EXPECT_EQ("TIME info net [T] a\nTIME info net [T] b\nTIME info net [T] c\n"
                  "TIME info net [T] d\nTIME info net [T] e\nTIME info net [T] f\n"
                  "TIME info net [T] g\nTIME info net [T] h\n",
                  bareLines(tool.rest()));
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
}

TEST(HelperEnvironment, Control_CannotBeOpened_IsTold)
{
    const TemporaryFolder folder;
    const std::string path = folder.pathOf("none/sock");
    const ChildResult child = runWith({{"ZEL_TRACE_CONTROL", path}}, logOnce);
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("tracing: ZEL_TRACE_CONTROL: '" + path +
                  "' is ignored: No such file or directory\nTIME info net [T] a\n",
              bareLines(child.err));
}

} // namespace

// SPDX-License-Identifier: Apache-2.0
//
// Where the system has no room for fork handlers, which the libraries register as they are loaded
// and when a client begins, all but a forked child works as ever: here each registration fails.

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <string>
#include <thread>

#include <common/error/Error.h>
#include <common/error/ErrorStorages.h>
#include <common/tracing/Channel.h>
#include <common/tracing/IClient.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "support/ChildProcess.h"
#include "support/MissingStorage.h"
#include "support/OpenStorage.h"
#include "support/TraceLines.h"

namespace {

std::atomic<int> s_refused{0};

} // namespace

extern "C" {

/// What `pthread_atfork`, which is a part of each library, comes to. Fails with each code in turn.
int __register_atfork(void (*)(), void (*)(), void (*)(), void*) noexcept
{
    return s_refused++ % 2 == 0 ? ENOMEM : EXDEV;
}

} // extern "C"

namespace {

using std::CommonError;
using std::ErrorOutput;
using std::ErrorStorage;
using support::ChildResult;
using support::runInChild;
using tracing::Channel;
using tracing::client_helper;

const int s_refusedAtLoad = s_refused;

ErrorOutput s_start("pump.cpp", 7, true);

TEST(ForkHandlersRefused, Load_TriedBoth)
{
    EXPECT_EQ(2, s_refusedAtLoad);
}

TEST(ForkHandlersRefused, Raise_WithoutAStorage_WarnsAndRecords)
{
    const ChildResult result = runInChild([] {
        s_start(CommonError, 5, "width");
        EXPECT_STREQ("Invalid parameter: width", ErrorStorage::reason());
        ErrorStorage::ack();
        EXPECT_FALSE(ErrorStorage::isError(true));
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(support::missingStorage(result, "Invalid parameter: width"), result.err);
}

TEST(ForkHandlersRefused, Record_WithoutAStorage_ThreadsShareOne)
{
    const ChildResult result = runInChild([] {
        support::startChain(1);
        std::thread([] { EXPECT_TRUE(support::record(false, 2)); }).join();
        EXPECT_EQ("2 1", support::chainIds());
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ("", result.err);
}

// Nothing would have a child forget its parent's id, so none remembers one.
TEST(ForkHandlersRefused, Raise_ForkedChild_HasItsOwnProcessId)
{
    {
        const std::StdoutDumpErrorStorage errors;
        s_start(CommonError, 0);
        EXPECT_EQ(getpid(), ErrorStorage::get()->m_process);
    }
    const ChildResult result = runInChild([] {
        const std::StdoutDumpErrorStorage errors;
        s_start(CommonError, 5, "width");
        s_start(CommonError, 0); // dumps the one before
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ(support::unhandledError(result, "Invalid parameter: width"), result.out);
}

TEST(ForkHandlersRefused, Client_BeginsLogsAndEnds)
{
    const ChildResult result = runInChild([] {
        for (const char* const variable : {"ZEL_TRACE", "ZEL_TRACE_SINKS", "ZEL_TRACE_CONTROL"})
            unsetenv(variable);
        setenv("ZEL_TRACE_QUEUE", "8", 1);
        EXPECT_TRUE(client_helper->init("pump"));
        EXPECT_EQ(3, s_refused);
        Channel net("net", 2, Channel::FLAG_REGISTER);
        net.log(2, "up");
        client_helper->deinit();
        EXPECT_TRUE(client_helper->init("pump"));
        net.log(2, "again");
        client_helper->deinit();
        EXPECT_EQ(3, s_refused);
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ("TIME info net [T] up\nTIME info net [T] again\n", support::bareLines(result.err));
}

} // namespace

// SPDX-License-Identifier: Apache-2.0
//
// Many threads that log through the process's client to standard error: no line is lost unless it
// is counted.

#include <algorithm>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <common/tracing/Channel.h>
#include <common/tracing/IClient.h>
#include <common/tracing/Levels.h>
#include <support/ChildProcess.h>
#include <support/TraceLines.h>

namespace {

using support::ChildResult;
using tracing::Channel;
using tracing::client_helper;
using tracing::IClient;

constexpr int THREADS = 16;
constexpr int MESSAGES = 2000;
constexpr int FLUSH_EVERY = 500;

void log(Channel& net, short modifiers)
{
    for (int i = 1; i <= MESSAGES; ++i) {
        net.logCV(2, modifiers, "message %d of many", i);
        if (i % FLUSH_EVERY == 0) IClient::s_client->flushMessages(true);
    }
}

/// Logs in all threads, with `modifiers`, to a pipe that blocks.
ChildResult logInThreads(const char* queueLength, short modifiers)
{
    return support::runInChild([=] {
        for (const char* const variable : {"ZEL_TRACE", "ZEL_TRACE_SINKS", "ZEL_TRACE_CONTROL"})
            unsetenv(variable);
        setenv("ZEL_TRACE_QUEUE", queueLength, 1);
        Channel net("net", 2, Channel::FLAG_REGISTER);
        client_helper->init("pump");
        std::vector<std::thread> threads;
        for (int i = 0; i < THREADS; ++i)
            threads.emplace_back([&] { log(net, modifiers); });
        for (std::thread& thread : threads)
            thread.join();
        client_helper->deinit();
    });
}

/// What lines there are.
struct Counts
{
    long messages = 0;
    long dropped = 0;
    std::string others;
};

void count(const std::string& line, Counts& counts)
{
    const std::string message = "TIME info net [T] message ";
    const std::string report = "TIME warning tracing [T] ";
    if (line.compare(0, message.size(), message) == 0)
        ++counts.messages;
    else if (line.compare(0, report.size(), report) == 0)
        counts.dropped += std::stol(line.substr(report.size()));
    else
        counts.others += line;
}

Counts countsOf(const std::string& text)
{
    const std::string lines = support::bareLines(text);
    Counts counts;
    for (std::size_t begin = 0, end = 0; begin < lines.size(); begin = end) {
        end = std::min(lines.find('\n', begin), lines.size() - 1) + 1;
        count(lines.substr(begin, end - begin), counts);
    }
    return counts;
}

TEST(HelperThreads, ShortQueue_WhatArrivesAndWhatWasDroppedIsAll)
{
    const ChildResult child = logInThreads("64", tracing::Modifiers::NONE);
    EXPECT_EQ(0, child.exitCode) << child.out;
    const Counts counts = countsOf(child.err);
    EXPECT_EQ(32000, counts.messages + counts.dropped);
    EXPECT_EQ("", counts.others);
}

TEST(HelperThreads, SafeTransport_AllArrives)
{
    const ChildResult child = logInThreads("64", tracing::Modifiers::SAFE_TRANSPORT);
    EXPECT_EQ(0, child.exitCode) << child.out;
    const Counts counts = countsOf(child.err);
    EXPECT_EQ(32000, counts.messages);
    EXPECT_EQ(0, counts.dropped);
    EXPECT_EQ("", counts.others);
}

TEST(HelperThreads, NoQueue_AllArrives)
{
    const ChildResult child = logInThreads("0", tracing::Modifiers::NONE);
    EXPECT_EQ(0, child.exitCode) << child.out;
    const Counts counts = countsOf(child.err);
    EXPECT_EQ(32000, counts.messages);
    EXPECT_EQ("", counts.others);
}

} // namespace

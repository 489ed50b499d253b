// SPDX-License-Identifier: Apache-2.0
//
// Memory that runs out at any point of `init`.

#include <cstdlib>
#include <iostream>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

#include <common/tracing/Channel.h>
#include <common/tracing/IClient.h>
#include <support/ChildProcess.h>
#include <support/ControlTool.h>
#include <support/FailingMalloc.h>
#include <support/TemporaryFolder.h>
#include <support/TraceLines.h>

namespace {

using support::ChildResult;
using support::ControlTool;
using support::FailingMalloc;
using tracing::Channel;
using tracing::client_helper;
using tracing::IClient;

constexpr unsigned int PATIENCE = 60; // seconds
constexpr const char* LONG_NAME = "net_with_a_name_that_is_longer_than_what_fits_on_the_spot";

class HelperMemory : public testing::Test
{
protected:
    HelperMemory()
    {
        for (const char* const variable : {"ZEL_TRACE_SINKS", "ZEL_TRACE_QUEUE"})
            unsetenv(variable);
        setenv("ZEL_TRACE", "warning,net_with_a_path_that_is_longer_than_any_on_the_spot=info", 1);
        setenv("ZEL_TRACE_CONTROL", m_path.c_str(), 1);
    }

    /// Returns what becomes of a process that has no memory for `count` attempts of `init`, after
    /// `passing` ones. It prints "failed" if there were so many. All works afterwards.
    ChildResult initWithout(int passing, int count)
    {
        return support::runInChild([=] {
            alarm(PATIENCE);
            bool hasFailed = false;
            bool isStarted = false;
            {
                const FailingMalloc exhausted(passing, count);
                EXPECT_NO_THROW(isStarted = client_helper->init("pump"));
                hasFailed = exhausted.calls() > passing;
            }
            EXPECT_EQ(isStarted, IClient::s_client != nullptr);
            if (hasFailed) std::cout << "failed";
            if (isStarted) useControl();
            client_helper->deinit();
            useAnew();
        });
    }

private:
    /// There is a socket that serves, or none.
    void useControl() const
    {
        ControlTool tool(m_path);
        if (!tool.isConnected()) return;
        EXPECT_EQ("error no such callback: none\n", tool.ask("call none -\n"));
    }
    void useAnew() const
    {
        Channel net(LONG_NAME, 2, Channel::FLAG_REGISTER);
        EXPECT_TRUE(client_helper->init("pump"));
        net.log(2, "anew");
        EXPECT_EQ("ok\n", ControlTool(m_path).ask("set " + std::string(LONG_NAME) + " info\n"));
        client_helper->deinit();
        EXPECT_EQ(nullptr, IClient::s_client);
    }

    const support::TemporaryFolder m_folder;
    const std::string m_path = m_folder.pathOf("sock");
};

/// Runs `init` in one process after the other, each of which lacks a later attempt, up to the last
/// one. Returns how many attempts there are.
template <typename Init>
int lackEach(const Init& init)
{
    const std::string end = "TIME info " + std::string(LONG_NAME) + " [T] anew\n";
    for (int passing = 0;; ++passing) {
        const ChildResult child = init(passing);
        EXPECT_EQ(0, child.exitCode) << passing << ": " << child.out << child.signal;
        const std::string lines = support::bareLines(child.err);
        EXPECT_NE(std::string::npos, lines.find(end)) << passing << ": " << child.err;
        if (child.out != "failed" || child.exitCode != 0) return passing;
    }
}

TEST_F(HelperMemory, Init_LacksOneAttempt_FailsOrGoesWithout)
{
    const Channel channel("registered_before", 2, Channel::FLAG_REGISTER);
    EXPECT_LT(15, lackEach([this](int passing) { return initWithout(passing, 1); }));
}

TEST_F(HelperMemory, Init_LacksAllFromOneOn_FailsOrGoesWithout)
{
    const Channel channel("registered_before", 2, Channel::FLAG_REGISTER);
    EXPECT_LT(15, lackEach([this](int passing) { return initWithout(passing, 1000000); }));
}

} // namespace

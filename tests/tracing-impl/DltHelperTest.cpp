// SPDX-License-Identifier: Apache-2.0
//
// The whole client on the sink for DLT, with a stand-in for DLT's library: callbacks that end it,
// and processes that are forked off.

#include <cstdlib>
#include <future>
#include <string>
#include <thread>

#include <common/tracing/IClient.h>
#include <unistd.h>

#include "support/ChildProcess.h"
#include "support/ForkedChild.h"
#include "tracing-impl/Client.h"
#include "tracing-impl/DltLibrary.h"
#include "tracing-impl/dlt/DltSinkFixture.h"

namespace {

using support::ChildResult;
using tracing::client_helper;
using tracing::IClient;
using tracing::impl::Client;
using tracing::impl::DltLibrary;

constexpr unsigned int PATIENCE = 60; // seconds

class DltHelper : public fakedlt::SinkFixture
{
protected:
    /// Runs `body` in a child whose client has the sink for DLT, and "bye" as a callback.
    template <typename Body>
    ChildResult runWithDlt(IClient::Callback bye, const Body& body)
    {
        return support::runInChild([&] {
            for (const char* const variable :
                 {"ZEL_TRACE", "ZEL_TRACE_SINKS", "ZEL_TRACE_QUEUE", "ZEL_TRACE_CONTROL"})
                unsetenv(variable);
            alarm(PATIENCE);
            ASSERT_TRUE(client_helper->init("pump"));
            auto& client = static_cast<Client&>(*IClient::s_client);
            client.addSink(tracing::impl::SinkPtr(
                tracing_impl_make_dlt_sink({client.getClientId(), m_zones, client})));
            client.registerCallback("bye", bye);
            body();
        });
    }
};

void endClient(int, void*, unsigned int)
{
    IClient* const before = IClient::s_client;
    client_helper->deinit();
    EXPECT_EQ(before, IClient::s_client);
}

TEST_F(DltHelper, Deinit_FromAnInjection_IsIgnored)
{
    const ChildResult child = runWithDlt(endClient, [] {
        EXPECT_EQ(DLT_RETURN_OK, fakedlt::inject("bye"));
        EXPECT_EQ(DLT_RETURN_OK, fakedlt::inject("bye"));
        EXPECT_NE(nullptr, IClient::s_client);
        client_helper->deinit();
        EXPECT_EQ(nullptr, IClient::s_client);
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("tracing: deinit from a callback is ignored\n"
              "tracing: deinit from a callback is ignored\n",
              child.err);
}

std::promise<void>* s_begun = nullptr;

/// Calls `init` while another thread is in `deinit`, which lets nothing be called any more.
void initClient(int, void*, unsigned int size)
{
    if (size != 0) return; // from the call itself
    auto& client = static_cast<Client&>(*IClient::s_client);
    s_begun->set_value();
    while (client.call("bye", "?"))
        std::this_thread::yield();
    EXPECT_TRUE(client_helper->init("other"));
    EXPECT_EQ(&client, IClient::s_client);
    client_helper->deinit();
}

TEST_F(DltHelper, Init_FromAnInjectionWhileTheClientEnds_DoesNotWait)
{
    std::promise<void> begun;
    s_begun = &begun;
    const ChildResult child = runWithDlt(initClient, [&] {
        std::thread viewer([] { EXPECT_EQ(DLT_RETURN_OK, fakedlt::inject("bye")); });
        begun.get_future().wait();
        client_helper->deinit();
        EXPECT_EQ(nullptr, IClient::s_client);
        viewer.join();
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("tracing: deinit from a callback is ignored\n", child.err);
}

TEST_F(DltHelper, Fork_SinkIsInUse_ChildEndsThroughExit)
{
    const ChildResult child = runWithDlt(endClient, [] {
        std::promise<void> isHeld;
        std::promise<void> letGo;
        std::thread logging([&] {
            DltLibrary::instance().use([&] {
                isHeld.set_value();
                letGo.get_future().wait();
            });
        });
        isHeld.get_future().wait();
        EXPECT_EQ(0, support::runForked([] {
                      std::exit(0);
                      return 1;
                  }));
        letGo.set_value();
        logging.join();
        client_helper->deinit();
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("", child.err);
}

} // namespace

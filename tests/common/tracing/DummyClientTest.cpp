// SPDX-License-Identifier: Apache-2.0
//
// The client and the helper of a process without a client library.

#include <common/tracing/IClient.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <type_traits>

#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include "support/ChildProcess.h"
#include "support/DroppingClient.h"
#include "support/DumpText.h"
#include "support/ProcessEnd.h"
#include "support/RecordingClient.h"

namespace {

using support::ChildResult;
using support::InstalledClient;
using support::RecordingClient;
using support::runInChild;
using support::runInChildToExit;
using tracing::client_helper;
using tracing::DummyClient;
using tracing::DummyHelper;
using tracing::IClient;
using tracing::IClientHelper;

static_assert(std::is_base_of_v<IClient, DummyClient> && sizeof(DummyClient) == sizeof(IClient));
static_assert(std::is_abstract_v<IClientHelper> && std::has_virtual_destructor_v<IClientHelper>);
static_assert(std::is_base_of_v<IClientHelper, DummyHelper>);
static_assert(sizeof(DummyHelper) == sizeof(IClientHelper) + sizeof(DummyClient));

IClientHelper* const s_helperAtLoad = client_helper;

struct Alone
{
    static constexpr const char* NAME = "Alone";
    DummyClient client;
};

/// The process has a client, which is never told.
struct BesideAClient
{
    static constexpr const char* NAME = "BesideAClient";
    ~BesideAClient() { EXPECT_EQ("", recorder.calls()); }

    DummyClient client;
    RecordingClient recorder;
    InstalledClient installed{recorder};
};

/// The process's client is the dummy itself.
struct Installed
{
    static constexpr const char* NAME = "Installed";
    DummyClient client;
    InstalledClient installed{client};
};

} // namespace

namespace support {

using Situations = testing::Types<Alone, BesideAClient, Installed>;
INSTANTIATE_TYPED_TEST_SUITE_P(DummyClient, DroppingClient, Situations, SituationName);

} // namespace support

namespace {

TEST(DummyClient, HasAnIdOfItsOwn)
{
    IClient proxy;
    DummyClient first;
    DummyClient second;
    EXPECT_EQ(&first.getClientId(), &second.getClientId());
    EXPECT_NE(&proxy.getClientId(), &first.getClientId());
}

TEST(DummyClient, Installed_ProxiesHaveItsId)
{
    DummyClient client;
    const InstalledClient installed(client);
    IClient proxy;
    EXPECT_EQ(&client.getClientId(), &proxy.getClientId());
}

/// The message about the process `name`.
std::string missingClient(const std::string& name)
{
    return "FW_Tracing: init() called but no client instance available for process " + name +
           ". Probably you forgot to link against tracing-impl?\n";
}

/// Writes the message of a missing client on a helper of its own.
ChildResult startUp(const std::string& processName)
{
    return runInChild([&processName] {
        DummyHelper helper;
        EXPECT_FALSE(helper.init(processName));
    });
}

TEST(DummyHelper, Init_SaysThatTheClientIsMissing)
{
    const ChildResult result = startUp("pump-service");
    EXPECT_EQ("FW_Tracing: init() called but no client instance available for process pump-service"
              ". Probably you forgot to link against tracing-impl?\n",
              result.err);
    EXPECT_EQ("", result.out);
    EXPECT_EQ(0, result.exitCode);
}

TEST(DummyHelper, Init_EmptyName)
{
    const ChildResult result = startUp("");
    EXPECT_EQ(missingClient(""), result.err);
    EXPECT_EQ(0, result.exitCode);
}

TEST(DummyHelper, Init_NameIsNoFormat)
{
    const ChildResult result = startUp("100% %s%n");
    EXPECT_EQ(missingClient("100% %s%n"), result.err);
    EXPECT_EQ(0, result.exitCode);
}

TEST(DummyHelper, Init_WritesTheWholeName)
{
    const std::string name = std::string("a\0b", 3) + std::string(5000, 'x');
    const ChildResult result = startUp(name);
    EXPECT_EQ(missingClient(name), result.err);
}

TEST(DummyHelper, Init_IsRepeatedEachTime)
{
    const ChildResult result = runInChild([] {
        DummyHelper helper;
        EXPECT_FALSE(helper.init("a"));
        helper.deinit();
        EXPECT_FALSE(helper.init("b"));
    });
    EXPECT_EQ(missingClient("a") + missingClient("b"), result.err);
    EXPECT_EQ(0, result.exitCode);
}

TEST(DummyHelper, Init_BufferedStandardError_IsFlushed)
{
    const ChildResult result = runInChild([] {
        static char s_buffer[1024];
        setvbuf(stderr, s_buffer, _IOFBF, sizeof s_buffer);
        client_helper->init("a");
        _exit(0);
    });
    EXPECT_EQ(missingClient("a"), result.err);
}

TEST(DummyHelper, Init_ConcurrentCalls_MessagesAreWhole)
{
    const ChildResult result = runInChild([] {
        std::thread threads[4];
        for (std::thread& thread : threads)
            thread = std::thread([] {
                for (int call = 0; call < 1000; ++call)
                    client_helper->init("pump");
            });
        for (std::thread& thread : threads)
            thread.join();
    });
    EXPECT_EQ(4000, support::occurrences(result.err, missingClient("pump")));
    EXPECT_EQ(4000 * missingClient("pump").size(), result.err.size());
}

TEST(DummyHelper, Init_CancelledThread_FinishesTheMessage)
{
    const ChildResult result = runInChild([] {
        pthread_t thread;
        const auto body = [](void*) -> void* {
            pthread_cancel(pthread_self());
            client_helper->init("a");
            printf("went on");
            pthread_testcancel();
            return nullptr;
        };
        ASSERT_EQ(0, pthread_create(&thread, nullptr, body, nullptr));
        void* end = nullptr;
        pthread_join(thread, &end);
        EXPECT_EQ(PTHREAD_CANCELED, end);
    });
    EXPECT_EQ(missingClient("a"), result.err);
    EXPECT_EQ("went on", result.out);
}

TEST(DummyHelper, Init_StandardErrorIsClosed_KeepsErrno)
{
    const ChildResult result = runInChild([] {
        close(STDERR_FILENO);
        errno = ENOTTY;
        EXPECT_FALSE(client_helper->init("a"));
        EXPECT_EQ(ENOTTY, errno);
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
}

TEST(DummyHelper, InitAndDeinit_ChangeNothing)
{
    const ChildResult result = runInChild([] {
        client_helper->init("a");
        client_helper->deinit();
        EXPECT_EQ(s_helperAtLoad, client_helper);
        EXPECT_EQ(nullptr, IClient::s_client);
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(missingClient("a"), result.err);
    EXPECT_EQ("", result.out);
}

TEST(DummyHelper, GetClient_IsItsOwnDummy)
{
    DummyHelper first;
    DummyHelper second;
    EXPECT_NE(nullptr, dynamic_cast<DummyClient*>(first.getClient()));
    EXPECT_EQ(first.getClient(), first.getClient());
    EXPECT_NE(first.getClient(), second.getClient());
    EXPECT_NE(first.getClient(), client_helper->getClient());
}

TEST(DummyHelper, GetClient_IsPartOfTheHelper)
{
    DummyHelper helpers[2];
    const auto* const client = reinterpret_cast<const char*>(helpers[0].getClient());
    EXPECT_GT(client, reinterpret_cast<const char*>(&helpers[0]));
    EXPECT_LT(client, reinterpret_cast<const char*>(&helpers[1]));
}

/// Notes what it is told.
class NotingHelper : public IClientHelper
{
public:
    explicit NotingHelper(std::string& calls) : m_calls(calls) {}
    ~NotingHelper() override { m_calls += "destructor "; }

    bool init(const std::string& processName) override
    {
        m_calls += "init " + processName + " ";
        return true;
    }
    void deinit() override { m_calls += "deinit "; }
    IClient* getClient() override
    {
        m_calls += "getClient ";
        return nullptr;
    }

private:
    std::string& m_calls;
};

/// Gives the process its fallback helper back.
class ClientHelper : public testing::Test
{
protected:
    ~ClientHelper() override { client_helper = s_helperAtLoad; }

    std::string m_calls;
    NotingHelper m_helper{m_calls};
};

TEST_F(ClientHelper, AtLoad_IsAFallback)
{
    EXPECT_NE(nullptr, dynamic_cast<DummyHelper*>(s_helperAtLoad));
    EXPECT_EQ(s_helperAtLoad, client_helper);
}

TEST_F(ClientHelper, Set_IsTheProcesss)
{
    IClientHelper::setClientHelper(&m_helper);
    EXPECT_EQ(&m_helper, client_helper);
    EXPECT_EQ("", m_calls);
    EXPECT_TRUE(client_helper->init("pump"));
    EXPECT_EQ("init pump ", m_calls);
}

TEST_F(ClientHelper, Set_TheOneBeforeIsNeitherToldNorFreed)
{
    std::string calls;
    NotingHelper next(calls);
    IClientHelper::setClientHelper(&m_helper);
    IClientHelper::setClientHelper(&next);
    EXPECT_EQ(&next, client_helper);
    EXPECT_EQ("", m_calls);
    EXPECT_EQ("", calls);
}

TEST_F(ClientHelper, Set_NullIsAccepted)
{
    IClientHelper::setClientHelper(nullptr);
    EXPECT_EQ(nullptr, client_helper);
    IClientHelper::resetClientHelper();
    EXPECT_EQ(s_helperAtLoad, client_helper);
}

TEST_F(ClientHelper, Reset_IsTheFallbackAgain)
{
    IClientHelper::setClientHelper(&m_helper);
    IClientHelper::resetClientHelper();
    EXPECT_EQ(s_helperAtLoad, client_helper);
    EXPECT_EQ("", m_calls);
    IClientHelper::resetClientHelper();
    EXPECT_EQ(s_helperAtLoad, client_helper);
}

TEST_F(ClientHelper, SetAndReset_LeaveTheClientAlone)
{
    RecordingClient client;
    const InstalledClient installed(client);
    IClientHelper::setClientHelper(&m_helper);
    EXPECT_EQ(&client, IClient::s_client);
    IClientHelper::resetClientHelper();
    EXPECT_EQ(&client, IClient::s_client);
    EXPECT_EQ("", client.calls());
}

/// Uses the fallback helper and its client.
void useFallback()
{
    IClientHelper::resetClientHelper();
    printf("%d ", client_helper->init("late"));
    printf("%d ", client_helper->getClient()->unregisterCallback(5));
    printf("%d ", client_helper->getClient()->registerTimeZone("UTC", 0));
    printf("'%s'\n", client_helper->getClient()->getClientId().c_str());
    client_helper->deinit();
    fflush(stdout);
}

TEST(ClientHelperAtExit, ExitHandler_FallbackStillServes)
{
    const ChildResult result = runInChildToExit([] { std::atexit(useFallback); });
    EXPECT_EQ("0 0 -1 ''\n", result.out);
    EXPECT_EQ(missingClient("late"), result.err);
    EXPECT_EQ(0, result.exitCode);
}

TEST(ClientHelperAtExit, AfterAllStaticObjects_FallbackStillServes)
{
    const ChildResult result =
        runInChildToExit([] { support::afterAllStaticObjects(useFallback); });
    EXPECT_EQ("0 0 -1 ''\n", result.out);
    EXPECT_EQ(missingClient("late"), result.err);
    EXPECT_EQ(0, result.exitCode);
}

} // namespace

// SPDX-License-Identifier: Apache-2.0
//
// The default operations of the interface: what a proxy hands on, and to whom.

#include <common/tracing/IClient.h>

#include <atomic>
#include <string>
#include <thread>
#include <type_traits>

#include <common/tracing/Channel.h>
#include <gtest/gtest.h>

#include "support/DroppingClient.h"
#include "support/RecordingClient.h"

namespace {

using support::InstalledClient;
using support::RecordingClient;
using support::WatchedText;
using tracing::CallbackObject;
using tracing::Channel;
using tracing::IClient;

static_assert(!std::is_abstract_v<IClient> && std::has_virtual_destructor_v<IClient>);
static_assert(sizeof(IClient) == sizeof(void*), "no data");
static_assert(std::is_same_v<IClient::Callback, void (*)(int, void*, unsigned int)>);
static_assert(std::is_same_v<decltype(IClient::s_client), IClient*>);

/// Leaves every operation out.
class Proxy : public IClient
{};

IClient* const s_clientAtLoad = IClient::s_client;

struct WithoutClient
{
    static constexpr const char* NAME = "WithoutClient";
    Proxy client;
};

/// The process's client is the proxy itself.
struct OwnProxy
{
    static constexpr const char* NAME = "OwnProxy";
    Proxy client;
    InstalledClient installed{client};
};

/// The process's client is another proxy.
struct BareClient
{
    static constexpr const char* NAME = "BareClient";
    Proxy client;
    Proxy bare;
    InstalledClient installed{bare};
};

} // namespace

namespace support {

using Situations = testing::Types<WithoutClient, OwnProxy, BareClient>;
INSTANTIATE_TYPED_TEST_SUITE_P(IClient, DroppingClient, Situations, SituationName);

} // namespace support

namespace {

/// Also keeps the addresses that it is handed.
class KeepingClient : public RecordingClient
{
public:
    using RecordingClient::logMessage;

    int registerCallback(const std::string& name, Callback callback) override
    {
        function = callback;
        return RecordingClient::registerCallback(name, callback);
    }
    int registerCallback(const std::string& name, CallbackObject* callback) override
    {
        object = callback;
        return RecordingClient::registerCallback(name, callback);
    }
    bool enableChannel(Channel* taken) override
    {
        channel = taken;
        return RecordingClient::enableChannel(taken);
    }
    bool disableChannel(Channel* taken) override
    {
        channel = taken;
        return RecordingClient::disableChannel(taken);
    }
    bool changeChannelFilterLevel(Channel* taken, short level) override
    {
        channel = taken;
        return RecordingClient::changeChannelFilterLevel(taken, level);
    }
    void logMessage(const Channel& source, short level, short messageType, short modifiers,
                    const void* bytes, unsigned int size) override
    {
        channel = &source;
        data = bytes;
        RecordingClient::logMessage(source, level, messageType, modifiers, bytes, size);
    }

    Callback function = nullptr;
    const CallbackObject* object = nullptr;
    const Channel* channel = nullptr;
    const void* data = nullptr;
};

/// A proxy in front of a client that is installed.
class InstalledClientFixture : public testing::Test
{
protected:
    KeepingClient m_client;
    InstalledClient m_installed{m_client};
    Proxy m_proxy;
    Channel m_channel{"net", 2, 0};
};
using IClientForwarding = InstalledClientFixture;

TEST(IClient, NoClientAtLoad)
{
    EXPECT_EQ(nullptr, s_clientAtLoad);
}

TEST(IClient, NoClient_ProxiesShareOneId)
{
    Proxy first;
    Proxy second;
    EXPECT_EQ(&first.getClientId(), &second.getClientId());
}

TEST_F(IClientForwarding, Threads)
{
    m_proxy.registerThread("worker");
    EXPECT_EQ("registerThread worker", m_client.calls());
    m_proxy.unregisterThread();
    EXPECT_EQ("unregisterThread", m_client.calls());
}

TEST_F(IClientForwarding, CallbackFunctions)
{
    EXPECT_EQ(41, m_proxy.registerCallback("dump", support::ignoreCallback));
    EXPECT_EQ("registerCallback function dump", m_client.calls());
    EXPECT_EQ(&support::ignoreCallback, m_client.function);
    m_client.status = 0;
    EXPECT_EQ(0, m_proxy.registerCallback("", IClient::Callback()));
    EXPECT_EQ("registerCallback function  null", m_client.calls());
}

TEST_F(IClientForwarding, CallbackObjects)
{
    CallbackObject object;
    EXPECT_EQ(41, m_proxy.registerCallback("dump", &object));
    EXPECT_EQ("registerCallback object dump", m_client.calls());
    EXPECT_EQ(&object, m_client.object);
    m_client.status = 0;
    EXPECT_EQ(0, m_proxy.registerCallback("", static_cast<CallbackObject*>(nullptr)));
    EXPECT_EQ("registerCallback object  null", m_client.calls());
}

TEST_F(IClientForwarding, UnregisterCallback)
{
    EXPECT_EQ(41, m_proxy.unregisterCallback(-7));
    EXPECT_EQ("unregisterCallback -7", m_client.calls());
    m_client.status = -1;
    EXPECT_EQ(-1, m_proxy.unregisterCallback(2147483647));
    EXPECT_EQ("unregisterCallback 2147483647", m_client.calls());
}

TEST_F(IClientForwarding, TimeZones)
{
    EXPECT_EQ(41, m_proxy.registerTimeZone("UTC", -60));
    EXPECT_EQ("registerTimeZone UTC -60", m_client.calls());
    m_proxy.updateTimeZone(3, 78187493530);
    EXPECT_EQ("updateTimeZone 3 78187493530", m_client.calls());
    m_proxy.updateTimeZone(-1, -78187493530);
    EXPECT_EQ("updateTimeZone -1 -78187493530", m_client.calls());
}

TEST_F(IClientForwarding, Emergencies)
{
    m_proxy.emergencyLog("fire %s");
    EXPECT_EQ("emergencyLog fire %s", m_client.calls());
    m_proxy.emergencyBreak();
    EXPECT_EQ("emergencyBreak", m_client.calls());
}

TEST_F(IClientForwarding, EnableChannel)
{
    EXPECT_TRUE(m_proxy.enableChannel(&m_channel));
    EXPECT_EQ("enable net", m_client.calls());
    EXPECT_EQ(&m_channel, m_client.channel);
    m_client.answer = false;
    EXPECT_FALSE(m_proxy.enableChannel(&m_channel));
    EXPECT_EQ("enable net", m_client.calls());
}

TEST_F(IClientForwarding, DisableChannel)
{
    EXPECT_TRUE(m_proxy.disableChannel(&m_channel));
    EXPECT_EQ("disable net", m_client.calls());
    EXPECT_EQ(&m_channel, m_client.channel);
    m_client.answer = false;
    EXPECT_FALSE(m_proxy.disableChannel(&m_channel));
    EXPECT_EQ("disable net", m_client.calls());
}

TEST_F(IClientForwarding, ChangeChannelFilterLevel)
{
    EXPECT_TRUE(m_proxy.changeChannelFilterLevel(&m_channel, 32767));
    EXPECT_EQ("change net 32767", m_client.calls());
    EXPECT_EQ(&m_channel, m_client.channel);
    m_client.answer = false;
    EXPECT_FALSE(m_proxy.changeChannelFilterLevel(&m_channel, -32768));
    EXPECT_EQ("change net -32768", m_client.calls());
    EXPECT_EQ(6, m_channel.m_filterLevel);
}

TEST_F(IClientForwarding, StringMessage)
{
    m_proxy.logMessage(m_channel, 4, -2, std::string("dry %s"));
    EXPECT_EQ("string channel=net level=4 modifiers=-2 text=dry %s", m_client.calls());
}

TEST_F(IClientForwarding, RawMessage)
{
    const char data[] = {'a', '\0', 'c', 'd'};
    m_proxy.logMessage(m_channel, 4, 137, 2, data, 3);
    EXPECT_EQ("raw channel=net level=4 modifiers=2 type=137 size=3 data=a" + std::string("\0c", 2),
              m_client.calls());
    EXPECT_EQ(data, m_client.data);
    EXPECT_EQ(&m_channel, m_client.channel);
}

TEST_F(IClientForwarding, LentText)
{
    char text[] = "dry %s";
    m_proxy.logMessage(m_channel, 4, 2, text, false);
    EXPECT_EQ("buffer channel=net level=4 modifiers=2 lent text=dry %s", m_client.calls());
    EXPECT_EQ(text, m_client.lastBuffer());
}

TEST_F(IClientForwarding, LentText_Stamped)
{
    char text[] = "dry %s";
    m_proxy.logMessage(m_channel, 4, 2, 78187493530, text, false);
    EXPECT_EQ("stamped channel=net level=4 modifiers=2 time=78187493530 lent text=dry %s",
              m_client.calls());
    EXPECT_EQ(text, m_client.lastBuffer());
}

TEST_F(IClientForwarding, NullText)
{
    m_proxy.logMessage(m_channel, 4, 2, nullptr, true);
    EXPECT_EQ("buffer channel=net level=4 modifiers=2 owned text=(null)", m_client.calls());
    m_proxy.logMessage(m_channel, 4, 2, 7LL, nullptr, true);
    EXPECT_EQ("stamped channel=net level=4 modifiers=2 time=7 owned text=(null)", m_client.calls());
}

TEST_F(IClientForwarding, FlushMessages)
{
    m_proxy.flushMessages(true);
    EXPECT_EQ("flush true", m_client.calls());
    m_proxy.flushMessages(false);
    EXPECT_EQ("flush false", m_client.calls());
}

TEST_F(IClientForwarding, GetClientId)
{
    EXPECT_EQ(&m_client.id, &m_proxy.getClientId());
    EXPECT_EQ("getClientId", m_client.calls());
}

TEST_F(IClientForwarding, ChannelOfAProxyReachesTheClient)
{
    m_channel.m_client = &m_proxy;
    m_channel.logC(3, 1, "dry");
    EXPECT_EQ("string channel=net level=3 modifiers=1 text=dry", m_client.calls());
    EXPECT_TRUE(m_channel.enable());
    EXPECT_EQ("enable net", m_client.calls());
}

/// Hands `text` to a proxy, and on to a client that lives no longer than the call.
void sendOwned(WatchedText& text, bool isStamped)
{
    RecordingClient client;
    const InstalledClient installed(client);
    Proxy proxy;
    const Channel channel("net", 2, 0);
    if (isStamped) proxy.logMessage(channel, 4, 2, 7LL, text.get(), true);
    if (!isStamped) proxy.logMessage(channel, 4, 2, text.get(), true);
    EXPECT_EQ(text.get(), client.lastBuffer());
    EXPECT_EQ(0, text.releases());
}

TEST(IClient, OwnedText_IsLeftToTheClient)
{
    WatchedText text("dry");
    sendOwned(text, false);
    EXPECT_EQ(1, text.releases());
}

TEST(IClient, OwnedText_IsLeftToTheClient_Stamped)
{
    WatchedText text("dry");
    sendOwned(text, true);
    EXPECT_EQ(1, text.releases());
}

/// Overrides one operation.
struct Answering : IClient
{
    int unregisterCallback(int) override { return 41; }
};

TEST(IClient, OwnProxy_ItsOwnOperationsAreReached)
{
    Answering client;
    const InstalledClient installed(client);
    Proxy proxy;
    EXPECT_EQ(41, proxy.unregisterCallback(1));
    EXPECT_EQ(-1, proxy.registerTimeZone("UTC", 0));
}

// Reading it twice would find it set, and then call through null.
TEST(IClient, ClientComesAndGoes_EachCallReadsItOnce)
{
    Answering client;
    std::atomic<bool> done{false};
    std::thread toggling([&] {
        for (IClient* next = &client; !done; next = next == nullptr ? &client : nullptr)
            __atomic_store_n(&IClient::s_client, next, __ATOMIC_RELAXED);
        __atomic_store_n(&IClient::s_client, nullptr, __ATOMIC_RELAXED);
    });
    Proxy proxy;
    int last = 0;
    for (int changes = 0; changes < 100;) {
        const int status = proxy.unregisterCallback(1);
        if (status != last) ++changes;
        last = status;
    }
    done = true;
    toggling.join();
    EXPECT_EQ(-1, proxy.registerTimeZone("UTC", 0));
}

} // namespace

// SPDX-License-Identifier: Apache-2.0
//
// Clients that are built elsewhere call and are called by the number of a slot, so each operation
// is called here the way that compiled code does it.

#include <cstring>
#include <new>
#include <string>

#include <common/tracing/Channel.h>
#include <common/tracing/ChannelList.h>
#include <common/tracing/IClient.h>
#include <gtest/gtest.h>

#include "support/ChildProcess.h"
#include "support/RecordingClient.h"

class tracing::CallbackObject
{};

namespace {

using support::RecordingClient;
using tracing::CallbackObject;
using tracing::Channel;
using tracing::DummyHelper;
using tracing::IChannelListListener;
using tracing::IClient;
using tracing::IClientHelper;
using Text = const std::string&;

// The overloads are told apart by their types alone.
[[maybe_unused]] constexpr int (IClient::*FUNCTION_CALLBACK)(Text, IClient::Callback) =
    &IClient::registerCallback;
[[maybe_unused]] constexpr int (IClient::*OBJECT_CALLBACK)(Text, CallbackObject*) =
    &IClient::registerCallback;
[[maybe_unused]] constexpr void (IClient::*STRING_FORM)(const Channel&, short, short,
                                                        Text) = &IClient::logMessage;
[[maybe_unused]] constexpr void (IClient::*RAW_FORM)(const Channel&, short, short, short,
                                                     const void*,
                                                     unsigned int) = &IClient::logMessage;
[[maybe_unused]] constexpr void (IClient::*TEXT_FORM)(const Channel&, short, short, char*,
                                                      bool) = &IClient::logMessage;
[[maybe_unused]] constexpr void (IClient::*STAMPED_FORM)(const Channel&, short, short, long long,
                                                         char*, bool) = &IClient::logMessage;

/// An operation as compiled code sees it: a function behind the object's first word, to which the
/// object is the first argument.
template <typename Signature>
struct Slot;

template <typename Result, typename... Arguments>
struct Slot<Result(Arguments...)>
{
    static Result call(void* object, int number, Arguments... arguments)
    {
        const void* const* table;
        std::memcpy(&table, object, sizeof table);
        Result (*function)(void*, Arguments...);
        std::memcpy(&function, table + number, sizeof function);
        return function(object, arguments...);
    }
};

/// Calls go to a client of the tests, or to the library's default operations, which hand them on to
/// that client.
class IClientSlots : public testing::TestWithParam<bool>
{
protected:
    IClientSlots() { IClient::s_client = &m_client; }
    ~IClientSlots() override { IClient::s_client = nullptr; }

    RecordingClient m_client;
    IClient m_proxy;
    IClient* m_object = GetParam() ? &m_client : &m_proxy;
    Channel m_channel{"net", 2, 0};
};
INSTANTIATE_TEST_SUITE_P(Object, IClientSlots, testing::Bool(),
                         [](const testing::TestParamInfo<bool>& object) {
                             return std::string(object.param ? "Overriding" : "Forwarding");
                         });

TEST_P(IClientSlots, 2To3_Threads)
{
    Slot<void(Text)>::call(m_object, 2, "worker");
    EXPECT_EQ("registerThread worker", m_client.calls());
    Slot<void()>::call(m_object, 3);
    EXPECT_EQ("unregisterThread", m_client.calls());
}

TEST_P(IClientSlots, 4To6_Callbacks)
{
    const IClient::Callback callback = [](int, void*, unsigned int) {};
    EXPECT_EQ(41, (Slot<int(Text, IClient::Callback)>::call(m_object, 4, "dump", callback)));
    EXPECT_EQ("registerCallback function dump", m_client.calls());
    CallbackObject object;
    EXPECT_EQ(41, (Slot<int(Text, CallbackObject*)>::call(m_object, 5, "dump", &object)));
    EXPECT_EQ("registerCallback object dump", m_client.calls());
    EXPECT_EQ(41, Slot<int(int)>::call(m_object, 6, 7));
    EXPECT_EQ("unregisterCallback 7", m_client.calls());
}

TEST_P(IClientSlots, 7To8_TimeZones)
{
    EXPECT_EQ(41, (Slot<int(Text, int)>::call(m_object, 7, "UTC", -60)));
    EXPECT_EQ("registerTimeZone UTC -60", m_client.calls());
    Slot<void(int, long long)>::call(m_object, 8, 3, 78187493530);
    EXPECT_EQ("updateTimeZone 3 78187493530", m_client.calls());
}

TEST_P(IClientSlots, 9To10_Emergencies)
{
    Slot<void(Text)>::call(m_object, 9, "fire");
    EXPECT_EQ("emergencyLog fire", m_client.calls());
    Slot<void()>::call(m_object, 10);
    EXPECT_EQ("emergencyBreak", m_client.calls());
}

TEST_P(IClientSlots, 11To13_Channels)
{
    EXPECT_TRUE(Slot<bool(Channel*)>::call(m_object, 11, &m_channel));
    EXPECT_EQ("enable net", m_client.calls());
    EXPECT_TRUE(Slot<bool(Channel*)>::call(m_object, 12, &m_channel));
    EXPECT_EQ("disable net", m_client.calls());
    EXPECT_TRUE((Slot<bool(Channel*, short)>::call(m_object, 13, &m_channel, 3)));
    EXPECT_EQ("change net 3", m_client.calls());
}

TEST_P(IClientSlots, 14_StringMessage)
{
    using Operation = Slot<void(const Channel&, short, short, Text)>;
    Operation::call(m_object, 14, m_channel, 4, 1, "dry");
    EXPECT_EQ("string channel=net level=4 modifiers=1 text=dry", m_client.calls());
}

TEST_P(IClientSlots, 15_RawMessage)
{
    using Operation = Slot<void(const Channel&, short, short, short, const void*, unsigned int)>;
    Operation::call(m_object, 15, m_channel, 4, 137, 1, "dry", 3);
    EXPECT_EQ("raw channel=net level=4 modifiers=1 type=137 size=3 data=dry", m_client.calls());
}

TEST_P(IClientSlots, 16_Text)
{
    using Operation = Slot<void(const Channel&, short, short, char*, bool)>;
    char text[] = "dry";
    Operation::call(m_object, 16, m_channel, 4, 1, text, false);
    EXPECT_EQ("buffer channel=net level=4 modifiers=1 lent text=dry", m_client.calls());
}

TEST_P(IClientSlots, 17_StampedText)
{
    using Operation = Slot<void(const Channel&, short, short, long long, char*, bool)>;
    char text[] = "dry";
    Operation::call(m_object, 17, m_channel, 4, 1, 78187493530, text, false);
    EXPECT_EQ("stamped channel=net level=4 modifiers=1 time=78187493530 lent text=dry",
              m_client.calls());
}

TEST_P(IClientSlots, 18_FlushMessages)
{
    Slot<void(bool)>::call(m_object, 18, true);
    EXPECT_EQ("flush true", m_client.calls());
}

TEST_P(IClientSlots, 19_GetClientId)
{
    EXPECT_EQ(&m_client.id, &Slot<Text()>::call(m_object, 19));
    EXPECT_EQ("getClientId", m_client.calls());
}

TEST(DummyClientSlots, 4To7_Answers)
{
    tracing::DummyClient client;
    EXPECT_EQ(-1, (Slot<int(Text, IClient::Callback)>::call(&client, 4, "dump", nullptr)));
    EXPECT_EQ(-1, (Slot<int(Text, CallbackObject*)>::call(&client, 5, "dump", nullptr)));
    EXPECT_EQ(0, Slot<int(int)>::call(&client, 6, 7));
    EXPECT_EQ(-1, (Slot<int(Text, int)>::call(&client, 7, "UTC", -60)));
    EXPECT_EQ("", Slot<Text()>::call(&client, 19));
}

/// Counts what becomes of an object of the interface `Base`.
template <typename Base>
struct Doomed : Base
{
    ~Doomed() override { ++s_destroyed; }
    static void* operator new(size_t size) { return ::operator new(size); }
    static void operator delete(void* memory)
    {
        ++s_released;
        ::operator delete(memory);
    }
    static inline int s_destroyed = 0;
    static inline int s_released = 0;
};

/// Expects that slot 0 destroys an object, and that slot 1 also releases its memory.
template <typename Class>
void expectDestructorSlots()
{
    alignas(Class) unsigned char memory[sizeof(Class)];
    Slot<void()>::call(::new (memory) Class, 0);
    EXPECT_EQ(1, Class::s_destroyed);
    EXPECT_EQ(0, Class::s_released);
    Slot<void()>::call(new Class, 1);
    EXPECT_EQ(2, Class::s_destroyed);
    EXPECT_EQ(1, Class::s_released);
}

/// Notes what it is told.
class NotingHelper : public IClientHelper
{
public:
    bool init(const std::string& processName) override
    {
        call = "init " + processName;
        return true;
    }
    void deinit() override { call = "deinit"; }
    IClient* getClient() override
    {
        call = "getClient";
        return &client;
    }

    std::string call;
    tracing::DummyClient client;
};

/// Notes what it is told.
class NotingListener : public IChannelListListener
{
public:
    void channelRegistered(Channel* channel) override { call = "registered " + channel->m_path; }
    void channelUnregistered(Channel* channel) override
    {
        call = "unregistered " + channel->m_path;
    }

    std::string call;
};

TEST(IClientDestructorSlots, 0To1_Destructors)
{
    expectDestructorSlots<Doomed<IClient>>();
}

TEST(IClientHelperSlots, 0To1_Destructors)
{
    expectDestructorSlots<Doomed<NotingHelper>>();
}

TEST(IChannelListListenerSlots, 0To1_Destructors)
{
    expectDestructorSlots<Doomed<NotingListener>>();
}

TEST(IClientHelperSlots, 2To4)
{
    NotingHelper helper;
    EXPECT_TRUE(Slot<bool(Text)>::call(&helper, 2, "pump"));
    EXPECT_EQ("init pump", helper.call);
    Slot<void()>::call(&helper, 3);
    EXPECT_EQ("deinit", helper.call);
    EXPECT_EQ(&helper.client, Slot<IClient*()>::call(&helper, 4));
    EXPECT_EQ("getClient", helper.call);
}

TEST(DummyHelperSlots, 2To4)
{
    const auto result = support::runInChild([] {
        DummyHelper helper;
        EXPECT_FALSE(Slot<bool(Text)>::call(&helper, 2, "pump"));
        Slot<void()>::call(&helper, 3);
        EXPECT_EQ(helper.getClient(), Slot<IClient*()>::call(&helper, 4));
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ("FW_Tracing: init() called but no client instance available for process pump"
              ". Probably you forgot to link against tracing-impl?\n",
              result.err);
}

TEST(IChannelListListenerSlots, 2To3)
{
    NotingListener listener;
    Channel channel("net", 2, 0);
    Slot<void(Channel*)>::call(&listener, 2, &channel);
    EXPECT_EQ("registered net", listener.call);
    Slot<void(Channel*)>::call(&listener, 3, &channel);
    EXPECT_EQ("unregistered net", listener.call);
}

} // namespace

// SPDX-License-Identifier: Apache-2.0

#include <tracing-impl/Callbacks.h>

#include <atomic>
#include <climits>
#include <future>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

#include <gtest/gtest.h>
#include <support/ChildProcess.h>
#include <support/LastingObject.h>
#include <tracing-impl/CallbackObject.h>
#include <unistd.h>

namespace {

using tracing::CallbackObject;
using tracing::IClient;

/// What the callbacks were called with.
std::string s_calls;

std::string takeCalls()
{
    return std::exchange(s_calls, "");
}

void note(const char* who, int id, const void* data, unsigned int size)
{
    const std::string bytes(static_cast<const char*>(data), size);
    s_calls += std::string(who) + "(" + std::to_string(id) + ", '" + bytes + "')";
}

void first(int id, void* data, unsigned int size)
{
    note("first", id, data, size);
}

void second(int id, void* data, unsigned int size)
{
    note("second", id, data, size);
}

struct Object : CallbackObject
{
    void called(int id, void* data, unsigned int size) override { note("object", id, data, size); }
};

tracing::impl::Callbacks* s_callbacks = nullptr;

/// Takes itself out and brings others in.
void replacing(int id, void* data, unsigned int size)
{
    note("replacing", id, data, size);
    EXPECT_EQ(0, s_callbacks->remove(id));
    EXPECT_EQ(1, s_callbacks->add("other", first));
    EXPECT_EQ(2, s_callbacks->add("replacing", second));
    EXPECT_TRUE(s_callbacks->call("other", "nested"));
}

class Callbacks : public testing::Test
{
protected:
    Callbacks() { s_callbacks = &m_callbacks; }
    ~Callbacks() override { EXPECT_EQ("", takeCalls()); }

    tracing::impl::Callbacks m_callbacks;
};

TEST_F(Callbacks, Call_AFunctionWithItsIdAndTheBytes)
{
    EXPECT_EQ(0, m_callbacks.add("restart", first));
    EXPECT_EQ(1, m_callbacks.add("stop", second));
    EXPECT_TRUE(m_callbacks.call("restart", "now"));
    EXPECT_EQ("first(0, 'now')", takeCalls());
    EXPECT_TRUE(m_callbacks.call("stop", std::string("a\0\xff", 3)));
    EXPECT_EQ(std::string("second(1, 'a\0\xff')", 16), takeCalls());
}

TEST_F(Callbacks, Call_AnObject)
{
    Object object;
    EXPECT_EQ(0, m_callbacks.add("restart", &object));
    EXPECT_TRUE(m_callbacks.call("restart", "now"));
    EXPECT_EQ("object(0, 'now')", takeCalls());
}

TEST_F(Callbacks, Call_WithoutBytes)
{
    m_callbacks.add("restart", first);
    EXPECT_TRUE(m_callbacks.call("restart", ""));
    EXPECT_EQ("first(0, '')", takeCalls());
}

TEST_F(Callbacks, Call_BytesAreTheCalleesToChange)
{
    m_callbacks.add("change", [](int, void* data, unsigned int size) {
        static_cast<char*>(data)[0] = 'X';
        note("changed", 0, data, size);
    });
    std::string bytes = "now";
    EXPECT_TRUE(m_callbacks.call("change", bytes));
    EXPECT_EQ("changed(0, 'Xow')", takeCalls());
    EXPECT_EQ("now", bytes);
}

TEST_F(Callbacks, Call_ReturnsFalseForANameThatIsNone)
{
    EXPECT_FALSE(m_callbacks.call("restart", "now"));
    m_callbacks.add("restart", first);
    EXPECT_FALSE(m_callbacks.call("Restart", "now"));
    EXPECT_FALSE(m_callbacks.call("", "now"));
    EXPECT_FALSE(m_callbacks.call(std::string("restart\0", 8), "now"));
}

TEST_F(Callbacks, Add_AnyName)
{
    m_callbacks.add("", first);
    m_callbacks.add(std::string("a\0b", 3), second);
    EXPECT_TRUE(m_callbacks.call("", "x"));
    EXPECT_TRUE(m_callbacks.call(std::string("a\0b", 3), "y"));
    EXPECT_EQ("first(0, 'x')second(1, 'y')", takeCalls());
}

TEST_F(Callbacks, Add_TakesThePlaceOfOneOfTheSameName)
{
    Object object;
    EXPECT_EQ(0, m_callbacks.add("restart", first));
    EXPECT_EQ(1, m_callbacks.add("restart", &object));
    EXPECT_TRUE(m_callbacks.call("restart", "now"));
    EXPECT_EQ("object(1, 'now')", takeCalls());
    EXPECT_EQ(2, m_callbacks.add("restart", second));
    EXPECT_TRUE(m_callbacks.call("restart", "now"));
    EXPECT_EQ("second(2, 'now')", takeCalls());
    EXPECT_EQ(-1, m_callbacks.remove(0));
    EXPECT_EQ(-1, m_callbacks.remove(1));
    EXPECT_EQ(0, m_callbacks.remove(2));
}

TEST_F(Callbacks, Add_NullIsRefusedAndReplacesNothing)
{
    m_callbacks.add("restart", first);
    EXPECT_EQ(-1, m_callbacks.add("restart", static_cast<IClient::Callback>(nullptr)));
    EXPECT_EQ(-1, m_callbacks.add("restart", static_cast<CallbackObject*>(nullptr)));
    EXPECT_TRUE(m_callbacks.call("restart", "now"));
    EXPECT_EQ("first(0, 'now')", takeCalls());
}

TEST_F(Callbacks, Remove_OnlyThatOne)
{
    m_callbacks.add("a", first);
    m_callbacks.add("b", second);
    EXPECT_EQ(0, m_callbacks.remove(0));
    EXPECT_FALSE(m_callbacks.call("a", "now"));
    EXPECT_TRUE(m_callbacks.call("b", "now"));
    EXPECT_EQ("second(1, 'now')", takeCalls());
}

TEST_F(Callbacks, Remove_OfAnIdThatIsNone)
{
    EXPECT_EQ(-1, m_callbacks.remove(0));
    m_callbacks.add("a", first);
    EXPECT_EQ(-1, m_callbacks.remove(-1));
    EXPECT_EQ(-1, m_callbacks.remove(1));
    EXPECT_EQ(-1, m_callbacks.remove(INT_MAX));
    EXPECT_EQ(-1, m_callbacks.remove(INT_MIN));
    EXPECT_EQ(0, m_callbacks.remove(0));
    EXPECT_EQ(-1, m_callbacks.remove(0));
}

TEST_F(Callbacks, Ids_AreNeverUsedAgain)
{
    EXPECT_EQ(0, m_callbacks.add("a", first));
    EXPECT_EQ(0, m_callbacks.remove(0));
    EXPECT_EQ(1, m_callbacks.add("a", first));
    EXPECT_EQ(0, m_callbacks.remove(1));
    EXPECT_EQ(2, m_callbacks.add("b", first));
}

TEST_F(Callbacks, Call_MayRegisterAndUnregisterOthersAndItself)
{
    EXPECT_EQ(0, m_callbacks.add("replacing", replacing));
    EXPECT_TRUE(m_callbacks.call("replacing", "now"));
    EXPECT_EQ("replacing(0, 'now')first(1, 'nested')", takeCalls());
    EXPECT_TRUE(m_callbacks.call("replacing", "again"));
    EXPECT_EQ("second(2, 'again')", takeCalls());
}

TEST_F(Callbacks, Remove_UnderWayInAnotherThread_Waits)
{
    support::LastingObject object(m_callbacks);
    EXPECT_EQ(0, m_callbacks.add("lasting", &object));
    std::thread calling([this] { EXPECT_TRUE(m_callbacks.call("lasting", "")); });
    object.m_begun.get_future().wait();
    EXPECT_EQ(0, m_callbacks.remove(0));
    EXPECT_TRUE(object.m_isDone);
    calling.join();
    EXPECT_FALSE(m_callbacks.call("lasting", ""));
}

TEST_F(Callbacks, Remove_AnotherOneIsUnderWay_DoesNotWait)
{
    support::LastingObject object(m_callbacks);
    m_callbacks.add("lasting", &object);
    m_callbacks.add("restart", first);
    std::thread calling([this] { EXPECT_TRUE(m_callbacks.call("lasting", "")); });
    object.m_begun.get_future().wait();
    EXPECT_EQ(0, m_callbacks.remove(1));
    EXPECT_FALSE(object.m_isDone);
    EXPECT_EQ(0, m_callbacks.remove(0));
    calling.join();
}

TEST_F(Callbacks, Remove_ByTheCallbackItself_DoesNotWait)
{
    m_callbacks.add("once", [](int id, void* data, unsigned int size) {
        EXPECT_EQ(0, s_callbacks->remove(id));
        EXPECT_EQ(-1, s_callbacks->remove(id));
        note("once", id, data, size);
    });
    EXPECT_TRUE(m_callbacks.call("once", "now"));
    EXPECT_FALSE(m_callbacks.call("once", "now"));
    EXPECT_EQ("once(0, 'now')", takeCalls());
}

/// The first call waits in the callback until the second one, of another thread, has ended.
struct SharedObject : CallbackObject
{
    void called(int id, void*, unsigned int size) override
    {
        if (size != 0) return;
        m_begun.set_value();
        m_secondHasEnded.get_future().wait();
        EXPECT_EQ(0, s_callbacks->remove(id));
    }

    std::promise<void> m_begun;
    std::promise<void> m_secondHasEnded;
};

TEST_F(Callbacks, Remove_ByTheCallbackItself_AnotherThreadHasLeftIt_DoesNotWait)
{
    SharedObject object;
    m_callbacks.add("shared", &object);
    std::thread calling([this] { EXPECT_TRUE(m_callbacks.call("shared", "")); });
    object.m_begun.get_future().wait();
    EXPECT_TRUE(m_callbacks.call("shared", "second"));
    object.m_secondHasEnded.set_value();
    calling.join();
    EXPECT_FALSE(m_callbacks.call("shared", ""));
}

TEST_F(Callbacks, Call_PrintsNothing)
{
    const support::ChildResult child = support::runInChild([this] {
        m_callbacks.add("restart", first);
        EXPECT_TRUE(m_callbacks.call("restart", "now"));
        EXPECT_EQ("first(0, 'now')", takeCalls());
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("", child.err);
}

TEST_F(Callbacks, Call_Throws_IsToldAndCountsAsMade)
{
    const support::ChildResult child = support::runInChild([this] {
        alarm(60);
        m_callbacks.add("re\nstart",
                        [](int, void*, unsigned int) { throw std::runtime_error("no motor"); });
        EXPECT_TRUE(m_callbacks.call("re\nstart", "now"));
        const auto remove = [this] { return m_callbacks.remove(0); };
        EXPECT_EQ(0, std::async(std::launch::async, remove).get());
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
    EXPECT_EQ("tracing: a callback has thrown: re\\nstart\n", child.err);
}

} // namespace

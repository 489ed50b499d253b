// SPDX-License-Identifier: Apache-2.0
//
// Callbacks and the end of the client, for which they and their threads are told apart.

#include <tracing-impl/Callbacks.h>

#include <atomic>
#include <future>
#include <stdexcept>
#include <thread>

#include <gtest/gtest.h>
#include <support/ChildProcess.h>
#include <support/LastingObject.h>
#include <tracing-impl/CallbackObject.h>
#include <tracing-impl/CurrentThread.h>

namespace {

using tracing::CallbackObject;
using tracing::impl::isOwnThread;

tracing::impl::Callbacks* s_callbacks = nullptr;

class CallbacksEnd : public testing::Test
{
protected:
    CallbacksEnd() { s_callbacks = &m_callbacks; }

    tracing::impl::Callbacks m_callbacks;
};

bool s_wasOwn = false;

void noteThread(int, void*, unsigned int)
{
    s_wasOwn = isOwnThread();
}

TEST_F(CallbacksEnd, Call_MarksTheThreadMeanwhile)
{
    m_callbacks.add("note", noteThread);
    s_wasOwn = false;
    EXPECT_TRUE(m_callbacks.call("note", ""));
    EXPECT_TRUE(s_wasOwn);
    EXPECT_FALSE(isOwnThread());
}

TEST_F(CallbacksEnd, Call_Nested_LeavesTheMarkToTheOuterOne)
{
    m_callbacks.add("inner", [](int, void*, unsigned int) {});
    m_callbacks.add("outer", [](int id, void* data, unsigned int size) {
        EXPECT_TRUE(s_callbacks->call("inner", ""));
        noteThread(id, data, size);
    });
    s_wasOwn = false;
    EXPECT_TRUE(m_callbacks.call("outer", ""));
    EXPECT_TRUE(s_wasOwn);
    EXPECT_FALSE(isOwnThread());
}

TEST_F(CallbacksEnd, Call_Throws_TakesTheMarkBack)
{
    const support::ChildResult child = support::runInChild([this] {
        m_callbacks.add("throw", [](int, void*, unsigned int) { throw std::runtime_error("no"); });
        EXPECT_TRUE(m_callbacks.call("throw", ""));
        EXPECT_FALSE(isOwnThread());
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
}

TEST_F(CallbacksEnd, Close_RefusesCalls)
{
    m_callbacks.add("note", noteThread);
    m_callbacks.close();
    s_wasOwn = false;
    EXPECT_FALSE(m_callbacks.call("note", ""));
    EXPECT_EQ(1, m_callbacks.add("other", noteThread));
    EXPECT_FALSE(m_callbacks.call("other", ""));
    EXPECT_FALSE(s_wasOwn);
}

TEST_F(CallbacksEnd, Close_UnderWay_Waits)
{
    support::LastingObject object(m_callbacks);
    EXPECT_EQ(0, m_callbacks.add("lasting", &object));
    std::thread calling([this] { EXPECT_TRUE(m_callbacks.call("lasting", "")); });
    object.m_begun.get_future().wait();
    m_callbacks.close();
    EXPECT_TRUE(object.m_isDone);
    calling.join();
}

TEST_F(CallbacksEnd, Close_UnderWayAndUnregistered_Waits)
{
    support::LastingObject object(m_callbacks);
    EXPECT_EQ(0, m_callbacks.add("lasting", &object));
    std::thread calling([this] { EXPECT_TRUE(m_callbacks.call("lasting", "")); });
    object.m_begun.get_future().wait();
    std::thread removing([this] { EXPECT_EQ(0, m_callbacks.remove(0)); });
    m_callbacks.close();
    EXPECT_TRUE(object.m_isDone);
    calling.join();
    removing.join();
}

} // namespace

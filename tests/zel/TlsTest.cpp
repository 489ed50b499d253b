// SPDX-License-Identifier: Apache-2.0

#include <zel/Tls.h>

#include <csignal>
#include <cstring>
#include <new>
#include <thread>
#include <type_traits>

#include <gtest/gtest.h>

#include "support/ChildProcess.h"

namespace {

struct Session
{
    int number;
};

static_assert(!std::is_copy_constructible_v<zel::Tls<Session>>);
static_assert(!std::is_copy_assignable_v<zel::Tls<Session>>);
static_assert(std::is_same_v<Session*, decltype(std::declval<const zel::Tls<Session>&>().get())>);

/// A slot whose key is taken away behind its back, so that every further call on it fails.
class BrokenSlot
{
public:
    BrokenSlot() : m_slot(*new (m_memory) zel::Tls<Session>)
    {
        pthread_key_t key;
        static_assert(sizeof m_slot == sizeof key);
        std::memcpy(&key, m_memory, sizeof key);
        EXPECT_EQ(0, pthread_key_delete(key));
    }

    zel::Tls<Session>& slot() { return m_slot; }

private:
    alignas(zel::Tls<Session>) unsigned char m_memory[sizeof(zel::Tls<Session>)];
    zel::Tls<Session>& m_slot;
};

TEST(Tls, IsEmptyAtFirst)
{
    const zel::Tls<Session> slot;
    EXPECT_EQ(nullptr, slot.get());
}

TEST(Tls, GivesBackWhatWasStored)
{
    zel::Tls<Session> slot;
    Session session{7};
    slot.set(&session);
    EXPECT_EQ(&session, slot.get());
    EXPECT_EQ(7, slot.get()->number);
}

TEST(Tls, SetReplaces)
{
    zel::Tls<Session> slot;
    Session first{1};
    Session second{2};
    slot.set(&first);
    slot.set(&second);
    EXPECT_EQ(&second, slot.get());
}

TEST(Tls, SetNull_EmptiesTheSlot)
{
    zel::Tls<Session> slot;
    Session session{7};
    slot.set(&session);
    slot.set(nullptr);
    EXPECT_EQ(nullptr, slot.get());
}

TEST(Tls, HoldsPointersToConstantObjects)
{
    zel::Tls<const Session> slot;
    const Session session{7};
    slot.set(&session);
    EXPECT_EQ(&session, slot.get());
}

TEST(Tls, TwoSlotsAreApart)
{
    zel::Tls<Session> first;
    zel::Tls<Session> second;
    Session session{7};
    first.set(&session);
    EXPECT_EQ(nullptr, second.get());
}

TEST(Tls, AnotherThreadHasItsOwn)
{
    zel::Tls<Session> slot;
    Session mine{1};
    Session others{2};
    slot.set(&mine);
    Session* seenAtFirst = &mine;
    Session* seenAfterSet = nullptr;
    std::thread([&] {
        seenAtFirst = slot.get();
        slot.set(&others);
        seenAfterSet = slot.get();
    }).join();
    EXPECT_EQ(nullptr, seenAtFirst);
    EXPECT_EQ(&others, seenAfterSet);
    EXPECT_EQ(&mine, slot.get());
}

TEST(Tls, DestructionLeavesTheObjectAlone)
{
    static bool s_destroyed = false;
    struct Guard
    {
        ~Guard() { s_destroyed = true; }
    };
    Guard guard;
    {
        zel::Tls<Guard> slot;
        slot.set(&guard);
    }
    EXPECT_FALSE(s_destroyed);
}

TEST(Tls, SetFails_EndsTheProcess)
{
    const support::ChildResult result = support::runInChild([] {
        Session session{7};
        BrokenSlot().slot().set(&session);
    });
    EXPECT_EQ(SIGABRT, result.signal);
    EXPECT_EQ("", result.out);
    EXPECT_EQ(support::reportTitle("Abort was called", result) +
                  "Location: include/zel/Tls:35, set()\n"
                  "No error context set\n"
                  "Reason: \"Unknown zel::Tls error\"\n",
              result.err);
}

TEST(Tls, SetFailsAndAbortIsDisabled_Returns)
{
    const support::ChildResult result = support::runInChild([] {
        std::GlobalErrorHandler::s_disable_abort = true;
        Session session{7};
        BrokenSlot().slot().set(&session);
        std::puts("went on");
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("went on\n", result.out);
    EXPECT_EQ(support::reportTitle("Abort was called", result) +
                  "Location: include/zel/Tls:35, set()\n"
                  "No error context set\n"
                  "Reason: \"Unknown zel::Tls error\"\n",
              result.err);
}

TEST(Tls, SetSucceeds_ReportsNothing)
{
    const support::ChildResult result = support::runInChild([] {
        zel::Tls<Session> slot;
        Session session{7};
        slot.set(&session);
        slot.set(nullptr);
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("", result.err);
}

TEST(Tls, NoKeyLeft_EndsTheProcess)
{
    const support::ChildResult result = support::runInChild([] {
        pthread_key_t key;
        while (pthread_key_create(&key, nullptr) == 0) {}
        const zel::Tls<Session> slot;
    });
    EXPECT_EQ(SIGABRT, result.signal);
    EXPECT_EQ("pthread_key_create failed in framework/src/threadsafe/TlsImpl-posix:29, TlsImpl\n",
              result.err);
}

TEST(Tls, KeyCannotBeFreed_EndsTheProcess)
{
    const support::ChildResult result = support::runInChild([] {
        BrokenSlot broken;
        broken.slot().~Tls();
    });
    EXPECT_EQ(SIGABRT, result.signal);
    EXPECT_EQ("pthread_key_delete failed in framework/src/threadsafe/TlsImpl-posix:36, ~TlsImpl\n",
              result.err);
}

} // namespace

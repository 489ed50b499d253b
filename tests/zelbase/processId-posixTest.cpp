// SPDX-License-Identifier: Apache-2.0

#include "zelbase/processId-posix.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include "support/ChildProcess.h"

namespace {

// How often the unit asked the system, and what it registered at load.
std::atomic<int> s_asked{0};
int s_registrations = 0;
void (*s_prepare)() = nullptr;
void (*s_parent)() = nullptr;
void (*s_child)() = nullptr;

int countedGetpid()
{
    ++s_asked;
    return getpid();
}

int refuse(void (*)(), void (*)(), void (*)())
{
    return ENOMEM;
}

} // namespace

extern "C" {

pid_t interposed_getpid() noexcept
{
    return countedGetpid();
}

int interposed_pthread_atfork(void (*prepare)(), void (*parent)(), void (*child)()) noexcept
{
    ++s_registrations;
    s_prepare = prepare;
    s_parent = parent;
    s_child = child;
    return pthread_atfork(prepare, parent, child);
}

} // extern "C"

namespace zelbase {

extern std::atomic<int> s_knownUnregistered;
int askUnregistered();
int processIdUnregistered();

} // namespace zelbase

// A second copy of the unit, whose registration is refused: what becomes of it is settled at load.
#define s_knownProcessId s_knownUnregistered
#define askProcessId askUnregistered
#define pthread_atfork refuse
#define getpid countedGetpid
#include <zelbase/processId-posix.cpp>
#undef s_knownProcessId
#undef askProcessId
#undef pthread_atfork
#undef getpid

int zelbase::processIdUnregistered()
{
    return s_knownUnregistered > 0 ? s_knownUnregistered.load() : askUnregistered();
}

namespace {

/// Built before the unit has registered anything.
struct Early
{
    Early() : first(zelbase::processId()), second(zelbase::processId()), asked(s_asked) {}

    const int first;
    const int second;
    const int asked;
};
const Early s_early __attribute__((init_priority(101)));

TEST(ProcessId, IsTheSystems)
{
    EXPECT_EQ(getpid(), zelbase::processId());
}

TEST(ProcessId, BeforeStaticInitialisation_AsksEachTime)
{
    EXPECT_EQ(getpid(), s_early.first);
    EXPECT_EQ(getpid(), s_early.second);
    EXPECT_EQ(2, s_early.asked);
}

TEST(ProcessId, IsForgottenInAForkedChildAlone)
{
    EXPECT_EQ(1, s_registrations);
    EXPECT_EQ(nullptr, s_prepare);
    EXPECT_EQ(nullptr, s_parent);
    EXPECT_NE(nullptr, s_child);
}

TEST(ProcessId, IsAskedForOnce)
{
    zelbase::processId();
    const int before = s_asked;
    EXPECT_EQ(getpid(), zelbase::processId());
    EXPECT_EQ(getpid(), zelbase::processId());
    EXPECT_EQ(before, s_asked);
}

TEST(ProcessId, ForkedChild_HasItsOwnAndAsksOnce)
{
    zelbase::processId();
    const int before = s_asked;
    const support::ChildResult result = support::runInChild([before] {
        printf("%d %d", zelbase::processId(), zelbase::processId());
        EXPECT_EQ(before + 1, s_asked);
    });
    const std::string pid = std::to_string(result.pid);
    EXPECT_EQ(pid + " " + pid, result.out);
    EXPECT_EQ(0, result.exitCode);
}

TEST(ProcessId, ForkedGrandchild_HasItsOwn)
{
    const support::ChildResult result = support::runInChild([] {
        zelbase::processId();
        const support::ChildResult inner =
            support::runInChild([] { printf("%d", zelbase::processId()); });
        EXPECT_EQ(std::to_string(inner.pid), inner.out);
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
}

TEST(ProcessId, Parent_KeepsItsOwnAcrossAFork)
{
    zelbase::processId();
    const int before = s_asked;
    support::runInChild([] { zelbase::processId(); });
    EXPECT_EQ(getpid(), zelbase::processId());
    EXPECT_EQ(before, s_asked);
}

TEST(ProcessId, ThreadsAtOnce_GetTheSame)
{
    const support::ChildResult result = support::runInChild([] {
        pthread_barrier_t start;
        pthread_barrier_init(&start, nullptr, 2);
        int others = 0;
        std::thread other([&] {
            pthread_barrier_wait(&start);
            others = zelbase::processId();
        });
        pthread_barrier_wait(&start);
        EXPECT_EQ(getpid(), zelbase::processId());
        other.join();
        EXPECT_EQ(getpid(), others);
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
}

TEST(ProcessId, RegistrationRefused_AsksEachTime)
{
    const int before = s_asked;
    EXPECT_EQ(getpid(), zelbase::processIdUnregistered());
    EXPECT_EQ(getpid(), zelbase::processIdUnregistered());
    EXPECT_EQ(before + 2, s_asked);
}

TEST(ProcessId, RegistrationRefused_ForkedChildHasItsOwn)
{
    zelbase::processIdUnregistered();
    const support::ChildResult result =
        support::runInChild([] { printf("%d", zelbase::processIdUnregistered()); });
    EXPECT_EQ(std::to_string(result.pid), result.out);
}

} // namespace

// SPDX-License-Identifier: Apache-2.0
//
// What the condition asks of the system, and what it makes of the answers. Real waiting is in
// ConditionImpl-posixThreadsTest.cpp.

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <ctime>
#include <initializer_list>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <common/error/ErrorStorage.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include "support/ChildProcess.h"

namespace {

// What the interposed calls answer instead of working; 0 lets them work.
int s_attributesInit = 0;
int s_setClock = 0;
int s_init = 0;
int s_attributesDestroy = 0;
int s_destroy = 0;
int s_signal = 0;
int s_broadcast = 0;

// What the interposed waits answer; they never wait.
int s_wait = 0;
int s_timedWait = 0;

// What the interposed calls were given.
std::vector<std::string> s_calls;
const void* s_attributes = nullptr;
const void* s_condition = nullptr;
const void* s_mutex = nullptr;

/// Notes a step of construction. Returns whether it is to work.
bool works(const std::string& step, const void* attributes, int answer)
{
    s_calls.push_back(step);
    EXPECT_EQ(s_attributes, attributes) << step;
    return answer == 0;
}

/// Notes a call on the condition.
void note(const std::string& call, const void* condition)
{
    s_calls.push_back(call);
    EXPECT_EQ(s_condition, condition) << call;
}

} // namespace

extern "C" {

int interposed_pthread_condattr_init(pthread_condattr_t* attributes) noexcept
{
    s_attributes = attributes;
    if (!works("attributes", attributes, s_attributesInit)) return s_attributesInit;
    return pthread_condattr_init(attributes);
}

int interposed_pthread_condattr_setclock(pthread_condattr_t* attributes, clockid_t clock) noexcept
{
    if (!works("clock", attributes, s_setClock)) return s_setClock;
    return pthread_condattr_setclock(attributes, clock);
}

int interposed_pthread_cond_init(pthread_cond_t* condition,
                                 const pthread_condattr_t* attributes) noexcept
{
    clockid_t clock = CLOCK_REALTIME;
    EXPECT_EQ(0, pthread_condattr_getclock(attributes, &clock));
    EXPECT_EQ(CLOCK_MONOTONIC, clock);
    s_condition = condition;
    if (!works("condition", attributes, s_init)) return s_init;
    return pthread_cond_init(condition, attributes);
}

int interposed_pthread_condattr_destroy(pthread_condattr_t* attributes) noexcept
{
    if (!works("no attributes", attributes, s_attributesDestroy)) return s_attributesDestroy;
    return pthread_condattr_destroy(attributes);
}

int interposed_pthread_cond_destroy(pthread_cond_t* condition) noexcept
{
    note("no condition", condition);
    return s_destroy != 0 ? s_destroy : pthread_cond_destroy(condition);
}

int interposed_pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex)
{
    note("wait", condition);
    s_mutex = mutex;
    return s_wait;
}

int interposed_pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                      const timespec*)
{
    note("timed wait", condition);
    s_mutex = mutex;
    return s_timedWait;
}

int interposed_pthread_cond_signal(pthread_cond_t* condition) noexcept
{
    note("signal", condition);
    return s_signal != 0 ? s_signal : pthread_cond_signal(condition);
}

int interposed_pthread_cond_broadcast(pthread_cond_t* condition) noexcept
{
    note("broadcast", condition);
    return s_broadcast != 0 ? s_broadcast : pthread_cond_broadcast(condition);
}

} // extern "C"

// The calls that the header makes in line.
#define pthread_cond_signal interposed_pthread_cond_signal
#define pthread_cond_broadcast interposed_pthread_cond_broadcast
#include <threadsafe/ConditionImpl-posix.h>
#undef pthread_cond_signal
#undef pthread_cond_broadcast

namespace {

using threadsafe::ConditionBase;
using threadsafe::ConditionImpl;
using threadsafe::MutexImpl;
using zelbase::TimePoint;

struct Fields
{
    pthread_cond_t condition;
    MutexImpl* mutex;
};
static_assert(sizeof(ConditionImpl) == sizeof(Fields));
static_assert(!std::is_copy_constructible_v<ConditionImpl>);
static_assert(!std::is_copy_assignable_v<ConditionImpl>);
static_assert(!std::is_move_constructible_v<ConditionImpl>);
static_assert(std::is_nothrow_destructible_v<ConditionImpl>);

// A cancelled thread unwinds them.
static_assert(!noexcept(std::declval<ConditionImpl&>().wait()));
static_assert(!noexcept(std::declval<ConditionImpl&>().wait_timeout(TimePoint())));

using Calls = std::vector<std::string>;

TEST(ConditionBase, Texts)
{
    EXPECT_STREQ("Unknown zel::Condition error", ConditionBase::ERROR);
    EXPECT_STREQ("zel::Condition inconsistency detected", ConditionBase::ERROR_INCONSISTENCY);
    EXPECT_STREQ("Waiting on zel::Condition timed out (not an error)", ConditionBase::TIMEOUT);
}

TEST(ConditionImpl, Construction)
{
    s_calls.clear();
    MutexImpl mutex(false);
    ConditionImpl condition(mutex);
    EXPECT_EQ((Calls{"attributes", "clock", "condition", "no attributes"}), s_calls);
    EXPECT_EQ(static_cast<const void*>(&condition), s_condition);
}

TEST(ConditionImpl, Destruction_DestroysTheCondition)
{
    MutexImpl mutex(false);
    {
        ConditionImpl condition(mutex);
        s_calls.clear();
    }
    EXPECT_EQ(Calls{"no condition"}, s_calls);
}

/// A process ends with `lastWords` in building or destroying a condition, because the call that
/// `answer` belongs to answers one of `codes`.
void expectEnd(const char* lastWords, int& answer, std::initializer_list<int> codes)
{
    for (const int code : codes) {
        const support::ChildResult result = support::runInChild([&answer, code] {
            MutexImpl mutex(false);
            answer = code;
            ConditionImpl condition(mutex);
        });
        EXPECT_EQ(SIGABRT, result.signal) << code;
        EXPECT_EQ("", result.out) << code;
        EXPECT_EQ(lastWords, result.err) << code;
    }
}

TEST(ConditionImpl, Construction_AttributesFail_EndsTheProcess)
{
    expectEnd("pthread_condattr_init failed in "
              "framework/src/threadsafe/ConditionImpl-posix:31, ConditionImpl\n",
              s_attributesInit, {ENOMEM, EINVAL, EXDEV});
}

TEST(ConditionImpl, Construction_ClockFails_EndsTheProcess)
{
    expectEnd("pthread_condattr_setclock failed in "
              "framework/src/threadsafe/ConditionImpl-posix:34, ConditionImpl\n",
              s_setClock, {EINVAL, EPERM, EXDEV});
}

TEST(ConditionImpl, Construction_InitFails_EndsTheProcess)
{
    expectEnd("pthread_cond_init failed in "
              "framework/src/threadsafe/ConditionImpl-posix:37, ConditionImpl\n",
              s_init, {EAGAIN, ENOMEM, EBUSY, EINVAL, EXDEV});
}

TEST(ConditionImpl, Construction_EndOfAttributesFails_EndsTheProcess)
{
    expectEnd("pthread_condattr_destroy failed in "
              "framework/src/threadsafe/ConditionImpl-posix:40, ConditionImpl\n",
              s_attributesDestroy, {EINVAL, EXDEV});
}

TEST(ConditionImpl, Destruction_Fails_EndsTheProcess)
{
    expectEnd("pthread_cond_destroy failed in "
              "framework/src/threadsafe/ConditionImpl-posix:47, ~ConditionImpl\n",
              s_destroy, {EBUSY, EINVAL, EXDEV, -1});
}

/// What `operation` returns when the call that `answer` belongs to answers `code`.
template <typename Operation>
const char* resultOf(int& answer, int code, Operation operation)
{
    MutexImpl mutex(false);
    ConditionImpl condition(mutex);
    s_calls.clear();
    answer = code;
    const char* const result = operation(condition);
    answer = 0;
    EXPECT_EQ(1U, s_calls.size());
    return result;
}

const char* waitAnswered(int code)
{
    return resultOf(s_wait, code, [](ConditionImpl& condition) { return condition.wait(); });
}

const char* timedWaitAnswered(int code)
{
    return resultOf(s_timedWait, code,
                    [](ConditionImpl& condition) { return condition.wait_timeout(TimePoint(5)); });
}

const char* signalAnswered(int code)
{
    return resultOf(s_signal, code,
                    [](ConditionImpl& condition) { return condition.signal_one(); });
}

const char* broadcastAnswered(int code)
{
    return resultOf(s_broadcast, code,
                    [](ConditionImpl& condition) { return condition.signal_all(); });
}

TEST(ConditionImpl, Wait_Answers)
{
    EXPECT_EQ(nullptr, waitAnswered(0));
    EXPECT_EQ(ConditionBase::ERROR_INCONSISTENCY, waitAnswered(EPERM));
    EXPECT_EQ(ConditionBase::ERROR_INCONSISTENCY, waitAnswered(EBUSY));
    EXPECT_EQ(ConditionBase::ERROR_INCONSISTENCY, waitAnswered(EINVAL));
    EXPECT_EQ(ConditionBase::ERROR_INCONSISTENCY, waitAnswered(EDEADLK));
    EXPECT_EQ(ConditionBase::ERROR, waitAnswered(ETIMEDOUT));
    EXPECT_EQ(ConditionBase::ERROR, waitAnswered(EAGAIN));
    EXPECT_EQ(ConditionBase::ERROR, waitAnswered(EOWNERDEAD));
    EXPECT_EQ(ConditionBase::ERROR, waitAnswered(EXDEV));
    EXPECT_EQ(ConditionBase::ERROR, waitAnswered(-1));
}

TEST(ConditionImpl, TimedWait_Answers)
{
    EXPECT_EQ(nullptr, timedWaitAnswered(0));
    EXPECT_EQ(ConditionBase::ERROR_INCONSISTENCY, timedWaitAnswered(EPERM));
    EXPECT_EQ(ConditionBase::ERROR_INCONSISTENCY, timedWaitAnswered(EBUSY));
    EXPECT_EQ(ConditionBase::ERROR_INCONSISTENCY, timedWaitAnswered(EINVAL));
    EXPECT_EQ(ConditionBase::ERROR_INCONSISTENCY, timedWaitAnswered(EDEADLK));
    EXPECT_EQ(ConditionBase::TIMEOUT, timedWaitAnswered(ETIMEDOUT));
    EXPECT_EQ(ConditionBase::ERROR, timedWaitAnswered(EAGAIN));
    EXPECT_EQ(ConditionBase::ERROR, timedWaitAnswered(EOWNERDEAD));
    EXPECT_EQ(ConditionBase::ERROR, timedWaitAnswered(EXDEV));
    EXPECT_EQ(ConditionBase::ERROR, timedWaitAnswered(-1));
}

TEST(ConditionImpl, SignalOne_Answers)
{
    EXPECT_EQ(nullptr, signalAnswered(0));
    EXPECT_EQ(ConditionBase::ERROR_INCONSISTENCY, signalAnswered(EINVAL));
    EXPECT_EQ(ConditionBase::ERROR, signalAnswered(EPERM));
    EXPECT_EQ(ConditionBase::ERROR, signalAnswered(EBUSY));
    EXPECT_EQ(ConditionBase::ERROR, signalAnswered(EDEADLK));
    EXPECT_EQ(ConditionBase::ERROR, signalAnswered(ETIMEDOUT));
    EXPECT_EQ(ConditionBase::ERROR, signalAnswered(EXDEV));
    EXPECT_EQ(ConditionBase::ERROR, signalAnswered(-1));
}

TEST(ConditionImpl, SignalAll_Answers)
{
    EXPECT_EQ(nullptr, broadcastAnswered(0));
    EXPECT_EQ(ConditionBase::ERROR_INCONSISTENCY, broadcastAnswered(EINVAL));
    EXPECT_EQ(ConditionBase::ERROR, broadcastAnswered(EPERM));
    EXPECT_EQ(ConditionBase::ERROR, broadcastAnswered(EBUSY));
    EXPECT_EQ(ConditionBase::ERROR, broadcastAnswered(EDEADLK));
    EXPECT_EQ(ConditionBase::ERROR, broadcastAnswered(ETIMEDOUT));
    EXPECT_EQ(ConditionBase::ERROR, broadcastAnswered(EXDEV));
    EXPECT_EQ(ConditionBase::ERROR, broadcastAnswered(-1));
}

TEST(ConditionImpl, EachOperation_CallsItsOwn)
{
    MutexImpl mutex(false);
    ConditionImpl condition(mutex);
    s_calls.clear();
    condition.signal_one();
    condition.signal_all();
    condition.wait();
    condition.wait_timeout(TimePoint(5));
    EXPECT_EQ((Calls{"signal", "broadcast", "wait", "timed wait"}), s_calls);
}

TEST(ConditionImpl, Waits_AreOnTheMutexGiven)
{
    MutexImpl other(false);
    MutexImpl mutex(false);
    ConditionImpl condition(mutex);
    s_mutex = nullptr;
    condition.wait();
    EXPECT_EQ(static_cast<const void*>(&mutex), s_mutex);
    s_mutex = nullptr;
    condition.wait_timeout(TimePoint(5));
    EXPECT_EQ(static_cast<const void*>(&mutex), s_mutex);
}

TEST(ConditionImpl, Failures_RaiseNothing)
{
    waitAnswered(EINVAL);
    broadcastAnswered(EPERM);
    EXPECT_FALSE(std::ErrorStorage::isError(false));
}

} // namespace

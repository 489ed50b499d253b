// SPDX-License-Identifier: Apache-2.0
//
// What the mutex asks of the system, and what it makes of the answers. Deadlines are in
// MutexImpl-posixDeadlinesTest.cpp, real locking is in MutexImpl-posixThreadsTest.cpp.

#include <cerrno>
#include <csignal>
#include <ctime>
#include <initializer_list>
#include <mutex>
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
int s_setType = 0;
int s_setProtocol = 0;
int s_init = 0;
int s_attributesDestroy = 0;
int s_destroy = 0;
int s_lock = 0;
int s_unlock = 0;
int s_tryLock = 0;
int s_timedLock = 0;

// What the interposed calls were given.
std::vector<std::string> s_steps;
const void* s_attributes = nullptr;
const void* s_mutex = nullptr;

/// Notes a step of construction. Returns whether it is to work.
bool works(const std::string& step, const void* attributes, int answer)
{
    s_steps.push_back(step);
    EXPECT_EQ(s_attributes, attributes) << step;
    return answer == 0;
}

} // namespace

extern "C" {

int interposed_pthread_mutexattr_init(pthread_mutexattr_t* attributes) noexcept
{
    s_attributes = attributes;
    if (!works("attributes", attributes, s_attributesInit)) return s_attributesInit;
    return pthread_mutexattr_init(attributes);
}

int interposed_pthread_mutexattr_settype(pthread_mutexattr_t* attributes, int type) noexcept
{
    if (!works("type " + std::to_string(type), attributes, s_setType)) return s_setType;
    return pthread_mutexattr_settype(attributes, type);
}

int interposed_pthread_mutexattr_setprotocol(pthread_mutexattr_t* attributes, int protocol) noexcept
{
    if (!works("protocol", attributes, s_setProtocol)) return s_setProtocol;
    return pthread_mutexattr_setprotocol(attributes, protocol);
}

int interposed_pthread_mutex_init(pthread_mutex_t* mutex,
                                  const pthread_mutexattr_t* attributes) noexcept
{
    int type = -1;
    int protocol = -1;
    EXPECT_EQ(0, pthread_mutexattr_gettype(attributes, &type));
    EXPECT_EQ(0, pthread_mutexattr_getprotocol(attributes, &protocol));
    EXPECT_EQ(PTHREAD_PRIO_INHERIT, protocol);
    s_mutex = mutex;
    if (!works("mutex of type " + std::to_string(type), attributes, s_init)) return s_init;
    return pthread_mutex_init(mutex, attributes);
}

int interposed_pthread_mutexattr_destroy(pthread_mutexattr_t* attributes) noexcept
{
    if (!works("no attributes", attributes, s_attributesDestroy)) return s_attributesDestroy;
    return pthread_mutexattr_destroy(attributes);
}

int interposed_pthread_mutex_destroy(pthread_mutex_t* mutex) noexcept
{
    s_steps.emplace_back("no mutex");
    EXPECT_EQ(s_mutex, mutex);
    return s_destroy != 0 ? s_destroy : pthread_mutex_destroy(mutex);
}

int interposed_pthread_mutex_lock(pthread_mutex_t* mutex)
{
    return s_lock != 0 ? s_lock : pthread_mutex_lock(mutex);
}

int interposed_pthread_mutex_unlock(pthread_mutex_t* mutex)
{
    return s_unlock != 0 ? s_unlock : pthread_mutex_unlock(mutex);
}

int interposed_pthread_mutex_trylock(pthread_mutex_t* mutex)
{
    return s_tryLock != 0 ? s_tryLock : pthread_mutex_trylock(mutex);
}

int interposed_pthread_mutex_timedlock(pthread_mutex_t* mutex, const timespec* deadline)
{
    return s_timedLock != 0 ? s_timedLock : pthread_mutex_timedlock(mutex, deadline);
}

int interposed_clock_gettime(clockid_t clock, timespec* reading) noexcept
{
    return clock_gettime(clock, reading);
}

} // extern "C"

// The calls that the header makes in line.
#define pthread_mutex_lock interposed_pthread_mutex_lock
#define pthread_mutex_unlock interposed_pthread_mutex_unlock
#define pthread_mutex_trylock interposed_pthread_mutex_trylock
#include <threadsafe/MutexImpl-posix.h>
#undef pthread_mutex_lock
#undef pthread_mutex_unlock
#undef pthread_mutex_trylock

namespace {

using threadsafe::MutexBase;
using threadsafe::MutexImpl;
using zelbase::Duration;

static_assert(!std::is_copy_constructible_v<MutexImpl> && !std::is_copy_assignable_v<MutexImpl>);
static_assert(!std::is_move_constructible_v<MutexImpl> && !std::is_move_assignable_v<MutexImpl>);
static_assert(std::is_nothrow_destructible_v<MutexImpl>);
static_assert(!std::is_default_constructible_v<MutexImpl>);
static_assert(sizeof(MutexImpl) == sizeof(pthread_mutex_t));
static_assert(!noexcept(std::declval<MutexImpl&>().lock()), "a cancelled thread unwinds it");

using Steps = std::vector<std::string>;

TEST(MutexBase, Texts)
{
    EXPECT_STREQ("Unknown zel::Mutex error", MutexBase::ERROR);
    EXPECT_STREQ("zel::Mutex inconsistency detected", MutexBase::ERROR_INCONSISTENCY);
    EXPECT_STREQ("Didn't get zel::Mutex (not an error)", MutexBase::NO_LUCK);
}

TEST(MutexImpl, Construction_Plain)
{
    s_steps.clear();
    MutexImpl mutex(false);
    EXPECT_EQ((Steps{"attributes", "type 0", "protocol", "mutex of type 0", "no attributes"}),
              s_steps);
    EXPECT_EQ(static_cast<const void*>(&mutex), s_mutex);
}

TEST(MutexImpl, Construction_Recursive)
{
    s_steps.clear();
    MutexImpl mutex(true);
    EXPECT_EQ((Steps{"attributes", "type 1", "protocol", "mutex of type 1", "no attributes"}),
              s_steps);
    EXPECT_EQ(static_cast<const void*>(&mutex), s_mutex);
}

TEST(MutexImpl, Destruction_DestroysTheMutex)
{
    {
        MutexImpl mutex(false);
        s_steps.clear();
    }
    EXPECT_EQ(Steps{"no mutex"}, s_steps);
}

/// A process ends with `lastWords` in building or destroying a mutex, because the call that
/// `answer` belongs to answers one of `codes`.
void expectEnd(const char* lastWords, int& answer, std::initializer_list<int> codes)
{
    for (const int code : codes) {
        const support::ChildResult result = support::runInChild([&answer, code] {
            answer = code;
            MutexImpl mutex(false);
        });
        EXPECT_EQ(SIGABRT, result.signal) << code;
        EXPECT_EQ("", result.out) << code;
        EXPECT_EQ(lastWords, result.err) << code;
    }
}

TEST(MutexImpl, Construction_AttributesFail_EndsTheProcess)
{
    expectEnd("pthread_mutexattr_init failed in "
              "framework/src/threadsafe/MutexImpl-posix:33, MutexImpl\n",
              s_attributesInit, {ENOMEM, EXDEV});
}

TEST(MutexImpl, Construction_TypeFails_EndsTheProcess)
{
    expectEnd("pthread_mutexattr_settype failed in "
              "framework/src/threadsafe/MutexImpl-posix:36, MutexImpl\n",
              s_setType, {EINVAL, EXDEV});
}

TEST(MutexImpl, Construction_ProtocolFails_EndsTheProcess)
{
    expectEnd("pthread_mutexattr_setprotocol failed in "
              "framework/src/threadsafe/MutexImpl-posix:39, MutexImpl\n",
              s_setProtocol, {ENOTSUP, EINVAL, EPERM, EXDEV});
}

TEST(MutexImpl, Construction_InitFails_EndsTheProcess)
{
    expectEnd("pthread_mutex_init failed in "
              "framework/src/threadsafe/MutexImpl-posix:42, MutexImpl\n",
              s_init, {EAGAIN, ENOMEM, EPERM, EINVAL, EXDEV});
}

TEST(MutexImpl, Construction_EndOfAttributesFails_EndsTheProcess)
{
    expectEnd("pthread_mutexattr_destroy failed in "
              "framework/src/threadsafe/MutexImpl-posix:45, MutexImpl\n",
              s_attributesDestroy, {EINVAL, EXDEV});
}

TEST(MutexImpl, Destruction_Busy_EndsTheProcess)
{
    expectEnd("pthread_mutex_destroy failed with EBUSY in "
              "framework/src/threadsafe/MutexImpl-posix:56, ~MutexImpl\n",
              s_destroy, {EBUSY});
}

TEST(MutexImpl, Destruction_Invalid_EndsTheProcess)
{
    expectEnd("pthread_mutex_destroy failed with EINVAL in "
              "framework/src/threadsafe/MutexImpl-posix:56, ~MutexImpl\n",
              s_destroy, {EINVAL});
}

TEST(MutexImpl, Destruction_AnyOtherFailure_EndsTheProcess)
{
    expectEnd("pthread_mutex_destroy failed for unknown reasons in "
              "framework/src/threadsafe/MutexImpl-posix:56, ~MutexImpl\n",
              s_destroy, {EPERM, EAGAIN, EXDEV, -1});
}

/// What `operation` returns when the call that `answer` belongs to answers `code`.
template <typename Operation>
const char* resultOf(int& answer, int code, Operation operation)
{
    MutexImpl mutex(false);
    answer = code;
    const char* const result = operation(mutex);
    answer = 0;
    return result;
}

const char* lockAnswered(int code)
{
    return resultOf(s_lock, code, [](MutexImpl& mutex) { return mutex.lock(); });
}

const char* unlockAnswered(int code)
{
    return resultOf(s_unlock, code, [](MutexImpl& mutex) { return mutex.unlock(); });
}

const char* tryLockAnswered(int code)
{
    return resultOf(s_tryLock, code, [](MutexImpl& mutex) { return mutex.try_lock(); });
}

const char* timedLockAnswered(int code)
{
    return resultOf(s_timedLock, code,
                    [](MutexImpl& mutex) { return mutex.try_lock(Duration(5)); });
}

TEST(MutexImpl, Lock_Answers)
{
    EXPECT_EQ(MutexBase::ERROR_INCONSISTENCY, lockAnswered(EPERM));
    EXPECT_EQ(MutexBase::ERROR_INCONSISTENCY, lockAnswered(EBUSY));
    EXPECT_EQ(MutexBase::ERROR_INCONSISTENCY, lockAnswered(EINVAL));
    EXPECT_EQ(MutexBase::ERROR_INCONSISTENCY, lockAnswered(EDEADLK));
    EXPECT_EQ(MutexBase::ERROR, lockAnswered(EAGAIN));
    EXPECT_EQ(MutexBase::ERROR, lockAnswered(ETIMEDOUT));
    EXPECT_EQ(MutexBase::ERROR, lockAnswered(EOWNERDEAD));
    EXPECT_EQ(MutexBase::ERROR, lockAnswered(EXDEV));
    EXPECT_EQ(MutexBase::ERROR, lockAnswered(-1));
}

TEST(MutexImpl, Unlock_Answers)
{
    EXPECT_EQ(MutexBase::ERROR_INCONSISTENCY, unlockAnswered(EPERM));
    EXPECT_EQ(MutexBase::ERROR_INCONSISTENCY, unlockAnswered(EINVAL));
    EXPECT_EQ(MutexBase::ERROR, unlockAnswered(EBUSY));
    EXPECT_EQ(MutexBase::ERROR, unlockAnswered(EDEADLK));
    EXPECT_EQ(MutexBase::ERROR, unlockAnswered(EAGAIN));
    EXPECT_EQ(MutexBase::ERROR, unlockAnswered(ETIMEDOUT));
    EXPECT_EQ(MutexBase::ERROR, unlockAnswered(EXDEV));
    EXPECT_EQ(MutexBase::ERROR, unlockAnswered(-1));
}

TEST(MutexImpl, TryLock_Answers)
{
    EXPECT_EQ(MutexBase::ERROR_INCONSISTENCY, tryLockAnswered(EPERM));
    EXPECT_EQ(MutexBase::ERROR_INCONSISTENCY, tryLockAnswered(EINVAL));
    EXPECT_EQ(MutexBase::ERROR_INCONSISTENCY, tryLockAnswered(EDEADLK));
    EXPECT_EQ(MutexBase::NO_LUCK, tryLockAnswered(EBUSY));
    EXPECT_EQ(MutexBase::ERROR, tryLockAnswered(EAGAIN));
    EXPECT_EQ(MutexBase::ERROR, tryLockAnswered(ETIMEDOUT));
    EXPECT_EQ(MutexBase::ERROR, tryLockAnswered(EOWNERDEAD));
    EXPECT_EQ(MutexBase::ERROR, tryLockAnswered(EXDEV));
    EXPECT_EQ(MutexBase::ERROR, tryLockAnswered(-1));
}

TEST(MutexImpl, TimedLock_Answers)
{
    EXPECT_EQ(MutexBase::ERROR_INCONSISTENCY, timedLockAnswered(EPERM));
    EXPECT_EQ(MutexBase::ERROR_INCONSISTENCY, timedLockAnswered(EAGAIN));
    EXPECT_EQ(MutexBase::ERROR_INCONSISTENCY, timedLockAnswered(EINVAL));
    EXPECT_EQ(MutexBase::ERROR_INCONSISTENCY, timedLockAnswered(EDEADLK));
    EXPECT_EQ(MutexBase::NO_LUCK, timedLockAnswered(EBUSY));
    EXPECT_EQ(MutexBase::NO_LUCK, timedLockAnswered(ETIMEDOUT));
    EXPECT_EQ(MutexBase::ERROR, timedLockAnswered(EOWNERDEAD));
    EXPECT_EQ(MutexBase::ERROR, timedLockAnswered(ENOMEM));
    EXPECT_EQ(MutexBase::ERROR, timedLockAnswered(EXDEV));
    EXPECT_EQ(MutexBase::ERROR, timedLockAnswered(-1));
}

TEST(MutexImpl, Failures_RaiseNothing)
{
    lockAnswered(EINVAL);
    timedLockAnswered(EOWNERDEAD);
    EXPECT_FALSE(std::ErrorStorage::isError(false));
}

} // namespace

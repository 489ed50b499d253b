// SPDX-License-Identifier: Apache-2.0

#include <threadsafe/MutexImpl-posix.h>

#include <cerrno>
#include <cstdint>
#include <ctime>

#include <zelbase/abort.h>

namespace threadsafe {

namespace {

// Parts of texts that users see, fixed whatever becomes of the code.
constexpr const char* FILE_NAME = "framework/src/threadsafe/MutexImpl-posix";
constexpr int LINE_ATTR_INIT = 33;
constexpr int LINE_SET_TYPE = 36;
constexpr int LINE_SET_PROTOCOL = 39;
constexpr int LINE_INIT = 42;
constexpr int LINE_ATTR_DESTROY = 45;
constexpr int LINE_DESTROY = 56;

constexpr std::int64_t MILLISECONDS_PER_SECOND = 1000;
constexpr std::int64_t NANOSECONDS_PER_MILLISECOND = 1000000;
constexpr std::int64_t NANOSECONDS_PER_SECOND = 1000000000;

static_assert(sizeof(void*) != 4 || sizeof(time_t) == 4, "32-bit targets count 32-bit seconds");
static_assert(PTHREAD_MUTEX_RECURSIVE == 1 && PTHREAD_MUTEX_NORMAL == 0, "the kinds as numbered");

void require(int result, int line, const char* message)
{
    if (result != 0) zelbase::abort(FILE_NAME, line, "MutexImpl", "%s", message);
}

const char* destroyMessage(int result)
{
    switch (result) {
    case EBUSY: return "pthread_mutex_destroy failed with EBUSY";
    case EINVAL: return "pthread_mutex_destroy failed with EINVAL";
    default: return "pthread_mutex_destroy failed for unknown reasons";
    }
}

/// Adds a timeout to a reading of the real-time clock.
///
/// Kept: the nanoseconds of a negative timeout are not normalised; where they come out negative the
/// system refuses the deadline.
timespec deadlineAfter(const timespec& now, std::int64_t timeout)
{
    std::int64_t seconds = now.tv_sec + timeout / MILLISECONDS_PER_SECOND;
    std::int64_t nanoseconds =
        now.tv_nsec + timeout % MILLISECONDS_PER_SECOND * NANOSECONDS_PER_MILLISECOND;
    if (nanoseconds >= NANOSECONDS_PER_SECOND) {
        seconds += nanoseconds / NANOSECONDS_PER_SECOND;
        nanoseconds %= NANOSECONDS_PER_SECOND;
    }

    timespec deadline{};
    deadline.tv_sec = static_cast<time_t>(seconds);
    deadline.tv_nsec = static_cast<long>(nanoseconds);
    return deadline;
}

// The lists of codes differ from operation to operation on purpose.

const char* timedLockError(int result)
{
    switch (result) {
    case EPERM:
    case EAGAIN:
    case EINVAL:
    case EDEADLK: return MutexBase::ERROR_INCONSISTENCY;
    case EBUSY:
    case ETIMEDOUT: return MutexBase::NO_LUCK;
    default: return MutexBase::ERROR;
    }
}

} // namespace

const char* const MutexBase::ERROR = "Unknown zel::Mutex error";
const char* const MutexBase::ERROR_INCONSISTENCY = "zel::Mutex inconsistency detected";
const char* const MutexBase::NO_LUCK = "Didn't get zel::Mutex (not an error)";

MutexImpl::MutexImpl(bool recursive)
{
    pthread_mutexattr_t attributes;
    require(pthread_mutexattr_init(&attributes), LINE_ATTR_INIT, "pthread_mutexattr_init failed");
    const int type = recursive ? PTHREAD_MUTEX_RECURSIVE : PTHREAD_MUTEX_NORMAL;
    require(pthread_mutexattr_settype(&attributes, type), LINE_SET_TYPE,
            "pthread_mutexattr_settype failed");
    require(pthread_mutexattr_setprotocol(&attributes, PTHREAD_PRIO_INHERIT), LINE_SET_PROTOCOL,
            "pthread_mutexattr_setprotocol failed");
    require(pthread_mutex_init(&m_mutex, &attributes), LINE_INIT, "pthread_mutex_init failed");
    require(pthread_mutexattr_destroy(&attributes), LINE_ATTR_DESTROY,
            "pthread_mutexattr_destroy failed");
}

MutexImpl::~MutexImpl()
{
    const int result = pthread_mutex_destroy(&m_mutex);
    if (result != 0)
        zelbase::abort(FILE_NAME, LINE_DESTROY, "~MutexImpl", "%s", destroyMessage(result));
}

const char* MutexImpl::try_lock(const zelbase::Duration& timeout)
{
    timespec now{};
    if (clock_gettime(CLOCK_REALTIME, &now) != 0) return ERROR;

    const timespec deadline = deadlineAfter(now, timeout.milliseconds());
    const int result = pthread_mutex_timedlock(&m_mutex, &deadline);
    return result == 0 ? nullptr : timedLockError(result);
}

const char* MutexImpl::lockError(int result)
{
    switch (result) {
    case EPERM:
    case EBUSY:
    case EINVAL:
    case EDEADLK: return ERROR_INCONSISTENCY;
    default: return ERROR;
    }
}

const char* MutexImpl::unlockError(int result)
{
    switch (result) {
    case EPERM:
    case EINVAL: return ERROR_INCONSISTENCY;
    default: return ERROR;
    }
}

const char* MutexImpl::tryLockError(int result)
{
    switch (result) {
    case EPERM:
    case EINVAL:
    case EDEADLK: return ERROR_INCONSISTENCY;
    case EBUSY: return NO_LUCK;
    default: return ERROR;
    }
}

} // namespace threadsafe

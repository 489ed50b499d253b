// SPDX-License-Identifier: Apache-2.0

#include <threadsafe/ConditionImpl-posix.h>

#include <cerrno>
#include <cstdint>
#include <ctime>

#include <zelbase/abort.h>

namespace threadsafe {

namespace {

// Parts of texts that users see, fixed whatever becomes of the code.
constexpr const char* FILE_NAME = "framework/src/threadsafe/ConditionImpl-posix";
constexpr int LINE_ATTR_INIT = 31;
constexpr int LINE_SET_CLOCK = 34;
constexpr int LINE_INIT = 37;
constexpr int LINE_ATTR_DESTROY = 40;
constexpr int LINE_DESTROY = 47;

static_assert(sizeof(void*) != 4 || sizeof(time_t) == 4, "32-bit targets count 32-bit seconds");

void require(int result, int line, const char* message)
{
    if (result != 0) zelbase::abort(FILE_NAME, line, "ConditionImpl", "%s", message);
}

/// Kept: the way through microseconds wraps for points of time near the end of the range, and what
/// does not fit `time_t` is cut; callers that want no deadline call `wait`.
timespec deadlineAt(const zelbase::TimePoint& deadline)
{
    const std::uint64_t microseconds = deadline.milliseconds() * 1000;
    const std::uint64_t roundUp = 2 * (microseconds % 1000) > 1000 ? 1 : 0;
    return zelbase::TimePoint(microseconds / 1000 + roundUp).toTimespec();
}

const char* waitError(int result)
{
    switch (result) {
    case EPERM:
    case EBUSY:
    case EINVAL:
    case EDEADLK: return ConditionBase::ERROR_INCONSISTENCY;
    default: return ConditionBase::ERROR;
    }
}

/// The object begins with its POSIX mutex.
pthread_mutex_t* posixMutex(MutexImpl* mutex)
{
    return reinterpret_cast<pthread_mutex_t*>(mutex);
}

} // namespace

const char* const ConditionBase::ERROR = "Unknown zel::Condition error";
const char* const ConditionBase::ERROR_INCONSISTENCY = "zel::Condition inconsistency detected";
const char* const ConditionBase::TIMEOUT = "Waiting on zel::Condition timed out (not an error)";

ConditionImpl::ConditionImpl(MutexImpl& mutex) : m_mutex(&mutex)
{
    pthread_condattr_t attributes;
    require(pthread_condattr_init(&attributes), LINE_ATTR_INIT, "pthread_condattr_init failed");
    require(pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC), LINE_SET_CLOCK,
            "pthread_condattr_setclock failed");
    require(pthread_cond_init(&m_condition, &attributes), LINE_INIT, "pthread_cond_init failed");
    require(pthread_condattr_destroy(&attributes), LINE_ATTR_DESTROY,
            "pthread_condattr_destroy failed");
}

ConditionImpl::~ConditionImpl()
{
    if (pthread_cond_destroy(&m_condition) != 0)
        zelbase::abort(FILE_NAME, LINE_DESTROY, "~ConditionImpl", "pthread_cond_destroy failed");
}

const char* ConditionImpl::wait()
{
    const int result = pthread_cond_wait(&m_condition, posixMutex(m_mutex));
    return result == 0 ? nullptr : waitError(result);
}

const char* ConditionImpl::wait_timeout(const zelbase::TimePoint& deadline)
{
    const timespec until = deadlineAt(deadline);
    const int result = pthread_cond_timedwait(&m_condition, posixMutex(m_mutex), &until);
    if (result == 0) return nullptr;
    return result == ETIMEDOUT ? TIMEOUT : waitError(result);
}

const char* ConditionImpl::signalError(int result)
{
    return result == EINVAL ? ERROR_INCONSISTENCY : ERROR;
}

} // namespace threadsafe

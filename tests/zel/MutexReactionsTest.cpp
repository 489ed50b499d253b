// SPDX-License-Identifier: Apache-2.0
//
// What the mutex for applications makes of each result of the one below it, which is replaced.

#include <csignal>
#include <functional>
#include <string>

#include <common/error/GlobalErrorHandler.h>
#include <gtest/gtest.h>
#include <threadsafe/MutexImpl-posix.h>

#include "support/ChildProcess.h"

namespace {

// What every operation of the replaced mutex returns, and which ones were called.
const char* s_result = nullptr;
std::string s_calls;

} // namespace

namespace threadsafe {

/// A mutex that locks nothing.
class ScriptedMutex
{
public:
    ScriptedMutex(bool recursive) { s_calls = recursive ? "recursive" : "plain"; }

    const char* lock() { return answer(" lock"); }
    const char* unlock() { return answer(" unlock"); }
    const char* try_lock() { return answer(" try"); }
    const char* try_lock(const zelbase::Duration& timeout)
    {
        return answer(" try " + std::to_string(timeout.milliseconds()));
    }

private:
    static const char* answer(const std::string& call)
    {
        s_calls += call;
        return s_result;
    }
};

} // namespace threadsafe

#define MutexImpl ScriptedMutex
#include <zel/Mutex.h>
#undef MutexImpl

namespace {

using support::ChildResult;
using threadsafe::MutexBase;
using zel::Mutex;
using zelbase::Duration;

TEST(MutexReactions, EachOperation_CallsItsOwn)
{
    Mutex mutex;
    mutex.lock();
    mutex.unlock();
    mutex.try_lock();
    mutex.try_lock_for(Duration(25));
    EXPECT_EQ("plain lock unlock try try 25", s_calls);
}

TEST(MutexReactions, TryLockFor_Negative_AsksOnce)
{
    Mutex mutex;
    EXPECT_TRUE(mutex.try_lock_for(Duration(-25)));
    EXPECT_EQ("plain try 0", s_calls);
}

TEST(MutexReactions, TryLockFor_Long_AsksDayByDay)
{
    const support::ChildResult result = support::runInChild([] {
        s_result = MutexBase::NO_LUCK;
        Mutex mutex;
        EXPECT_FALSE(mutex.try_lock_for(Duration(std::chrono::hours(24))));
        EXPECT_FALSE(mutex.try_lock_for(Duration(std::chrono::hours(48)) + Duration(5)));
        EXPECT_EQ("plain try 86400000 try 86400000 try 86400000 try 5", s_calls);
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
}

TEST(MutexReactions, TryLockFor_TheLongest_EndsWithTheLock)
{
    Mutex mutex;
    EXPECT_TRUE(mutex.try_lock_for(Duration::MAX));
    EXPECT_EQ("plain try 86400000", s_calls);
}

TEST(MutexReactions, Recursive_IsPassedOn)
{
    Mutex mutex(true);
    EXPECT_EQ("recursive", s_calls);
}

TEST(MutexReactions, ScopedLock_LocksAndUnlocksOnce)
{
    Mutex mutex;
    {
        const zel::ScopedLock lock(mutex);
        EXPECT_EQ("plain lock", s_calls);
    }
    EXPECT_EQ("plain lock unlock", s_calls);
}

TEST(MutexReactions, Success_ReportsNothing)
{
    const ChildResult result = support::runInChild([] {
        Mutex mutex;
        mutex.lock();
        mutex.unlock();
        EXPECT_TRUE(mutex.try_lock());
        EXPECT_TRUE(mutex.try_lock_for(Duration(5)));
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ("", result.err);
}

TEST(MutexReactions, Miss_ReportsNothing)
{
    const ChildResult result = support::runInChild([] {
        s_result = MutexBase::NO_LUCK;
        Mutex mutex;
        EXPECT_FALSE(mutex.try_lock());
        EXPECT_FALSE(mutex.try_lock_for(Duration(5)));
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ("", result.err);
}

/// The report of a failure at `place` for `reason`.
std::string report(const ChildResult& result, const std::string& place, const std::string& reason)
{
    return support::reportTitle("Abort was called", result) +
           "Location: include/zel/Mutex:" + place + "\nNo error context set\nReason: \"" + reason +
           "\"\n";
}

/// Runs `operation` on a mutex that answers `error`, in a process that the report ends.
ChildResult endedBy(const char* error, const std::function<void(Mutex&)>& operation)
{
    const ChildResult result = support::runInChild([&] {
        Mutex mutex;
        s_result = error;
        operation(mutex);
    });
    EXPECT_EQ(SIGABRT, result.signal);
    EXPECT_EQ("", result.out);
    return result;
}

/// As `endedBy`, in a process that no report ends.
ChildResult survived(const char* error, const std::function<void(Mutex&)>& operation)
{
    const ChildResult result = support::runInChild([&] {
        std::GlobalErrorHandler::s_disable_abort = true;
        Mutex mutex;
        s_result = error;
        operation(mutex);
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    return result;
}

void lock(Mutex& mutex)
{
    mutex.lock();
}

void unlock(Mutex& mutex)
{
    mutex.unlock();
}

void tryLock(Mutex& mutex)
{
    EXPECT_FALSE(mutex.try_lock());
}

void tryLockFor(Mutex& mutex)
{
    EXPECT_FALSE(mutex.try_lock_for(Duration(5)));
}

TEST(MutexReactions, Lock_Error)
{
    ChildResult result = endedBy(MutexBase::ERROR, lock);
    EXPECT_EQ(report(result, "37, lock()", "Unknown zel::Mutex error"), result.err);
    result = survived(MutexBase::ERROR, lock);
    EXPECT_EQ(report(result, "37, lock()", "Unknown zel::Mutex error"), result.err);
}

TEST(MutexReactions, Lock_Inconsistency)
{
    ChildResult result = endedBy(MutexBase::ERROR_INCONSISTENCY, lock);
    EXPECT_EQ(report(result, "37, lock()", "zel::Mutex inconsistency detected"), result.err);
    result = survived(MutexBase::ERROR_INCONSISTENCY, lock);
    EXPECT_EQ(report(result, "37, lock()", "zel::Mutex inconsistency detected"), result.err);
}

TEST(MutexReactions, Unlock_Error)
{
    ChildResult result = endedBy(MutexBase::ERROR, unlock);
    EXPECT_EQ(report(result, "40, unlock()", "Unknown zel::Mutex error"), result.err);
    result = survived(MutexBase::ERROR, unlock);
    EXPECT_EQ(report(result, "40, unlock()", "Unknown zel::Mutex error"), result.err);
}

TEST(MutexReactions, Unlock_Inconsistency)
{
    ChildResult result = endedBy(MutexBase::ERROR_INCONSISTENCY, unlock);
    EXPECT_EQ(report(result, "40, unlock()", "zel::Mutex inconsistency detected"), result.err);
    result = survived(MutexBase::ERROR_INCONSISTENCY, unlock);
    EXPECT_EQ(report(result, "40, unlock()", "zel::Mutex inconsistency detected"), result.err);
}

TEST(MutexReactions, TryLock_Error)
{
    ChildResult result = endedBy(MutexBase::ERROR, tryLock);
    EXPECT_EQ(report(result, "43, try_lock()", "Unknown zel::Mutex error"), result.err);
    result = survived(MutexBase::ERROR, tryLock);
    EXPECT_EQ(report(result, "43, try_lock()", "Unknown zel::Mutex error"), result.err);
}

TEST(MutexReactions, TryLock_Inconsistency)
{
    ChildResult result = endedBy(MutexBase::ERROR_INCONSISTENCY, tryLock);
    EXPECT_EQ(report(result, "43, try_lock()", "zel::Mutex inconsistency detected"), result.err);
    result = survived(MutexBase::ERROR_INCONSISTENCY, tryLock);
    EXPECT_EQ(report(result, "43, try_lock()", "zel::Mutex inconsistency detected"), result.err);
}

TEST(MutexReactions, TryLockFor_Error)
{
    ChildResult result = endedBy(MutexBase::ERROR, tryLockFor);
    EXPECT_EQ(report(result, "49, try_lock_for()", "Unknown zel::Mutex error"), result.err);
    result = survived(MutexBase::ERROR, tryLockFor);
    EXPECT_EQ(report(result, "49, try_lock_for()", "Unknown zel::Mutex error"), result.err);
}

TEST(MutexReactions, TryLockFor_Inconsistency)
{
    const std::string reason = "zel::Mutex inconsistency detected";
    ChildResult result = endedBy(MutexBase::ERROR_INCONSISTENCY, tryLockFor);
    EXPECT_EQ(report(result, "49, try_lock_for()", reason), result.err);
    result = survived(MutexBase::ERROR_INCONSISTENCY, tryLockFor);
    EXPECT_EQ(report(result, "49, try_lock_for()", reason), result.err);
}

} // namespace

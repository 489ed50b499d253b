// SPDX-License-Identifier: Apache-2.0
//
// What the condition for applications makes of each result of the one below it, which is replaced.

#include <csignal>
#include <functional>
#include <string>

#include <common/error/GlobalErrorHandler.h>
#include <gtest/gtest.h>
#include <threadsafe/ConditionImpl-posix.h>
#include <zel/Mutex.h>

#include "support/ChildProcess.h"

namespace {

// What the operations of the replaced condition return, the first one and the later ones, and which
// were called.
const char* s_first = nullptr;
const char* s_later = nullptr;
std::string s_calls;
const void* s_mutex = nullptr;

} // namespace

namespace threadsafe {

/// A condition that waits for nothing.
class ScriptedCondition
{
public:
    ScriptedCondition(MutexImpl& mutex)
    {
        s_calls.clear();
        s_mutex = &mutex;
    }

    const char* wait() { return answer("wait "); }
    const char* wait_timeout(const zelbase::TimePoint& deadline)
    {
        return answer("until " + std::to_string(deadline.milliseconds()) + " ");
    }
    const char* signal_one() { return answer("one "); }
    const char* signal_all() { return answer("all "); }

private:
    static const char* answer(const std::string& call)
    {
        const char* const result = s_calls.empty() ? s_first : s_later;
        s_calls += call;
        return result;
    }
};

} // namespace threadsafe

#define ConditionImpl ScriptedCondition
#include <zel/Condition.h>
#undef ConditionImpl

namespace {

using support::ChildResult;
using threadsafe::ConditionBase;
using zel::Condition;
using zelbase::TimePoint;

/// A condition whose first call returns `first`, and whose later ones return `later`.
struct Scripted
{
    explicit Scripted(const char* first = nullptr, const char* later = nullptr)
    {
        s_first = first;
        s_later = later;
    }

    zel::Mutex mutex;
    Condition condition{mutex};
};

/// A predicate that is true from its call number `call` on, and counts them in `calls`.
auto trueAtCall(int call, int& calls)
{
    return [call, &calls] { return ++calls >= call; };
}

TEST(ConditionReactions, EachOperation_CallsItsOwn)
{
    Scripted test;
    test.condition.wait();
    EXPECT_TRUE(test.condition.wait_timeout(TimePoint(25)));
    test.condition.signal_one();
    test.condition.signal_all();
    EXPECT_EQ("wait until 25 one all ", s_calls);
    EXPECT_EQ(static_cast<const void*>(&test.mutex), s_mutex);
}

TEST(ConditionReactions, Wait_PredicateTrueAtOnce_DoesNotWait)
{
    Scripted test;
    int calls = 0;
    test.condition.wait(trueAtCall(1, calls));
    EXPECT_EQ("", s_calls);
    EXPECT_EQ(1, calls);
}

TEST(ConditionReactions, Wait_SpuriousWakeUps_WaitsOn)
{
    Scripted test;
    int calls = 0;
    test.condition.wait(trueAtCall(4, calls));
    EXPECT_EQ("wait wait wait ", s_calls);
    EXPECT_EQ(4, calls);
}

TEST(ConditionReactions, TimedWait_SpuriousWakeUp_Returns)
{
    Scripted test;
    EXPECT_TRUE(test.condition.wait_timeout(TimePoint(25)));
    EXPECT_EQ("until 25 ", s_calls);
}

TEST(ConditionReactions, TimedWait_PredicateTrueAtOnce_DoesNotWait)
{
    Scripted test(ConditionBase::TIMEOUT);
    int calls = 0;
    EXPECT_TRUE(test.condition.wait_timeout(TimePoint(25), trueAtCall(1, calls)));
    EXPECT_EQ("", s_calls);
    EXPECT_EQ(1, calls);
}

TEST(ConditionReactions, TimedWait_PredicateAndSpuriousWakeUps_WaitsOn)
{
    Scripted test;
    int calls = 0;
    EXPECT_TRUE(test.condition.wait_timeout(TimePoint(25), trueAtCall(3, calls)));
    EXPECT_EQ("until 25 until 25 ", s_calls);
    EXPECT_EQ(3, calls);
}

TEST(ConditionReactions, TimedWait_TimeOut_ReturnsFalse)
{
    Scripted test(ConditionBase::TIMEOUT);
    EXPECT_FALSE(test.condition.wait_timeout(TimePoint(25)));
    EXPECT_EQ("until 25 ", s_calls);
}

TEST(ConditionReactions, TimedWait_TimeOut_ReturnsThePredicatesLastValue)
{
    Scripted late(ConditionBase::TIMEOUT);
    int calls = 0;
    EXPECT_TRUE(late.condition.wait_timeout(TimePoint(25), trueAtCall(2, calls)));
    EXPECT_EQ(2, calls);
    Scripted tooLate(ConditionBase::TIMEOUT);
    calls = 0;
    EXPECT_FALSE(tooLate.condition.wait_timeout(TimePoint(25), trueAtCall(3, calls)));
    EXPECT_EQ(2, calls);
    EXPECT_EQ("until 25 ", s_calls);
}

TEST(ConditionReactions, TimedWait_SpuriousWakeUpThenTimeOut)
{
    Scripted test(nullptr, ConditionBase::TIMEOUT);
    int calls = 0;
    EXPECT_FALSE(test.condition.wait_timeout(TimePoint(25), trueAtCall(4, calls)));
    EXPECT_EQ("until 25 until 25 ", s_calls);
    EXPECT_EQ(3, calls);
}

TEST(ConditionReactions, SuccessAndTimeOut_ReportNothing)
{
    const ChildResult result = support::runInChild([] {
        Scripted test;
        test.condition.wait();
        test.condition.signal_one();
        test.condition.signal_all();
        s_later = ConditionBase::TIMEOUT;
        EXPECT_FALSE(test.condition.wait_timeout(TimePoint(25)));
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ("", result.err);
}

/// The report of a failure at `place` for `reason`.
std::string report(const ChildResult& result, const std::string& place, const std::string& reason)
{
    return support::reportTitle("Abort was called", result) +
           "Location: include/zel/Condition:" + place + "\nNo error context set\nReason: \"" +
           reason + "\"\n";
}

/// Runs `operation` on a condition whose first call fails, in a process that the report ends.
ChildResult endedBy(const char* error, const std::function<void(Condition&)>& operation)
{
    const ChildResult result = support::runInChild([&] {
        Scripted test(error);
        operation(test.condition);
    });
    EXPECT_EQ(SIGABRT, result.signal);
    EXPECT_EQ("", result.out);
    return result;
}

/// As `endedBy`, in a process that no report ends.
ChildResult survived(const char* error, const std::function<void(Condition&)>& operation)
{
    const ChildResult result = support::runInChild([&] {
        std::GlobalErrorHandler::s_disable_abort = true;
        Scripted test(error);
        operation(test.condition);
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    return result;
}

void wait(Condition& condition)
{
    condition.wait();
}

void waitTimeout(Condition& condition)
{
    EXPECT_FALSE(condition.wait_timeout(TimePoint(25)));
}

void signalOne(Condition& condition)
{
    condition.signal_one();
}

void signalAll(Condition& condition)
{
    condition.signal_all();
}

const std::string ERROR = "Unknown zel::Condition error";
const std::string INCONSISTENCY = "zel::Condition inconsistency detected";

TEST(ConditionReactions, Wait_Fails)
{
    ChildResult result = endedBy(ConditionBase::ERROR, wait);
    EXPECT_EQ(report(result, "34, wait()", ERROR), result.err);
    result = endedBy(ConditionBase::ERROR_INCONSISTENCY, wait);
    EXPECT_EQ(report(result, "34, wait()", INCONSISTENCY), result.err);
    result = survived(ConditionBase::ERROR, wait);
    EXPECT_EQ(report(result, "34, wait()", ERROR), result.err);
    result = survived(ConditionBase::ERROR_INCONSISTENCY, wait);
    EXPECT_EQ(report(result, "34, wait()", INCONSISTENCY), result.err);
}

TEST(ConditionReactions, TimedWait_Fails)
{
    ChildResult result = endedBy(ConditionBase::ERROR, waitTimeout);
    EXPECT_EQ(report(result, "52, wait_timeout()", ERROR), result.err);
    result = endedBy(ConditionBase::ERROR_INCONSISTENCY, waitTimeout);
    EXPECT_EQ(report(result, "52, wait_timeout()", INCONSISTENCY), result.err);
    result = survived(ConditionBase::ERROR, waitTimeout);
    EXPECT_EQ(report(result, "52, wait_timeout()", ERROR), result.err);
    result = survived(ConditionBase::ERROR_INCONSISTENCY, waitTimeout);
    EXPECT_EQ(report(result, "52, wait_timeout()", INCONSISTENCY), result.err);
}

TEST(ConditionReactions, SignalOne_Fails)
{
    ChildResult result = endedBy(ConditionBase::ERROR, signalOne);
    EXPECT_EQ(report(result, "68, signal_one()", ERROR), result.err);
    result = endedBy(ConditionBase::ERROR_INCONSISTENCY, signalOne);
    EXPECT_EQ(report(result, "68, signal_one()", INCONSISTENCY), result.err);
    result = survived(ConditionBase::ERROR, signalOne);
    EXPECT_EQ(report(result, "68, signal_one()", ERROR), result.err);
    result = survived(ConditionBase::ERROR_INCONSISTENCY, signalOne);
    EXPECT_EQ(report(result, "68, signal_one()", INCONSISTENCY), result.err);
}

TEST(ConditionReactions, SignalAll_Fails)
{
    ChildResult result = endedBy(ConditionBase::ERROR, signalAll);
    EXPECT_EQ(report(result, "70, signal_all()", ERROR), result.err);
    result = endedBy(ConditionBase::ERROR_INCONSISTENCY, signalAll);
    EXPECT_EQ(report(result, "70, signal_all()", INCONSISTENCY), result.err);
    result = survived(ConditionBase::ERROR, signalAll);
    EXPECT_EQ(report(result, "70, signal_all()", ERROR), result.err);
    result = survived(ConditionBase::ERROR_INCONSISTENCY, signalAll);
    EXPECT_EQ(report(result, "70, signal_all()", INCONSISTENCY), result.err);
}

TEST(ConditionReactions, Wait_WithPredicate_Fails_IsOver)
{
    const ChildResult result = survived(ConditionBase::ERROR, [](Condition& condition) {
        int calls = 0;
        condition.wait(trueAtCall(3, calls));
        EXPECT_EQ("wait ", s_calls);
        EXPECT_EQ(1, calls);
    });
    EXPECT_EQ(report(result, "34, wait()", ERROR), result.err);
}

TEST(ConditionReactions, TimedWait_WithPredicate_Fails_ReturnsThePredicatesLastValue)
{
    const ChildResult result = survived(ConditionBase::ERROR, [](Condition& condition) {
        int calls = 0;
        EXPECT_FALSE(condition.wait_timeout(TimePoint(25), trueAtCall(3, calls)));
        EXPECT_EQ("until 25 ", s_calls);
        EXPECT_EQ(2, calls);
    });
    EXPECT_EQ(report(result, "52, wait_timeout()", ERROR), result.err);
}

TEST(ConditionReactions, TimedWait_WithPredicate_FailsButPredicateHolds)
{
    const ChildResult result = survived(ConditionBase::ERROR, [](Condition& condition) {
        int calls = 0;
        EXPECT_TRUE(condition.wait_timeout(TimePoint(25), trueAtCall(2, calls)));
        EXPECT_EQ("until 25 ", s_calls);
    });
    EXPECT_EQ(report(result, "52, wait_timeout()", ERROR), result.err);
}

} // namespace

// SPDX-License-Identifier: Apache-2.0

#include <common/error/GlobalErrorHandler.h>

#include <algorithm>
#include <climits>
#include <csignal>
#include <cstdio>
#include <iterator>
#include <string>
#include <thread>
#include <type_traits>

#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include "support/ChildProcess.h"
#include "support/ReportKinds.h"

namespace {

using std::GlobalErrorHandler;
using support::ChildResult;
using support::mark;
using support::pumpReport;
using support::reportPump;
using support::runInChild;
using support::runWithoutAbort;
using support::tell;

template <typename Kind>
class GlobalErrorHandlerOf : public testing::Test
{};
TYPED_TEST_SUITE(GlobalErrorHandlerOf, support::ReportKinds, support::ReportKindName);

/// Fills the table of `Kind`.
template <typename Kind>
void enlistEight()
{
    EXPECT_FALSE(Kind::template enlist<mark<'A'>>());
    EXPECT_FALSE(Kind::template enlist<mark<'B'>>());
    EXPECT_FALSE(Kind::template enlist<mark<'C'>>());
    EXPECT_FALSE(Kind::template enlist<mark<'D'>>());
    EXPECT_FALSE(Kind::template enlist<mark<'E'>>());
    EXPECT_FALSE(Kind::template enlist<mark<'F'>>());
    EXPECT_FALSE(Kind::template enlist<mark<'G'>>());
    EXPECT_FALSE(Kind::template enlist<mark<'H'>>());
}

TYPED_TEST(GlobalErrorHandlerOf, HasNoHandlers_AtLoad)
{
    static_assert(std::is_same_v<int&, decltype(TypeParam::COUNT)>);
    static_assert(std::size(TypeParam::TABLE) == 8);
    EXPECT_EQ(0, TypeParam::COUNT);
    EXPECT_EQ(8, std::count(std::begin(TypeParam::TABLE), std::end(TypeParam::TABLE), nullptr));
}

TYPED_TEST(GlobalErrorHandlerOf, Registration_TakesTheNextSlotOfItsKind)
{
    const ChildResult result = runInChild([] {
        EXPECT_FALSE(TypeParam::template enlist<mark<'A'>>());
        EXPECT_EQ(1, TypeParam::COUNT);
        EXPECT_NE(nullptr, TypeParam::TABLE[0]);
        EXPECT_EQ(nullptr, TypeParam::TABLE[1]);
        EXPECT_FALSE(TypeParam::template enlist<mark<'B'>>());
        EXPECT_EQ(2, TypeParam::COUNT);
        EXPECT_NE(nullptr, TypeParam::TABLE[1]);
        EXPECT_NE(TypeParam::TABLE[0], TypeParam::TABLE[1]);
        EXPECT_EQ(nullptr, TypeParam::TABLE[2]);
        EXPECT_EQ(2, support::Abort::COUNT + support::Assert::COUNT + support::Warning::COUNT +
                         support::OutOfMem::COUNT);
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
}

TYPED_TEST(GlobalErrorHandlerOf, NinthAndTenth_AreRefusedAndCounted)
{
    const ChildResult result = runInChild([] {
        enlistEight<TypeParam>();
        EXPECT_EQ(8, TypeParam::COUNT);
        EXPECT_TRUE(TypeParam::template enlist<mark<'I'>>());
        EXPECT_EQ(9, TypeParam::COUNT);
        EXPECT_TRUE(TypeParam::template enlist<mark<'J'>>());
        EXPECT_EQ(10, TypeParam::COUNT);
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ("", result.err);
}

TYPED_TEST(GlobalErrorHandlerOf, CallsNewestFirstAndThenTheDefault)
{
    const ChildResult result = runWithoutAbort([] {
        TypeParam::template enlist<mark<'A'>>();
        TypeParam::template enlist<mark<'B'>>();
        TypeParam::template enlist<mark<'C'>>();
        reportPump<TypeParam>();
    });
    EXPECT_EQ("CBA" + pumpReport<TypeParam>(result), result.err);
    EXPECT_EQ(0, result.exitCode);
}

TYPED_TEST(GlobalErrorHandlerOf, HandlersGetTheWholePathAndTheFormattedReason)
{
    const ChildResult result = runWithoutAbort([] {
        TypeParam::template enlist<tell>();
        reportPump<TypeParam>();
    });
    EXPECT_EQ("[/build/framework/src/pump.cpp:5, start()] [pump is dry]\n" +
                  pumpReport<TypeParam>(result),
              result.err);
}

TYPED_TEST(GlobalErrorHandlerOf, RegisteredTwice_IsCalledTwice)
{
    const ChildResult result = runWithoutAbort([] {
        EXPECT_FALSE(TypeParam::template enlist<mark<'A'>>());
        EXPECT_FALSE(TypeParam::template enlist<mark<'A'>>());
        reportPump<TypeParam>();
    });
    EXPECT_EQ("AA" + pumpReport<TypeParam>(result), result.err);
}

TYPED_TEST(GlobalErrorHandlerOf, MoreAttemptsThanSlots_CallsTheEight)
{
    const ChildResult result = runWithoutAbort([] {
        enlistEight<TypeParam>();
        TypeParam::template enlist<mark<'I'>>();
        TypeParam::template enlist<mark<'J'>>();
        reportPump<TypeParam>();
    });
    EXPECT_EQ("HGFEDCBA" + pumpReport<TypeParam>(result), result.err);
}

TYPED_TEST(GlobalErrorHandlerOf, NegativeCount_CallsTheEight)
{
    const ChildResult result = runWithoutAbort([] {
        enlistEight<TypeParam>();
        TypeParam::COUNT = -1;
        reportPump<TypeParam>();
        TypeParam::COUNT = INT_MIN;
        reportPump<TypeParam>();
    });
    EXPECT_EQ("HGFEDCBA" + pumpReport<TypeParam>(result) + "HGFEDCBA" +
                  pumpReport<TypeParam>(result),
              result.err);
}

TYPED_TEST(GlobalErrorHandlerOf, CountRunsOver_RefusesAndKeepsTheTable)
{
    const ChildResult result = runWithoutAbort([] {
        TypeParam::template enlist<mark<'A'>>();
        TypeParam::COUNT = INT_MAX;
        EXPECT_TRUE(TypeParam::template enlist<mark<'B'>>());
        EXPECT_EQ(INT_MIN, TypeParam::COUNT);
        EXPECT_TRUE(TypeParam::template enlist<mark<'C'>>());
        EXPECT_EQ(INT_MIN + 1, TypeParam::COUNT);
        reportPump<TypeParam>();
    });
    EXPECT_EQ("A" + pumpReport<TypeParam>(result), result.err);
    EXPECT_EQ(0, result.exitCode) << result.out;
}

TYPED_TEST(GlobalErrorHandlerOf, EmptySlot_IsSkipped)
{
    const ChildResult result = runWithoutAbort([] {
        TypeParam::template enlist<mark<'A'>>();
        TypeParam::template enlist<mark<'B'>>();
        TypeParam::template enlist<mark<'C'>>();
        TypeParam::TABLE[1] = nullptr;
        reportPump<TypeParam>();
    });
    EXPECT_EQ("CA" + pumpReport<TypeParam>(result), result.err);
}

/// Registers a further handler.
template <typename Kind>
void enlistFurther(const char*, const char*)
{
    fputc('R', stderr);
    Kind::template enlist<mark<'N'>>();
}

TYPED_TEST(GlobalErrorHandlerOf, RegisteredByAHandler_IsCalledByTheNextReport)
{
    const ChildResult result = runWithoutAbort([] {
        TypeParam::template enlist<enlistFurther<TypeParam>>();
        reportPump<TypeParam>();
        reportPump<TypeParam>();
    });
    EXPECT_EQ("R" + pumpReport<TypeParam>(result) + "NR" + pumpReport<TypeParam>(result),
              result.err);
}

TYPED_TEST(GlobalErrorHandlerOf, HandlerMayChainToTheDefault)
{
    const ChildResult result = runWithoutAbort([] {
        TypeParam::template enlist<TypeParam::defaultReport>();
        reportPump<TypeParam>();
    });
    EXPECT_EQ(pumpReport<TypeParam>(result) + pumpReport<TypeParam>(result), result.err);
}

/// Registers a handler at the same time as the other threads of the barrier.
template <typename Kind, char NAME>
void enlistTogether(pthread_barrier_t* start)
{
    pthread_barrier_wait(start);
    EXPECT_FALSE(Kind::template enlist<mark<NAME>>());
}

TYPED_TEST(GlobalErrorHandlerOf, EightThreadsAtOnce_StoreEachHandlerOnce)
{
    const ChildResult result = runWithoutAbort([] {
        pthread_barrier_t start;
        pthread_barrier_init(&start, nullptr, 8);
        std::thread threads[] = {
            std::thread(enlistTogether<TypeParam, 'A'>, &start),
            std::thread(enlistTogether<TypeParam, 'B'>, &start),
            std::thread(enlistTogether<TypeParam, 'C'>, &start),
            std::thread(enlistTogether<TypeParam, 'D'>, &start),
            std::thread(enlistTogether<TypeParam, 'E'>, &start),
            std::thread(enlistTogether<TypeParam, 'F'>, &start),
            std::thread(enlistTogether<TypeParam, 'G'>, &start),
            std::thread(enlistTogether<TypeParam, 'H'>, &start),
        };
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_EQ(8, TypeParam::COUNT);
        reportPump<TypeParam>();
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    std::string err = result.err;
    std::sort(err.begin(), err.begin() + std::min<long>(8, static_cast<long>(err.size())));
    EXPECT_EQ("ABCDEFGH" + pumpReport<TypeParam>(result), err);
}

TYPED_TEST(GlobalErrorHandlerOf, ReportsDuringRegistration_FindWholeHandlers)
{
    const ChildResult result = runWithoutAbort([] {
        pthread_barrier_t start;
        pthread_barrier_init(&start, nullptr, 2);
        std::thread reporter([&] {
            pthread_barrier_wait(&start);
            for (int report = 0; report < 20; ++report)
                reportPump<TypeParam>();
        });
        pthread_barrier_wait(&start);
        enlistEight<TypeParam>();
        reporter.join();
        fputs("\nafterwards: ", stderr);
        reportPump<TypeParam>();
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ("\nafterwards: HGFEDCBA" + pumpReport<TypeParam>(result),
              result.err.substr(std::min(result.err.size(), result.err.rfind("\nafterwards: "))));
}

TYPED_TEST(GlobalErrorHandlerOf, AbortDisabled_Returns)
{
    EXPECT_FALSE(GlobalErrorHandler::s_disable_abort);
    const ChildResult result = runWithoutAbort([] {
        reportPump<TypeParam>();
        EXPECT_TRUE(GlobalErrorHandler::s_disable_abort);
        fputs("went on\n", stderr);
    });
    EXPECT_EQ(pumpReport<TypeParam>(result) + "went on\n", result.err);
    EXPECT_EQ(0, result.exitCode) << result.out;
}

TEST(GlobalErrorHandler, DoAbort_EndsTheProcessAfterTheReport)
{
    const ChildResult result = runInChild([] {
        support::Abort::enlist<mark<'A'>>();
        reportPump<support::Abort>();
    });
    EXPECT_EQ(SIGABRT, result.signal);
    EXPECT_EQ("A" + pumpReport<support::Abort>(result), result.err);
}

TEST(GlobalErrorHandler, DoWarningAndDoAssert_Return_ThoughAbortIsEnabled)
{
    const ChildResult result = runInChild([] {
        reportPump<support::Warning>();
        reportPump<support::Assert>();
        fputs("went on\n", stderr);
    });
    EXPECT_EQ(pumpReport<support::Warning>(result) + pumpReport<support::Assert>(result) +
                  "went on\n",
              result.err);
    EXPECT_EQ(0, result.exitCode);
}

TEST(GlobalErrorHandler, DoAssert_DoesNotEvenFormat_IfTrue)
{
    const ChildResult result = runInChild([] {
        support::Assert::enlist<mark<'A'>>();
        const char* const unreadable = reinterpret_cast<const char*>(1);
        GlobalErrorHandler::doAssert(true, "level > 0", "pump.cpp", 5, "start", "%s", unreadable);
    });
    EXPECT_EQ("", result.err);
    EXPECT_EQ(0, result.exitCode);
}

void tellCondition(const char* condition, const char*, const char*)
{
    fprintf(stderr, "<%s>", condition != nullptr ? condition : "none");
}

TEST(GlobalErrorHandler, DoAssert_HandlersGetTheCondition)
{
    const ChildResult result = runInChild([] {
        GlobalErrorHandler::atAssert(tellCondition);
        reportPump<support::Assert>();
    });
    EXPECT_EQ("<level > 0>" + pumpReport<support::Assert>(result), result.err);
}

TEST(GlobalErrorHandler, DoAssert_NullCondition)
{
    const ChildResult result = runInChild([] {
        GlobalErrorHandler::atAssert(tellCondition);
        GlobalErrorHandler::doAssert(false, nullptr, "pump.cpp", 5, "start", "dry");
    });
    EXPECT_EQ("<none>" + support::reportTitle("Assert failed", result) +
                  "Location: pump.cpp:5, start()\n"
                  "Condition: \"(null)\"\n"
                  "Reason: \"dry\"\n"
                  "No error context set\n",
              result.err);
}

TEST(GlobalErrorHandler, DoAssert_AHandlerMayEndTheProcess)
{
    const ChildResult result = runInChild([] {
        GlobalErrorHandler::atAssert([](const char*, const char*, const char*) { _exit(3); });
        reportPump<support::Assert>();
    });
    EXPECT_EQ(3, result.exitCode);
    EXPECT_EQ("", result.err);
}

bool dealWithIt(const char* location, const char* reason)
{
    tell(location, reason);
    return true;
}

TEST(GlobalErrorHandler, DoOutOfMem_StopsAtTheHandlerThatDealsWithIt)
{
    const ChildResult result = runInChild([] {
        support::OutOfMem::enlist<mark<'A'>>();
        GlobalErrorHandler::atOutOfMem(dealWithIt);
        support::OutOfMem::enlist<mark<'C'>>();
        reportPump<support::OutOfMem>();
        fputs("went on\n", stderr);
    });
    EXPECT_EQ("C[/build/framework/src/pump.cpp:5, start()] [pump is dry]\nwent on\n", result.err);
    EXPECT_EQ(0, result.exitCode);
}

TEST(GlobalErrorHandler, DoOutOfMem_EndsTheProcess_IfNobodyDealsWithIt)
{
    const ChildResult result = runInChild([] {
        support::OutOfMem::enlist<mark<'A'>>();
        reportPump<support::OutOfMem>();
    });
    EXPECT_EQ(SIGABRT, result.signal);
    EXPECT_EQ("A" + pumpReport<support::OutOfMem>(result), result.err);
}

TEST(GlobalErrorHandler, DoOutOfMem_EndsTheProcess_WithoutHandlers)
{
    const ChildResult result = runInChild([] { reportPump<support::OutOfMem>(); });
    EXPECT_EQ(SIGABRT, result.signal);
    EXPECT_EQ(pumpReport<support::OutOfMem>(result), result.err);
}

TEST(GlobalErrorHandler, NullHandler_TakesAPlaceAndIsSkipped)
{
    const ChildResult result = runInChild([] {
        EXPECT_FALSE(GlobalErrorHandler::atWarning(nullptr));
        EXPECT_FALSE(GlobalErrorHandler::atWarning(
            [](const char*, const char*) { std::fputs("A", stderr); }));
        EXPECT_EQ(2, GlobalErrorHandler::s_num_warning_handlers);
        GlobalErrorHandler::doWarning("a", 1, "f", nullptr);
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(0U, result.err.find("A")) << result.err;
}

} // namespace

// SPDX-License-Identifier: Apache-2.0

#include <zel/report.h>

#include <csignal>
#include <cstdio>
#include <string>
#include <type_traits>

#include <common/error/ErrorStorage.h>
#include <gtest/gtest.h>

#include "support/ChildProcess.h"

namespace {

using support::ChildResult;
using support::reportTitle;
using support::runInChild;

/// Evaluations of `counted`.
int s_evaluations = 0;

int counted(int value)
{
    ++s_evaluations;
    return value;
}

/// The location line of a report from this file.
std::string locationLine(int line, const std::string& function)
{
    return "Location: tests/zel/reportTest.cpp:" + std::to_string(line) + ", " + function + "()\n";
}

constexpr int RAISE_LINE = __LINE__ + 3;
void raiseOutOfRange()
{
    ZEL_RAISE(std::CommonError, 2, 1, 5, 9);
}

constexpr int RAISE_ON_LINE = __LINE__ + 3;
void raiseOnTop()
{
    ZEL_RAISE_ON(std::CommonError, 5, "width");
}

constexpr int ASSERT_LINE = __LINE__ + 3;
void assertSmall(int number)
{
    ZEL_ASSERT(number < 10);
}

constexpr int SAME_TYPE_LINE = __LINE__ + 3;
void assertSameType()
{
    ZEL_ASSERT(std::is_same<int, char>::value);
}

constexpr int REMAINDER_LINE = __LINE__ + 3;
void assertRemainder(int number)
{
    ZEL_ASSERT(number % 5 == 0);
}

constexpr int REASON_LINE = __LINE__ + 3;
void assertWithReason(int number)
{
    ZEL_ASSERT_MSG(number < 10, "number %d of %s", number, "list");
}

constexpr int PLAIN_REASON_LINE = __LINE__ + 3;
void assertWithPlainReason(int number)
{
    ZEL_ASSERT_MSG(number < 10, "too large");
}

constexpr int WARN_LINE = __LINE__ + 3;
void warnOfRetry()
{
    ZEL_WARN("retry %d", 3);
}

constexpr int ABORT_LINE = __LINE__ + 3;
void endAll()
{
    ZEL_ABORT("no %s left", "way");
}

constexpr int OUT_OF_MEMORY_LINE = __LINE__ + 3;
void runOutOfMemory()
{
    ZEL_OUT_OF_MEMORY("%u bytes", 64U);
}

TEST(ZEL_RAISE, PassesFileAndLine)
{
    const std::ErrorStorage storage(nullptr);
    raiseOutOfRange();
    EXPECT_TRUE(std::ErrorStorage::equals(std::CommonError));
    EXPECT_EQ(2, std::ErrorStorage::id());
    EXPECT_STREQ("tests/zel/reportTest.cpp", std::ErrorStorage::file());
    EXPECT_EQ(RAISE_LINE, std::ErrorStorage::line());
    EXPECT_STREQ("Integer parameter out of range. Min = 1, Max = 5, Found = 9",
                 std::ErrorStorage::reason());
}

TEST(ZEL_RAISE, StartsAChain)
{
    const std::ErrorStorage storage(nullptr);
    ZEL_RAISE(std::CommonError, 0);
    raiseOutOfRange();
    EXPECT_EQ(nullptr, std::ErrorStorage::get()->m_cause);
}

TEST(ZEL_RAISE, WithoutValues)
{
    const std::ErrorStorage storage(nullptr);
    ZEL_RAISE(std::CommonError, 0);
    EXPECT_STREQ("Out of heap memory", std::ErrorStorage::reason());
}

TEST(ZEL_RAISE, EvaluatesEachArgumentOnce)
{
    const std::ErrorStorage storage(nullptr);
    s_evaluations = 0;
    ZEL_RAISE(std::CommonError, counted(2), counted(1), counted(5), counted(9));
    EXPECT_EQ(4, s_evaluations);
}

TEST(ZEL_RAISE, RecordsACopyOfAnError)
{
    const std::ErrorStorage storage(nullptr);
    raiseOutOfRange();
    const std::ErrorObject saved = *std::ErrorStorage::get();
    ZEL_RAISE(saved);
    EXPECT_EQ(2, std::ErrorStorage::id());
    EXPECT_EQ(RAISE_LINE, std::ErrorStorage::line());
}

TEST(ZEL_RAISE_ON, PassesFileAndLine)
{
    const std::ErrorStorage storage(nullptr);
    raiseOnTop();
    EXPECT_STREQ("tests/zel/reportTest.cpp", std::ErrorStorage::file());
    EXPECT_EQ(RAISE_ON_LINE, std::ErrorStorage::line());
    EXPECT_STREQ("Invalid parameter: width", std::ErrorStorage::reason());
}

TEST(ZEL_RAISE_ON, AddsToTheChain)
{
    const std::ErrorStorage storage(nullptr);
    raiseOutOfRange();
    ZEL_RAISE_ON(std::CommonError, 0);
    EXPECT_EQ(0, std::ErrorStorage::id());
    ASSERT_NE(nullptr, std::ErrorStorage::get()->m_cause);
    EXPECT_EQ(2, std::ErrorStorage::get()->m_cause->id());
}

TEST(ZEL_RAISE_ON, EvaluatesEachArgumentOnce)
{
    const std::ErrorStorage storage(nullptr);
    s_evaluations = 0;
    ZEL_RAISE_ON(std::CommonError, counted(2), counted(1), counted(5), counted(9));
    EXPECT_EQ(4, s_evaluations);
}

TEST(ZEL_ASSERT, PassesItsPlaceAndCondition)
{
    const ChildResult result = runInChild([] { assertSmall(10); });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ(reportTitle("Assert failed", result) + locationLine(ASSERT_LINE, "assertSmall") +
                  "Condition: \"number < 10\"\n"
                  "No reason given\n"
                  "No error context set\n",
              result.err);
}

TEST(ZEL_ASSERT, ConditionHolds_DoesNothing)
{
    const ChildResult result = runInChild([] { assertSmall(9); });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("", result.err);
}

TEST(ZEL_ASSERT, EvaluatesTheConditionOnce)
{
    const ChildResult result = runInChild([] {
        s_evaluations = 0;
        ZEL_ASSERT(counted(1) == 1);
        EXPECT_EQ(1, s_evaluations);
        ZEL_ASSERT(counted(1) == 2);
        EXPECT_EQ(2, s_evaluations);
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
}

TEST(ZEL_ASSERT, ConditionMayHoldCommas)
{
    const ChildResult result = runInChild(assertSameType);
    EXPECT_EQ(reportTitle("Assert failed", result) +
                  locationLine(SAME_TYPE_LINE, "assertSameType") +
                  "Condition: \"std::is_same<int, char>::value\"\n"
                  "No reason given\n"
                  "No error context set\n",
              result.err);
}

TEST(ZEL_ASSERT, ConditionIsNoFormat)
{
    const ChildResult result = runInChild([] { assertRemainder(7); });
    EXPECT_EQ(reportTitle("Assert failed", result) +
                  locationLine(REMAINDER_LINE, "assertRemainder") +
                  "Condition: \"number % 5 == 0\"\n"
                  "No reason given\n"
                  "No error context set\n",
              result.err);
}

TEST(ZEL_ASSERT_MSG, PassesItsPlaceAndReason)
{
    const ChildResult result = runInChild([] { assertWithReason(12); });
    EXPECT_EQ(reportTitle("Assert failed", result) + locationLine(REASON_LINE, "assertWithReason") +
                  "Condition: \"number < 10\"\n"
                  "Reason: \"number 12 of list\"\n"
                  "No error context set\n",
              result.err);
}

TEST(ZEL_ASSERT_MSG, WithoutValues)
{
    const ChildResult result = runInChild([] { assertWithPlainReason(12); });
    EXPECT_EQ(reportTitle("Assert failed", result) +
                  locationLine(PLAIN_REASON_LINE, "assertWithPlainReason") +
                  "Condition: \"number < 10\"\n"
                  "Reason: \"too large\"\n"
                  "No error context set\n",
              result.err);
}

TEST(ZEL_ASSERT_MSG, ConditionHolds_EvaluatesNoValue)
{
    const ChildResult result = runInChild([] {
        s_evaluations = 0;
        ZEL_ASSERT_MSG(counted(1) == 1, "%d", counted(2));
        EXPECT_EQ(1, s_evaluations);
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ("", result.err);
}

TEST(ZEL_ASSERT_MSG, ConditionFails_EvaluatesEachArgumentOnce)
{
    const ChildResult result = runInChild([] {
        s_evaluations = 0;
        ZEL_ASSERT_MSG(counted(1) == 2, "%d %d", counted(3), counted(4));
        EXPECT_EQ(3, s_evaluations);
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
}

TEST(ZEL_WARN, PassesItsPlaceAndReason)
{
    const ChildResult result = runInChild(warnOfRetry);
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ(reportTitle("Warning triggered", result) + locationLine(WARN_LINE, "warnOfRetry") +
                  "Reason: \"retry 3\"\n"
                  "No error context set\n",
              result.err);
}

TEST(ZEL_WARN, EvaluatesEachValueOnce)
{
    const ChildResult result = runInChild([] {
        s_evaluations = 0;
        ZEL_WARN("%d %d", counted(1), counted(2));
        EXPECT_EQ(2, s_evaluations);
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
}

TEST(ZEL_ABORT, PassesItsPlaceAndReasonAndEndsTheProcess)
{
    const ChildResult result = runInChild(endAll);
    EXPECT_EQ(SIGABRT, result.signal);
    EXPECT_EQ(reportTitle("Abort was called", result) + locationLine(ABORT_LINE, "endAll") +
                  "No error context set\n"
                  "Reason: \"no way left\"\n",
              result.err);
}

TEST(ZEL_ABORT, AbortIsDisabled_EvaluatesEachValueOnceAndReturns)
{
    const ChildResult result = runInChild([] {
        s_evaluations = 0;
        std::GlobalErrorHandler::s_disable_abort = true;
        ZEL_ABORT("%d %d", counted(1), counted(2));
        EXPECT_EQ(2, s_evaluations);
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
}

TEST(ZEL_OUT_OF_MEMORY, PassesItsPlaceAndReasonAndEndsTheProcess)
{
    const ChildResult result = runInChild(runOutOfMemory);
    EXPECT_EQ(SIGABRT, result.signal);
    EXPECT_EQ(reportTitle("Out of memory encountered", result) +
                  locationLine(OUT_OF_MEMORY_LINE, "runOutOfMemory") +
                  "Reason: \"64 bytes\"\n"
                  "No error context set\n",
              result.err);
}

TEST(ZEL_OUT_OF_MEMORY, HandlerDealsWithIt_EvaluatesEachValueOnceAndReturns)
{
    const ChildResult result = runInChild([] {
        s_evaluations = 0;
        std::GlobalErrorHandler::atOutOfMem([](const char*, const char*) { return true; });
        ZEL_OUT_OF_MEMORY("%d %d", counted(1), counted(2));
        EXPECT_EQ(2, s_evaluations);
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ("", result.err);
}

/// Every macro without further arguments, in branches without braces.
void useAll(bool first)
{
    static_assert(std::is_void_v<decltype(ZEL_RAISE(std::CommonError, 0))>);
    static_assert(std::is_void_v<decltype(ZEL_RAISE_ON(std::CommonError, 0))>);
    static_assert(std::is_void_v<decltype(ZEL_ASSERT(true))>);
    static_assert(std::is_void_v<decltype(ZEL_ASSERT_MSG(true, "text"))>);
    static_assert(std::is_void_v<decltype(ZEL_WARN("text"))>);
    static_assert(std::is_void_v<decltype(ZEL_ABORT("text"))>);
    static_assert(std::is_void_v<decltype(ZEL_OUT_OF_MEMORY("text"))>);

    if (first)
        ZEL_RAISE(std::CommonError, 0);
    else
        ZEL_RAISE_ON(std::CommonError, 0);
    if (first)
        ZEL_ASSERT(first);
    else
        ZEL_ASSERT_MSG(first, "second");
    if (first)
        ZEL_WARN("first");
    else if (std::ErrorStorage::isError(true))
        ZEL_ABORT("second");
    else
        ZEL_OUT_OF_MEMORY("third");
}

TEST(ReportMacros, StandInBranchesWithoutBraces_FirstBranch)
{
    const ChildResult result = runInChild([] {
        const std::ErrorStorage storage(nullptr);
        std::GlobalErrorHandler::atWarning(
            [](const char*, const char* reason) { std::printf("warning %s\n", reason); });
        useAll(true);
    });
    EXPECT_EQ("warning first\n", result.out);
}

TEST(ReportMacros, StandInBranchesWithoutBraces_SecondBranch)
{
    const ChildResult result = runInChild([] {
        const std::ErrorStorage storage(nullptr);
        std::GlobalErrorHandler::s_disable_abort = true;
        std::GlobalErrorHandler::atAssert([](const char*, const char*, const char* reason) {
            std::printf("assertion %s\n", reason);
        });
        std::GlobalErrorHandler::atAbort(
            [](const char*, const char* reason) { std::printf("abort %s\n", reason); });
        useAll(false);
    });
    EXPECT_EQ("assertion second\nabort second\n", result.out);
}

} // namespace

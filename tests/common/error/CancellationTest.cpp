// SPDX-License-Identifier: Apache-2.0
//
// A cancelled thread finishes its report first: printing is a cancellation point.

#include <common/error/ErrorStorages.h>

#include <csignal>
#include <new>
#include <string>

#include <gtest/gtest.h>
#include <pthread.h>
#include <zel/report.h>
#include <zelbase/abort.h>

#include "support/ChildProcess.h"

namespace {

/// Runs `body` on a thread of its own that a cancellation is pending for. Returns whether it was
/// cancelled at the first cancellation point behind `body`, and by then had reached the end of it.
bool isCancelledBehind(void (*body)())
{
    static void (*s_body)();
    static bool s_reachedTheEnd;
    s_body = body;
    s_reachedTheEnd = false;
    pthread_t thread;
    pthread_create(
        &thread, nullptr,
        [](void*) -> void* {
            pthread_cancel(pthread_self());
            s_body();
            s_reachedTheEnd = true;
            pthread_testcancel();
            return nullptr;
        },
        nullptr);
    void* result = nullptr;
    pthread_join(thread, &result);
    return s_reachedTheEnd && result == PTHREAD_CANCELED;
}

/// The report without its first line, which names the thread.
std::string withoutTitle(const std::string& report)
{
    return report.substr(report.find('\n') + 1);
}

TEST(Cancellation, Warning_IsWholeAndReturns)
{
    const support::ChildResult result = support::runInChild([] {
        EXPECT_TRUE(isCancelledBehind(
            [] { std::GlobalErrorHandler::doWarning("/src/a", 5, "f", "level %d", 3); }));
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ("Location: src/a:5, f()\nReason: \"level 3\"\nNo error context set\n",
              withoutTitle(result.err));
}

TEST(Cancellation, WarningWithAnErrorContext_IsWhole)
{
    const support::ChildResult result = support::runInChild([] {
        EXPECT_TRUE(isCancelledBehind([] {
            std::StdoutDumpErrorStorage errors;
            std::ErrorOutput("/src/b", 7, true)(std::CommonError, 0);
            std::GlobalErrorHandler::doWarning("/src/a", 5, "f", nullptr);
        }));
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ("Location: src/a:5, f()\nNo reason given\nCurrent error context:\n"
              "Error (ID 0):\n\tOut of heap memory\n\tLocation: src/b:7\n\n",
              withoutTitle(result.err));
}

TEST(Cancellation, MisorderedDestruction_DoesNotEndTheProcess)
{
    const support::ChildResult result = support::runInChild([] {
        EXPECT_TRUE(isCancelledBehind([] {
            auto* const older = new std::StdoutDumpErrorStorage;
            auto* const newer = new std::StdoutDumpErrorStorage;
            delete older;
            delete newer;
        }));
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
}

TEST(Cancellation, Dump_IsWhole)
{
    const support::ChildResult result = support::runInChild([] {
        EXPECT_TRUE(isCancelledBehind([] {
            std::ErrorObject error;
            error.m_file = "a";
            std::ErrorStorage::action_dump_to_stdout(nullptr, "unhandled error", &error, 1);
        }));
    });
    EXPECT_EQ("unhandled error:  [in process/thread '0/0', file 'a', line 0]\n", result.out);
}

TEST(Cancellation, MissingStorage_IsReportedWhole)
{
    const support::ChildResult result = support::runInChild(
        [] { EXPECT_TRUE(isCancelledBehind([] { ZEL_RAISE(std::CommonError, 0); })); });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_NE(std::string::npos, result.err.find("introduces a memory leak of "));
}

TEST(Cancellation, FatalAbort_EndsTheProcess)
{
    const support::ChildResult result = support::runInChild([] {
        isCancelledBehind([] { std::GlobalErrorHandler::doAbort("/src/a", 5, "f", "broken"); });
    });
    EXPECT_EQ(SIGABRT, result.signal);
    EXPECT_EQ("Location: src/a:5, f()\nNo error context set\nReason: \"broken\"\n",
              withoutTitle(result.err));
}

TEST(Cancellation, OutOfMemory_EndsTheProcess)
{
    const support::ChildResult result = support::runInChild([] {
        isCancelledBehind([] { std::GlobalErrorHandler::doOutOfMem("/src/a", 5, "f", "full"); });
    });
    EXPECT_EQ(SIGABRT, result.signal);
    EXPECT_EQ("Location: src/a:5, f()\nReason: \"full\"\nNo error context set\n",
              withoutTitle(result.err));
}

TEST(Cancellation, LastResort_EndsTheProcess)
{
    const support::ChildResult result = support::runInChild(
        [] { isCancelledBehind([] { zelbase::abort("a", 5, "f", "broken %d", 3); }); });
    EXPECT_EQ(SIGABRT, result.signal);
    EXPECT_EQ("broken 3 in a:5, f\n", result.err);
}

} // namespace

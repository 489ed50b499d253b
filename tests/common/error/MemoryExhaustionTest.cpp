// SPDX-License-Identifier: Apache-2.0

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

#include <common/error/Error.h>
#include <common/error/ErrorStorages.h>
#include <common/error/GlobalErrorHandler.h>
#include <gtest/gtest.h>
#include <stdio_ext.h>
#include <zel/Tls.h>

#include "support/ChildProcess.h"
#include "support/FailingMalloc.h"
#include "support/MissingStorage.h"

namespace {

using std::CommonError;
using std::ErrorObject;
using std::ErrorOutput;
using std::ErrorStorage;
using std::GlobalErrorHandler;
using support::ChildResult;
using support::FailingMalloc;
using support::missingStorage;
using support::reportTitle;
using support::runInChild;
using support::unhandledError;

ErrorOutput s_start("pump.cpp", 7, true);
ErrorOutput s_on("pump.cpp", 7, false);

/// An error of process 12 and thread 34.
struct FixedError : ErrorObject
{
    explicit FixedError(const char* reason, const ErrorObject* cause = nullptr)
    {
        m_type = &CommonError;
        m_id = 5;
        m_file = "pump.cpp";
        m_line = 7;
        m_reason = reason;
        m_thread = 34;
        m_process = 12;
        m_cause = cause;
    }
};

/// Runs `body` while every allocation of the thread fails. Returns how many it attempted.
template <typename Body>
int callsDuring(Body body)
{
    const FailingMalloc exhausted;
    body();
    return exhausted.calls();
}

/// Dumps as the very first use of standard output, which has no buffer yet and can get none. Done
/// before `main`, as GoogleTest prints as soon as it runs.
const ChildResult s_firstUse = runInChild([] {
    const FixedError oldest("oldest");
    const FixedError newest("newest", &oldest);
    EXPECT_EQ(0U, __fbufsize(stdout));
    callsDuring([&] {
        int data = 0;
        ErrorStorage::action_trace(&data, "occasion", &newest, 9);
    });
    EXPECT_EQ(1U, __fbufsize(stdout));
});

TEST(MemoryExhaustion, DumpIsTheFirstUseOfStandardOutput)
{
    EXPECT_EQ(0, s_firstUse.exitCode);
    EXPECT_EQ("TODO: TRACE THIS\n"
              "occasion (linked):\n"
              "   1: newest [in process/thread '12/34', file 'pump.cpp', line 7]\n"
              "   2: oldest [in process/thread '12/34', file 'pump.cpp', line 7]\n"
              "1 old attachment(s) overwritten\n",
              s_firstUse.out);
    EXPECT_EQ("", s_firstUse.err);
}

TEST(FailingMalloc, FailsAndCounts)
{
    void* volatile block = nullptr;
    EXPECT_EQ(1, callsDuring([&] { block = std::malloc(64); }));
    EXPECT_EQ(nullptr, block);
    block = std::malloc(64);
    EXPECT_NE(nullptr, block);
    const int releasesBefore = support::allocatorCalls().releases;
    std::free(block);
    EXPECT_EQ(releasesBefore + 1, support::allocatorCalls().releases);
}

TEST(MemoryExhaustion, RaiseWithoutValues_AllocatesNothing)
{
    const ErrorStorage storage(nullptr);
    EXPECT_EQ(0, callsDuring([] { s_start(CommonError, 0); }));
    EXPECT_STREQ("Out of heap memory", ErrorStorage::reason());
}

TEST(MemoryExhaustion, RaiseWithText_AllocatesNothing)
{
    const ErrorStorage storage(nullptr);
    EXPECT_EQ(0, callsDuring([] { s_start(CommonError, 5, "width"); }));
    EXPECT_STREQ("Invalid parameter: width", ErrorStorage::reason());
}

TEST(MemoryExhaustion, RaiseWithLongText_AllocatesNothing)
{
    const ErrorStorage storage(nullptr);
    const std::string text(4000, 'x');
    EXPECT_EQ(0, callsDuring([&] { s_start(TCLAP::Error, 0, text.c_str()); }));
    EXPECT_EQ(std::string(254, 'x'), ErrorStorage::reason());
}

TEST(MemoryExhaustion, RaiseWithIntegers_AllocatesNothing)
{
    const ErrorStorage storage(nullptr);
    EXPECT_EQ(0, callsDuring([] { s_start(CommonError, 2, 1, 5, 9); }));
    EXPECT_STREQ("Integer parameter out of range. Min = 1, Max = 5, Found = 9",
                 ErrorStorage::reason());
}

TEST(MemoryExhaustion, CopyOfAnError_AllocatesNothing)
{
    const ErrorStorage storage(nullptr);
    const FixedError error("dry");
    EXPECT_EQ(0, callsDuring([&] { s_start(error); }));
    EXPECT_STREQ("dry", ErrorStorage::reason());
}

TEST(MemoryExhaustion, ReadingTheStorage_AllocatesNothing)
{
    EXPECT_EQ(0, callsDuring([] {
                  const ErrorStorage storage(nullptr);
                  s_start(CommonError, 5, "width");
                  const ErrorObject saved = *ErrorStorage::get();
                  ErrorStorage::ack();
                  s_start(saved);
              }));
}

TEST(MemoryExhaustion, ChainOfNine_WarnsWholeAndAllocatesNothing)
{
    const ChildResult result = runInChild([] {
        const ErrorStorage storage(nullptr);
        s_on(CommonError, 5, "width");
        EXPECT_EQ(0, callsDuring([] {
                      for (int count = 1; count < 9; ++count)
                          s_on(CommonError, 0);
                  }));
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(reportTitle("Warning triggered", result) +
                  "Location: src/common/error/ErrorStorage:258, add()\n"
                  "Reason: \"An error was overwritten: pump.cpp:7, id = 5, text = Invalid "
                  "parameter: width\"\n"
                  "No error context set\n",
              result.err);
}

constexpr const char* CONTEXT = "Current error context:\n"
                                "Error (ID 0):\n"
                                "\tOut of heap memory\n"
                                "\tLocation: pump.cpp:7\n"
                                "\twas caused by\n"
                                "Error (ID 5):\n"
                                "\tInvalid parameter: width\n"
                                "\tLocation: pump.cpp:7\n"
                                "\n";

/// Reports in a child whose error chain is CONTEXT.
ChildResult report(void (*body)())
{
    return runInChild([body] {
        GlobalErrorHandler::s_disable_abort = true;
        const ErrorStorage storage(nullptr);
        s_start(CommonError, 5, "width");
        s_on(CommonError, 0);
        EXPECT_EQ(0, callsDuring(body));
    });
}

TEST(MemoryExhaustion, AbortReportIsWhole)
{
    const ChildResult result = report([] { GlobalErrorHandler::doAbort("a", 1, "b", "%d", 9); });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(reportTitle("Abort was called", result) + "Location: a:1, b()\n" + CONTEXT +
                  "Reason: \"9\"\n",
              result.err);
}

TEST(MemoryExhaustion, AssertReportIsWhole)
{
    const ChildResult result =
        report([] { GlobalErrorHandler::doAssert(false, "c", "/x/src/a", 1, "b", "%d", 9); });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(reportTitle("Assert failed", result) + "Location: src/a:1, b()\n" +
                  "Condition: \"c\"\nReason: \"9\"\n" + CONTEXT,
              result.err);
}

TEST(MemoryExhaustion, WarningReportIsWhole)
{
    const ChildResult result = report([] { GlobalErrorHandler::doWarning("a", 1, "b", "%d", 9); });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(reportTitle("Warning triggered", result) + "Location: a:1, b()\nReason: \"9\"\n" +
                  CONTEXT,
              result.err);
}

TEST(MemoryExhaustion, OutOfMemoryReportIsWhole)
{
    const ChildResult result =
        report([] { GlobalErrorHandler::doOutOfMem("a", 1, "b", "%s", "8 bytes"); });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(reportTitle("Out of memory encountered", result) +
                  "Location: a:1, b()\nReason: \"8 bytes\"\n" + CONTEXT,
              result.err);
}

TEST(MemoryExhaustion, HandlersAreCalled)
{
    const ChildResult result = report([] {
        GlobalErrorHandler::atWarning([](const char* location, const char* reason) {
            std::fprintf(stderr, "%s|%s\n", location, reason);
        });
        GlobalErrorHandler::doWarning("a", 1, "b", "%d", 9);
    });
    EXPECT_EQ("a:1, b()|9\n", result.err.substr(0, 11));
}

TEST(MemoryExhaustion, DumpReactionIsWhole)
{
    const ChildResult result = runInChild([] {
        const std::StdoutDumpErrorStorage storage;
        s_start(CommonError, 5, "width");
        callsDuring([] { s_start(CommonError, 0); });
    });
    EXPECT_EQ(unhandledError(result, "Invalid parameter: width"), result.out);
    EXPECT_EQ("", result.err);
}

TEST(MemoryExhaustion, TraceReactionIsWhole)
{
    const ChildResult result = runInChild([] {
        const std::TraceErrorStorage storage(7);
        s_start(CommonError, 5, "width");
        callsDuring([] { s_start(CommonError, 0); });
    });
    EXPECT_EQ("TODO: TRACE THIS\n" + unhandledError(result, "Invalid parameter: width"),
              result.out);
}

TEST(MemoryExhaustion, AbortReactionIsWhole)
{
    const ChildResult result = runInChild([] {
        const std::AbortErrorStorage storage;
        s_start(CommonError, 5, "width");
        callsDuring([] { s_start(CommonError, 0); });
    });
    EXPECT_EQ(SIGABRT, result.signal);
    EXPECT_EQ(unhandledError(result, "Invalid parameter: width"), result.out);
    EXPECT_EQ(reportTitle("Abort was called", result) +
                  "Location: src/common/error/ErrorStorages:109, action_dump_and_abort()\n"
                  "Current error context:\n"
                  "Error (ID 5):\n"
                  "\tInvalid parameter: width\n"
                  "\tLocation: pump.cpp:7\n"
                  "\n"
                  "Reason: \"unhandled error occured\"\n",
              result.err);
}

TEST(MemoryExhaustion, MissingStorage_FirstThreadIsLeftWithTheFallbackStorage)
{
    const ChildResult result = runInChild([] {
        callsDuring([] { s_start(CommonError, 5, "width"); });
        EXPECT_STREQ("Invalid parameter: width", ErrorStorage::reason());
        EXPECT_TRUE(ErrorStorage::isError(true));
        EXPECT_EQ(nullptr, ErrorStorage::get()->m_cause);
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ(missingStorage(result, "Invalid parameter: width"), result.err);
    EXPECT_EQ(unhandledError(result, "Invalid parameter: width"), result.out);
}

TEST(MemoryExhaustion, MissingStorage_SecondThreadWarnsTwice)
{
    const ChildResult result = runInChild([] {
        callsDuring([] { s_start(CommonError, 5, "width"); });
        std::thread([] {
            std::printf("%s\n", support::threadText().c_str());
            callsDuring([] { s_start(CommonError, 0); });
            EXPECT_FALSE(ErrorStorage::isError(false));
        }).join();
    });
    const std::string firstDump = unhandledError(result, "Invalid parameter: width");
    const std::string second = result.out.substr(
        firstDump.size(), result.out.find('\n', firstDump.size()) - firstDump.size());
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ(missingStorage(result, "Invalid parameter: width") +
                  missingStorage(result, "Out of heap memory", second) +
                  missingStorage(result, "Out of heap memory", second),
              result.err);
    EXPECT_EQ(firstDump + second + "\n" + firstDump +
                  unhandledError(result, "Out of heap memory", second),
              result.out);
}

TEST(MemoryExhaustion, MissingStorage_IsMadeUpForOnceThereIsMemory)
{
    const ChildResult result = runInChild([] {
        s_on(CommonError, 0);
        std::thread([] {
            callsDuring([] { s_on(CommonError, 0); });
            s_on(CommonError, 5, "width");
            EXPECT_EQ("Error (ID 5):\n\tInvalid parameter: width\n\tLocation: pump.cpp:7\n",
                      zel_error.getReasonList());
        }).join();
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
}

TEST(MemoryExhaustion, ReasonList_IsEmptyWithoutAnException)
{
    const ErrorStorage storage(nullptr);
    s_start(CommonError, 5, "width");
    std::string list = "unchanged";
    callsDuring([&] { list = zel_error.getReasonList(); });
    EXPECT_EQ("", list);
    EXPECT_EQ("Error (ID 5):\n\tInvalid parameter: width\n\tLocation: pump.cpp:7\n",
              zel_error.getReasonList());
}

TEST(MemoryExhaustion, ReasonListWithoutAnError_NeedsNoMemory)
{
    const ErrorStorage storage(nullptr);
    std::string list;
    EXPECT_EQ(0, callsDuring([&] { list = zel_error.getReasonList(); }));
    EXPECT_EQ("\n", list);
}

TEST(MemoryExhaustion, TlsHasNoMemoryForAValue_EndsTheProcess)
{
    const ChildResult result = runInChild([] {
        // The C library has room for the values of its first 32 keys in each thread.
        pthread_key_t taken;
        for (int count = 0; count < 32; ++count)
            pthread_key_create(&taken, nullptr);
        zel::Tls<int> slot;
        int value = 0;
        callsDuring([&] { slot.set(&value); });
    });
    EXPECT_EQ(SIGABRT, result.signal);
    EXPECT_EQ(reportTitle("Abort was called", result) + "Location: include/zel/Tls:35, set()\n"
                                                        "No error context set\n"
                                                        "Reason: \"zel::Tls out of memory\"\n",
              result.err);
}

} // namespace

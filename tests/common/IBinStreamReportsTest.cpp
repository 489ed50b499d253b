// SPDX-License-Identifier: Apache-2.0
//
// What streams say of an implementation that fails without raising an error: two ways, and two
// wordings.

#include <cerrno>
#include <cstdio>
#include <functional>
#include <string>
#include <thread>

#include <common/IBinInputStream.h>
#include <common/IBinOutputStream.h>
#include <common/error/GlobalErrorHandler.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include "support/ChildProcess.h"
#include "support/FailingStreams.h"
#include "support/OpenStorage.h"
#include "support/ScriptedStreams.h"

namespace {

using std::ErrorStorage;
using std::IBinStreamBase;
using support::ChildResult;
using support::deliver;
using support::failEverywhere;
using support::failToFlush;
using support::failToFlushDeeply;
using support::failToReadDirectly;
using support::failToRefill;
using support::failToWriteDirectly;
using support::failToWriteTheFullBuffer;
using support::failToWriteTheRest;
using support::HookedInput;
using support::HookedOutput;
using support::OpenStorage;
using support::readText;
using support::reportTitle;
using support::runInChild;
using support::ScriptedInput;
using support::ScriptedOutput;
using support::take;
using support::writeText;

/// What `body` writes to standard error, on a thread with an error storage.
std::string saidBy(const std::function<void()>& body)
{
    const ChildResult result = runInChild([&] {
        const OpenStorage errors;
        body();
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    return result.err;
}

constexpr const char* READ_PRINT =
    "read| Warning: stream implementation indicated failure but didn't raise a StreamError!\n";
constexpr const char* WRITE_PRINT =
    "write| Warning: stream implementation indicated failure but didn't raise a StreamError!\n";
constexpr const char* FLUSH_PRINT =
    "flush| Warning: stream implementation indicated failure but didn't raise a StreamError!\n";

TEST(DirectPrint, Read_Refill)
{
    EXPECT_EQ(READ_PRINT, saidBy(failToRefill));
}

TEST(DirectPrint, Write_BufferedStream)
{
    EXPECT_EQ(WRITE_PRINT, saidBy(failToWriteTheFullBuffer));
    EXPECT_EQ(WRITE_PRINT, saidBy(failToWriteTheRest));
}

TEST(DirectPrint, Flush)
{
    EXPECT_EQ(FLUSH_PRINT, saidBy(failToFlush));
    EXPECT_EQ(FLUSH_PRINT, saidBy(failToFlushDeeply));
}

TEST(DirectPrint, IsFlushed)
{
    const ChildResult result = runInChild([] {
        static char block[4096];
        setvbuf(stderr, block, _IOFBF, sizeof block);
        const OpenStorage errors;
        failToRefill();
        failToWriteTheFullBuffer();
        failToFlush();
        _exit(5);
    });
    EXPECT_EQ(5, result.exitCode);
    EXPECT_EQ(std::string(READ_PRINT) + WRITE_PRINT + FLUSH_PRINT, result.err);
}

TEST(DirectPrint, StandardErrorIsClosed_KeepsErrno)
{
    const ChildResult result = runInChild([] {
        close(STDERR_FILENO);
        errno = E2BIG;
        failToRefill();
        EXPECT_EQ(E2BIG, errno);
        failToWriteTheFullBuffer();
        EXPECT_EQ(E2BIG, errno);
        failToFlush();
        EXPECT_EQ(E2BIG, errno);
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ("", result.err);
}

/// Fails on a thread that has cancelled itself, and then lets it be cancelled. Returns whether it
/// got as far.
bool isCancelledBehind(void (*fail)())
{
    static void (*s_fail)();
    static bool s_hasFailed;
    s_fail = fail;
    s_hasFailed = false;
    pthread_t thread;
    const auto run = [](void*) -> void* {
        pthread_cancel(pthread_self());
        s_fail();
        s_hasFailed = true;
        pthread_testcancel();
        return nullptr;
    };
    pthread_create(&thread, nullptr, run, nullptr);
    void* result = nullptr;
    pthread_join(thread, &result);
    return s_hasFailed && result == PTHREAD_CANCELED;
}

TEST(DirectPrint, IsNoCancellationPoint)
{
    const ChildResult result = runInChild([] {
        EXPECT_TRUE(isCancelledBehind(failToRefill));
        EXPECT_TRUE(isCancelledBehind(failToWriteTheRest));
        EXPECT_TRUE(isCancelledBehind(failToFlush));
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(std::string(READ_PRINT) + WRITE_PRINT + FLUSH_PRINT, result.err);
}

/// The report of a global warning.
std::string warning(const ChildResult& result, const char* location, const char* reason)
{
    return reportTitle("Warning triggered", result) + "Location: " + location + "\nReason: \"" +
           reason + "\"\nNo error context set\n";
}

TEST(GlobalWarning, Read)
{
    const ChildResult result = runInChild(failToReadDirectly);
    EXPECT_EQ(warning(result, "src/common/IBinInputStream:124, read()",
                      "stream implementation indicated failure but didn't raise a StreamError!"),
              result.err);
}

TEST(GlobalWarning, Read_Unbuffered)
{
    const ChildResult result = runInChild([] {
        ScriptedInput input(0, {deliver("").failing()});
        EXPECT_EQ("-1 ", readText(input, 1));
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(warning(result, "src/common/IBinInputStream:124, read()",
                      "stream implementation indicated failure but didn't raise a StreamError!"),
              result.err);
}

// Kept: tools match the text with its missing blank.
TEST(GlobalWarning, Write)
{
    const ChildResult result = runInChild(failToWriteDirectly);
    EXPECT_EQ(warning(result, "src/common/IBinOutputStream:118, write()",
                      "stream implementation indicated failurebut didn't raise a StreamError!"),
              result.err);
}

TEST(GlobalWarning, Write_HookMadeTheStreamUnbuffered)
{
    const ChildResult result = runInChild([] {
        HookedOutput output(4, {take(0).failing()});
        output.check = [&] { return output.bufferSize = 0, false; };
        EXPECT_EQ("-1 0", writeText(output, "a"));
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(warning(result, "src/common/IBinOutputStream:118, write()",
                      "stream implementation indicated failurebut didn't raise a StreamError!"),
              result.err);
}

void tell(const char* location, const char* reason)
{
    std::printf("[%s] [%s]\n", location, reason);
    std::fflush(stdout);
}

TEST(GlobalWarning, IsTheOneThatHandlersSee)
{
    const ChildResult result = runInChild([] {
        std::GlobalErrorHandler::atWarning(tell);
        failEverywhere();
    });
    EXPECT_EQ("[framework/src/common/IBinInputStream:124, read()] [stream implementation indicated "
              "failure but didn't raise a StreamError!]\n"
              "[framework/src/common/IBinOutputStream:118, write()] [stream implementation "
              "indicated failurebut didn't raise a StreamError!]\n",
              result.out);
}

TEST(GlobalWarning, WithAnotherErrorPending_GivesItAsContext)
{
    const ChildResult result = runInChild([] {
        const OpenStorage errors;
        std::ErrorOutput("/build/src/pump.cpp", 7, true)(std::CommonError, 0);
        failToReadDirectly();
    });
    EXPECT_EQ(reportTitle("Warning triggered", result) +
                  "Location: src/common/IBinInputStream:124, read()\n"
                  "Reason: \"stream implementation indicated failure but didn't raise a "
                  "StreamError!\"\n"
                  "Current error context:\n"
                  "Error (ID 0):\n\tOut of heap memory\n"
                  "\tLocation: src/pump.cpp:7\n\n",
              result.err);
}

TEST(Warnings, NoneWithAStreamErrorRaised)
{
    EXPECT_EQ("", saidBy([] {
                  ScriptedInput input(4, {deliver("").raising(), deliver("").raising()});
                  EXPECT_EQ("-1 ", readText(input, 1));
                  EXPECT_EQ("-1 ", readText(input, 9));
                  ScriptedOutput output(4, {take(0).raising(), take(0).raising()});
                  EXPECT_EQ("-1 4", writeText(output, "abcd"));
                  EXPECT_TRUE(output.flush(false));
              }));
}

TEST(Warnings, NoneWithAnOlderStreamErrorPending)
{
    EXPECT_EQ("", saidBy([] {
                  support::raiseStreamError();
                  failEverywhere();
              }));
}

TEST(Warnings, NoneWithAStreamErrorAcknowledged)
{
    EXPECT_EQ("", saidBy([] {
                  support::raiseStreamError();
                  ErrorStorage::ack();
                  failEverywhere();
              }));
}

TEST(Warnings, NoneWithADerivedErrorPending)
{
    EXPECT_EQ("", saidBy([] {
                  static const std::ErrorID table[] = {{0, "no pipe", 0}};
                  static const std::ErrorType pipeError(table, 1, IBinStreamBase::StreamError);
                  std::ErrorOutput("pump.cpp", 7, true)(pipeError, 0);
                  failEverywhere();
              }));
}

TEST(Warnings, AgainWhenTheStreamErrorIsCleared)
{
    EXPECT_EQ(READ_PRINT, saidBy([] {
                  OpenStorage errors;
                  support::raiseStreamError();
                  failToRefill();
                  errors.clear();
                  failToRefill();
              }));
}

TEST(Warnings, WithAnotherErrorPending)
{
    EXPECT_EQ(FLUSH_PRINT, saidBy([] {
                  support::startChain(0);
                  failToFlush();
              }));
}

TEST(Warnings, WithAStreamErrorThatIsOnlyTheCause)
{
    EXPECT_EQ(WRITE_PRINT, saidBy([] {
                  support::raiseStreamError();
                  support::addToChain(0);
                  failToWriteTheRest();
              }));
}

TEST(Warnings, OnAThreadWithoutAStorage)
{
    const ChildResult result = runInChild(failToRefill);
    EXPECT_EQ(READ_PRINT, result.err);
}

TEST(Warnings, AskTheCallingThreadsStorageAlone)
{
    EXPECT_EQ(READ_PRINT, saidBy([] {
                  support::raiseStreamError();
                  std::thread([] {
                      const OpenStorage errors;
                      failToRefill();
                  }).join();
                  failToRefill();
              }));
}

TEST(Warnings, RaiseNothingAndKeepErrno)
{
    saidBy([] {
        errno = E2BIG;
        failEverywhere();
        EXPECT_EQ(E2BIG, errno);
        EXPECT_FALSE(ErrorStorage::isError(false));
    });
}

TEST(Warnings, NoneForAHookThatFails)
{
    EXPECT_EQ("", saidBy([] {
                  HookedInput input(4);
                  input.check = [] { return true; };
                  EXPECT_EQ("-1 ", readText(input, 1));
                  HookedOutput output(4);
                  EXPECT_EQ("1 1", writeText(output, "a"));
                  output.check = [] { return true; };
                  EXPECT_EQ("-1 0", writeText(output, "a"));
                  EXPECT_TRUE(output.flush(false));
              }));
}

TEST(Warnings, NoneWithoutAFailure)
{
    EXPECT_EQ("", saidBy([] {
                  ScriptedInput input(4, {deliver("ab"), deliver("")});
                  EXPECT_EQ("1 ab", readText(input, 2));
                  EXPECT_EQ("0 ", readText(input, 2));
                  EXPECT_EQ("0 ", readText(input, 9));
                  ScriptedOutput output(4, {take(0)});
                  EXPECT_EQ("1 4", writeText(output, "abcdef"));
                  EXPECT_FALSE(output.flush(true));
              }));
}

} // namespace

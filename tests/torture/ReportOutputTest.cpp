// SPDX-License-Identifier: Apache-2.0
//
// Dumps and reports whose standard streams take nothing: they are lost, and all goes on, or ends,
// as if they were not.

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <string>

#include <common/error/Error.h>
#include <common/error/ErrorStorages.h>
#include <common/error/GlobalErrorHandler.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>
#include <zelbase/abort.h>

#include "support/ChildProcess.h"
#include "support/Descriptors.h"
#include "support/OpenStorage.h"

namespace {

using std::CommonError;
using std::ErrorOutput;
using std::ErrorStorage;
using std::GlobalErrorHandler;
using support::ChildResult;

constexpr unsigned int PATIENCE = 60; // seconds

ErrorOutput s_start("pump.cpp", 7, true);
ErrorOutput s_on("pump.cpp", 7, false);
int s_handled = 0;

void redirect(int fd)
{
    for (const int standard : {STDOUT_FILENO, STDERR_FILENO})
        if (dup2(fd, standard) == -1) std::abort();
}

void fillUp()
{
    const support::Descriptor full(open("/dev/full", O_WRONLY | O_CLOEXEC));
    redirect(full);
}

void closeBoth()
{
    close(STDOUT_FILENO);
    close(STDERR_FILENO);
}

void loseReader()
{
    signal(SIGPIPE, SIG_IGN);
    support::Pipe pipe;
    redirect(pipe.writer);
    pipe.reader.close();
}

void forbidWriting()
{
    const support::Descriptor input(open("/dev/null", O_RDONLY | O_CLOEXEC));
    redirect(input);
}

struct Way
{
    const char* name;
    void (*spoil)();
};
constexpr Way WAYS[] = {{"full", fillUp},
                        {"closed", closeBoth},
                        {"without a reader", loseReader},
                        {"not to be written to", forbidWriting}};

/// Runs `body` in a child for each way that standard streams can fail. `ending` is the signal that
/// is to end it, or 0.
void runSpoiled(int ending, const std::function<void()>& body)
{
    for (const Way& way : WAYS) {
        const ChildResult result = support::runInChild([&] {
            alarm(PATIENCE);
            way.spoil();
            errno = E2BIG;
            body();
        });
        EXPECT_EQ(ending, result.signal) << way.name;
        EXPECT_EQ(ending == 0 ? 0 : -1, result.exitCode) << way.name;
        EXPECT_EQ("", result.out + result.err) << way.name;
    }
}

TEST(ReportOutput, Dump_ChainIsReplaced_NextOneIsThere)
{
    runSpoiled(0, [] {
        const std::StdoutDumpErrorStorage errors;
        s_start(CommonError, 5, "width");
        s_on(CommonError, 5, "height");
        s_start(CommonError, 0);
        EXPECT_EQ(E2BIG, errno);
        EXPECT_STREQ("Out of heap memory", ErrorStorage::reason());
        EXPECT_EQ(nullptr, ErrorStorage::get()->m_cause);
        ErrorStorage::ack();
        EXPECT_FALSE(ErrorStorage::isError(true));
    });
}

TEST(ReportOutput, OverwriteWarning_ChainGoesOn)
{
    runSpoiled(0, [] {
        const std::StdoutDumpErrorStorage errors;
        support::startChain(1);
        support::addToChain(2, 10);
        EXPECT_EQ("10 9 8 7 6 5 4 3", support::chainIds());
        EXPECT_TRUE(ErrorStorage::isError(true));
        EXPECT_EQ(E2BIG, errno);
    });
}

// What a stream could not get rid of does not pile up.
TEST(ReportOutput, Dump_Often_GoesOn)
{
    runSpoiled(0, [] {
        const std::StdoutDumpErrorStorage errors;
        const std::string text(200, 'x');
        for (int i = 0; i < 1000; ++i)
            s_start(CommonError, 5, text.c_str());
        EXPECT_EQ("Invalid parameter: " + text, ErrorStorage::reason());
        EXPECT_EQ(E2BIG, errno);
    });
}

TEST(ReportOutput, Trace_GoesOn)
{
    runSpoiled(0, [] {
        const std::TraceErrorStorage errors(3);
        s_start(CommonError, 5, "width");
        s_start(CommonError, 0);
        EXPECT_STREQ("Out of heap memory", ErrorStorage::reason());
        EXPECT_EQ(E2BIG, errno);
    });
}

TEST(ReportOutput, MissingStorage_Records)
{
    runSpoiled(0, [] {
        s_start(CommonError, 5, "width");
        EXPECT_STREQ("Invalid parameter: width", ErrorStorage::reason());
        EXPECT_EQ(E2BIG, errno);
    });
}

TEST(ReportOutput, AbortStorage_EndsTheProcess)
{
    runSpoiled(SIGABRT, [] {
        const std::AbortErrorStorage errors;
        s_start(CommonError, 5, "width");
        s_start(CommonError, 0);
    });
}

TEST(ReportOutput, Abort_CallsTheHandler)
{
    runSpoiled(0, [] {
        GlobalErrorHandler::atAbort([](const char*, const char*) {
            support::saveCoverage();
            _exit(0);
        });
        GlobalErrorHandler::doAbort("pump.cpp", 5, "start", "pump is dry");
    });
}

TEST(ReportOutput, Abort_EndsTheProcess)
{
    runSpoiled(SIGABRT, [] {
        const std::StdoutDumpErrorStorage errors;
        s_start(CommonError, 5, "width");
        GlobalErrorHandler::doAbort("pump.cpp", 5, "start", "pump is dry");
    });
}

TEST(ReportOutput, Abort_Disabled_GoesOn)
{
    runSpoiled(0, [] {
        GlobalErrorHandler::s_disable_abort = true;
        GlobalErrorHandler::doAbort("pump.cpp", 5, "start", "pump is dry");
        EXPECT_EQ(E2BIG, errno);
    });
}

TEST(ReportOutput, Assert_CallsTheHandlerAndGoesOn)
{
    runSpoiled(0, [] {
        const std::StdoutDumpErrorStorage errors;
        s_start(CommonError, 5, "width");
        GlobalErrorHandler::atAssert([](const char*, const char*, const char*) { ++s_handled; });
        GlobalErrorHandler::doAssert(false, "level > 0", "pump.cpp", 5, "start", "pump is dry");
        EXPECT_EQ(1, s_handled);
        EXPECT_EQ(E2BIG, errno);
        EXPECT_STREQ("Invalid parameter: width", ErrorStorage::reason());
        EXPECT_TRUE(ErrorStorage::isError(true));
    });
}

TEST(ReportOutput, Warning_CallsTheHandlerAndGoesOn)
{
    runSpoiled(0, [] {
        GlobalErrorHandler::atWarning([](const char*, const char*) { ++s_handled; });
        GlobalErrorHandler::doWarning("pump.cpp", 5, "start", "pump is dry");
        EXPECT_EQ(1, s_handled);
        EXPECT_EQ(E2BIG, errno);
    });
}

TEST(ReportOutput, OutOfMemory_EndsTheProcess)
{
    runSpoiled(SIGABRT, [] { GlobalErrorHandler::doOutOfMem("pump.cpp", 5, "start", "dry"); });
}

TEST(ReportOutput, AbortOfTheBase_EndsTheProcess)
{
    runSpoiled(SIGABRT, [] { zelbase::abort("pump.cpp", 5, "start", "pump is dry"); });
}

} // namespace

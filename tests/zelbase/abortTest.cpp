// SPDX-License-Identifier: Apache-2.0

#include <zelbase/abort.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <string>

#include <common/error/Error.h>
#include <common/error/ErrorStorages.h>
#include <common/error/GlobalErrorHandler.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "support/ChildProcess.h"

namespace {

using support::runInChild;

TEST(Abort, PrintsTheMessageAndThePlaceAndEndsTheProcess)
{
    const support::ChildResult result = runInChild(
        [] { zelbase::abort("pump.cpp", 29, "start", "%s is dry since %d s", "pump", 17); });
    EXPECT_EQ(SIGABRT, result.signal);
    EXPECT_EQ("pump is dry since 17 s in pump.cpp:29, start\n", result.err);
    EXPECT_EQ("", result.out);
}

TEST(Abort, PrintsTheWholePath)
{
    const support::ChildResult result =
        runInChild([] { zelbase::abort("/build/framework/src/pump.cpp", 29, "start", "dry"); });
    EXPECT_EQ("dry in /build/framework/src/pump.cpp:29, start\n", result.err);
}

TEST(Abort, DisabledAbort_StillEndsTheProcess)
{
    const support::ChildResult result = runInChild([] {
        std::GlobalErrorHandler::s_disable_abort = true;
        zelbase::abort("pump.cpp", 29, "start", "dry");
    });
    EXPECT_EQ(SIGABRT, result.signal);
    EXPECT_EQ("dry in pump.cpp:29, start\n", result.err);
}

TEST(Abort, ConsultsNoHandler)
{
    const support::ChildResult result = runInChild([] {
        std::GlobalErrorHandler::atAbort([](const char*, const char*) { _exit(3); });
        zelbase::abort("pump.cpp", 29, "start", "dry");
    });
    EXPECT_EQ(SIGABRT, result.signal);
    EXPECT_EQ("dry in pump.cpp:29, start\n", result.err);
}

TEST(Abort, PrintsNoErrorContext)
{
    const support::ChildResult result = runInChild([] {
        std::StdoutDumpErrorStorage errors;
        std::ErrorOutput("valve.cpp", 7, true)(std::CommonError, 0);
        zelbase::abort("pump.cpp", 29, "start", "dry");
    });
    EXPECT_EQ("dry in pump.cpp:29, start\n", result.err);
    EXPECT_EQ("", result.out);
}

TEST(Abort, LongMessage_IsWhole)
{
    const support::ChildResult result = runInChild(
        [] { zelbase::abort("pump.cpp", 29, "start", "%s", std::string(5000, 'x').c_str()); });
    EXPECT_EQ(std::string(5000, 'x') + " in pump.cpp:29, start\n", result.err);
}

TEST(Abort, NullTexts)
{
    const support::ChildResult result =
        runInChild([] { zelbase::abort(nullptr, 29, nullptr, "dry"); });
    EXPECT_EQ(SIGABRT, result.signal);
    EXPECT_EQ("dry in (null):29, (null)\n", result.err);
}

TEST(Abort, NullFormat_PrintsNoMessage)
{
    const support::ChildResult result =
        runInChild([] { zelbase::abort("pump.cpp", 29, "start", nullptr); });
    EXPECT_EQ(SIGABRT, result.signal);
    EXPECT_EQ(" in pump.cpp:29, start\n", result.err);
}

TEST(Abort, BufferedStandardError_IsFlushed)
{
    const support::ChildResult result = runInChild([] {
        static char s_buffer[4096];
        setvbuf(stderr, s_buffer, _IOFBF, sizeof s_buffer);
        zelbase::abort("pump.cpp", 29, "start", "dry");
    });
    EXPECT_EQ(SIGABRT, result.signal);
    EXPECT_EQ("dry in pump.cpp:29, start\n", result.err);
}

TEST(Abort, StandardErrorClosed_StillEndsTheProcess)
{
    const support::ChildResult result = runInChild([] {
        close(STDERR_FILENO);
        zelbase::abort("pump.cpp", 29, "start", "dry");
    });
    EXPECT_EQ(SIGABRT, result.signal);
    EXPECT_EQ("", result.err);
}

TEST(Abort, HandlerOfTheSignal_Runs)
{
    const support::ChildResult result = runInChild([] {
        signal(SIGABRT, [](int) { _exit(3); });
        zelbase::abort("pump.cpp", 29, "start", "dry");
    });
    EXPECT_EQ(3, result.exitCode);
    EXPECT_EQ("dry in pump.cpp:29, start\n", result.err);
}

} // namespace

// SPDX-License-Identifier: Apache-2.0
//
// The default reports, whole.

#include <common/error/GlobalErrorHandler.h>

#include <cerrno>
#include <cstdio>
#include <functional>
#include <string>
#include <thread>

#include <common/error/Error.h>
#include <common/error/ErrorStorages.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "support/ChildProcess.h"
#include "support/GroupingLocale.h"
#include "support/ReportKinds.h"

namespace {

using std::GlobalErrorHandler;
using support::reportTitle;
using support::runInChild;

constexpr const char* LOCATION = "/build/framework/src/pump.cpp:5, start()";

/// Runs `body` in a child whose thread has a pending error.
support::ChildResult runWithError(const std::function<void()>& body)
{
    return runInChild([&] {
        std::StdoutDumpErrorStorage errors;
        std::ErrorOutput("/build/framework/include/valve.h", 12345, true)(std::CommonError, 5,
                                                                          "width");
        body();
    });
}

void abortReports()
{
    GlobalErrorHandler::defaultAbortHandler(LOCATION, "pump is dry");
    GlobalErrorHandler::defaultAbortHandler(LOCATION, "");
    GlobalErrorHandler::defaultAbortHandler(LOCATION, nullptr);
}

TEST(DefaultAbortHandler, WithoutErrorContext)
{
    const support::ChildResult result = runInChild(abortReports);
    const std::string title = reportTitle("Abort was called", result);
    EXPECT_EQ(title +
                  "Location: src/pump.cpp:5, start()\n"
                  "No error context set\n"
                  "Reason: \"pump is dry\"\n" +
                  title +
                  "Location: src/pump.cpp:5, start()\n"
                  "No error context set\n"
                  "No reason given\n" +
                  title +
                  "Location: src/pump.cpp:5, start()\n"
                  "No error context set\n"
                  "No reason given\n",
              result.err);
}

TEST(DefaultAbortHandler, WithErrorContext_GivesItBeforeTheReason)
{
    const support::ChildResult result = runWithError(abortReports);
    const std::string title = reportTitle("Abort was called", result);
    EXPECT_EQ(title +
                  "Location: src/pump.cpp:5, start()\n"
                  "Current error context:\n"
                  "Error (ID 5):\n\tInvalid parameter: width\n"
                  "\tLocation: include/valve.h:12345\n\n"
                  "Reason: \"pump is dry\"\n" +
                  title +
                  "Location: src/pump.cpp:5, start()\n"
                  "Current error context:\n"
                  "Error (ID 5):\n\tInvalid parameter: width\n"
                  "\tLocation: include/valve.h:12345\n\n"
                  "No reason given\n" +
                  title +
                  "Location: src/pump.cpp:5, start()\n"
                  "Current error context:\n"
                  "Error (ID 5):\n\tInvalid parameter: width\n"
                  "\tLocation: include/valve.h:12345\n\n"
                  "No reason given\n",
              result.err);
}

void assertReports()
{
    GlobalErrorHandler::defaultAssertHandler("level > 0", LOCATION, "pump is dry");
    GlobalErrorHandler::defaultAssertHandler("level > 0", LOCATION, "");
    GlobalErrorHandler::defaultAssertHandler("level > 0", LOCATION, nullptr);
}

TEST(DefaultAssertHandler, WithoutErrorContext)
{
    const support::ChildResult result = runInChild(assertReports);
    const std::string title = reportTitle("Assert failed", result);
    EXPECT_EQ(title +
                  "Location: src/pump.cpp:5, start()\n"
                  "Condition: \"level > 0\"\n"
                  "Reason: \"pump is dry\"\n"
                  "No error context set\n" +
                  title +
                  "Location: src/pump.cpp:5, start()\n"
                  "Condition: \"level > 0\"\n"
                  "No reason given\n"
                  "No error context set\n" +
                  title +
                  "Location: src/pump.cpp:5, start()\n"
                  "Condition: \"level > 0\"\n"
                  "No reason given\n"
                  "No error context set\n",
              result.err);
}

TEST(DefaultAssertHandler, WithErrorContext)
{
    const support::ChildResult result = runWithError(assertReports);
    const std::string title = reportTitle("Assert failed", result);
    EXPECT_EQ(title +
                  "Location: src/pump.cpp:5, start()\n"
                  "Condition: \"level > 0\"\n"
                  "Reason: \"pump is dry\"\n"
                  "Current error context:\n"
                  "Error (ID 5):\n\tInvalid parameter: width\n"
                  "\tLocation: include/valve.h:12345\n\n" +
                  title +
                  "Location: src/pump.cpp:5, start()\n"
                  "Condition: \"level > 0\"\n"
                  "No reason given\n"
                  "Current error context:\n"
                  "Error (ID 5):\n\tInvalid parameter: width\n"
                  "\tLocation: include/valve.h:12345\n\n" +
                  title +
                  "Location: src/pump.cpp:5, start()\n"
                  "Condition: \"level > 0\"\n"
                  "No reason given\n"
                  "Current error context:\n"
                  "Error (ID 5):\n\tInvalid parameter: width\n"
                  "\tLocation: include/valve.h:12345\n\n",
              result.err);
}

void warningReports()
{
    GlobalErrorHandler::defaultWarningHandler(LOCATION, "pump is dry");
    GlobalErrorHandler::defaultWarningHandler(LOCATION, "");
    GlobalErrorHandler::defaultWarningHandler(LOCATION, nullptr);
}

void outOfMemReports()
{
    EXPECT_FALSE(GlobalErrorHandler::defaultOutOfMemHandler(LOCATION, "pump is dry"));
    EXPECT_FALSE(GlobalErrorHandler::defaultOutOfMemHandler(LOCATION, ""));
    EXPECT_FALSE(GlobalErrorHandler::defaultOutOfMemHandler(LOCATION, nullptr));
}

/// What `warningReports` and `outOfMemReports` print behind their titles.
std::string plainReports(const std::string& title)
{
    return title +
           "Location: src/pump.cpp:5, start()\n"
           "Reason: \"pump is dry\"\n"
           "No error context set\n" +
           title +
           "Location: src/pump.cpp:5, start()\n"
           "No reason given\n"
           "No error context set\n" +
           title +
           "Location: src/pump.cpp:5, start()\n"
           "No reason given\n"
           "No error context set\n";
}

/// The same with the error of `runWithError`.
std::string plainReportsWithError(const std::string& title)
{
    return title +
           "Location: src/pump.cpp:5, start()\n"
           "Reason: \"pump is dry\"\n"
           "Current error context:\n"
           "Error (ID 5):\n\tInvalid parameter: width\n"
           "\tLocation: include/valve.h:12345\n\n" +
           title +
           "Location: src/pump.cpp:5, start()\n"
           "No reason given\n"
           "Current error context:\n"
           "Error (ID 5):\n\tInvalid parameter: width\n"
           "\tLocation: include/valve.h:12345\n\n" +
           title +
           "Location: src/pump.cpp:5, start()\n"
           "No reason given\n"
           "Current error context:\n"
           "Error (ID 5):\n\tInvalid parameter: width\n"
           "\tLocation: include/valve.h:12345\n\n";
}

TEST(DefaultWarningHandler, WithoutErrorContext)
{
    const support::ChildResult result = runInChild(warningReports);
    EXPECT_EQ(plainReports(reportTitle("Warning triggered", result)), result.err);
}

TEST(DefaultWarningHandler, WithErrorContext)
{
    const support::ChildResult result = runWithError(warningReports);
    EXPECT_EQ(plainReportsWithError(reportTitle("Warning triggered", result)), result.err);
}

TEST(DefaultOutOfMemHandler, WithoutErrorContext)
{
    const support::ChildResult result = runInChild(outOfMemReports);
    EXPECT_EQ(plainReports(reportTitle("Out of memory encountered", result)), result.err);
    EXPECT_EQ(0, result.exitCode) << result.out;
}

TEST(DefaultOutOfMemHandler, WithErrorContext)
{
    const support::ChildResult result = runWithError(outOfMemReports);
    EXPECT_EQ(plainReportsWithError(reportTitle("Out of memory encountered", result)), result.err);
    EXPECT_EQ(0, result.exitCode) << result.out;
}

template <typename Kind>
class DefaultReportOf : public testing::Test
{};
TYPED_TEST_SUITE(DefaultReportOf, support::ReportKinds, support::ReportKindName);

TYPED_TEST(DefaultReportOf, NullLocation)
{
    const support::ChildResult result =
        runInChild([] { TypeParam::defaultReport(nullptr, "pump is dry"); });
    EXPECT_EQ(reportTitle(TypeParam::TITLE, result) +
                  TypeParam::body("(null)", "Reason: \"pump is dry\"\n"),
              result.err);
}

TYPED_TEST(DefaultReportOf, AcknowledgedError_IsNoContext)
{
    const support::ChildResult result = runWithError([] {
        std::ErrorStorage::ack();
        TypeParam::defaultReport("pump.cpp:5, start()", "dry");
    });
    EXPECT_EQ(reportTitle(TypeParam::TITLE, result) +
                  TypeParam::body("pump.cpp:5, start()", "Reason: \"dry\"\n"),
              result.err);
}

TYPED_TEST(DefaultReportOf, AnotherThread_GivesItsIdAndNotTheErrorsOfOthers)
{
    const support::ChildResult result = runWithError([] {
        std::thread([] {
            fputs(support::threadText().c_str(), stdout);
            TypeParam::defaultReport("pump.cpp:5, start()", "dry");
        }).join();
    });
    EXPECT_NE(support::threadText(), result.out);
    EXPECT_EQ(TypeParam::TITLE + (" in process " + std::to_string(result.pid)) + " / thread " +
                  result.out + " !\n" + TypeParam::body("pump.cpp:5, start()", "Reason: \"dry\"\n"),
              result.err);
}

TYPED_TEST(DefaultReportOf, IsFlushed)
{
    const support::ChildResult result = runInChild([] {
        static char s_buffer[4096];
        setvbuf(stderr, s_buffer, _IOFBF, sizeof s_buffer);
        TypeParam::defaultReport("pump.cpp:5, start()", "dry");
        _exit(0);
    });
    EXPECT_EQ(reportTitle(TypeParam::TITLE, result) +
                  TypeParam::body("pump.cpp:5, start()", "Reason: \"dry\"\n"),
              result.err);
}

TYPED_TEST(DefaultReportOf, StandardErrorClosed_KeepsErrno)
{
    const support::ChildResult result = runInChild([] {
        close(STDERR_FILENO);
        errno = ENOENT;
        TypeParam::defaultReport("pump.cpp:5, start()", "dry");
        EXPECT_EQ(ENOENT, errno);
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
}

TEST(DefaultAssertHandler, NullCondition)
{
    const support::ChildResult result = runInChild(
        [] { GlobalErrorHandler::defaultAssertHandler(nullptr, "pump.cpp:5, start()", "dry"); });
    EXPECT_EQ(reportTitle("Assert failed", result) + "Location: pump.cpp:5, start()\n"
                                                     "Condition: \"(null)\"\n"
                                                     "Reason: \"dry\"\n"
                                                     "No error context set\n",
              result.err);
}

// The error context is printed by the same code for all kinds.

TEST(ErrorContext, NamesTheCauses)
{
    const support::ChildResult result = runWithError([] {
        std::ErrorOutput("C:\\build\\src\\main.cpp", 8, false)(std::CommonError, 0);
        GlobalErrorHandler::defaultWarningHandler("pump.cpp:5, start()", "dry");
    });
    EXPECT_EQ(reportTitle("Warning triggered", result) +
                  "Location: pump.cpp:5, start()\n"
                  "Reason: \"dry\"\n"
                  "Current error context:\n"
                  "Error (ID 0):\n\tOut of heap memory\n"
                  "\tLocation: src\\main.cpp:8\n"
                  "\twas caused by\n"
                  "Error (ID 5):\n\tInvalid parameter: width\n"
                  "\tLocation: include/valve.h:12345\n\n",
              result.err);
}

TEST(ErrorContext, EndsAtANullFile)
{
    const support::ChildResult result = runWithError([] {
        std::ErrorOutput(nullptr, 8, false)(std::CommonError, 0);
        GlobalErrorHandler::defaultWarningHandler("pump.cpp:5, start()", "dry");
    });
    EXPECT_EQ(reportTitle("Warning triggered", result) + "Location: pump.cpp:5, start()\n"
                                                         "Reason: \"dry\"\n"
                                                         "Current error context:\n"
                                                         "Error (ID 0):\n\tOut of heap memory\n"
                                                         "\tLocation: \n",
              result.err);
}

TEST(ErrorContext, LongFileNames_AreWhole)
{
    const support::ChildResult result = runWithError([] {
        static const std::string s_file(2000, 'f');
        std::ErrorOutput(s_file.c_str(), 8, false)(std::CommonError, 0);
        GlobalErrorHandler::defaultWarningHandler("pump.cpp:5, start()", "dry");
    });
    EXPECT_EQ(reportTitle("Warning triggered", result) +
                  "Location: pump.cpp:5, start()\n"
                  "Reason: \"dry\"\n"
                  "Current error context:\n"
                  "Error (ID 0):\n\tOut of heap memory\n"
                  "\tLocation: " +
                  std::string(2000, 'f') +
                  ":8\n"
                  "\twas caused by\n"
                  "Error (ID 5):\n\tInvalid parameter: width\n"
                  "\tLocation: include/valve.h:12345\n\n",
              result.err);
}

TEST(ErrorContext, GroupingLocale_LeavesTheNumbersAlone)
{
    const support::ChildResult result = runWithError([] {
        support::setGroupingLocale();
        GlobalErrorHandler::defaultWarningHandler("pump.cpp:5, start()", "dry");
    });
    EXPECT_EQ(reportTitle("Warning triggered", result) +
                  "Location: pump.cpp:5, start()\n"
                  "Reason: \"dry\"\n"
                  "Current error context:\n"
                  "Error (ID 5):\n\tInvalid parameter: width\n"
                  "\tLocation: include/valve.h:12345\n\n",
              result.err);
}

} // namespace

// SPDX-License-Identifier: Apache-2.0

#include <string>

#include <common/error/Error.h>
#include <common/error/ErrorStorages.h>
#include <common/error/GlobalErrorHandler.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "support/ChildProcess.h"

namespace {

using std::ErrorObject;
using std::ErrorOutput;
using std::ErrorStorage;
using support::ChildResult;
using support::reportTitle;
using support::runInChild;

/// Starts a chain. The place of the copy is the error's own.
ErrorOutput s_start("other.cpp", 99, true);
/// Adds to the chain.
ErrorOutput s_on("other.cpp", 99, false);

/// An error from another process and thread.
struct ForeignError : ErrorObject
{
    explicit ForeignError(const char* reason)
    {
        m_type = &std::CommonError;
        m_id = 5;
        m_file = "pump.cpp";
        m_line = 7;
        m_reason = reason;
        m_thread = 34;
        m_process = 12;
        m_cause = this;
    }
};

/// Holds a reaction that does nothing.
struct ErrorCopy : testing::Test
{
    const ErrorStorage m_storage{nullptr};
};

TEST_F(ErrorCopy, TakesTypeIdPlaceAndReason)
{
    s_start(ForeignError("dry"));
    EXPECT_TRUE(ErrorStorage::isError(true));
    EXPECT_TRUE(ErrorStorage::equals(std::CommonError));
    EXPECT_EQ(5, ErrorStorage::id());
    EXPECT_STREQ("pump.cpp", ErrorStorage::file());
    EXPECT_EQ(7, ErrorStorage::line());
    EXPECT_STREQ("dry", ErrorStorage::reason());
    EXPECT_EQ(static_cast<const void*>(ErrorStorage::get()->m_buffer), ErrorStorage::reason());
}

TEST_F(ErrorCopy, BelongsToTheRecordingThreadAndChain)
{
    s_start(ForeignError("dry"));
    EXPECT_EQ(getpid(), ErrorStorage::get()->m_process);
    EXPECT_TRUE(pthread_equal(pthread_self(), ErrorStorage::get()->m_thread));
    EXPECT_EQ(nullptr, ErrorStorage::get()->m_cause);
}

TEST_F(ErrorCopy, StartsAChain)
{
    s_start(ForeignError("first"));
    s_start(ForeignError("second"));
    EXPECT_STREQ("second", ErrorStorage::reason());
    EXPECT_EQ(nullptr, ErrorStorage::get()->m_cause);
}

TEST_F(ErrorCopy, AddsToTheChain)
{
    s_start(ForeignError("first"));
    s_on(ForeignError("second"));
    EXPECT_STREQ("second", ErrorStorage::reason());
    ASSERT_NE(nullptr, ErrorStorage::get()->m_cause);
    EXPECT_STREQ("first", ErrorStorage::get()->m_cause->reason());
}

TEST_F(ErrorCopy, AddsAfterAcknowledgement_StartsAChain)
{
    s_start(ForeignError("first"));
    ErrorStorage::ack();
    s_on(ForeignError("second"));
    EXPECT_EQ(nullptr, ErrorStorage::get()->m_cause);
}

TEST_F(ErrorCopy, OfTheNewestError_StartsAChain)
{
    s_start(ForeignError("dry"));
    s_start(*ErrorStorage::get());
    EXPECT_STREQ("dry", ErrorStorage::reason());
    EXPECT_EQ(5, ErrorStorage::id());
    EXPECT_STREQ("pump.cpp", ErrorStorage::file());
    EXPECT_EQ(7, ErrorStorage::line());
    EXPECT_EQ(nullptr, ErrorStorage::get()->m_cause);
}

TEST_F(ErrorCopy, OfTheNewestError_AddsToTheChain)
{
    s_start(ForeignError("dry"));
    const ErrorObject* const first = ErrorStorage::get();
    s_on(*ErrorStorage::get());
    EXPECT_STREQ("dry", ErrorStorage::reason());
    EXPECT_EQ(first, ErrorStorage::get()->m_cause);
    EXPECT_NE(first, ErrorStorage::get());
    EXPECT_STREQ("dry", first->reason());
}

TEST_F(ErrorCopy, OfTheAcknowledgedError_IsPendingAgain)
{
    s_start(ForeignError("dry"));
    ErrorStorage::ack();
    s_on(*ErrorStorage::get());
    EXPECT_STREQ("dry", ErrorStorage::reason());
    EXPECT_EQ(nullptr, ErrorStorage::get()->m_cause);
    EXPECT_TRUE(ErrorStorage::isError(true));
}

TEST_F(ErrorCopy, OfAMessageOfATable_IsCopied)
{
    ErrorOutput("pump.cpp", 7, true)(std::CommonError, 0);
    s_start(*ErrorStorage::get());
    EXPECT_STREQ("Out of heap memory", ErrorStorage::reason());
    EXPECT_EQ(static_cast<const void*>(ErrorStorage::get()->m_buffer), ErrorStorage::reason());
}

TEST_F(ErrorCopy, ShortReasonReplacesALongOneWhole)
{
    s_start(ForeignError(std::string(300, 'x').c_str()));
    s_start(ForeignError("short"));
    EXPECT_STREQ("short", ErrorStorage::reason());
    s_start(ForeignError(""));
    EXPECT_STREQ("", ErrorStorage::reason());
}

TEST_F(ErrorCopy, NullReason_IsEmpty)
{
    s_start(ForeignError("long enough"));
    s_start(ForeignError(nullptr));
    EXPECT_STREQ("", ErrorStorage::reason());
    EXPECT_TRUE(ErrorStorage::isError(true));
}

TEST_F(ErrorCopy, NullFile)
{
    ForeignError error("dry");
    error.m_file = nullptr;
    s_start(error);
    EXPECT_EQ(nullptr, ErrorStorage::file());
}

TEST_F(ErrorCopy, ReasonOf255Characters_IsTerminated)
{
    s_start(ForeignError(std::string(300, 'y').c_str()));
    s_start(ForeignError(std::string(255, 'x').c_str()));
    EXPECT_EQ(std::string(255, 'x'), ErrorStorage::reason());
}

TEST_F(ErrorCopy, ReasonOf256Characters_FillsTheBuffer)
{
    s_start(ForeignError(std::string(256, 'x').c_str()));
    EXPECT_EQ(std::string(256, 'x'), std::string(ErrorStorage::get()->m_buffer, 256));
}

TEST_F(ErrorCopy, LongerReason_IsCutWithoutATerminator)
{
    s_start(ForeignError((std::string(256, 'x') + "y").c_str()));
    EXPECT_EQ(std::string(256, 'x'), std::string(ErrorStorage::get()->m_buffer, 256));
    EXPECT_TRUE(pthread_equal(pthread_self(), ErrorStorage::get()->m_thread));
}

TEST_F(ErrorCopy, UnterminatedReason_IsCopiedWhole)
{
    s_start(ForeignError(std::string(256, 'x').c_str()));
    s_on(*ErrorStorage::get());
    EXPECT_EQ(std::string(256, 'x'), std::string(ErrorStorage::get()->m_buffer, 256));
    EXPECT_EQ(std::string(255, 'x'), ErrorObject(*ErrorStorage::get()).reason());
}

TEST_F(ErrorCopy, UnterminatedReason_EndsInTheReasonList)
{
    s_start(ForeignError(std::string(256, 'x').c_str()));
    EXPECT_EQ("Error (ID 5):\n\t" + std::string(256, 'x') + "\n\tLocation: pump.cpp:7\n",
              zel_error.getReasonList());
}

TEST(ErrorCopyReports, UnterminatedReason_EndsInTheDump)
{
    const ChildResult result = runInChild([] {
        const std::StdoutDumpErrorStorage storage;
        s_start(ForeignError(std::string(256, 'x').c_str()));
        s_start(ForeignError("next"));
    });
    EXPECT_EQ("unhandled error: " + std::string(256, 'x') + " [in process/thread '" +
                  std::to_string(result.pid) + "/" + support::threadText() +
                  "', file 'pump.cpp', line 7]\n",
              result.out);
}

TEST(ErrorCopyReports, UnterminatedReason_EndsInTheOverwriteWarning)
{
    const ChildResult result = runInChild([] {
        const ErrorStorage storage(nullptr);
        for (int count = 0; count < 9; ++count)
            s_on(ForeignError(std::string(256, 'x').c_str()));
    });
    EXPECT_EQ(reportTitle("Warning triggered", result) +
                  "Location: src/common/error/ErrorStorage:258, add()\n"
                  "Reason: \"An error was overwritten: pump.cpp:7, id = 5, text = " +
                  std::string(256, 'x') +
                  "\"\n"
                  "No error context set\n",
              result.err);
}

TEST(ErrorCopyReports, UnterminatedReason_EndsInTheErrorContext)
{
    const ChildResult result = runInChild([] {
        const ErrorStorage storage(nullptr);
        s_start(ForeignError(std::string(256, 'x').c_str()));
        std::GlobalErrorHandler::doWarning("a", 1, "b", nullptr);
    });
    EXPECT_EQ(reportTitle("Warning triggered", result) +
                  "Location: a:1, b()\n"
                  "No reason given\n"
                  "Current error context:\n"
                  "Error (ID 5):\n\t" +
                  std::string(256, 'x') + "\n\tLocation: pump.cpp:7\n\n",
              result.err);
}

/// The report of a copied object without a type, up to the error context.
std::string typeReport(const ChildResult& result)
{
    return reportTitle("Assert failed", result) +
           "Location: src/common/error/Error:97, operator()()\n"
           "Condition: \"m_type\"\n"
           "No reason given\n";
}

TEST(ErrorCopyReports, NullType_AssertsAndRecordsNothing)
{
    const ChildResult result = runInChild([] {
        const ErrorStorage storage(nullptr);
        s_start(ErrorObject());
        EXPECT_FALSE(ErrorStorage::isError(false));
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(typeReport(result) + "No error context set\n", result.err);
}

TEST(ErrorCopyReports, NullType_LeavesThePendingErrorAlone)
{
    const ChildResult result = runInChild([] {
        const std::StdoutDumpErrorStorage storage;
        s_start(ForeignError("dry"));
        s_start(ErrorObject());
        EXPECT_TRUE(ErrorStorage::isError(true));
        EXPECT_STREQ("dry", ErrorStorage::reason());
    });
    EXPECT_EQ("", result.out);
    EXPECT_EQ(typeReport(result) + "Current error context:\n"
                                   "Error (ID 5):\n\tdry\n\tLocation: pump.cpp:7\n\n",
              result.err);
}

} // namespace

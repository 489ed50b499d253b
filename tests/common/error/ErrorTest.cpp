// SPDX-License-Identifier: Apache-2.0

#include <common/error/Error.h>

#include <cerrno>
#include <string>
#include <type_traits>

#include <common/error/ErrorStorages.h>
#include <common/error/GlobalErrorHandler.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "support/ChildProcess.h"

namespace {

using std::CommonError;
using std::ErrorObject;
using std::ErrorOutput;
using std::ErrorStorage;
using support::ChildResult;
using support::reportTitle;
using support::runInChild;

static_assert(sizeof(ErrorOutput) == sizeof(void*) + 8);
static_assert(sizeof(std::ErrorApi) == 1);
static_assert(sizeof(zel_error) == 1);
static_assert(std::is_same_v<const bool, decltype(std::raise_error)>);
static_assert(sizeof(std::raise_error) == 1);
static_assert(std::is_same_v<const int, decltype(std::PSEUDO_FALSE)>);
static_assert(sizeof(std::PSEUDO_FALSE) == 4);
static_assert(std::is_same_v<void, decltype(std::PSEUDO_TRUE())>);

/// Starts a chain.
ErrorOutput s_start("pump.cpp", 7, true);
/// Adds to the chain.
ErrorOutput s_on("valve.cpp", 8, false);

constexpr const char* FORMAT_UNUSED = "50%% of %s";
constexpr std::ErrorID ODD_TABLE[] = {
    {0, "%d of %s", -1}, {1, FORMAT_UNUSED, 0}, {2, "plain", 1}, {3, nullptr, 0}, {4, nullptr, 1},
};
const std::ErrorType OddError(ODD_TABLE, 5);

/// Holds a reaction that does nothing.
struct ErrorTest : testing::Test
{
    const ErrorStorage m_storage{nullptr};
};

TEST_F(ErrorTest, Raise_RecordsTypeIdAndPlace)
{
    s_start(CommonError, 5, "width");
    EXPECT_TRUE(ErrorStorage::isError(true));
    EXPECT_TRUE(ErrorStorage::equals(CommonError));
    EXPECT_EQ(5, ErrorStorage::id());
    EXPECT_STREQ("pump.cpp", ErrorStorage::file());
    EXPECT_EQ(7, ErrorStorage::line());
    EXPECT_EQ(getpid(), ErrorStorage::get()->m_process);
    EXPECT_TRUE(pthread_equal(pthread_self(), ErrorStorage::get()->m_thread));
}

TEST_F(ErrorTest, Raise_StartsAChain)
{
    s_start(CommonError, 0);
    s_start(CommonError, 5, "width");
    EXPECT_EQ(nullptr, ErrorStorage::get()->m_cause);
}

TEST_F(ErrorTest, Raise_AddsToTheChain)
{
    s_start(CommonError, 5, "width");
    s_on(CommonError, 0);
    EXPECT_EQ(0, ErrorStorage::id());
    ASSERT_NE(nullptr, ErrorStorage::get()->m_cause);
    EXPECT_STREQ("Invalid parameter: width", ErrorStorage::get()->m_cause->reason());
}

TEST_F(ErrorTest, Raise_AddsAfterAcknowledgement_StartsAChain)
{
    s_start(CommonError, 5, "width");
    ErrorStorage::ack();
    s_on(CommonError, 0);
    EXPECT_EQ(nullptr, ErrorStorage::get()->m_cause);
    EXPECT_TRUE(ErrorStorage::isError(true));
}

TEST_F(ErrorTest, CommonErrors)
{
    s_start(CommonError, 0);
    EXPECT_STREQ("Out of heap memory", ErrorStorage::reason());
    s_start(CommonError, 1, "loop");
    EXPECT_STREQ("Invalid usage/logic detected: loop", ErrorStorage::reason());
    s_start(CommonError, 2, 1, 5, 9);
    EXPECT_STREQ("Integer parameter out of range. Min = 1, Max = 5, Found = 9",
                 ErrorStorage::reason());
    s_start(CommonError, 3, "depth");
    EXPECT_STREQ("Parameter out of range: depth", ErrorStorage::reason());
    s_start(CommonError, 4, "/tmp/x");
    EXPECT_STREQ("Invalid path specified: /tmp/x", ErrorStorage::reason());
    s_start(CommonError, 5, "width");
    EXPECT_STREQ("Invalid parameter: width", ErrorStorage::reason());
    s_start(CommonError, 6, "seek");
    EXPECT_STREQ("Function not supported: seek", ErrorStorage::reason());
    s_start(CommonError, 7, "items");
    EXPECT_STREQ("Overflow of item count occured: items", ErrorStorage::reason());
}

TEST_F(ErrorTest, CriticalErrors)
{
    s_start(std::CommonCriticalError, 0, "fire");
    EXPECT_STREQ("Critical error fire", ErrorStorage::reason());
}

TEST_F(ErrorTest, CommandLineErrors)
{
    s_start(TCLAP::Error, 0, "a");
    EXPECT_STREQ("a", ErrorStorage::reason());
    s_start(TCLAP::Error, 1, "b");
    EXPECT_STREQ("b", ErrorStorage::reason());
    s_start(TCLAP::Error, 2, "c");
    EXPECT_STREQ("c", ErrorStorage::reason());
}

TEST_F(ErrorTest, NoValues_RefersToTheMessageOfTheTable)
{
    s_start(CommonError, 0);
    EXPECT_EQ(static_cast<const void*>(CommonError.getMessageString(0)), ErrorStorage::reason());
    s_start(OddError, 1);
    EXPECT_EQ(static_cast<const void*>(FORMAT_UNUSED), ErrorStorage::reason());
    EXPECT_STREQ("50%% of %s", ErrorStorage::reason());
}

TEST_F(ErrorTest, Values_FormatsIntoTheBufferOfTheError)
{
    s_start(OddError, 2);
    EXPECT_STREQ("plain", ErrorStorage::reason());
    EXPECT_EQ(static_cast<const void*>(ErrorStorage::get()->m_buffer), ErrorStorage::reason());
}

TEST_F(ErrorTest, NegativeNumberOfValues_Formats)
{
    s_start(OddError, 0, 3, "pumps");
    EXPECT_STREQ("3 of pumps", ErrorStorage::reason());
}

TEST_F(ErrorTest, NullMessage)
{
    s_start(OddError, 3);
    EXPECT_EQ(3, ErrorStorage::id());
    EXPECT_STREQ("<no message>", ErrorStorage::reason());
    s_start(OddError, 4, "value");
    EXPECT_EQ(4, ErrorStorage::id());
    EXPECT_STREQ("<no message>", ErrorStorage::reason());
}

TEST_F(ErrorTest, UnknownId_HasNoMessage)
{
    s_start(CommonError, 8);
    EXPECT_EQ(8, ErrorStorage::id());
    EXPECT_STREQ("", ErrorStorage::reason());
    s_start(CommonError, -1);
    EXPECT_EQ(-1, ErrorStorage::id());
    EXPECT_STREQ("", ErrorStorage::reason());
    EXPECT_TRUE(ErrorStorage::isError(true));
}

TEST_F(ErrorTest, Reason_IsCutAfter254Characters)
{
    s_start(TCLAP::Error, 0, std::string(253, 'x').c_str());
    EXPECT_EQ(std::string(253, 'x'), ErrorStorage::reason());
    s_start(TCLAP::Error, 0, std::string(254, 'x').c_str());
    EXPECT_EQ(std::string(254, 'x'), ErrorStorage::reason());
    s_start(TCLAP::Error, 0, (std::string(254, 'x') + "y").c_str());
    EXPECT_EQ(std::string(254, 'x'), ErrorStorage::reason());
    s_start(TCLAP::Error, 0, std::string(400, 'x').c_str());
    EXPECT_EQ(std::string(254, 'x'), ErrorStorage::reason());
}

TEST_F(ErrorTest, Reason_IsCutBehindTheMessage)
{
    s_start(CommonError, 1, std::string(400, 'x').c_str());
    EXPECT_EQ("Invalid usage/logic detected: " + std::string(224, 'x'), ErrorStorage::reason());
}

TEST_F(ErrorTest, ShortReasonReplacesALongOneWhole)
{
    s_start(TCLAP::Error, 0, std::string(254, 'x').c_str());
    s_start(TCLAP::Error, 0, "short");
    EXPECT_STREQ("short", ErrorStorage::reason());
}

TEST_F(ErrorTest, ValueInTheReusedSlot_StartsAChain)
{
    s_start(TCLAP::Error, 0, "dry");
    s_start(CommonError, 5, ErrorStorage::reason());
    EXPECT_STREQ("Invalid parameter: dry", ErrorStorage::reason());
    EXPECT_EQ(nullptr, ErrorStorage::get()->m_cause);
}

TEST_F(ErrorTest, ValueInTheReusedSlot_AddsAfterAcknowledgement)
{
    s_start(TCLAP::Error, 0, "dry");
    ErrorStorage::ack();
    s_on(CommonError, 5, ErrorStorage::reason());
    EXPECT_STREQ("Invalid parameter: dry", ErrorStorage::reason());
}

TEST_F(ErrorTest, ValueInTheCause)
{
    s_start(TCLAP::Error, 0, "dry");
    s_on(CommonError, 5, ErrorStorage::reason());
    EXPECT_STREQ("Invalid parameter: dry", ErrorStorage::reason());
    EXPECT_STREQ("dry", ErrorStorage::get()->m_cause->reason());
}

constexpr const char* OVERWRITE_REPORT =
    "Location: src/common/error/ErrorStorage:258, add()\n"
    "Reason: \"An error was overwritten: valve.cpp:8, id = 0, text = dry\"\n"
    "No error context set\n";

TEST(ErrorOverwrite, ValueInTheOverwrittenSlot)
{
    const ChildResult result = runInChild([] {
        const ErrorStorage storage(nullptr);
        s_on(TCLAP::Error, 0, "dry");
        const char* const oldest = ErrorStorage::reason();
        for (int count = 1; count < 8; ++count)
            s_on(CommonError, 0);
        s_on(CommonError, 5, oldest);
        EXPECT_STREQ("Invalid parameter: dry", ErrorStorage::reason());
        EXPECT_EQ(static_cast<const void*>(oldest), ErrorStorage::reason());
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(reportTitle("Warning triggered", result) + OVERWRITE_REPORT, result.err);
}

TEST(ErrorOverwrite, CopyOfTheOverwrittenError)
{
    const ChildResult result = runInChild([] {
        const ErrorStorage storage(nullptr);
        s_on(TCLAP::Error, 0, "dry");
        const ErrorObject* const oldest = ErrorStorage::get();
        for (int count = 1; count < 8; ++count)
            s_on(CommonError, 0);
        s_on(*oldest);
        EXPECT_EQ(oldest, ErrorStorage::get());
        EXPECT_STREQ("dry", ErrorStorage::reason());
        EXPECT_TRUE(ErrorStorage::equals(TCLAP::Error));
        EXPECT_STREQ("valve.cpp", ErrorStorage::file());
        ASSERT_NE(nullptr, ErrorStorage::get()->m_cause);
        EXPECT_NE(oldest, ErrorStorage::get()->m_cause);
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(reportTitle("Warning triggered", result) + OVERWRITE_REPORT, result.err);
}

TEST_F(ErrorTest, ErrnoSurvives)
{
    errno = 77;
    s_start(CommonError, 5, "width");
    EXPECT_EQ(77, errno);
    s_on(CommonError, 0);
    EXPECT_EQ(77, errno);
}

TEST(ErrorRaise, Pending_IsHandedToTheReactionFirst)
{
    static std::string s_seen;
    const ErrorStorage storage([](void*, const char* text, const ErrorObject* error, unsigned int) {
        s_seen = std::string(text) + ": " + error->reason();
    });
    s_start(CommonError, 5, "width");
    s_start(CommonError, 0);
    EXPECT_EQ("unhandled error: Invalid parameter: width", s_seen);
}

TEST(ErrorRaise, ErrnoSurvivesTheReaction)
{
    const ErrorStorage storage(
        [](void*, const char*, const ErrorObject*, unsigned int) { errno = 5; });
    s_start(CommonError, 5, "width");
    errno = 77;
    s_start(CommonError, 0);
    EXPECT_EQ(77, errno);
}

/// The report of the missing table.
std::string tableReport(const ChildResult& result, const char* location)
{
    return reportTitle("Assert failed", result) +
           "Location: src/common/error/ErrorType:" + location +
           "()\n"
           "Condition: \"m_idtable\"\n"
           "No reason given\n"
           "No error context set\n";
}

TEST(ErrorRaise, NullTable_AssertsOncePerLookUpAndRecords)
{
    const ChildResult result = runInChild([] {
        const ErrorStorage storage(nullptr);
        static const std::ErrorType s_empty(nullptr, 0);
        s_start(s_empty, 3);
        EXPECT_EQ(3, ErrorStorage::id());
        EXPECT_EQ(&s_empty, ErrorStorage::get()->m_type);
        EXPECT_STREQ("", ErrorStorage::reason());
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(tableReport(result, "64, getArgumentCount") +
                  tableReport(result, "46, getMessageString"),
              result.err);
}

TEST(ErrorRaise, NullTableWithRows_AssertsOncePerLookUpAndRecords)
{
    const ChildResult result = runInChild([] {
        const ErrorStorage storage(nullptr);
        static const std::ErrorType s_broken(nullptr, 4);
        s_start(s_broken, 3);
        EXPECT_STREQ("", ErrorStorage::reason());
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(tableReport(result, "64, getArgumentCount") +
                  tableReport(result, "46, getMessageString"),
              result.err);
}

TEST(ErrorConstants, Values)
{
    EXPECT_FALSE(std::raise_error);
    EXPECT_EQ(0, std::PSEUDO_FALSE);
    int rounds = 0;
    do {
        std::PSEUDO_TRUE();
        ++rounds;
    } while (std::PSEUDO_FALSE);
    EXPECT_EQ(1, rounds);
}

TEST(ErrorConstants, RaiseErrorIsReadOnly)
{
    const ChildResult result =
        runInChild([] { *const_cast<volatile bool*>(&std::raise_error) = true; });
    EXPECT_NE(0, result.exitCode);
}

TEST(ErrorConstants, PseudoFalseIsReadOnly)
{
    const ChildResult result =
        runInChild([] { *const_cast<volatile int*>(&std::PSEUDO_FALSE) = 1; });
    EXPECT_NE(0, result.exitCode);
}

TEST(ErrorConstants, ZelErrorIsAWritableZeroByte)
{
    volatile unsigned char& byte = reinterpret_cast<volatile unsigned char&>(zel_error);
    EXPECT_EQ(0, byte);
    byte = 0;
}

} // namespace

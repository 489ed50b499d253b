// SPDX-License-Identifier: Apache-2.0

#include <cerrno>
#include <cstdio>
#include <string>
#include <thread>

#include <common/error/Error.h>
#include <common/error/ErrorStorages.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "support/ChildProcess.h"
#include "support/MissingStorage.h"

namespace {

using std::CommonError;
using std::ErrorObject;
using std::ErrorOutput;
using std::ErrorStorage;
using support::ChildResult;
using support::missingStorage;
using support::runInChild;
using support::unhandledError;

ErrorOutput s_start("pump.cpp", 7, true);
ErrorOutput s_on("pump.cpp", 7, false);

constexpr std::ErrorID ODD_TABLE[] = {
    {0, nullptr, 0},
    {1, "50%% of %s", 0},
};
const std::ErrorType OddError(ODD_TABLE, 2);

/// An error as it was saved elsewhere.
struct SavedError : ErrorObject
{
    SavedError()
    {
        m_type = &CommonError;
        m_id = 5;
        m_file = "pump.cpp";
        m_line = 7;
        m_reason = "saved";
    }
};

/// Runs `body` on a second thread, whose id it prints as a line before.
template <typename Body>
void onSecondThread(Body body)
{
    std::thread([body] {
        std::printf("%s\n", support::threadText().c_str());
        body();
    }).join();
}

/// The id that `onSecondThread` printed.
std::string secondThread(const ChildResult& result)
{
    return result.out.substr(0, result.out.find('\n'));
}

TEST(MissingStorage, Raise_WarnsAndRecords)
{
    const ChildResult result = runInChild([] {
        s_start(CommonError, 5, "width");
        EXPECT_TRUE(ErrorStorage::isError(false));
        EXPECT_TRUE(ErrorStorage::isError(true));
        EXPECT_STREQ("Invalid parameter: width", ErrorStorage::reason());
        EXPECT_STREQ("pump.cpp", ErrorStorage::file());
        EXPECT_EQ(7, ErrorStorage::line());
        EXPECT_EQ(nullptr, ErrorStorage::get()->m_cause);
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ("", result.out);
    EXPECT_EQ(missingStorage(result, "Invalid parameter: width"), result.err);
}

TEST(MissingStorage, RaiseOnTop_WarnsAndRecords)
{
    const ChildResult result = runInChild([] {
        s_on(CommonError, 5, "width");
        EXPECT_STREQ("Invalid parameter: width", ErrorStorage::reason());
        EXPECT_EQ(nullptr, ErrorStorage::get()->m_cause);
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ("", result.out);
    EXPECT_EQ(missingStorage(result, "Invalid parameter: width"), result.err);
}

TEST(MissingStorage, SecondRaise_FindsTheStorageOfTheFirst)
{
    const ChildResult result = runInChild([] {
        s_start(CommonError, 5, "width");
        s_start(CommonError, 0);
        EXPECT_STREQ("Out of heap memory", ErrorStorage::reason());
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ(unhandledError(result, "Invalid parameter: width"), result.out);
    EXPECT_EQ(missingStorage(result, "Invalid parameter: width"), result.err);
}

TEST(MissingStorage, SecondRaiseOnTop_AddsToTheChainOfTheFirst)
{
    const ChildResult result = runInChild([] {
        s_start(CommonError, 5, "width");
        s_on(CommonError, 0);
        EXPECT_EQ("Error (ID 0):\n"
                  "\tOut of heap memory\n"
                  "\tLocation: pump.cpp:7\n"
                  "\twas caused by\n"
                  "Error (ID 5):\n"
                  "\tInvalid parameter: width\n"
                  "\tLocation: pump.cpp:7\n",
                  zel_error.getReasonList());
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(missingStorage(result, "Invalid parameter: width"), result.err);
}

TEST(MissingStorage, StorageGone_FindsTheStorageOfTheFirstRaise)
{
    const ChildResult result = runInChild([] {
        s_start(CommonError, 5, "width");
        {
            const ErrorStorage storage(nullptr);
        }
        EXPECT_STREQ("Invalid parameter: width", ErrorStorage::reason());
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
}

TEST(MissingStorage, MessageWithoutValues)
{
    const ChildResult result = runInChild([] { s_start(CommonError, 0); });
    EXPECT_EQ(missingStorage(result, "Out of heap memory"), result.err);
}

TEST(MissingStorage, MessageIsNoFormat)
{
    const ChildResult result = runInChild([] { s_start(OddError, 1); });
    EXPECT_EQ(missingStorage(result, "50%% of %s"), result.err);
}

TEST(MissingStorage, NullMessage)
{
    const ChildResult result = runInChild([] { s_start(OddError, 0); });
    EXPECT_EQ(missingStorage(result, "<no message>"), result.err);
}

TEST(MissingStorage, UnknownId)
{
    const ChildResult result = runInChild([] { s_start(CommonError, 8); });
    EXPECT_EQ(missingStorage(result, ""), result.err);
}

TEST(MissingStorage, LongMessage_IsCutAfter254Characters)
{
    const ChildResult result =
        runInChild([] { s_start(TCLAP::Error, 0, std::string(400, 'x').c_str()); });
    EXPECT_EQ(missingStorage(result, std::string(254, 'x')), result.err);
}

TEST(MissingStorage, NullTable_AssertsInBothRounds)
{
    const ChildResult result = runInChild([] {
        static const std::ErrorType s_empty(nullptr, 0);
        s_start(s_empty, 3);
        EXPECT_EQ(3, ErrorStorage::id());
    });
    const std::string lookUps = support::reportTitle("Assert failed", result) +
                                "Location: src/common/error/ErrorType:64, getArgumentCount()\n"
                                "Condition: \"m_idtable\"\n"
                                "No reason given\n"
                                "No error context set\n" +
                                support::reportTitle("Assert failed", result) +
                                "Location: src/common/error/ErrorType:46, getMessageString()\n"
                                "Condition: \"m_idtable\"\n"
                                "No reason given\n"
                                "No error context set\n";
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(lookUps + missingStorage(result, "") + lookUps, result.err);
}

TEST(MissingStorage, TwoThreads_EachWarnsOnce)
{
    const ChildResult result = runInChild([] {
        s_on(CommonError, 5, "width");
        onSecondThread([] {
            s_on(CommonError, 5, "depth");
            s_on(CommonError, 0);
        });
        EXPECT_STREQ("Invalid parameter: width", ErrorStorage::reason());
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ(missingStorage(result, "Invalid parameter: width") +
                  missingStorage(result, "Invalid parameter: depth", secondThread(result)),
              result.err);
    EXPECT_EQ(secondThread(result) + "\n", result.out);
}

TEST(MissingStorage, TwoThreads_TheSecondDumpsWhatTheFallbackStorageHolds)
{
    const ChildResult result = runInChild([] {
        s_start(CommonError, 5, "width");
        onSecondThread([] {
            s_start(CommonError, 5, "depth");
            EXPECT_STREQ("Invalid parameter: depth", ErrorStorage::reason());
        });
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ(secondThread(result) + "\n" + unhandledError(result, "Invalid parameter: width"),
              result.out);
}

TEST(MissingStorage, ErrnoSurvivesAClosedStandardError)
{
    const ChildResult result = runInChild([] {
        close(STDERR_FILENO);
        errno = 77;
        s_start(CommonError, 5, "width");
        EXPECT_EQ(77, errno);
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
}

TEST(MissingStorage, Copy_IsSilent)
{
    const ChildResult result = runInChild([] { s_start(SavedError()); });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("", result.out);
    EXPECT_EQ("", result.err);
}

TEST(MissingStorage, Copy_BindsTheFallbackStorageToTheFirstThread)
{
    const ChildResult result = runInChild([] {
        s_start(SavedError());
        EXPECT_STREQ("saved", ErrorStorage::reason());
        s_start(CommonError, 0);
        EXPECT_STREQ("Out of heap memory", ErrorStorage::reason());
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ(unhandledError(result, "saved"), result.out);
    EXPECT_EQ("", result.err);
}

TEST(MissingStorage, CyclicChainInTheFallbackStorage_EndsAfterEight)
{
    const ChildResult result = runInChild([] {
        s_on(SavedError());
        ErrorStorage::get()->m_cause = ErrorStorage::get();
        s_start(CommonError, 0);
        EXPECT_STREQ("Out of heap memory", ErrorStorage::reason());
    });
    const std::string link = ": saved [in process/thread '" + std::to_string(result.pid) + "/" +
                             support::threadText() + "', file 'pump.cpp', line 7]\n";
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("unhandled error (linked):\n   1" + link + "   2" + link + "   3" + link + "   4" +
                  link + "   5" + link + "   6" + link + "   7" + link + "   8" + link,
              result.out);
}

TEST(MissingStorage, CopyOnASecondThread_CreatesNothing)
{
    const ChildResult result = runInChild([] {
        s_on(SavedError());
        onSecondThread([] {
            s_on(SavedError());
            EXPECT_FALSE(ErrorStorage::isError(false));
            s_on(CommonError, 0);
        });
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(secondThread(result) + "\n", result.out);
    EXPECT_EQ(missingStorage(result, "Out of heap memory", secondThread(result)), result.err);
}

TEST(MissingStorage, CopyOnASecondThread_IsRecordedInTheFallbackStorage)
{
    const ChildResult result = runInChild([] {
        s_on(CommonError, 5, "width");
        onSecondThread([] {
            s_start(SavedError());
            s_start(SavedError());
        });
    });
    EXPECT_EQ(secondThread(result) + "\n" + unhandledError(result, "Invalid parameter: width") +
                  unhandledError(result, "saved", secondThread(result)),
              result.out);
}

} // namespace

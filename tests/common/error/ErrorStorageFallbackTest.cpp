// SPDX-License-Identifier: Apache-2.0
//
// The storage that threads without one share. The first of them is bound to it, so each test has a
// process of its own.

#include <common/error/ErrorStorage.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <unistd.h>

#include <common/error/Error.h>
#include <common/error/GlobalErrorHandler.h>

#include "support/ChildProcess.h"
#include "support/DumpText.h"
#include "support/OpenStorage.h"

namespace {

using std::CommonError;
using std::ErrorStorage;
using support::addToChain;
using support::chainIds;
using support::ChildResult;
using support::dumped;
using support::occurrences;
using support::OpenStorage;
using support::runInChild;
using support::startChain;

template <typename Body>
void onAnotherThread(Body body)
{
    std::thread(body).join();
}

/// Binds the fallback storage to another thread, so that the calling one shares it unbound.
void bindElsewhere()
{
    onAnotherThread([] { EXPECT_TRUE(startChain(1)); });
}

std::string overwriteReport(const ChildResult& result, int id)
{
    const std::string number = std::to_string(id);
    return support::reportTitle("Warning triggered", result) +
           "Location: src/common/error/ErrorStorage:258, add()\n"
           "Reason: \"An error was overwritten: pump.c:" +
           number + ", id = " + number + ", text = dry\"\nNo error context set\n";
}

TEST(ErrorStorageFallback, FirstThreadIsBoundToIt)
{
    const ChildResult result = runInChild([] {
        EXPECT_TRUE(startChain(1));
        EXPECT_EQ(1, ErrorStorage::id());
        EXPECT_TRUE(ErrorStorage::isError(true));
        EXPECT_FALSE(addToChain(2));
        EXPECT_EQ("2 1", chainIds());
        ErrorStorage::ack();
        EXPECT_FALSE(ErrorStorage::isError(true));
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ("", result.err);
}

TEST(ErrorStorageFallback, OtherThreadsShareItUnbound)
{
    const ChildResult result = runInChild([] {
        bindElsewhere();
        EXPECT_TRUE(addToChain(2));
        EXPECT_TRUE(addToChain(3));
        EXPECT_FALSE(ErrorStorage::isError(false));
        EXPECT_EQ(0, ErrorStorage::id());
        EXPECT_STREQ("", ErrorStorage::reason());
        EXPECT_EQ(nullptr, ErrorStorage::get()->m_type);
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ("", result.err);
}

TEST(ErrorStorageFallback, BoundThreadSeesWhatOthersRecord)
{
    const ChildResult result = runInChild([] {
        startChain(1);
        onAnotherThread([] { EXPECT_TRUE(addToChain(2)); });
        EXPECT_EQ("2 1", chainIds());
        EXPECT_TRUE(ErrorStorage::isError(true));
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
}

TEST(ErrorStorageFallback, ThreadWithAStorageDoesNotUseIt)
{
    const ChildResult result = runInChild([] {
        startChain(1);
        {
            const OpenStorage storage;
            EXPECT_NE(nullptr, storage.m_previous);
            EXPECT_FALSE(startChain(2));
            EXPECT_EQ("2", chainIds());
        }
        EXPECT_EQ("1", chainIds());
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ("", result.out);
}

TEST(ErrorStorageFallback, PendingErrorIsDumped_AnotherThreadStartsAChain)
{
    const ChildResult result = runInChild([] {
        startChain(1);
        onAnotherThread([] { EXPECT_TRUE(startChain(2)); });
        EXPECT_EQ("2", chainIds());
    });
    EXPECT_EQ("unhandled error" + dumped(result, 1), result.out);
    EXPECT_EQ("", result.err);
}

TEST(ErrorStorageFallback, PendingErrorIsDumped_BoundThreadStartsAChain)
{
    const ChildResult result = runInChild([] {
        startChain(1);
        EXPECT_FALSE(startChain(2));
        EXPECT_EQ("2", chainIds());
    });
    EXPECT_EQ("unhandled error" + dumped(result, 1), result.out);
}

TEST(ErrorStorageFallback, AcknowledgedErrorIsDroppedInSilence)
{
    const ChildResult result = runInChild([] {
        startChain(1);
        ErrorStorage::ack();
        onAnotherThread([] { startChain(2); });
        EXPECT_EQ("2", chainIds());
        ErrorStorage::ack();
        onAnotherThread([] { addToChain(3); });
        EXPECT_EQ("3", chainIds());
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ("", result.out);
}

TEST(ErrorStorageFallback, PendingChainIsDumped)
{
    const ChildResult result = runInChild([] {
        addToChain(1, 3);
        onAnotherThread([] { startChain(4); });
    });
    EXPECT_EQ("unhandled error (linked):\n   1" + dumped(result, 3) + "   2" + dumped(result, 2) +
                  "   3" + dumped(result, 1),
              result.out);
}

TEST(ErrorStorageFallback, DumpCountsOverwrittenErrors)
{
    const ChildResult result = runInChild([] {
        addToChain(1, 10);
        onAnotherThread([] { startChain(11); });
    });
    EXPECT_EQ("unhandled error (linked):\n   1" + dumped(result, 10) + "   2" + dumped(result, 9) +
                  "   3" + dumped(result, 8) + "   4" + dumped(result, 7) + "   5" +
                  dumped(result, 6) + "   6" + dumped(result, 5) + "   7" + dumped(result, 4) +
                  "   8" + dumped(result, 3) + "2 old attachment(s) overwritten\n",
              result.out);
}

TEST(ErrorStorageFallback, GivesABufferForTheReason)
{
    const ChildResult result = runInChild([] {
        bindElsewhere();
        bool noStorage = false;
        char* const buffer =
            ErrorStorage::add(false, CommonError, 2, "pump.c", 2, nullptr, noStorage);
        EXPECT_TRUE(noStorage);
        strcpy(buffer, "from the buffer");
        startChain(3);
    });
    EXPECT_EQ(1, occurrences(result.out, "   1" + dumped(result, 2, "from the buffer")));
}

TEST(ErrorStorageFallback, CopiedReasonOf256CharactersIsDumpedWhole)
{
    const ChildResult result = runInChild([] {
        const std::string reason = std::string(255, 'a') + "z" + std::string(44, 'b');
        std::ErrorObject error;
        error.m_type = &CommonError;
        error.m_file = "pump.c";
        error.m_line = 1;
        error.m_reason = reason.c_str();
        std::ErrorOutput("other.c", 9, true)(error);
        startChain(2);
    });
    EXPECT_EQ("unhandled error" + dumped(result, 1, std::string(255, 'a') + "z"), result.out);
}

TEST(ErrorStorageFallback, RaiseLeavesTheErrorHereToo)
{
    const ChildResult result = runInChild([] {
        std::ErrorOutput("pump.c", 1, true)(CommonError, 1, "dry");
        EXPECT_STREQ("Invalid usage/logic detected: dry", ErrorStorage::reason());
        onAnotherThread([] { EXPECT_TRUE(startChain(2)); });
        EXPECT_EQ(1, ErrorStorage::id());
    });
    EXPECT_EQ("unhandled error" + dumped(result, 1, "Invalid usage/logic detected: dry"),
              result.out);
}

TEST(ErrorStorageFallback, OverwriteIsReported_BoundThread)
{
    const ChildResult result = runInChild([] {
        addToChain(1, 9);
        EXPECT_EQ("9 8 7 6 5 4 3 2", chainIds());
        EXPECT_TRUE(ErrorStorage::isError(true));
        EXPECT_FALSE(addToChain(10));
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(overwriteReport(result, 1) + overwriteReport(result, 2), result.err);
}

TEST(ErrorStorageFallback, OverwriteIsReported_UnboundThread)
{
    const ChildResult result = runInChild([] {
        bindElsewhere();
        addToChain(2, 8);
        addToChain(9);
        EXPECT_FALSE(ErrorStorage::isError(false));
    });
    EXPECT_EQ(overwriteReport(result, 1), result.err);
}

TEST(ErrorStorageFallback, AcknowledgedChainIsNotOverwrittenButDropped)
{
    const ChildResult result = runInChild([] {
        addToChain(1, 8);
        ErrorStorage::ack();
        onAnotherThread([] { addToChain(9); });
        EXPECT_EQ("9", chainIds());
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ("", result.err);
}

/// The calls of `recordingHandler`, and how it records ten errors.
int s_warnings = 0;
bool s_raise = false;

void recordingHandler(const char*, const char*)
{
    if (++s_warnings == 20) _exit(1);
    for (int id = 21; id <= 30; ++id)
        EXPECT_FALSE(support::record(s_raise, id));
    EXPECT_EQ(30, ErrorStorage::id());
}

TEST(ErrorStorageFallback, WarningHandlerStartsChains_TheyAreDropped)
{
    const ChildResult result = runInChild([] {
        s_raise = true;
        std::GlobalErrorHandler::atWarning(recordingHandler);
        addToChain(1, 9);
        EXPECT_EQ(1, s_warnings);
        EXPECT_EQ("9 8 7 6 5 4 3 2", chainIds());
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ("", result.out);
}

TEST(ErrorStorageFallback, WarningHandlerAddsErrors_TheyAreDropped)
{
    const ChildResult result = runInChild([] {
        s_raise = false;
        std::GlobalErrorHandler::atWarning(recordingHandler);
        addToChain(1, 9);
        EXPECT_EQ(1, s_warnings);
        EXPECT_EQ("9 8 7 6 5 4 3 2", chainIds());
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ("", result.out);
}

TEST(ErrorStorageFallback, OtherThreadsRecordDuringTheWarning)
{
    const ChildResult result = runInChild([] {
        std::GlobalErrorHandler::atWarning(
            [](const char*, const char*) { onAnotherThread([] { EXPECT_TRUE(startChain(21)); }); });
        addToChain(1, 9);
        EXPECT_EQ("21", chainIds());
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(1, occurrences(result.out, "   1" + dumped(result, 9)));
    EXPECT_EQ(overwriteReport(result, 1), result.err);
}

TEST(ErrorStorageFallback, WarningHandlerMayHaveAStorageOfItsOwn)
{
    const ChildResult result = runInChild([] {
        std::GlobalErrorHandler::atWarning([](const char*, const char*) {
            const OpenStorage storage;
            EXPECT_FALSE(addToChain(21));
            EXPECT_EQ("21", chainIds());
        });
        addToChain(1, 9);
        EXPECT_EQ("9 8 7 6 5 4 3 2", chainIds());
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
}

} // namespace

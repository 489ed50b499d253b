// SPDX-License-Identifier: Apache-2.0
//
// What a storage reports of its own accord, unhandled and overwritten errors, and what becomes of
// it if those who are told record errors themselves.

#include <common/error/ErrorStorage.h>

#include <climits>
#include <cstdio>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include <common/error/GlobalErrorHandler.h>

#include "support/ChildProcess.h"
#include "support/OpenStorage.h"

namespace {

using std::CommonError;
using std::ErrorObject;
using std::ErrorStorage;
using support::addToChain;
using support::chainIds;
using support::ChildResult;
using support::OpenStorage;
using support::runInChild;
using support::startChain;

/// The calls of a reaction, and what the last one saw.
struct Seen
{
    int calls;
    void* data;
    std::string text;
    const ErrorObject* error;
    unsigned int count;
    bool pending;
    std::string chain;
} s_seen;

void remember(void* data, const char* text, const ErrorObject* error, unsigned int count)
{
    s_seen.calls++;
    s_seen.data = data;
    s_seen.text = text;
    s_seen.error = error;
    s_seen.count = count;
    s_seen.pending = ErrorStorage::isError(true);
    s_seen.chain = chainIds();
}

TEST(ErrorStorageReaction, IsCalledOnceWithThePendingError)
{
    OpenStorage storage(remember);
    s_seen = {};
    int data = 0;
    storage.m_data = &data;
    startChain(1);
    EXPECT_EQ(0, s_seen.calls);
    startChain(2);
    EXPECT_EQ(1, s_seen.calls);
    EXPECT_EQ(&data, s_seen.data);
    EXPECT_EQ("unhandled error", s_seen.text);
    EXPECT_EQ(storage.m_errors, s_seen.error);
    EXPECT_EQ(1U, s_seen.count);
}

TEST(ErrorStorageReaction, SeesThePendingChain)
{
    const OpenStorage storage(remember);
    addToChain(1, 3);
    startChain(4);
    EXPECT_TRUE(s_seen.pending);
    EXPECT_EQ("3 2 1", s_seen.chain);
    EXPECT_EQ(&storage.m_errors[2], s_seen.error);
    EXPECT_EQ(3U, s_seen.count);
    EXPECT_EQ(nullptr, s_seen.data);
    EXPECT_EQ("4", chainIds());
}

TEST(ErrorStorageReaction, CountMayExceedTheChain)
{
    const ChildResult result = runInChild([] {
        const OpenStorage storage(remember);
        addToChain(1, 11);
        startChain(12);
        EXPECT_EQ(11U, s_seen.count);
        EXPECT_EQ("11 10 9 8 7 6 5 4", s_seen.chain);
        EXPECT_EQ(1, storage.m_count);
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
}

TEST(ErrorStorageReaction, Throws_LeavesAUsableStorage)
{
    OpenStorage storage([](void*, const char*, const ErrorObject*, unsigned int) { throw 1; });
    startChain(1);
    EXPECT_THROW(startChain(2), int);
    EXPECT_EQ("1", chainIds());
    EXPECT_TRUE(ErrorStorage::isError(true));
    EXPECT_EQ(1, storage.m_count);

    s_seen = {};
    storage.m_action = remember;
    startChain(3);
    EXPECT_EQ(1, s_seen.calls);
    EXPECT_EQ("1", s_seen.chain);
    EXPECT_EQ("3", chainIds());
}

TEST(ErrorStorageOverwrite, EightErrorsAreNotReported)
{
    const ChildResult result = runInChild([] {
        const OpenStorage storage;
        addToChain(1, 8);
        EXPECT_EQ("8 7 6 5 4 3 2 1", chainIds());
        EXPECT_EQ(8, storage.m_count);
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ("", result.err);
}

TEST(ErrorStorageOverwrite, NinthErrorReplacesTheFirst)
{
    const ChildResult result = runInChild([] {
        const OpenStorage storage(remember);
        s_seen = {};
        addToChain(1, 9);
        EXPECT_EQ("9 8 7 6 5 4 3 2", chainIds());
        EXPECT_EQ(&storage.m_errors[0], storage.m_current);
        EXPECT_EQ(nullptr, storage.m_errors[1].m_cause);
        EXPECT_EQ(9, storage.m_count);
        EXPECT_TRUE(ErrorStorage::isError(true));
        EXPECT_EQ(0, s_seen.calls);
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(support::reportTitle("Warning triggered", result) +
                  "Location: src/common/error/ErrorStorage:258, add()\n"
                  "Reason: \"An error was overwritten: pump.c:1, id = 1, text = dry\"\n"
                  "No error context set\n",
              result.err);
}

TEST(ErrorStorageOverwrite, AcknowledgedChainIsNotOverwrittenButDropped)
{
    const ChildResult result = runInChild([] {
        const OpenStorage storage;
        addToChain(1, 8);
        ErrorStorage::ack();
        addToChain(9);
        EXPECT_EQ("9", chainIds());
        EXPECT_EQ(1, storage.m_count);
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ("", result.err);
}

TEST(ErrorStorageOverwrite, NamesEachOverwrittenErrorToTheHandlers)
{
    const ChildResult result = runInChild([] {
        std::GlobalErrorHandler::atWarning([](const char* location, const char* reason) {
            printf("%s|%s|%d%d\n", location, reason, ErrorStorage::isError(false),
                   ErrorStorage::isError(true));
        });
        const OpenStorage storage;
        addToChain(1, 10);
        EXPECT_EQ("10 9 8 7 6 5 4 3", chainIds());
    });
    EXPECT_EQ("framework/src/common/error/ErrorStorage:258, add()|"
              "An error was overwritten: pump.c:1, id = 1, text = dry|10\n"
              "framework/src/common/error/ErrorStorage:258, add()|"
              "An error was overwritten: pump.c:2, id = 2, text = dry|10\n",
              result.out);
}

TEST(ErrorStorageOverwrite, GoesOnBeyondTheSecondRound)
{
    const ChildResult result = runInChild([] {
        const OpenStorage storage;
        addToChain(1, 17);
        EXPECT_EQ("17 16 15 14 13 12 11 10", chainIds());
        EXPECT_EQ(&storage.m_errors[0], storage.m_current);
        EXPECT_EQ(17, storage.m_count);
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
}

TEST(ErrorStorageOverwrite, ReasonThatFillsItsBuffer)
{
    const ChildResult result = runInChild([] {
        const OpenStorage storage;
        bool noStorage = false;
        memset(ErrorStorage::add(true, CommonError, 1, "pump.c", 1, nullptr, noStorage), 'x', 256);
        addToChain(2, 9);
    });
    EXPECT_EQ(support::reportTitle("Warning triggered", result) +
                  "Location: src/common/error/ErrorStorage:258, add()\n"
                  "Reason: \"An error was overwritten: pump.c:1, id = 1, text = " +
                  std::string(256, 'x') + "\"\nNo error context set\n",
              result.err);
}

TEST(ErrorStorageOverwrite, NullFileAndReason)
{
    const ChildResult result = runInChild([] {
        const OpenStorage storage;
        startChain(1);
        ErrorStorage::get()->m_file = nullptr;
        ErrorStorage::get()->m_reason = nullptr;
        addToChain(2, 9);
    });
    EXPECT_EQ(support::reportTitle("Warning triggered", result) +
                  "Location: src/common/error/ErrorStorage:258, add()\n"
                  "Reason: \"An error was overwritten: (null):1, id = 1, text = (null)\"\n"
                  "No error context set\n",
              result.err);
}

TEST(ErrorStorageOverwrite, HandlerThrows_LeavesAPendingChain)
{
    const ChildResult result = runInChild([] {
        std::GlobalErrorHandler::atWarning([](const char*, const char*) { throw 1; });
        const OpenStorage storage;
        addToChain(1, 8);
        EXPECT_THROW(addToChain(9), int);
        EXPECT_EQ("8 7 6 5 4 3 2", chainIds());
        EXPECT_TRUE(ErrorStorage::isError(true));
        EXPECT_THROW(addToChain(10), int);
        EXPECT_EQ("8 7 6 5 4 3", chainIds());
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
}

TEST(ErrorStorageOverwrite, CountStepsBackAtItsLimit)
{
    const ChildResult result = runInChild([] {
        OpenStorage storage(remember);
        storage.m_count = INT_MAX - 1;
        addToChain(1);
        EXPECT_EQ(&storage.m_errors[6], storage.m_current);
        EXPECT_EQ(INT_MAX, storage.m_count);
        addToChain(2);
        EXPECT_EQ(&storage.m_errors[7], storage.m_current);
        EXPECT_EQ(2147483640, storage.m_count);
        addToChain(3);
        EXPECT_EQ(&storage.m_errors[0], storage.m_current);
        EXPECT_EQ(2147483641, storage.m_count);
        EXPECT_EQ("3 2 1", chainIds());
        startChain(4);
        EXPECT_EQ(2147483641U, s_seen.count);
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
}

TEST(ErrorStorageReads, ErrorWithoutAType_IsReportedAndOfNoType)
{
    const ChildResult result = runInChild([] {
        std::GlobalErrorHandler::atAssert(
            [](const char* condition, const char* location, const char*) {
                printf("%s|%s\n", condition, location);
            });
        const OpenStorage storage;
        startChain(1);
        ErrorStorage::get()->m_type = nullptr;
        EXPECT_FALSE(ErrorStorage::isA(CommonError));
        EXPECT_FALSE(ErrorStorage::equals(CommonError));
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("m_type|framework/src/common/error/ErrorObject:67, isA()\n"
              "m_type|framework/src/common/error/ErrorObject:74, equals()\n",
              result.out);
}

} // namespace

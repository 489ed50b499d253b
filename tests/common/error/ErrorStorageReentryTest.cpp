// SPDX-License-Identifier: Apache-2.0
//
// Reactions and warning handlers that record errors in the storage that has called them.

#include <common/error/ErrorStorage.h>

#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include <common/error/GlobalErrorHandler.h>

#include "support/ChildProcess.h"
#include "support/OpenStorage.h"

namespace {

using std::ErrorObject;
using std::ErrorStorage;
using support::addToChain;
using support::chainIds;
using support::ChildResult;
using support::OpenStorage;
using support::runInChild;
using support::startChain;

/// What those who are told record, and how often they were told.
struct Told
{
    bool raise;
    int errors;
    int calls;
    std::string chain;
} s_told;

/// Records the errors 21, 22 and so on.
void recordWhenTold()
{
    s_told.calls++;
    for (int number = 1; number <= s_told.errors; ++number)
        support::record(s_told.raise, 20 + number);
    s_told.chain = chainIds();
}

void recordingReaction(void*, const char*, const ErrorObject*, unsigned int)
{
    recordWhenTold();
}

void recordingHandler(const char*, const char*)
{
    recordWhenTold();
}

/// A storage with a reaction that is to record `errors` errors itself.
class RecordingStorage : public OpenStorage
{
public:
    RecordingStorage(bool raise, int errors) : OpenStorage(recordingReaction)
    {
        s_told = {raise, errors, 0, ""};
    }
};

/// Has a warning handler record `errors` errors while the ninth of a chain overwrites the first.
/// Returns how often the handler was called, and the storage's count and chain.
std::string overwriteWhileHandlerRecords(bool raise, int errors)
{
    return runInChild([&] {
               const OpenStorage storage;
               s_told = {raise, errors, 0, ""};
               std::GlobalErrorHandler::atWarning(recordingHandler);
               addToChain(1, 9);
               printf("%d call, count %d, chain %s, pending %d", s_told.calls, storage.m_count,
                      chainIds().c_str(), ErrorStorage::isError(true));
           })
        .out;
}

TEST(ErrorStorageReentry, ReactionStartsAChain)
{
    const RecordingStorage storage(true, 1);
    startChain(1);
    startChain(2);
    EXPECT_EQ(1, s_told.calls);
    EXPECT_EQ("21", s_told.chain);
    EXPECT_EQ("2", chainIds());
    EXPECT_EQ(1, storage.m_count);
    EXPECT_TRUE(ErrorStorage::isError(true));
}

TEST(ErrorStorageReentry, ReactionStartsNineChains)
{
    const RecordingStorage storage(true, 9);
    startChain(1);
    startChain(2);
    EXPECT_EQ(1, s_told.calls);
    EXPECT_EQ("29", s_told.chain);
    EXPECT_EQ("2", chainIds());
    EXPECT_EQ(1, storage.m_count);
}

TEST(ErrorStorageReentry, ReactionAddsToThePendingChain)
{
    const RecordingStorage storage(false, 1);
    startChain(1);
    startChain(2);
    EXPECT_EQ(1, s_told.calls);
    EXPECT_EQ("21 1", s_told.chain);
    EXPECT_EQ("2", chainIds());
    EXPECT_EQ(1, storage.m_count);
}

TEST(ErrorStorageReentry, ReactionAddsNineToThePendingChain_WithoutAWarning)
{
    const ChildResult result = runInChild([] {
        const RecordingStorage storage(false, 9);
        startChain(1);
        startChain(2);
        EXPECT_EQ(1, s_told.calls);
        EXPECT_EQ("29 28 27 26 25 24 23 22", s_told.chain);
        EXPECT_EQ("2", chainIds());
        EXPECT_EQ(1, storage.m_count);
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ("", result.err);
}

TEST(ErrorStorageReentry, ReactionIsCalledAgainForTheNextError)
{
    const RecordingStorage storage(true, 1);
    startChain(1);
    startChain(2);
    startChain(3);
    EXPECT_EQ(2, s_told.calls);
    EXPECT_EQ("3", chainIds());
}

TEST(ErrorStorageReentry, ReactionMayHaveAStorageOfItsOwn)
{
    const OpenStorage storage([](void*, const char*, const ErrorObject* error, unsigned int) {
        const OpenStorage own(recordingReaction);
        startChain(21);
        startChain(22);
        EXPECT_EQ("22", chainIds());
        EXPECT_EQ(1, error->id());
    });
    s_told = {true, 0, 0, ""};
    startChain(1);
    startChain(2);
    EXPECT_EQ(1, s_told.calls);
    EXPECT_EQ("21", s_told.chain);
    EXPECT_EQ("2", chainIds());
}

TEST(ErrorStorageReentry, WarningHandlerStartsChains)
{
    EXPECT_EQ("1 call, count 2, chain 9 21, pending 1", overwriteWhileHandlerRecords(true, 1));
    EXPECT_EQ("1 call, count 2, chain 9 22, pending 1", overwriteWhileHandlerRecords(true, 2));
    EXPECT_EQ("1 call, count 2, chain 9 28, pending 1", overwriteWhileHandlerRecords(true, 8));
    EXPECT_EQ("1 call, count 2, chain 9 29, pending 1", overwriteWhileHandlerRecords(true, 9));
}

TEST(ErrorStorageReentry, WarningHandlerAddsErrors)
{
    EXPECT_EQ("1 call, count 2, chain 9 21, pending 1", overwriteWhileHandlerRecords(false, 1));
    EXPECT_EQ("1 call, count 3, chain 9 22 21, pending 1", overwriteWhileHandlerRecords(false, 2));
    EXPECT_EQ("1 call, count 9, chain 9 28 27 26 25 24 23 22, pending 1",
              overwriteWhileHandlerRecords(false, 8));
    EXPECT_EQ("1 call, count 10, chain 9 29 28 27 26 25 24 23, pending 1",
              overwriteWhileHandlerRecords(false, 9));
}

TEST(ErrorStorageReentry, WarningHandlerClearsTheStorage)
{
    const ChildResult result = runInChild([] {
        static OpenStorage* s_storage = nullptr;
        std::GlobalErrorHandler::atWarning([](const char*, const char*) { s_storage->clear(); });
        OpenStorage storage;
        s_storage = &storage;
        addToChain(1, 9);
        EXPECT_EQ("9", chainIds());
        EXPECT_EQ(1, storage.m_count);
        EXPECT_TRUE(ErrorStorage::isError(true));
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
}

} // namespace

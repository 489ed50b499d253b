// SPDX-License-Identifier: Apache-2.0
//
// Storages on top of each other, and their destruction in any order.

#include <common/error/ErrorStorage.h>

#include <cstdio>
#include <cstring>
#include <new>
#include <string>
#include <thread>

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

int s_reactions = 0;

void countReaction(void*, const char*, const ErrorObject*, unsigned int)
{
    ++s_reactions;
}

TEST(ErrorStorageNesting, NewerStorageShadowsTheOlder)
{
    const OpenStorage older;
    startChain(1);
    const OpenStorage newer;
    EXPECT_EQ(&older, newer.m_previous);
    EXPECT_FALSE(ErrorStorage::isError(false));
    EXPECT_EQ(0, ErrorStorage::id());
    startChain(2);
    EXPECT_EQ(2, ErrorStorage::id());
    EXPECT_EQ(1, older.m_current->m_id);
    EXPECT_EQ(1, older.m_count);
}

TEST(ErrorStorageNesting, DestructionBringsTheOlderBack)
{
    const OpenStorage older;
    startChain(1);
    {
        const OpenStorage newer;
        startChain(2);
        ErrorStorage::ack();
    }
    EXPECT_EQ("1", chainIds());
    EXPECT_TRUE(ErrorStorage::isError(true));
    addToChain(3);
    EXPECT_EQ("3 1", chainIds());
}

TEST(ErrorStorageNesting, ChainStaysInOneStorage)
{
    const OpenStorage older(countReaction);
    startChain(1);
    const OpenStorage newer(countReaction);
    s_reactions = 0;
    addToChain(2);
    EXPECT_EQ("2", chainIds());
    ErrorStorage::ack();
    startChain(3);
    EXPECT_EQ("3", chainIds());
    EXPECT_EQ(0, s_reactions);
    EXPECT_FALSE(older.m_acknowledged);
}

TEST(ErrorStorageNesting, ThreadsHaveStoragesOfTheirOwn)
{
    const OpenStorage mine;
    startChain(1);
    bool errorAtFirst = true;
    std::string othersChain;
    std::thread([&] {
        errorAtFirst = ErrorStorage::isError(false);
        const OpenStorage others;
        EXPECT_EQ(nullptr, others.m_previous);
        addToChain(2);
        othersChain = chainIds();
    }).join();
    EXPECT_FALSE(errorAtFirst);
    EXPECT_EQ("2", othersChain);
    EXPECT_EQ("1", chainIds());
}

/// Destroys the storages A, B and C, created in this order, in the order `order`, and overwrites
/// each with 0xFF bytes. Each holds an error: A has id 1, B 2, C 3, and the storage below them, if
/// `below`, 9. Returns after each destruction the id in the active storage, 0 for none, with "!"
/// behind it if an assertion was reported.
std::string destroy(const std::string& order, bool below)
{
    return runInChild([&] {
               std::GlobalErrorHandler::atAssert(
                   [](const char*, const char*, const char*) { fputs("!", stdout); });
               alignas(OpenStorage) static unsigned char s_memory[4][sizeof(OpenStorage)];
               if (below) {
                   new (s_memory[3]) OpenStorage;
                   startChain(9);
               }
               OpenStorage* storages[3];
               for (int index = 0; index < 3; ++index) {
                   storages[index] = new (s_memory[index]) OpenStorage;
                   startChain(index + 1);
               }
               for (const char name : order) {
                   OpenStorage* const storage = storages[name - 'A'];
                   storage->~OpenStorage();
                   memset(s_memory[name - 'A'], 0xFF, sizeof(OpenStorage));
                   printf("%d ", ErrorStorage::id());
               }
           })
        .out;
}

TEST(ErrorStorageNesting, Destruction_NewestFirst)
{
    EXPECT_EQ("2 1 0 ", destroy("CBA", false));
    EXPECT_EQ("2 1 9 ", destroy("CBA", true));
}

TEST(ErrorStorageNesting, Destruction_MiddleLast)
{
    EXPECT_EQ("2 !0 !0 ", destroy("CAB", false));
    EXPECT_EQ("2 !9 !9 ", destroy("CAB", true));
}

TEST(ErrorStorageNesting, Destruction_MiddleThenNewest)
{
    EXPECT_EQ("!1 !1 0 ", destroy("BCA", false));
    EXPECT_EQ("!1 !1 9 ", destroy("BCA", true));
}

TEST(ErrorStorageNesting, Destruction_MiddleThenOldest)
{
    EXPECT_EQ("!1 0 !0 ", destroy("BAC", false));
    EXPECT_EQ("!1 9 !9 ", destroy("BAC", true));
}

TEST(ErrorStorageNesting, Destruction_OldestFirst)
{
    EXPECT_EQ("!0 !0 !0 ", destroy("ABC", false));
    EXPECT_EQ("!9 !9 !9 ", destroy("ABC", true));
}

TEST(ErrorStorageNesting, Destruction_OldestThenNewest)
{
    EXPECT_EQ("!0 !0 !0 ", destroy("ACB", false));
    EXPECT_EQ("!9 !9 !9 ", destroy("ACB", true));
}

TEST(ErrorStorageNesting, MisorderedDestruction_Report)
{
    const ChildResult result = runInChild([] {
        std::GlobalErrorHandler::atAssert(
            [](const char* condition, const char* location, const char* reason) {
                printf("%s|%s|%s\n", condition, location, reason);
            });
        auto* const older = new OpenStorage;
        const OpenStorage* const newer = new OpenStorage;
        delete older;
        delete newer;
    });
    const std::string report = support::reportTitle("Assert failed", result) +
                               "Location: src/common/error/ErrorStorage:165, ~ErrorStorage()\n"
                               "Condition: \"tls.get()==this\"\n"
                               "No reason given\nNo error context set\n";
    const std::string call =
        "tls.get()==this|framework/src/common/error/ErrorStorage:165, ~ErrorStorage()|\n";
    EXPECT_EQ(report + report, result.err);
    EXPECT_EQ(call + call, result.out);
}

TEST(ErrorStorageNesting, MisorderedDestruction_ReportShowsTheActiveStoragesErrors)
{
    const ChildResult result = runInChild([] {
        const auto* const older = new OpenStorage;
        startChain(1);
        const OpenStorage newer;
        startChain(2);
        delete older;
    });
    EXPECT_EQ(0U, result.err.find(support::reportTitle("Assert failed", result) +
                                  "Location: src/common/error/ErrorStorage:165, ~ErrorStorage()\n"
                                  "Condition: \"tls.get()==this\"\n"
                                  "No reason given\nCurrent error context:\n"
                                  "Error (ID 2):\n\tdry\n\tLocation: pump.c:2\n\n"));
}

TEST(ErrorStorageNesting, MisorderedDestruction_ErrorsAreStillRecorded)
{
    const ChildResult result = runInChild([] {
        const OpenStorage below;
        auto* const older = new OpenStorage;
        const auto* const newer = new OpenStorage;
        delete older;
        EXPECT_FALSE(startChain(1));
        EXPECT_EQ(1, below.m_current->m_id);
        delete newer;
        EXPECT_FALSE(addToChain(2));
        EXPECT_EQ("2 1", chainIds());
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
}

TEST(ErrorStorageNesting, MisorderedDestruction_NewStorageWorks)
{
    const ChildResult result = runInChild([] {
        const auto* const older = new OpenStorage;
        const auto* const newer = new OpenStorage;
        delete older;
        const OpenStorage storage;
        EXPECT_EQ(nullptr, storage.m_previous);
        startChain(1);
        delete newer;
        // What is destroyed out of order takes the storage before it along.
        EXPECT_FALSE(ErrorStorage::isError(false));
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
}

} // namespace

// SPDX-License-Identifier: Apache-2.0
//
// Storages before the first initialiser and behind the last exit handler of a process, when what
// binds them to their threads does not exist.

#include <common/error/ErrorStorage.h>

#include <cstdio>

#include <gtest/gtest.h>
#include <pthread.h>

#include "support/ChildProcess.h"
#include "support/FirstInitialiser.h"
#include "support/ProcessEnd.h"

namespace {

using std::ErrorStorage;

/// Keeps a value for the calling thread under as many keys as fit any thread, and lets a storage
/// live for a moment. Returns whether neither has to do with the other. Uses nothing but the
/// library and the C library.
bool valuesAndStoragesKeepApart()
{
    static void* s_value[sizeof(ErrorStorage) / sizeof(void*)];
    s_value[0] = s_value; // what a storage has its newest error in
    pthread_key_t keys[32];
    for (pthread_key_t& key : keys) {
        pthread_key_create(&key, nullptr);
        pthread_setspecific(key, s_value);
    }
    bool areApart = !ErrorStorage::isError(false);
    {
        const ErrorStorage storage(nullptr);
        for (const pthread_key_t key : keys)
            areApart = areApart && pthread_getspecific(key) == s_value;
    }
    return areApart;
}

#ifdef SUPPORT_FIRST_INITIALISER
int s_keptApart = -1;

SUPPORT_FIRST_INITIALISER = [] { s_keptApart = valuesAndStoragesKeepApart() ? 1 : 0; };

TEST(ErrorStorageExit, AheadOfAllInitialisers_KeysOfOthersAreLeftAlone)
{
    EXPECT_EQ(1, s_keptApart);
}
#endif

TEST(ErrorStorageExit, BehindAllStaticObjects_KeysOfOthersAreLeftAlone)
{
    const auto result = support::runInChildToExit([] {
        support::afterAllStaticObjects(
            [] { std::printf(valuesAndStoragesKeepApart() ? "apart" : "mixed up"); });
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("apart", result.out);
    EXPECT_EQ("", result.err);
}

} // namespace

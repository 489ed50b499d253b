// SPDX-License-Identifier: Apache-2.0

#include <common/error/ErrorStorage.h>

#include <cstddef>
#include <cstring>
#include <new>
#include <thread>
#include <type_traits>

#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include "support/ChildProcess.h"
#include "support/OpenStorage.h"

namespace {

using std::CommonCriticalError;
using std::CommonError;
using std::ErrorObject;
using std::ErrorStorage;
using support::addToChain;
using support::chainIds;
using support::OpenStorage;
using support::startChain;

std::ErrorType s_pumpError(nullptr, 0, CommonError);

int s_reactions = 0;

void countReaction(void*, const char*, const ErrorObject*, unsigned int)
{
    ++s_reactions;
}

/// A storage that counts the calls of its reaction.
class CountingStorage : public OpenStorage
{
public:
    CountingStorage() : OpenStorage(countReaction) { s_reactions = 0; }
};

/// What the static calls give for a thread without an error.
void expectNoError()
{
    EXPECT_FALSE(ErrorStorage::isError(false));
    EXPECT_FALSE(ErrorStorage::isError(true));
    EXPECT_EQ(0, ErrorStorage::id());
    EXPECT_EQ(0, ErrorStorage::line());
    EXPECT_STREQ("", ErrorStorage::reason());
    EXPECT_STREQ("", ErrorStorage::file());
    EXPECT_EQ(nullptr, ErrorStorage::get()->m_type);
    EXPECT_STREQ("", ErrorStorage::get()->m_reason);
    EXPECT_FALSE(ErrorStorage::equals(CommonError));
    EXPECT_FALSE(ErrorStorage::isA(CommonError));
}

TEST(ErrorStorage, ThreadWithoutStorage_HasNoError)
{
    const support::ChildResult result = support::runInChild([] {
        expectNoError();
        ErrorStorage::ack();
        expectNoError();
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ("", result.err);
}

TEST(ErrorStorage, Construction_LeavesItEmptyAndAcknowledged)
{
    alignas(OpenStorage) unsigned char memory[sizeof(OpenStorage)];
    memset(memory, 0xFF, sizeof memory);
    OpenStorage& storage = *new (memory) OpenStorage(countReaction);
    expectNoError();
    EXPECT_EQ(nullptr, storage.m_current);
    EXPECT_EQ(nullptr, storage.m_previous);
    EXPECT_EQ(0, storage.m_count);
    EXPECT_TRUE(storage.m_acknowledged);
    EXPECT_EQ(nullptr, storage.m_data);
    EXPECT_EQ(countReaction, storage.m_action);
    EXPECT_EQ(nullptr, storage.m_errors[7].m_type);
    EXPECT_EQ(storage.m_errors[7].m_buffer, storage.m_errors[7].m_reason);
    storage.~OpenStorage();
}

TEST(ErrorStorage, WithoutAnError_AllThreadsShareOneEmptyObject)
{
    const OpenStorage storage;
    const ErrorObject* const mine = ErrorStorage::get();
    const ErrorObject* others = nullptr;
    std::thread([&] { others = ErrorStorage::get(); }).join();
    EXPECT_EQ(mine, others);
}

TEST(ErrorStorage, Add_FillsTheFields)
{
    const OpenStorage storage;
    bool noStorage = true;
    ErrorStorage::add(true, s_pumpError, 5, "pump.c", 12, "dry", noStorage);
    const ErrorObject& error = *ErrorStorage::get();
    EXPECT_EQ(storage.m_current, &error);
    EXPECT_EQ(&s_pumpError, error.m_type);
    EXPECT_EQ(5, error.m_id);
    EXPECT_STREQ("pump.c", error.m_file);
    EXPECT_EQ(12, error.m_line);
    EXPECT_EQ(pthread_self(), error.m_thread);
    EXPECT_EQ(getpid(), error.m_process);
    EXPECT_EQ(nullptr, error.m_cause);
    EXPECT_FALSE(noStorage);
}

TEST(ErrorStorage, Add_ShowsInTheStaticReads)
{
    const OpenStorage storage;
    bool noStorage = true;
    ErrorStorage::add(false, s_pumpError, 5, "pump.c", 12, "dry", noStorage);
    EXPECT_TRUE(ErrorStorage::isError(false));
    EXPECT_TRUE(ErrorStorage::isError(true));
    EXPECT_EQ(5, ErrorStorage::id());
    EXPECT_EQ(12, ErrorStorage::line());
    EXPECT_STREQ("dry", ErrorStorage::reason());
    EXPECT_STREQ("pump.c", ErrorStorage::file());
}

TEST(ErrorStorage, Add_TypeIsComparedWithAndWithoutItsAncestors)
{
    const OpenStorage storage;
    bool noStorage = true;
    ErrorStorage::add(true, s_pumpError, 5, "pump.c", 12, "dry", noStorage);
    ErrorStorage::ack();
    EXPECT_TRUE(ErrorStorage::equals(s_pumpError));
    EXPECT_FALSE(ErrorStorage::equals(CommonError));
    EXPECT_TRUE(ErrorStorage::isA(s_pumpError));
    EXPECT_TRUE(ErrorStorage::isA(CommonError));
    EXPECT_FALSE(ErrorStorage::isA(CommonCriticalError));
}

TEST(ErrorStorage, Add_GivenReasonIsReferredTo)
{
    const OpenStorage storage;
    const char reason[] = "dry";
    bool noStorage = true;
    EXPECT_EQ(nullptr, ErrorStorage::add(true, CommonError, 1, "pump.c", 1, reason, noStorage));
    EXPECT_EQ(reason, ErrorStorage::reason());
    EXPECT_EQ(reason, ErrorStorage::get()->m_reason);
}

TEST(ErrorStorage, Add_WithoutAReasonGivesTheBuffer)
{
    const OpenStorage storage;
    bool noStorage = true;
    char* const buffer = ErrorStorage::add(true, CommonError, 1, "pump.c", 1, nullptr, noStorage);
    EXPECT_EQ(ErrorStorage::get()->m_buffer, buffer);
    EXPECT_EQ(buffer, ErrorStorage::get()->m_reason);
    strcpy(buffer, "dry");
    EXPECT_STREQ("dry", ErrorStorage::reason());
}

TEST(ErrorStorage, Add_BufferHoldsTheSlotsOlderReason)
{
    const OpenStorage storage;
    bool noStorage = true;
    strcpy(ErrorStorage::add(true, CommonError, 1, "pump.c", 1, nullptr, noStorage), "old");
    ErrorStorage::ack();
    EXPECT_STREQ("old", ErrorStorage::add(true, CommonError, 2, "pump.c", 2, nullptr, noStorage));
    EXPECT_EQ(storage.m_errors, ErrorStorage::get());
}

TEST(ErrorStorage, AddToChain_PendingErrorBecomesTheCause)
{
    const CountingStorage storage;
    startChain(1);
    addToChain(2);
    EXPECT_EQ("2 1", chainIds());
    EXPECT_EQ(&storage.m_errors[1], storage.m_current);
    EXPECT_EQ(&storage.m_errors[0], storage.m_current->m_cause);
    EXPECT_EQ(2, storage.m_count);
    EXPECT_EQ(0, s_reactions);
}

TEST(ErrorStorage, AddToChain_FirstErrorHasNoCause)
{
    const OpenStorage storage;
    addToChain(1);
    EXPECT_EQ("1", chainIds());
    EXPECT_EQ(1, storage.m_count);
    EXPECT_TRUE(ErrorStorage::isError(true));
}

TEST(ErrorStorage, AddToChain_AcknowledgedErrorIsDropped)
{
    const CountingStorage storage;
    startChain(1);
    addToChain(2);
    ErrorStorage::ack();
    addToChain(3);
    EXPECT_EQ("3", chainIds());
    EXPECT_EQ(1, storage.m_count);
    EXPECT_TRUE(ErrorStorage::isError(true));
    EXPECT_EQ(0, s_reactions);
}

TEST(ErrorStorage, StartChain_AcknowledgedErrorIsDroppedInSilence)
{
    const CountingStorage storage;
    startChain(1);
    ErrorStorage::ack();
    startChain(2);
    EXPECT_EQ(0, s_reactions);
    EXPECT_EQ("2", chainIds());
    EXPECT_EQ(1, storage.m_count);
    EXPECT_TRUE(ErrorStorage::isError(true));
}

TEST(ErrorStorage, StartChain_PendingErrorIsReportedAndDropped)
{
    const CountingStorage storage;
    addToChain(1, 2);
    startChain(3);
    EXPECT_EQ(1, s_reactions);
    EXPECT_EQ("3", chainIds());
    EXPECT_EQ(1, storage.m_count);
    EXPECT_TRUE(ErrorStorage::isError(true));
}

TEST(ErrorStorage, StartChain_WithoutAReaction)
{
    const OpenStorage storage(nullptr);
    startChain(1);
    startChain(2);
    EXPECT_EQ("2", chainIds());
    EXPECT_EQ(1, storage.m_count);
    EXPECT_TRUE(ErrorStorage::isError(true));
}

TEST(ErrorStorage, Ack_KeepsTheError)
{
    const OpenStorage storage;
    addToChain(1, 2);
    ErrorStorage::ack();
    EXPECT_FALSE(ErrorStorage::isError(true));
    EXPECT_TRUE(ErrorStorage::isError(false));
    EXPECT_EQ(2, ErrorStorage::id());
    EXPECT_EQ("2 1", chainIds());
    EXPECT_EQ(2, storage.m_count);
}

TEST(ErrorStorage, Ack_WithoutAnErrorChangesNothing)
{
    const OpenStorage storage;
    ErrorStorage::ack();
    expectNoError();
    addToChain(1);
    EXPECT_TRUE(ErrorStorage::isError(true));
}

TEST(ErrorStorage, Clear_PendingChain)
{
    CountingStorage storage;
    addToChain(1, 2);
    storage.clear();
    expectNoError();
    EXPECT_EQ(nullptr, storage.m_current);
    EXPECT_EQ(0, storage.m_count);
    EXPECT_FALSE(storage.m_acknowledged);
    EXPECT_EQ(2, storage.m_errors[1].m_id);
    EXPECT_EQ(0, s_reactions);
}

TEST(ErrorStorage, Clear_AcknowledgedChain)
{
    CountingStorage storage;
    addToChain(1);
    ErrorStorage::ack();
    storage.clear();
    expectNoError();
    EXPECT_FALSE(storage.m_acknowledged);
    startChain(2);
    EXPECT_EQ("2", chainIds());
    EXPECT_EQ(0, s_reactions);
}

TEST(ErrorStorage, Clear_EmptyStorage)
{
    CountingStorage storage;
    storage.clear();
    expectNoError();
    addToChain(1);
    EXPECT_EQ("1", chainIds());
    EXPECT_EQ(storage.m_errors, storage.m_current);
}

TEST(ErrorStorage, Destruction_NeverCallsTheReaction)
{
    {
        const CountingStorage storage;
        startChain(1);
    }
    EXPECT_EQ(0, s_reactions);
    expectNoError();
}

TEST(ErrorStorage, IsNeverCopied)
{
    EXPECT_FALSE(std::is_copy_constructible_v<ErrorStorage>);
    EXPECT_FALSE(std::is_copy_assignable_v<ErrorStorage>);
    EXPECT_FALSE(std::is_polymorphic_v<ErrorStorage>);
}

TEST(ErrorStorage, Layout)
{
#ifdef __LP64__
    EXPECT_EQ(24U, offsetof(OpenStorage, m_errors));
    EXPECT_EQ(2584U, offsetof(OpenStorage, m_action));
    EXPECT_EQ(2592U, offsetof(OpenStorage, m_acknowledged));
    EXPECT_EQ(2600U, offsetof(OpenStorage, m_data));
    EXPECT_EQ(2608U, sizeof(ErrorStorage));
#else
    EXPECT_EQ(12U, offsetof(OpenStorage, m_errors));
    EXPECT_EQ(2316U, offsetof(OpenStorage, m_action));
    EXPECT_EQ(2320U, offsetof(OpenStorage, m_acknowledged));
    EXPECT_EQ(2324U, offsetof(OpenStorage, m_data));
    EXPECT_EQ(2328U, sizeof(ErrorStorage));
#endif
    EXPECT_EQ(0U, offsetof(OpenStorage, m_current));
    EXPECT_EQ(sizeof(void*), offsetof(OpenStorage, m_previous));
    EXPECT_EQ(2 * sizeof(void*), offsetof(OpenStorage, m_count));
}

} // namespace

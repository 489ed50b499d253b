// SPDX-License-Identifier: Apache-2.0

#include <threadsafe/TlsImpl-posix.h>

#include <cerrno>
#include <csignal>
#include <thread>
#include <type_traits>

#include <common/error/ErrorStorage.h>
#include <gtest/gtest.h>

#include "support/ChildProcess.h"

namespace {

// What the interposed calls answer instead of working; 0 lets them work.
int s_createResult = 0;
int s_deleteResult = 0;
int s_setResult = 0;
void (*s_keyDestructor)(void*) = nullptr;
int s_keysCreated = 0;
int s_keysDeleted = 0;

} // namespace

extern "C" {

int interposed_pthread_key_create(pthread_key_t* key, void (*destructor)(void*)) noexcept
{
    if (s_createResult != 0) return s_createResult;
    s_keyDestructor = destructor;
    ++s_keysCreated;
    return pthread_key_create(key, destructor);
}

int interposed_pthread_key_delete(pthread_key_t key) noexcept
{
    if (s_deleteResult != 0) return s_deleteResult;
    ++s_keysDeleted;
    return pthread_key_delete(key);
}

int interposed_pthread_setspecific(pthread_key_t key, const void* value) noexcept
{
    if (s_setResult != 0) return s_setResult;
    return pthread_setspecific(key, value);
}

} // extern "C"

namespace {

static_assert(!std::is_copy_constructible_v<threadsafe::TlsImpl>);
static_assert(!std::is_copy_assignable_v<threadsafe::TlsImpl>);
static_assert(std::is_nothrow_destructible_v<threadsafe::TlsImpl>);

// Runs first: later tests create slots of their own.
TEST(TlsImpl, LibraryCreatesExactlyOneAtLoad)
{
    EXPECT_FALSE(std::ErrorStorage::isError(false)); // has the slot linked in
    EXPECT_EQ(1, s_keysCreated);
}

TEST(TlsImpl, IsEmptyAtFirst)
{
    threadsafe::TlsImpl slot;
    EXPECT_EQ(nullptr, slot.get());
}

TEST(TlsImpl, GivesBackWhatWasStored)
{
    threadsafe::TlsImpl slot;
    int value = 0;
    EXPECT_EQ(nullptr, slot.set(&value));
    EXPECT_EQ(&value, slot.get());
}

TEST(TlsImpl, SetNull_EmptiesTheSlot)
{
    threadsafe::TlsImpl slot;
    int value = 0;
    slot.set(&value);
    EXPECT_EQ(nullptr, slot.set(nullptr));
    EXPECT_EQ(nullptr, slot.get());
}

TEST(TlsImpl, AnotherThreadStartsEmpty)
{
    threadsafe::TlsImpl slot;
    int mine = 0;
    int others = 0;
    slot.set(&mine);
    void* seenAtFirst = &mine;
    void* seenAfterSet = nullptr;
    std::thread([&] {
        seenAtFirst = slot.get();
        slot.set(&others);
        seenAfterSet = slot.get();
    }).join();
    EXPECT_EQ(nullptr, seenAtFirst);
    EXPECT_EQ(&others, seenAfterSet);
    EXPECT_EQ(&mine, slot.get());
}

TEST(TlsImpl, TwoSlotsAreApart)
{
    threadsafe::TlsImpl first;
    threadsafe::TlsImpl second;
    int value = 0;
    first.set(&value);
    EXPECT_EQ(nullptr, second.get());
}

TEST(TlsImpl, HasNoDestructorFunction)
{
    s_keyDestructor = [](void*) {};
    threadsafe::TlsImpl slot;
    EXPECT_EQ(nullptr, s_keyDestructor);
}

TEST(TlsImpl, DestructorDeletesTheKey)
{
    const int before = s_keysDeleted;
    {
        threadsafe::TlsImpl slot;
    }
    EXPECT_EQ(before + 1, s_keysDeleted);
}

TEST(TlsImpl, Set_OutOfMemory)
{
    threadsafe::TlsImpl slot;
    int value = 0;
    slot.set(&value);
    s_setResult = ENOMEM;
    const char* const error = slot.set(nullptr);
    s_setResult = 0;
    EXPECT_EQ(threadsafe::TlsBase::ERROR_OUT_OF_MEMORY, error);
    EXPECT_EQ(&value, slot.get());
}

TEST(TlsImpl, Set_AnyOtherFailure)
{
    threadsafe::TlsImpl slot;
    int value = 0;
    slot.set(&value);
    for (const int code : {EINVAL, EAGAIN, EXDEV, -1}) {
        s_setResult = code;
        const char* const error = slot.set(nullptr);
        s_setResult = 0;
        EXPECT_EQ(threadsafe::TlsBase::ERROR, error) << code;
        EXPECT_EQ(&value, slot.get()) << code;
    }
}

TEST(TlsBase, Texts)
{
    EXPECT_STREQ("Unknown zel::Tls error", threadsafe::TlsBase::ERROR);
    EXPECT_STREQ("zel::Tls out of memory", threadsafe::TlsBase::ERROR_OUT_OF_MEMORY);
}

TEST(TlsImpl, CreationFails_EndsTheProcess)
{
    for (const int code : {EAGAIN, ENOMEM, EXDEV}) {
        const support::ChildResult result = support::runInChild([code] {
            s_createResult = code;
            threadsafe::TlsImpl slot;
        });
        EXPECT_EQ(SIGABRT, result.signal) << code;
        EXPECT_EQ("pthread_key_create failed in "
                  "framework/src/threadsafe/TlsImpl-posix:29, TlsImpl\n",
                  result.err);
    }
}

TEST(TlsImpl, DeletionFails_EndsTheProcess)
{
    for (const int code : {EINVAL, EXDEV}) {
        const support::ChildResult result = support::runInChild([code] {
            threadsafe::TlsImpl slot;
            s_deleteResult = code;
        });
        EXPECT_EQ(SIGABRT, result.signal) << code;
        EXPECT_EQ("pthread_key_delete failed in "
                  "framework/src/threadsafe/TlsImpl-posix:36, ~TlsImpl\n",
                  result.err);
    }
}

} // namespace

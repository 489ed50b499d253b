// SPDX-License-Identifier: Apache-2.0

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include <common/error/Error.h>
#include <common/error/ErrorStorages.h>
#include <common/error/GlobalErrorHandler.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <zel/Tls.h>

#include "support/ChildProcess.h"
#include "support/DumpText.h"
#include "support/FailingMalloc.h"
#include "support/MissingStorage.h"
#include "support/OpenStorage.h"

namespace {

/// What the replaced call below answers once it has worked `s_bindingsLeft` times; 0 lets it work.
int s_bindingResult = 0;
int s_bindingsLeft = 0;
/// Whether nothing can be bound in any case.
bool s_bindsNothing = false;

} // namespace

/// Stands before the function of the system, for the library as well.
extern "C" int pthread_setspecific(pthread_key_t key, const void* value) noexcept
{
    using Function = int (*)(pthread_key_t, const void*);
    static const Function s_system =
        reinterpret_cast<Function>(dlsym(RTLD_NEXT, "pthread_setspecific"));
    const bool fails = s_bindingResult != 0 && !(s_bindsNothing && value == nullptr);
    if (fails && s_bindingsLeft-- <= 0) return s_bindingResult;
    return s_system(key, value);
}

namespace {

using std::CommonError;
using std::ErrorOutput;
using std::ErrorStorage;
using support::AllocatorCalls;
using support::ChildResult;
using support::missingStorage;
using support::runInChild;
using support::unhandledError;

ErrorOutput s_start("pump.cpp", 7, true);

/// Raises an error while the thread cannot be bound to a storage any more than `bindings` times.
/// Expects `storages` allocations, all of them given back.
void raiseUnbound(int result, int bindings, int storages)
{
    const AllocatorCalls before = support::allocatorCalls();
    s_bindingsLeft = bindings;
    s_bindingResult = result;
    s_start(CommonError, 5, "width");
    s_bindingResult = 0;
    const AllocatorCalls after = support::allocatorCalls();
    EXPECT_EQ(storages, after.allocations - before.allocations);
    EXPECT_EQ(storages, after.releases - before.releases);
}

TEST(StorageBinding, OutOfMemory_GivesEachStorageBackAndWarnsTwice)
{
    const ChildResult result = runInChild([] {
        raiseUnbound(ENOMEM, 0, 2);
        EXPECT_FALSE(ErrorStorage::isError(false));
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ(missingStorage(result, "Invalid parameter: width") +
                  missingStorage(result, "Invalid parameter: width"),
              result.err);
    EXPECT_EQ(unhandledError(result, "Invalid parameter: width"), result.out);
}

TEST(StorageBinding, AnyOtherFailure_GivesEachStorageBackAndWarnsTwice)
{
    const ChildResult result = runInChild([] {
        raiseUnbound(EINVAL, 0, 2);
        EXPECT_FALSE(ErrorStorage::isError(false));
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ(missingStorage(result, "Invalid parameter: width") +
                  missingStorage(result, "Invalid parameter: width"),
              result.err);
    EXPECT_EQ(unhandledError(result, "Invalid parameter: width"), result.out);
}

TEST(StorageBinding, OnlyTheFallbackStorageCanBeBound_StaysBound)
{
    const ChildResult result = runInChild([] {
        raiseUnbound(ENOMEM, 1, 1);
        EXPECT_STREQ("Invalid parameter: width", ErrorStorage::reason());
        EXPECT_TRUE(ErrorStorage::isError(true));
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ(missingStorage(result, "Invalid parameter: width"), result.err);
    EXPECT_EQ(unhandledError(result, "Invalid parameter: width"), result.out);
}

int s_overwrites = 0;

/// Overwrites errors of the fallback storage while it is told of an overwritten one.
void overwritingHandler(const char*, const char* reason)
{
    if (std::strstr(reason, "overwritten") == nullptr) return;
    ++s_overwrites;
    support::addToChain(21, 29);
}

TEST(StorageBinding, OverwrittenWhileThatIsReported_IsNotReportedItself)
{
    const ChildResult result = runInChild([] {
        s_bindingResult = ENOMEM;
        support::addToChain(1, 8);
        std::GlobalErrorHandler::atWarning(overwritingHandler);
        support::addToChain(9);
        support::addToChain(10);
        s_bindingResult = 0;
        EXPECT_EQ(2, s_overwrites);
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(2, support::occurrences(result.err, "An error was overwritten"));
}

TEST(StorageBinding, WorksAgain_TheThreadGetsItsStorage)
{
    const ChildResult result = runInChild([] {
        raiseUnbound(ENOMEM, 0, 2);
        ErrorOutput("valve.cpp", 8, false)(CommonError, 0);
        EXPECT_EQ("Error (ID 0):\n\tOut of heap memory\n\tLocation: valve.cpp:8\n",
                  zel_error.getReasonList());
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ(missingStorage(result, "Invalid parameter: width") +
                  missingStorage(result, "Invalid parameter: width") +
                  missingStorage(result, "Out of heap memory"),
              result.err);
}

TEST(StorageBinding, StorageOfTheUserCannotBeBound_TheOneBeforeStaysActive)
{
    const ChildResult result = runInChild([] {
        const ErrorStorage outer(nullptr);
        s_start(CommonError, 5, "width");
        alignas(ErrorStorage) unsigned char memory[sizeof(ErrorStorage)];
        s_bindingResult = ENOMEM;
        new (memory) ErrorStorage(nullptr);
        s_bindingResult = 0;
        EXPECT_STREQ("Invalid parameter: width", ErrorStorage::reason());
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ("", result.err);
}

TEST(StorageBinding, StorageBeforeCannotBeBound_NoneIsActive)
{
    const ChildResult result = runInChild([] {
        s_bindsNothing = true;
        alignas(ErrorStorage) unsigned char memory[sizeof(ErrorStorage)];
        new (memory) ErrorStorage(nullptr); // does not end
        {
            const ErrorStorage inner(nullptr);
            s_start(CommonError, 5, "width");
            s_bindingResult = ENOMEM;
        }
        s_bindingResult = 0;
        EXPECT_FALSE(ErrorStorage::isError(false));
        s_start(CommonError, 5, "depth");
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(missingStorage(result, "Invalid parameter: depth"), result.err);
}

TEST(StorageBinding, TlsSetFailsAndAbortIsDisabled_KeepsTheOldValue)
{
    const ChildResult result = runInChild([] {
        std::GlobalErrorHandler::s_disable_abort = true;
        zel::Tls<int> slot;
        int values[2] = {};
        slot.set(&values[0]);
        s_bindingResult = ENOMEM;
        slot.set(&values[1]);
        s_bindingResult = 0;
        EXPECT_EQ(&values[0], slot.get());
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(support::reportTitle("Abort was called", result) +
                  "Location: include/zel/Tls:35, set()\n"
                  "No error context set\n"
                  "Reason: \"zel::Tls out of memory\"\n",
              result.err);
}

} // namespace

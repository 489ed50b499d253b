// SPDX-License-Identifier: Apache-2.0
//
// The storage that threads without one share: used by many at once, in the middle of a dump, in
// forked children and at the end of the process.

#include <common/error/ErrorStorage.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/wait.h>
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
using support::runInChildToExit;
using support::startChain;

/// The longest that a child may take before it counts as stuck.
constexpr unsigned int STUCK_SECONDS = 20;

constexpr int FORKS = 200;

/// Runs `body(number)` on 16 threads, numbered from 1, which start at the same time.
template <typename Body>
void onSixteenThreads(Body body)
{
    pthread_barrier_t start;
    pthread_barrier_init(&start, nullptr, 16);
    std::vector<std::thread> threads;
    for (int number = 1; number <= 16; ++number)
        threads.emplace_back([&, number] {
            pthread_barrier_wait(&start);
            body(number);
        });
    for (std::thread& thread : threads)
        thread.join();
    pthread_barrier_destroy(&start);
}

TEST(ErrorStorageFallback, SixteenThreadsStartChains_EachErrorIsDumpedOnce)
{
    const ChildResult result = runInChild([] {
        startChain(20);
        onSixteenThreads([](int number) { EXPECT_TRUE(startChain(number)); });
        startChain(21);
        EXPECT_EQ("21", chainIds());
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ("", result.err);
    EXPECT_EQ(17, occurrences(result.out, "unhandled error"));
    EXPECT_EQ(17, occurrences(result.out,
                              ": dry [in process/thread '" + std::to_string(result.pid) + "/"));
    EXPECT_EQ(1, occurrences(result.out, "line 1]\n"));
    EXPECT_EQ(1, occurrences(result.out, "line 16]\n"));
    EXPECT_EQ(1, occurrences(result.out, "line 20]\n"));
    EXPECT_EQ(0, occurrences(result.out, "(linked)"));
}

TEST(ErrorStorageFallback, SixteenThreadsAddToTheChain_NoneIsLost)
{
    const ChildResult result = runInChild([] {
        startChain(20);
        onSixteenThreads([](int) { EXPECT_TRUE(addToChain(1)); });
        EXPECT_EQ("1 1 1 1 1 1 1 1", chainIds());
        startChain(21);
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(9, occurrences(result.err, "An error was overwritten: pump.c:"));
    EXPECT_EQ(9, occurrences(result.err, "No error context set\n"));
    EXPECT_EQ(0, occurrences(result.err, "ThreadSanitizer"));
    EXPECT_EQ(8, occurrences(result.out, "file 'pump.c', line 1]\n"));
    EXPECT_EQ(1, occurrences(result.out, "\n9 old attachment(s) overwritten\n"));
}

TEST(ErrorStorageFallback, SixteenThreadsRaise_EachGetsItsOwnReason)
{
    const ChildResult result = runInChild([] {
        onSixteenThreads([](int number) {
            const std::string value = std::to_string(number);
            std::ErrorOutput("pump.c", number, true)(CommonError, 5, value.c_str());
            EXPECT_EQ("Invalid parameter: " + value, ErrorStorage::reason());
            EXPECT_EQ(number, ErrorStorage::line());
        });
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ(16, occurrences(result.err, "YOU MUST DEFINE AN ERRORSTORAGE!\n"));
    EXPECT_EQ(0, occurrences(result.err, "ThreadSanitizer"));
    EXPECT_EQ(15, occurrences(result.out, ": Invalid parameter: "));
}

std::string s_written;

/// Takes what is dumped. In the middle of that, another thread records an error.
ssize_t takeDump(void*, const char* text, size_t size)
{
    std::thread([] { EXPECT_TRUE(addToChain(21)); }).join();
    s_written.append(text, size);
    return static_cast<ssize_t>(size);
}

TEST(ErrorStorageFallback, OtherThreadsRecordDuringADump)
{
    const ChildResult result = runInChild([] {
        FILE* const standardOutput = stdout;
        stdout = fopencookie(nullptr, "w", {nullptr, takeDump, nullptr, nullptr});
        startChain(1);
        startChain(2);
        stdout = standardOutput;
        EXPECT_EQ("21 2", chainIds());
        fputs(s_written.c_str(), stdout);
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("unhandled error" + dumped(result, 1), result.out);
}

/// As `takeDump`, but it is the dumping thread that records.
ssize_t recordInDump(void*, const char* text, size_t size)
{
    addToChain(21);
    startChain(22);
    s_written.append(text, size);
    return static_cast<ssize_t>(size);
}

TEST(ErrorStorageFallback, DumpRecordsErrors_TheyAreDropped)
{
    const ChildResult result = runInChild([] {
        FILE* const standardOutput = stdout;
        stdout = fopencookie(nullptr, "w", {nullptr, recordInDump, nullptr, nullptr});
        startChain(1);
        startChain(2);
        stdout = standardOutput;
        EXPECT_EQ("2", chainIds());
        fputs(s_written.c_str(), stdout);
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("unhandled error" + dumped(result, 1), result.out);
}

TEST(ErrorStorageFallback, ForkWhileAnotherThreadRecords_ChildRecords)
{
    const ChildResult result = runInChild([] {
        std::atomic<bool> recording{false};
        std::atomic<bool> stop{false};
        // Bound to the storage, it acknowledges its errors: nothing is dumped, and the lock is
        // taken much of the time.
        std::thread recorder([&] {
            while (!stop) {
                startChain(1);
                ErrorStorage::ack();
                recording = true;
            }
        });
        while (!recording)
            std::this_thread::yield();

        // Enough of them that some come while the lock is taken.
        bool isAlive = true;
        for (int round = 0; round < FORKS && isAlive; ++round) {
            const pid_t child = fork();
            if (child == 0) {
                alarm(STUCK_SECONDS);
                const bool shared = startChain(2) && startChain(3);
                _exit(shared ? 7 : 1);
            }
            int status = 0;
            waitpid(child, &status, 0);
            isAlive = WIFEXITED(status) && WEXITSTATUS(status) == 7;
        }
        EXPECT_TRUE(isAlive);
        stop = true;
        recorder.join();
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
    EXPECT_EQ("", result.err);
    EXPECT_EQ(FORKS, occurrences(result.out, "file 'pump.c', line 2]\n"));
}

TEST(ErrorStorageFallback, ForkedChild_RecordsItsOwnProcess)
{
    const ChildResult result = runInChild([] {
        startChain(1);
        EXPECT_EQ(getpid(), ErrorStorage::get()->m_process);
        const pid_t child = fork();
        if (child == 0) {
            addToChain(2);
            _exit(ErrorStorage::get()->m_process == getpid() && chainIds() == "2 1" ? 7 : 1);
        }
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 7);
        EXPECT_EQ("1", chainIds());
    });
    EXPECT_EQ(0, result.exitCode) << result.out;
}

TEST(ErrorStorageFallback, EndOfTheProcess_IsSilent)
{
    const ChildResult result = runInChildToExit([] { startChain(1); });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ("", result.out);
    EXPECT_EQ("", result.err);
}

TEST(ErrorStorageFallback, ExitHandler_RecordsInIt)
{
    const ChildResult result = runInChildToExit([] {
        // The first of the handlers, so that it comes after all that the recording registers.
        atexit([] {
            startChain(2);
            printf("chain %s\n", chainIds().c_str());
        });
        startChain(1);
    });
    EXPECT_EQ("unhandled error" + dumped(result, 1) + "chain 2\n", result.out);
    EXPECT_EQ("", result.err);
}

TEST(ErrorStorageFallback, ExitHandler_AnotherStorageIsStillBound)
{
    static OpenStorage* s_storage = nullptr;
    const ChildResult result = runInChildToExit([] {
        atexit([] {
            const bool noStorage = addToChain(3);
            printf("%d, chain %s", noStorage, chainIds().c_str());
            delete s_storage;
            printf(", below %s\n", chainIds().c_str());
        });
        startChain(1);
        s_storage = new OpenStorage;
        startChain(2);
    });
    EXPECT_EQ("0, chain 3 2, below 1\n", result.out);
    EXPECT_EQ("", result.err);
}

ssize_t recordLast(void*, const char*, size_t size)
{
    const bool first = addToChain(2);
    const bool second = startChain(3);
    printf("%d%d, error %d, id %d\n", first, second, ErrorStorage::isError(false),
           ErrorStorage::id());
    fflush(stdout);
    return static_cast<ssize_t>(size);
}

/// Has the C library call `record` as it closes the streams, which is the end of the process:
/// the static objects, those of the library included, are gone by then.
void recordAfterAllStaticObjects(cookie_write_function_t* record = recordLast)
{
    FILE* const stream = fopencookie(nullptr, "w", {nullptr, record, nullptr, nullptr});
    fputs("unwritten", stream);
}

TEST(ErrorStorageFallback, AfterAllStaticObjects_StillRecords)
{
    const ChildResult result = runInChildToExit([] {
        recordAfterAllStaticObjects();
        startChain(1);
    });
    EXPECT_EQ("unhandled error (linked):\n   1" + dumped(result, 2) + "   2" + dumped(result, 1) +
                  "11, error 0, id 0\n",
              result.out);
    EXPECT_EQ("", result.err);
}

TEST(ErrorStorageFallback, AfterAllStaticObjects_IsCreatedIfNeeded)
{
    const ChildResult result = runInChildToExit([] { recordAfterAllStaticObjects(); });
    EXPECT_EQ("unhandled error" + dumped(result, 2) + "11, error 0, id 0\n", result.out);
    EXPECT_EQ("", result.err);
}

TEST(ErrorStorageFallback, AfterAllStaticObjects_ThreadHasLostItsStorage)
{
    const ChildResult result = runInChildToExit([] {
        alignas(OpenStorage) static unsigned char s_memory[sizeof(OpenStorage)];
        recordAfterAllStaticObjects();
        new (s_memory) OpenStorage;
        startChain(1);
    });
    EXPECT_EQ("unhandled error" + dumped(result, 2) + "11, error 0, id 0\n", result.out);
    EXPECT_EQ("", result.err);
}

ssize_t overwriteLast(void*, const char*, size_t size)
{
    addToChain(1, 9);
    return static_cast<ssize_t>(size);
}

TEST(ErrorStorageFallback, AfterAllStaticObjects_WarningHandlerMayRecord)
{
    const ChildResult result = runInChildToExit([] {
        std::GlobalErrorHandler::atWarning([](const char*, const char*) {
            static int s_calls = 0;
            if (++s_calls == 20) _exit(1);
            addToChain(21);
        });
        recordAfterAllStaticObjects(overwriteLast);
    });
    EXPECT_EQ(0, result.exitCode);
    EXPECT_EQ(1, occurrences(result.err, "An error was overwritten: pump.c:1, id = 1,"));
    EXPECT_EQ(1, occurrences(result.err, "An error was overwritten"));
}

struct RecordingAtDestruction
{
    ~RecordingAtDestruction()
    {
        startChain(2);
        printf("chain %s\n", chainIds().c_str());
    }
};

TEST(ErrorStorageFallback, StaticDestructor_RecordsInIt)
{
    const ChildResult result = runInChildToExit([] {
        static RecordingAtDestruction s_object;
        startChain(1);
    });
    EXPECT_EQ("unhandled error" + dumped(result, 1) + "chain 2\n", result.out);
    EXPECT_EQ("", result.err);
}

} // namespace

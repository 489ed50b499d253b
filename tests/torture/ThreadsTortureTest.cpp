// SPDX-License-Identifier: Apache-2.0
//
// Everything at once, on many threads: errors, texts, messages, shared channels; threads that come
// and go; a process that forks in the middle of it. The environment makes it longer.

#include <atomic>
#include <cstdlib>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <malloc.h>

#include <common/error/Error.h>
#include <common/error/ErrorStorages.h>
#include <common/tracing/Channel.h>
#include <common/tracing/IClient.h>
#include <common/tracing/Levels.h>
#include <common/tracing/SharedChannelMap.h>
#include <common/tracing/log.h>
#include <common/unicode/String.h>
#include <gtest/gtest.h>
#include <zel/Mutex.h>
#include <zel/report.h>

#include "support/ForkedChild.h"

namespace {

using std::ErrorStorage;
using std::unicode::String;

constexpr unsigned int THREADS = 32;

/// Returns what the environment says, or the short form.
unsigned int numberOf(const char* variable, unsigned int shortForm)
{
    const char* const value = std::getenv(variable);
    return value != nullptr ? static_cast<unsigned int>(std::strtoul(value, nullptr, 10))
                            : shortForm;
}

const unsigned int ROUNDS = numberOf("ZEL_TORTURE_ROUNDS", 500);
const unsigned int SHORT_THREADS = numberOf("ZEL_TORTURE_THREADS", 500);

constexpr std::ErrorID PUMP_TABLE[] = {{0, "Pump %u is dry", 1}, {1, "Not started", 0}};
const std::ErrorType PumpError(PUMP_TABLE, 2);

struct CountingClient : tracing::IClient
{
    using IClient::logMessage;
    void logMessage(const tracing::Channel&, short, short, const std::string&) override { ++count; }
    void logMessage(const tracing::Channel&, short, short, char* text, bool isOurs) override
    {
        ++count;
        if (isOurs) delete[] text;
    }

    std::atomic<unsigned int> count{0};
};

/// The map of shared channels has no lock of its own.
zel::Mutex s_channels;

/// What the threads share.
struct Work
{
    Work()
    {
        channel.m_client = &client;
        channel.setFilterLevel(tracing::Levels::LevelTRACE);
    }

    CountingClient client;
    tracing::Channel channel{"torture", 0, 0};
    const String text = String("\u20AC and \u00FC and a") * 10;
    std::atomic<unsigned int> failures{0};

    void expect(bool isAsItShould)
    {
        if (!isAsItShould) ++failures;
    }

    void raise(unsigned int number)
    {
        ZEL_RAISE(PumpError, 0, number);
        ZEL_RAISE_ON(PumpError, 1);
        const std::ErrorObject* const newest = ErrorStorage::get();
        expect(newest != nullptr && newest->m_id == 1 && newest->m_cause != nullptr);
        expect(newest->m_cause->m_reason == "Pump " + std::to_string(number) + " is dry");
        expect(ErrorStorage::isA(PumpError));
        ErrorStorage::ack();
    }

    void roundWithoutLock(unsigned int number)
    {
        raise(number);
        const String copy(text);
        expect(copy == text && copy.size() == 130);
        expect((copy + String("x")).size() == 131);
        ZEL_LOG(channel, 5, "message %u", number);
    }

    void round(unsigned int number)
    {
        roundWithoutLock(number);
        if (number % 16 == 0) registerChannel(number % 64);
    }

    void registerChannel(unsigned int number)
    {
        const zel::ScopedLock lock(s_channels);
        const tracing::SharedChannelPtr handle("torture.shared." + std::to_string(number));
        const tracing::SharedChannelPtr other("torture.shared." + std::to_string(number));
        expect(handle.get() != nullptr && handle.get() == other.get());
    }
};

void onThreads(unsigned int count, const std::function<void(unsigned int)>& body)
{
    std::vector<std::thread> threads;
    for (unsigned int i = 0; i < count; ++i)
        threads.emplace_back(body, i);
    for (std::thread& thread : threads)
        thread.join();
}

void runRounds(Work& work)
{
    onThreads(THREADS, [&work](unsigned int) {
        const std::StdoutDumpErrorStorage storage;
        for (unsigned int number = 0; number < ROUNDS; ++number)
            work.round(number);
    });
}

TEST(ThreadsTorture, EverythingAtOnce_NothingIsLost)
{
    Work work;
    runRounds(work);
    EXPECT_EQ(0u, work.failures.load());
    EXPECT_EQ(THREADS * ROUNDS, work.client.count.load());
}

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define WITHOUT_ALLOCATOR
#endif
#endif
#ifndef WITHOUT_ALLOCATOR

/// Returns the bytes that the allocator has given out.
std::size_t bytesInUse()
{
    return mallinfo2().uordblks;
}

/// One thread after the other, a few at a time.
void startAndEnd(const std::function<void(unsigned int)>& body)
{
    constexpr unsigned int TOGETHER = 4;
    for (unsigned int started = 0; started < SHORT_THREADS; started += TOGETHER)
        onThreads(TOGETHER, body);
}

// What a thread's cache of the allocator keeps is given back when it ends.
constexpr std::size_t SLACK = 64 * 1024;

TEST(ThreadsTorture, ThreadsWithAStorage_LeaveNothing)
{
    Work work;
    const auto body = [&work](unsigned int number) {
        const std::StdoutDumpErrorStorage storage;
        work.round(number);
    };
    onThreads(4, body);
    const std::size_t before = bytesInUse();
    startAndEnd(body);
    EXPECT_EQ(0u, work.failures.load());
    EXPECT_GE(before + SLACK, bytesInUse());
}

// Kept: a thread that raises without a storage of its own leaves the one that it was given.
TEST(ThreadsTorture, ThreadsWithoutAStorage_LeaveOneEach)
{
    const auto body = [](unsigned int number) {
        ZEL_RAISE(PumpError, 0, number);
        ErrorStorage::ack();
    };
    onThreads(4, body);
    const std::size_t before = bytesInUse();
    startAndEnd(body);
    const std::size_t after = bytesInUse();
    EXPECT_LE(before + SHORT_THREADS * sizeof(std::StdoutDumpErrorStorage), after);
    EXPECT_GE(before + SHORT_THREADS * (sizeof(std::StdoutDumpErrorStorage) + 64) + SLACK, after);
}
#endif

#ifndef SUPPORT_KEEPS_THREADS
// A child has the locks as they were, so the process forks while it holds the one there is.
TEST(ThreadsTorture, ForkInTheMiddle_ChildIsUsable)
{
    Work work;
    std::atomic<bool> isDone{false};
    std::thread busy([&] {
        while (!isDone)
            runRounds(work);
    });
    for (int i = 0; i < 10; ++i) {
        const zel::ScopedLock lock(s_channels);
        const int code = support::runForked([] {
            Work own;
            const std::StdoutDumpErrorStorage storage;
            for (unsigned int number = 0; number < 100; ++number)
                own.roundWithoutLock(number);
            return own.failures == 0 && own.client.count == 100 ? 7 : 8;
        });
        EXPECT_EQ(7, code);
    }
    isDone = true;
    busy.join();
    EXPECT_EQ(0u, work.failures.load());
}
#endif

} // namespace

// SPDX-License-Identifier: Apache-2.0
//
// Many threads that hold one block.

#include <common/buffers.h>

#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <pthread.h>

#include "support/BlockCounter.h"
#include "support/CountingAllocator.h"

namespace {

using std::SharedBuf;
using support::CountingAllocator;
using support::holders;

constexpr unsigned int THREADS = 16;
constexpr int ROUNDS = 500;

/// A block of the payload "shared bytes" that `allocator` releases.
SharedBuf blockOf(const CountingAllocator& allocator)
{
    SharedBuf block(12);
    std::memcpy(block.payload(), "shared bytes", 12);
    block.allocator = &allocator;
    return block;
}

/// Runs `body` in all threads at once, each with its number.
void runInThreads(const std::function<void(unsigned int)>& body)
{
    pthread_barrier_t start;
    pthread_barrier_init(&start, nullptr, THREADS);
    std::vector<std::thread> threads;
    for (unsigned int number = 0; number < THREADS; ++number)
        threads.emplace_back([&, number] {
            pthread_barrier_wait(&start);
            body(number);
        });
    for (std::thread& thread : threads)
        thread.join();
    pthread_barrier_destroy(&start);
}

std::string payloadText(const SharedBuf& buffer)
{
    return std::string(buffer.payload(), buffer.payload() + buffer.length());
}

/// Copies, views, assigns and moves `block`, and gives all of it up.
void useAndDrop(const SharedBuf& block)
{
    const SharedBuf copy(block);
    const SharedBuf view = copy + 7;
    const SharedBuf start = block.shrink(6);
    EXPECT_EQ("bytes", payloadText(view));
    EXPECT_EQ("shared", payloadText(start));
    SharedBuf target(view);
    target = start;
    SharedBuf moved(std::move(target));
    copy.unref();
    view.unref();
    start.unref();
    EXPECT_EQ("shared", payloadText(moved));
    moved.unref();
}

TEST(SharedBufThreads, CopiedViewedAndDropped_CounterIsExact)
{
    const CountingAllocator allocator;
    const SharedBuf block = blockOf(allocator);
    runInThreads([&](unsigned int) {
        for (int round = 0; round < ROUNDS; ++round)
            useAndDrop(block);
    });
    EXPECT_EQ(1U, holders(block));
    EXPECT_EQ(0, allocator.frees());
    EXPECT_EQ("shared bytes", payloadText(block));
    block.unref();
    EXPECT_EQ(1, allocator.frees());
}

TEST(SharedBufThreads, CopiedAndKept_AllAreCounted)
{
    const CountingAllocator allocator;
    const SharedBuf block = blockOf(allocator);
    std::vector<std::vector<SharedBuf>> kept(THREADS);
    runInThreads([&](unsigned int number) {
        kept[number].reserve(ROUNDS);
        for (int round = 0; round < ROUNDS; ++round)
            kept[number].push_back(block);
    });
    EXPECT_EQ(8001U, holders(block));
    runInThreads([&](unsigned int number) {
        for (const SharedBuf& copy : kept[number])
            copy.unref();
    });
    EXPECT_EQ(1U, holders(block));
    EXPECT_EQ(0, allocator.frees());
    block.unref();
    EXPECT_EQ(1, allocator.frees());
}

TEST(SharedBufThreads, DroppedByAllAtOnce_IsReleasedOnceAfterTheLastReading)
{
    const CountingAllocator allocator;
    for (int round = 0; round < 50; ++round) {
        const SharedBuf block = blockOf(allocator);
        const std::vector<SharedBuf> copies(THREADS, block);
        block.unref();
        runInThreads([&](unsigned int number) {
            EXPECT_EQ("shared bytes", payloadText(copies[number]));
            copies[number].unref();
        });
        ASSERT_EQ(round + 1, allocator.frees());
    }
}

} // namespace

// SPDX-License-Identifier: Apache-2.0

#include "../src/BoundedQueue.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>
#include <set>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

using deviceimport::BoundedQueue;
using deviceimport::QueueResult;
using zelbase::Duration;
using zelbase::TimePoint;

const TimePoint PAST;

constexpr int PRODUCERS = 4;
constexpr int CONSUMERS = 4;
constexpr int ITEMS_EACH = 500;

/// A deadline that no test reaches.
TimePoint farAway()
{
    return TimePoint::now() + Duration(600000);
}

/// Pushes `item`, which may still be there afterwards.
QueueResult offer(BoundedQueue<std::unique_ptr<int>>& queue, std::unique_ptr<int>& item,
                  const TimePoint& deadline)
{
    return queue.push(std::move(item), deadline);
}

/// Runs the producers and consumers on a queue of three places, and returns what each consumer got.
std::array<std::vector<int>, CONSUMERS> passThrough()
{
    BoundedQueue<int> queue(3);
    std::array<std::vector<int>, CONSUMERS> taken;
    std::vector<std::thread> consumers;
    consumers.reserve(CONSUMERS);
    for (std::vector<int>& mine : taken) {
        consumers.emplace_back([&queue, &mine] {
            for (int item = 0; queue.pop(item, farAway()) == QueueResult::DONE;)
                mine.push_back(item);
        });
    }
    std::vector<std::thread> producers;
    producers.reserve(PRODUCERS);
    for (int producer = 0; producer < PRODUCERS; ++producer) {
        producers.emplace_back([&queue, producer] {
            for (int item = 0; item < ITEMS_EACH; ++item)
                queue.push(producer * ITEMS_EACH + item, farAway());
        });
    }
    for (std::thread& thread : producers)
        thread.join();
    queue.close();
    for (std::thread& thread : consumers)
        thread.join();
    return taken;
}

} // namespace

TEST(BoundedQueue, GivesItemsInTheOrderOfPushes)
{
    BoundedQueue<int> queue(3);
    EXPECT_EQ(queue.push(11, farAway()), QueueResult::DONE);
    EXPECT_EQ(queue.push(12, farAway()), QueueResult::DONE);
    int item = 0;
    EXPECT_EQ(queue.pop(item, farAway()), QueueResult::DONE);
    EXPECT_EQ(item, 11);
    EXPECT_EQ(queue.push(13, farAway()), QueueResult::DONE);
    EXPECT_EQ(queue.pop(item, farAway()), QueueResult::DONE);
    EXPECT_EQ(item, 12);
    EXPECT_EQ(queue.pop(item, farAway()), QueueResult::DONE);
    EXPECT_EQ(item, 13);
}

TEST(BoundedQueue, WaitsUntilTheDeadline_WhenEmpty)
{
    BoundedQueue<int> queue(1);
    const TimePoint deadline = TimePoint::now() + Duration(20);
    int item = 7;
    EXPECT_EQ(queue.pop(item, deadline), QueueResult::LATE);
    EXPECT_GE(TimePoint::now(), deadline);
    EXPECT_EQ(item, 7);
}

TEST(BoundedQueue, WaitsUntilTheDeadline_WhenFull)
{
    BoundedQueue<std::unique_ptr<int>> queue(1);
    EXPECT_EQ(queue.push(std::make_unique<int>(1), farAway()), QueueResult::DONE);
    const TimePoint deadline = TimePoint::now() + Duration(20);
    auto item = std::make_unique<int>(2);
    EXPECT_EQ(offer(queue, item, deadline), QueueResult::LATE);
    EXPECT_GE(TimePoint::now(), deadline);
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(*item, 2);
}

TEST(BoundedQueue, HasAsManyPlacesAsAskedFor)
{
    BoundedQueue<int> queue(2);
    EXPECT_EQ(queue.push(1, PAST), QueueResult::DONE);
    EXPECT_EQ(queue.push(2, PAST), QueueResult::DONE);
    EXPECT_EQ(queue.push(3, PAST), QueueResult::LATE);
    int item = 0;
    EXPECT_EQ(queue.pop(item, PAST), QueueResult::DONE);
    EXPECT_EQ(item, 1);
    EXPECT_EQ(queue.push(4, PAST), QueueResult::DONE);
    EXPECT_EQ(queue.push(5, PAST), QueueResult::LATE);
}

TEST(BoundedQueue, AsksOnce_WhenTheDeadlineHasPassed)
{
    BoundedQueue<int> queue(1);
    int item = 7;
    EXPECT_EQ(queue.pop(item, PAST), QueueResult::LATE);
    EXPECT_EQ(item, 7);
    EXPECT_EQ(queue.push(8, PAST), QueueResult::DONE);
    EXPECT_EQ(queue.pop(item, PAST), QueueResult::DONE);
    EXPECT_EQ(item, 8);
}

TEST(BoundedQueue, RefusesItems_OnceClosed)
{
    BoundedQueue<std::unique_ptr<int>> queue(1);
    queue.close();
    queue.close();
    auto item = std::make_unique<int>(3);
    EXPECT_EQ(offer(queue, item, farAway()), QueueResult::CLOSED);
    EXPECT_EQ(offer(queue, item, PAST), QueueResult::CLOSED);
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(*item, 3);
}

TEST(BoundedQueue, GivesWhatItHas_OnceClosed)
{
    BoundedQueue<int> queue(2);
    EXPECT_EQ(queue.push(5, farAway()), QueueResult::DONE);
    EXPECT_EQ(queue.push(6, farAway()), QueueResult::DONE);
    queue.close();
    int item = 0;
    EXPECT_EQ(queue.pop(item, farAway()), QueueResult::DONE);
    EXPECT_EQ(item, 5);
    EXPECT_EQ(queue.pop(item, PAST), QueueResult::DONE);
    EXPECT_EQ(item, 6);
    EXPECT_EQ(queue.pop(item, TimePoint::MAX), QueueResult::CLOSED);
    EXPECT_EQ(queue.pop(item, PAST), QueueResult::CLOSED);
    EXPECT_EQ(item, 6);
}

TEST(BoundedQueue, LetsAPushGoOn_WhenAPlaceBecomesFree)
{
    BoundedQueue<int> queue(1);
    EXPECT_EQ(queue.push(1, farAway()), QueueResult::DONE);
    QueueResult pushed = QueueResult::CLOSED;
    std::thread producer([&] { pushed = queue.push(2, TimePoint::MAX); });
    int item = 0;
    EXPECT_EQ(queue.pop(item, TimePoint::MAX), QueueResult::DONE);
    EXPECT_EQ(item, 1);
    EXPECT_EQ(queue.pop(item, TimePoint::MAX), QueueResult::DONE);
    EXPECT_EQ(item, 2);
    producer.join();
    EXPECT_EQ(pushed, QueueResult::DONE);
}

TEST(BoundedQueue, EndsEveryWait_WhenClosed)
{
    BoundedQueue<int> full(1);
    BoundedQueue<int> empty(1);
    EXPECT_EQ(full.push(1, farAway()), QueueResult::DONE);
    std::atomic<int> ended{0};
    const auto push = [&] { ended += full.push(2, TimePoint::MAX) == QueueResult::CLOSED; };
    const auto pop = [&] {
        int item = 0;
        ended += empty.pop(item, TimePoint::MAX) == QueueResult::CLOSED;
    };
    std::array<std::thread, 4> waiting = {std::thread(push), std::thread(push), std::thread(pop),
                                          std::thread(pop)};
    full.close();
    empty.close();
    for (std::thread& thread : waiting)
        thread.join();
    EXPECT_EQ(ended, 4);
}

TEST(BoundedQueue, LosesAndDoublesNothing_WithFourProducersAndFourConsumers)
{
    std::size_t count = 0;
    std::set<int> distinct;
    for (const std::vector<int>& mine : passThrough()) {
        count += mine.size();
        distinct.insert(mine.begin(), mine.end());
    }
    EXPECT_EQ(count, 2000U);
    EXPECT_EQ(distinct.size(), 2000U);
    EXPECT_EQ(*distinct.begin(), 0);
    EXPECT_EQ(*distinct.rbegin(), 1999);
}

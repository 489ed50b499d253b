// SPDX-License-Identifier: Apache-2.0
//
// The thread primitives, and identifiers, of which each allocation fails in turn.

#include "support/AllocationTorture.h"

#include <sstream>
#include <string>
#include <thread>

#include <common/UUID.h>
#include <common/error/ErrorStorage.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <threadsafe/TlsImpl-posix.h>
#include <zel/Condition.h>
#include <zel/Mutex.h>
#include <zelcommon-ostream.h>

#include "support/OpenStorage.h"

namespace {

using support::OpenStorage;
using support::rightIf;
using support::rightOrRefused;
using support::torture;
using threadsafe::MutexImpl;
using zelbase::Duration;
using zelbase::TimePoint;

constexpr const char* TEXT = "00112233-4455-6677-8899-aabbccddeeff";

TEST(ThreadsAllocationTorture, MutexAndCondition)
{
    EXPECT_EQ("0 points", torture([] {
                  MutexImpl mutex(true);
                  threadsafe::ConditionImpl condition(mutex);
                  const bool isLocked = mutex.lock() == nullptr && mutex.try_lock() == nullptr &&
                                        mutex.try_lock(Duration(5)) == nullptr;
                  condition.signal_one();
                  condition.signal_all();
                  mutex.unlock();
                  mutex.unlock();
                  const bool isTimeout =
                      condition.wait_timeout(TimePoint(1)) == threadsafe::ConditionBase::TIMEOUT;
                  return rightIf(isLocked && isTimeout && mutex.unlock() == nullptr);
              }));
}

TEST(ThreadsAllocationTorture, SlotAmongTheFirst)
{
    EXPECT_EQ("0 points", torture([] {
                  threadsafe::TlsImpl slot;
                  int value = 0;
                  const bool isSet = slot.set(&value) == nullptr && slot.get() == &value;
                  return rightIf(isSet && slot.set(nullptr) == nullptr);
              }));
}

/// Stores a value in `slot`, in a thread that is new, and so has no room for it yet.
support::Outcome storeInNewThread(threadsafe::TlsImpl& slot, int point, int count)
{
    support::Outcome outcome = support::WRONG;
    std::thread([&] {
        int value = 0;
        const char* error = nullptr;
        {
            const support::FailingMalloc failing(point - 1, count);
            error = slot.set(&value);
        }
        outcome = rightOrRefused(error == nullptr && slot.get() == &value,
                                 error == threadsafe::TlsBase::ERROR_OUT_OF_MEMORY &&
                                     slot.get() == nullptr);
        if (outcome == support::REFUSED && slot.set(&value) != nullptr) outcome = support::WRONG;
        if (slot.get() != &value) outcome = support::WRONG;
    }).join();
    return outcome;
}

TEST(ThreadsAllocationTorture, SlotBehindTheFirst)
{
    const support::ChildResult child = support::runInChild([] {
        // The C library has room for the values of its first 32 keys in each thread.
        pthread_key_t taken;
        for (int count = 0; count < 32; ++count)
            pthread_key_create(&taken, nullptr);
        threadsafe::TlsImpl slot;
        EXPECT_EQ(support::RIGHT, storeInNewThread(slot, 1, 0));
        const int heldBefore = support::heldBlocks();
        EXPECT_EQ(support::REFUSED, storeInNewThread(slot, 1, 1));
        EXPECT_EQ(support::REFUSED, storeInNewThread(slot, 1, support::ALL_FROM_THEN_ON));
        EXPECT_EQ(support::RIGHT, storeInNewThread(slot, 2, support::ALL_FROM_THEN_ON));
        EXPECT_EQ(heldBefore, support::heldBlocks());
    });
    EXPECT_EQ(0, child.exitCode) << child.out;
}

TEST(ThreadsAllocationTorture, Clock)
{
    EXPECT_EQ("0 points", torture([] { return rightIf(TimePoint::now() < TimePoint::MAX); }));
}

TEST(IdentifiersAllocationTorture, ToString)
{
    const std::UUID id{std::string(TEXT)};
    EXPECT_EQ("1 points", torture<std::bad_alloc>([&] { return rightIf(id.toString() == TEXT); }));
    std::string out = "unchanged";
    EXPECT_EQ("1 points", torture<std::bad_alloc>([&] {
                  std::string text = "unchanged";
                  id.toString(text);
                  return rightIf(text == TEXT);
              }));
}

TEST(IdentifiersAllocationTorture, ParsingAndPlaces)
{
    const OpenStorage errors;
    const std::string text = TEXT;
    const std::string wrong = "00112233";
    EXPECT_EQ("0 points", torture([&] {
                  const std::UUID id(text);
                  const std::UUID none(wrong);
                  const bool isTold = std::ErrorStorage::isA(std::UUID::Error);
                  std::ErrorStorage::ack();
                  char place[std::UUID::TEXT_LENGTH];
                  id.toChars(place);
                  return rightIf(isTold && none.isInvalid() && text.compare(0, 36, place, 36) == 0);
              }));
}

} // namespace

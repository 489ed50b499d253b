// SPDX-License-Identifier: Apache-2.0
//
// Many threads that copy, compare and search the same texts.

#include <common/unicode/String.h>

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <pthread.h>

#include "support/BlockCounter.h"
#include "support/CountingAllocator.h"
#include "support/Latin1Codec.h"
#include "support/Texts.h"

namespace {

using namespace std::unicode;
using support::CountingAllocator;
using support::holders;

constexpr int THREADS = 16;
constexpr int ROUNDS = 100;

/// Runs `body` in each of the threads, which begin together.
void runInThreads(const std::function<void(int)>& body)
{
    pthread_barrier_t start;
    pthread_barrier_init(&start, nullptr, THREADS);
    std::vector<std::thread> threads;
    for (int number = 0; number < THREADS; ++number)
        threads.emplace_back([&, number] {
            pthread_barrier_wait(&start);
            body(number);
        });
    for (std::thread& thread : threads)
        thread.join();
    pthread_barrier_destroy(&start);
}

/// Uses both texts, which are "abcü", and returns how many answers were wrong.
int wrongAnswers(const String& left, const String& right)
{
    const String first = left;
    String second(right);
    int wrong = 0;
    if (first != second || first < second || second > first) ++wrong;
    if (first.hash() != second.hash() || first.count() != 4) ++wrong;
    if (first.at(3) != 0xFC || *second.begin() != 0x61) ++wrong;
    if (first.find(second) != first.begin() || second.rfind("c").position.chars != 2) ++wrong;
    if (first.find_first_of(second).position.chars != 0) ++wrong;
    if (second.find_last_not_of("\xC3\xBC").position.chars != 2) ++wrong;
    second = first;
    if (second.substr(1, 3) != String("bc") || second.toUtf8() != "abc\xC3\xBC") ++wrong;
    return wrong;
}

TEST(StringThreads, SameTexts_CopiedComparedAndSearched)
{
    const String narrow("abc\xC3\xBC");
    const String wide(UTF16LE, narrow);
    std::atomic<int> wrong{0};
    runInThreads([&](int number) {
        for (int round = 0; round < ROUNDS; ++round)
            wrong += number % 2 == 0 ? wrongAnswers(narrow, wide) : wrongAnswers(wide, narrow);
    });
    EXPECT_EQ(0, wrong.load());
    EXPECT_EQ(1U, holders(narrow.buffer()));
    EXPECT_EQ(1U, holders(wide.buffer()));
    EXPECT_EQ("abc\xC3\xBC", support::bytesOf(narrow));
}

TEST(StringThreads, OwnCodec_SharedByAllThreads)
{
    const support::Latin1Codec latin1;
    const String text = support::textWith("abc\xFC", latin1);
    std::atomic<int> wrong{0};
    runInThreads([&](int) {
        for (int round = 0; round < ROUNDS; ++round)
            wrong += wrongAnswers(text, text);
    });
    EXPECT_EQ(0, wrong.load());
    EXPECT_EQ(1U, holders(text.buffer()));
}

TEST(StringThreads, CopiesKept_AreCountedExactly)
{
    const String text("abc");
    std::vector<std::vector<String>> kept(THREADS);
    runInThreads([&](int number) {
        for (int round = 0; round < ROUNDS; ++round)
            kept[static_cast<std::size_t>(number)].push_back(text);
    });
    EXPECT_EQ(1601U, holders(text.buffer()));
    kept.clear();
    EXPECT_EQ(1U, holders(text.buffer()));
}

TEST(StringThreads, LastHolder_ReleasesOnceWhicheverThreadItIs)
{
    const CountingAllocator allocator;
    for (int round = 0; round < ROUNDS; ++round) {
        std::vector<String> copies(THREADS);
        {
            const String text = allocator.textWith("abcdef");
            for (String& copy : copies)
                copy = text;
        }
        runInThreads([&](int number) {
            String& own = copies[static_cast<std::size_t>(number)];
            const String piece = own.substr(number % 6, 6);
            own = String();
            EXPECT_EQ(6U - static_cast<unsigned int>(number) % 6, piece.count());
        });
    }
    EXPECT_EQ(100, allocator.frees());
}

TEST(StringThreads, OwnObjects_AssignedFromOneText)
{
    const String text("abc");
    std::atomic<int> wrong{0};
    runInThreads([&](int) {
        String own("xyz");
        for (int round = 0; round < ROUNDS; ++round) {
            own = text;
            if (own != text) ++wrong;
            own = String(UTF16BE, text);
            if (own != text) ++wrong;
        }
    });
    EXPECT_EQ(0, wrong.load());
    EXPECT_EQ(1U, holders(text.buffer()));
}

} // namespace

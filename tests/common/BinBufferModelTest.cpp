// SPDX-License-Identifier: Apache-2.0
//
// Thousands of calls at random, the same in each run, of the buffer and of its slow model: both
// must return the same, ask the same of their devices, and be in the same state.

#include <common/BinBuffer.h>

#include <deque>

#include <gtest/gtest.h>

#include "support/Random.h"
#include "support/SlowBinBuffer.h"

namespace {

using support::BinBufferForm;
using support::BinBufferPair;
using support::BufferCall;
using support::DeviceAnswer;
using support::Random;
using support::StreamCall;

/// All that was asked for, less, or more; each fifth fails with some row of `StreamError`.
std::deque<DeviceAnswer> someAnswers(Random& random)
{
    std::deque<DeviceAnswer> answers(random.below(12));
    for (DeviceAnswer& answer : answers) {
        answer.bytes = random.bytes(9);
        answer.takesAll = random.oneIn(2);
        answer.count = random.below(18);
        answer.fails = random.oneIn(5);
        answer.row = answer.fails ? static_cast<int>(random.below(5)) : -1;
    }
    return answers;
}

void expectSame(Random& random, const BinBufferForm& form, unsigned int kinds)
{
    BinBufferPair pair(form);
    for (int step = 0; step < 100 && !testing::Test::HasFailure(); ++step) {
        SCOPED_TRACE(testing::Message() << "step " << step);
        const auto kind = static_cast<StreamCall>(random.below(kinds));
        const BufferCall call = {kind, random.bytes(1 + random.below(20)), random.below(100)};
        const std::deque<DeviceAnswer> answers = someAnswers(random);
        pair.setAnswers(answers, someAnswers(random));
        EXPECT_EQ(pair.callModel(call), pair.callBuffer(call));
        EXPECT_EQ("", pair.takeWarnings());
    }
}

TEST(BinBufferModel, AnswersAlike_AllSizesFrom0To9)
{
    Random random(20240501);
    for (unsigned int round = 0; round < 400 && !HasFailure(); ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        const bool isOutside = round >= 200;
        expectSame(random, {true, round % 10, true, round / 10 % 10, isOutside},
                   support::OWN_CALLS);
    }
}

TEST(BinBufferModel, AnswersAlike_UnderFormattedStreams)
{
    Random random(20240503);
    for (unsigned int round = 0; round < 100 && !HasFailure(); ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        expectSame(random, {true, round % 10, true, round / 10}, support::ALL_CALLS);
    }
}

TEST(BinBufferModel, AnswersAlike_WithoutAStream)
{
    Random random(20240504);
    for (unsigned int size = 0; size < 10 && !HasFailure(); ++size) {
        SCOPED_TRACE(testing::Message() << "size " << size);
        expectSame(random, {false, size, true, size}, support::ALL_CALLS);
        expectSame(random, {true, size, false, size}, support::ALL_CALLS);
    }
}

} // namespace

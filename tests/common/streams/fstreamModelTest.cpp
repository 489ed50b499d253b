// SPDX-License-Identifier: Apache-2.0
//
// Thousands of calls at random, the same in each run, of the file buffer and of its slow model:
// both must return the same, ask the same of their file, and be in the same state.

#include <common/streams/fstream.h>

#include <deque>

#include <gtest/gtest.h>

#include "support/Random.h"
#include "support/SlowFileBuf.h"

namespace {

using support::BufferCall;
using support::FileAnswer;
using support::FileBufForm;
using support::FileBufPair;
using support::Random;
using support::StreamCall;

std::deque<FileAnswer> someAnswers(Random& random)
{
    std::deque<FileAnswer> answers(random.below(12));
    for (FileAnswer& answer : answers) {
        answer.bytes = random.bytes(random.below(12));
        answer.count = random.oneIn(6) ? -1 : static_cast<int>(answer.bytes.size());
        if (random.oneIn(8)) answer.count += 20;
        answer.fails = random.oneIn(4);
    }
    return answers;
}

void expectSame(Random& random, const FileBufForm& form, unsigned int kinds)
{
    FileBufPair pair(form);
    for (int step = 0; step < 100 && !testing::Test::HasFailure(); ++step) {
        SCOPED_TRACE(testing::Message() << "step " << step);
        const auto kind = static_cast<StreamCall>(random.below(kinds));
        const std::string text = random.bytes(1 + random.below(20));
        const BufferCall call = {kind, text, static_cast<int>(random.below(21)) - 10};
        pair.setAnswers(someAnswers(random));
        EXPECT_EQ(pair.callModel(call), pair.callBuffer(call));
        EXPECT_EQ("", pair.takeWarnings());
    }
}

TEST(FilebufModel, AnswersAlike_AllSizesFrom0To9)
{
    Random random(20240502);
    for (unsigned int round = 0; round < 400 && !HasFailure(); ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        const auto memory = round < 200 ? FileBufForm::OWN : FileBufForm::OUTSIDE;
        expectSame(random, {round / 10 % 4 != 0, round / 10 % 4 != 1, round % 10, memory},
                   support::OWN_CALLS);
    }
}

TEST(FilebufModel, AnswersAlike_UnderFormattedStreams)
{
    Random random(20240505);
    for (unsigned int round = 0; round < 120 && !HasFailure(); ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        expectSame(random, {round / 10 % 4 != 0, round / 10 % 4 != 1, round % 10},
                   support::ALL_CALLS);
    }
}

TEST(FilebufModel, AnswersAlike_WithoutABuffer)
{
    Random random(20240506);
    for (unsigned int size = 0; size < 10 && !HasFailure(); ++size) {
        SCOPED_TRACE(testing::Message() << "size " << size);
        expectSame(random, {true, true, size, FileBufForm::NONE}, support::ALL_CALLS);
    }
}

} // namespace

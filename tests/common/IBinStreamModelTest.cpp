// SPDX-License-Identifier: Apache-2.0
//
// The binary streams held against their slow models over random sequences of operations, and what
// they print.

#include <cstdio>
#include <string>
#include <vector>

#include <common/IBinInputStream.h>
#include <common/IBinOutputStream.h>
#include <gtest/gtest.h>

#include "support/ChildProcess.h"
#include "support/OpenStorage.h"
#include "support/Random.h"
#include "support/ScriptedStreams.h"
#include "support/SlowBinStreams.h"

namespace {

using support::ChildResult;
using support::HookedInput;
using support::HookedOutput;
using support::OpenStorage;
using support::Random;
using support::ScriptedInput;
using support::ScriptedOutput;
using support::SlowInput;
using support::SlowOutput;
using support::Transfer;

constexpr unsigned int MAX_BUFFER = 9;
constexpr unsigned int MAX_OPERATION = 14;
constexpr unsigned int SEQUENCES = 2000;
constexpr unsigned int OPERATIONS = 24;

/// Transfers that deliver, take or claim from 0 to more than any operation asks for.
std::vector<Transfer> scriptOf(Random& random, unsigned int count)
{
    std::vector<Transfer> transfers;
    for (unsigned int i = 0; i < count; ++i) {
        // All bytes are there, so that a count that is too large still tells which ones.
        Transfer transfer = support::deliver(random.letters(24)).claiming(random.below(15));
        if (random.oneIn(6)) transfer = transfer.failing();
        if (random.oneIn(12)) transfer = transfer.raising();
        if (random.oneIn(10)) transfer = transfer.leavingCount();
        if (random.oneIn(10)) transfer = transfer.claiming(0);
        if (random.oneIn(20)) transfer = transfer.claiming(4294967295U);
        transfers.push_back(transfer);
    }
    return transfers;
}

/// What follows each operation: both are in the same state, and the model prints what the library
/// has printed. The error is forgotten once in a while.
template <typename Model, typename Stream>
void finishOperation(Random& random, OpenStorage& errors, Model& model, const Stream& stream)
{
    ASSERT_EQ(model.state(), stateOf(stream));
    std::fputs(model.takeWarnings().c_str(), stdout);
    std::fflush(stdout);
    if (!random.oneIn(5)) return;
    errors.clear();
    model.hasError = false;
}

template <typename Stream>
void compareReading(Random& random, unsigned int size, bool isHooked)
{
    OpenStorage errors;
    const std::vector<Transfer> script = scriptOf(random, OPERATIONS / 2);
    Stream stream(size, script);
    SlowInput model(script, size, isHooked);
    for (unsigned int i = 0; i < OPERATIONS && !testing::Test::HasFailure(); ++i) {
        const unsigned int asked = random.below(MAX_OPERATION);
        ASSERT_EQ(model.read(asked), support::readText(stream, asked));
        finishOperation(random, errors, model, stream);
    }
}

template <typename Stream>
void compareWriting(Random& random, unsigned int size, bool isHooked)
{
    OpenStorage errors;
    const bool isBlocking = random.oneIn(2);
    const std::vector<Transfer> script = scriptOf(random, OPERATIONS);
    Stream stream(size, script, isBlocking);
    SlowOutput model(script, size, isHooked, isBlocking);
    for (unsigned int i = 0; i < OPERATIONS && !testing::Test::HasFailure(); ++i) {
        if (random.oneIn(4)) {
            const bool deep = random.oneIn(2);
            ASSERT_EQ(model.flush(deep), stream.flush(deep));
        } else {
            const std::string data = random.letters(random.below(MAX_OPERATION));
            ASSERT_EQ(model.write(data), support::writeText(stream, data));
        }
        finishOperation(random, errors, model, stream);
    }
}

/// Runs `compare` for each sequence, with a buffer of each size in turn.
void expectSame(unsigned int seed, void (*compare)(Random&, unsigned int, bool), bool isHooked)
{
    const ChildResult result = support::runInChild([=] {
        Random random(seed);
        for (unsigned int i = 0; i < SEQUENCES && !testing::Test::HasFailure(); ++i)
            compare(random, i % (MAX_BUFFER + 1), isHooked);
    });
    ASSERT_EQ(0, result.exitCode) << result.out;
    EXPECT_TRUE(result.out == result.err) << "the warnings differ";
    // Enough of them, and of each kind, to tell anything.
    EXPECT_LT(10000U, result.err.size());
    EXPECT_NE(std::string::npos, result.err.find("| Warning: "));
    EXPECT_NE(std::string::npos, result.err.find("Warning triggered in process "));
}

TEST(StreamModel, Reading)
{
    expectSame(1, compareReading<ScriptedInput>, false);
}

TEST(StreamModel, Reading_WithItsHook)
{
    expectSame(2, compareReading<HookedInput>, true);
}

TEST(StreamModel, Writing)
{
    expectSame(3, compareWriting<ScriptedOutput>, false);
}

TEST(StreamModel, Writing_WithItsHooks)
{
    expectSame(4, compareWriting<HookedOutput>, true);
}

} // namespace

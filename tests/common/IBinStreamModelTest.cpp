// SPDX-License-Identifier: Apache-2.0
//
// A slow model of the binary streams, which goes byte by byte, held against the library over random
// sequences of operations. The model tells what the library has to print, too.

#include <cstdint>
#include <cstdio>
#include <deque>
#include <random>
#include <string>

#include <common/IBinInputStream.h>
#include <common/IBinOutputStream.h>
#include <common/error/ErrorStorage.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "support/ChildProcess.h"
#include "support/OpenStorage.h"
#include "support/ScriptedStreams.h"

namespace {

using support::ChildResult;
using support::HookedInput;
using support::HookedOutput;
using support::OpenStorage;
using support::ScriptedInput;
using support::ScriptedOutput;
using support::Transfer;

/// Prints to standard output what the library has to print to standard error: a report that names
/// `place`, or without one the plain line.
void expectWarning(const char* operation, const char* place = nullptr, const char* words = "")
{
    if (place == nullptr)
        std::printf("%s| Warning: stream implementation indicated failure but didn't raise a "
                    "StreamError!\n",
                    operation);
    else
        std::printf("Warning triggered in process %d / thread %s !\n"
                    "Location: src/common/%s, %s()\n"
                    "Reason: \"stream implementation indicated %s raise a StreamError!\"\n"
                    "No error context set\n",
                    static_cast<int>(getpid()), support::threadText().c_str(), place, operation,
                    words);
    std::fflush(stdout);
}

/// What both models have: the script, the notes, and the stream's error. The model itself raises
/// nothing; it knows whether there is an error.
class Model
{
public:
    Model(std::vector<Transfer> script, unsigned int size, bool isHooked)
        : m_script(script.begin(), script.end()), m_size(size), m_isHooked(isHooked)
    {}

    std::string notes;
    bool hasError = false;
    /// The bytes in the buffer, and the index of the first one.
    std::deque<char> held;
    unsigned int begin = 0;

protected:
    void note(const std::string& call) { notes += (notes.empty() ? "" : " ") + call; }

    Transfer next(const char* call, unsigned int size, const Transfer& last)
    {
        note(call + ("(" + std::to_string(size) + ")"));
        Transfer transfer = last;
        if (!m_script.empty()) {
            transfer = m_script.front();
            m_script.pop_front();
        }
        if (transfer.leavesCount) transfer.count = 0;
        if (transfer.count > size) transfer.count = size;
        if (transfer.raises) hasError = true;
        return transfer;
    }
    void check()
    {
        if (m_isHooked) note("check");
    }
    char removeFirst()
    {
        const char byte = held.front();
        held.pop_front();
        ++begin;
        if (held.empty()) begin = 0;
        return byte;
    }

    std::deque<Transfer> m_script;
    unsigned int m_size;
    bool m_isHooked;
};

/// Reading.
class InputModel : public Model
{
public:
    using Model::Model;

    int read(unsigned int size, std::string& data)
    {
        data.clear();
        if (size == 0) return 0;
        if (m_size > 0) {
            check();
            if (!held.empty()) return giveHeld(size, data);
        }
        if (m_size > 0 && size < m_size) {
            const Transfer transfer = next("read", m_size, Transfer());
            for (unsigned int i = 0; i < transfer.count; ++i)
                held.push_back(transfer.bytes[i]);
            if (!transfer.fails) return giveHeld(size, data);
            if (!hasError) expectWarning("read");
            return -1;
        }
        const Transfer transfer = next("read", size, Transfer());
        if (transfer.fails) {
            if (!hasError) expectWarning("read", "IBinInputStream:124", "failure but didn't");
            return -1;
        }
        data = transfer.bytes.substr(0, transfer.count);
        return data.empty() ? 0 : 1;
    }

private:
    int giveHeld(unsigned int size, std::string& data)
    {
        while (data.size() < size && !held.empty())
            data.push_back(removeFirst());
        return data.empty() ? 0 : 1;
    }
};

/// Writing and flushing.
class OutputModel : public Model
{
public:
    OutputModel(std::vector<Transfer> script, unsigned int size, bool isHooked, bool isBlocking)
        : Model(std::move(script), size, isHooked), m_isBlocking(isBlocking)
    {}

    std::string taken;

    int write(const std::string& data, unsigned int& written)
    {
        written = 0;
        if (data.empty()) return 0;
        if (m_size == 0) return writeUnbuffered(data, written);
        check();
        if (!held.empty() || data.size() <= m_size) {
            written = store(data);
            if (begin + held.size() == m_size) {
                const Transfer transfer = offerHeld();
                if (transfer.fails) return failPrinted("write");
                for (unsigned int i = 0; i < transfer.count; ++i)
                    removeFirst();
            }
            if (written == data.size()) return 1;
        }
        if (!held.empty()) return written > 0 ? 1 : 0;
        const Transfer transfer = offer(data.substr(written));
        if (transfer.fails) return failPrinted("write");
        written += transfer.count;
        if (written == data.size()) return 1;
        written += store(data.substr(written));
        return written > 0 ? 1 : 0;
    }

    bool flush(bool deep)
    {
        if (m_size > 0 && !held.empty()) {
            check();
            do {
                const Transfer transfer = offerHeld();
                for (unsigned int i = 0; i < transfer.count; ++i)
                    removeFirst();
                if (transfer.fails) return failPrinted("flush") != 0;
            } while (m_isBlocking && !held.empty());
        }
        if (deep && m_isHooked) note("sync");
        return false;
    }

private:
    int writeUnbuffered(const std::string& data, unsigned int& written)
    {
        const Transfer transfer = offer(data);
        written = transfer.count;
        if (!transfer.fails) return written > 0 ? 1 : 0;
        if (!hasError) expectWarning("write", "IBinOutputStream:118", "failurebut didn't");
        return -1;
    }
    int failPrinted(const char* operation)
    {
        if (!hasError) expectWarning(operation);
        return -1;
    }
    Transfer offer(const std::string& data)
    {
        const auto size = static_cast<unsigned int>(data.size());
        const Transfer transfer = next("write", size, support::take(size));
        taken += data.substr(0, transfer.count);
        return transfer;
    }
    Transfer offerHeld() { return offer(std::string(held.begin(), held.end())); }
    unsigned int store(const std::string& data)
    {
        unsigned int count = 0;
        while (count < data.size() && begin + held.size() < m_size)
            held.push_back(data[count++]);
        return count;
    }

    bool m_isBlocking;
};

/// Numbers that are the same on every platform, as the standard's distributions are not.
class Random
{
public:
    explicit Random(unsigned int seed) : m_engine(seed) {}
    unsigned int below(unsigned int limit) { return static_cast<unsigned int>(m_engine()) % limit; }
    bool oneIn(unsigned int count) { return below(count) == 0; }

    std::string text(unsigned int size)
    {
        std::string bytes;
        for (unsigned int i = 0; i < size; ++i)
            bytes.push_back(static_cast<char>('a' + below(26)));
        return bytes;
    }

    /// Transfers that deliver, take or claim from 0 to more than any operation asks for.
    std::vector<Transfer> script(unsigned int count)
    {
        std::vector<Transfer> transfers;
        for (unsigned int i = 0; i < count; ++i) {
            // All bytes are there, so that a count that is too large still tells which ones.
            Transfer transfer = support::deliver(text(24)).claiming(below(15));
            if (oneIn(6)) transfer = transfer.failing();
            if (oneIn(12)) transfer = transfer.raising();
            if (oneIn(10)) transfer = transfer.leavingCount();
            if (oneIn(10)) transfer = transfer.claiming(0);
            if (oneIn(20)) transfer = transfer.claiming(4294967295U);
            transfers.push_back(transfer);
        }
        return transfers;
    }

private:
    std::mt19937 m_engine;
};

constexpr unsigned int MAX_BUFFER = 9;
constexpr unsigned int MAX_OPERATION = 14;
constexpr unsigned int SEQUENCES = 2000;
constexpr unsigned int OPERATIONS = 24;

/// A sequence ends once in a while with its error forgotten.
template <typename AnyModel>
void maybeClear(Random& random, OpenStorage& errors, AnyModel& model)
{
    if (!random.oneIn(5)) return;
    errors.clear();
    model.hasError = false;
}

template <typename Stream>
void compareReading(Random& random, unsigned int size, bool isHooked)
{
    OpenStorage errors;
    const std::vector<Transfer> script = random.script(OPERATIONS / 2);
    Stream stream(size, script);
    InputModel model(script, size, isHooked);
    for (unsigned int i = 0; i < OPERATIONS; ++i) {
        const unsigned int asked = random.below(MAX_OPERATION);
        std::string data;
        const int status = model.read(asked, data);
        ASSERT_EQ(std::to_string(status) + " " + data, support::readText(stream, asked));
        ASSERT_EQ(model.notes, stream.notes);
        ASSERT_EQ(std::string(model.held.begin(), model.held.end()), stream.held());
        ASSERT_EQ(model.begin, stream.readPos);
        ASSERT_EQ(model.begin + model.held.size(), stream.readEnd);
        maybeClear(random, errors, model);
    }
}

template <typename Stream>
void compareWriting(Random& random, unsigned int size, bool isHooked)
{
    OpenStorage errors;
    const bool isBlocking = random.oneIn(2);
    const std::vector<Transfer> script = random.script(OPERATIONS);
    Stream stream(size, script, isBlocking);
    OutputModel model(script, size, isHooked, isBlocking);
    for (unsigned int i = 0; i < OPERATIONS; ++i) {
        if (random.oneIn(4)) {
            const bool deep = random.oneIn(2);
            ASSERT_EQ(model.flush(deep), stream.flush(deep));
        } else {
            const std::string data = random.text(random.below(MAX_OPERATION));
            unsigned int written = 0;
            const int status = model.write(data, written);
            ASSERT_EQ(std::to_string(status) + " " + std::to_string(written),
                      support::writeText(stream, data));
        }
        ASSERT_EQ(model.notes, stream.notes);
        ASSERT_EQ(model.taken, stream.taken);
        ASSERT_EQ(std::string(model.held.begin(), model.held.end()), stream.held());
        ASSERT_EQ(model.begin, stream.writePos);
        ASSERT_EQ(model.begin + model.held.size(), stream.writeEnd);
        maybeClear(random, errors, model);
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

// SPDX-License-Identifier: Apache-2.0
//
// Thousands of calls at random, the same in each run, of the buffer and of a slow model of it, each
// over a device of its own with the same answers: both must return the same, ask the same of their
// device, and leave the same pending.

#include <common/BinBuffer.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <common/error/ErrorStorage.h>
#include <gtest/gtest.h>
#include <zel/report.h>

#include "support/OpenStorage.h"
#include "support/ScriptedDevice.h"

namespace {

using support::CallLog;
using support::OpenBinBuffer;
using support::OpenStorage;

constexpr int END_OF_FILE = -1;

/// Answers at random: what a transfer moves, and whether it fails.
class Device : public CallLog
{
public:
    explicit Device(unsigned int seed) : m_engine(seed) {}

    struct Answer
    {
        unsigned int count; // may be more than asked
        int failure;        // row of StreamError, or -1
    };
    Answer answer(unsigned int size)
    {
        const unsigned int kind = below(10);
        const unsigned int count = kind < 5 ? size : kind < 9 ? below(size + 1) : size + below(9);
        return {count, below(5) == 0 ? static_cast<int>(below(5)) : -1};
    }
    std::string bytes(unsigned int size)
    {
        std::string text;
        for (unsigned int i = 0; i < size; ++i)
            text += static_cast<char>(below(256));
        return text;
    }

private:
    unsigned int below(unsigned int limit) { return static_cast<unsigned int>(m_engine()) % limit; }

    std::mt19937 m_engine;
};

class Input : public std::IBinInputStream, public Device
{
public:
    explicit Input(unsigned int seed) : IBinInputStream(true, 0), Device(seed) {}

protected:
    bool performRead(void* data, unsigned int size, unsigned int& got) override
    {
        note("read(" + std::to_string(size) + ")");
        const Answer next = answer(size);
        const std::string given = bytes(size);
        std::memcpy(data, given.data(), size);
        got = next.count;
        if (next.failure >= 0) ZEL_RAISE(StreamError, next.failure);
        return next.failure >= 0;
    }
};

class Output : public std::IBinOutputStream, public Device
{
public:
    explicit Output(unsigned int seed) : IBinOutputStream(true, 0), Device(seed) {}

protected:
    bool performWrite(const void* data, unsigned int size, unsigned int& written) override
    {
        note("write(" + std::string(static_cast<const char*>(data), size) + ")");
        const Answer next = answer(size);
        written = next.count;
        if (next.failure >= 0) ZEL_RAISE(StreamError, next.failure);
        return next.failure >= 0;
    }
};

/// The buffer once more: a text to read, how far that is read, the bytes of the put buffer, how
/// many of them are pending and how many may be. Whether an error is pending is a flag.
class SlowBuffer
{
public:
    SlowBuffer(unsigned int seed, unsigned int inputSize, unsigned int outputSize)
        : m_input(seed), m_output(seed + 1), m_inputSize(inputSize), m_put(outputSize, '\0'),
          m_room(roomOf(outputSize))
    {}

    int sgetc() { return m_next < m_get.size() ? valueOf(m_get[m_next]) : refill(); }
    int sbumpc()
    {
        const int c = sgetc();
        if (c != END_OF_FILE) ++m_next;
        return c;
    }
    int snextc() { return sbumpc() == END_OF_FILE ? END_OF_FILE : sgetc(); }
    int sungetc() { return m_next == 0 ? END_OF_FILE : valueOf(m_get[--m_next]); }

    int sputc(char c)
    {
        if (m_pending < m_room) {
            m_put[m_pending++] = c;
            return valueOf(c);
        }
        if (m_put.empty()) return END_OF_FILE;
        if (m_put.size() == 1) return writeOne(c);
        m_put[m_pending] = c;
        return drain(m_pending + 1) ? 1 : END_OF_FILE;
    }
    int pubsync() { return m_pending > 0 && !drain(m_pending) ? -1 : 0; }

    std::string putArea() const
    {
        return m_put.substr(0, m_pending) + "+" + std::to_string(m_room - m_pending);
    }
    std::string getArea() const { return m_get.substr(0, m_next) + "|" + m_get.substr(m_next); }
    std::string takeCalls() { return m_input.takeCalls() + "/" + m_output.takeCalls(); }
    bool isPending() const { return m_isPending; }

private:
    static int valueOf(char c) { return static_cast<unsigned char>(c); }
    static std::size_t roomOf(std::size_t size) { return size == 0 ? 0 : size - 1; }

    /// A failed transfer is none, unless char is unsigned.
    static bool isRefused(const Device::Answer& answer, unsigned int moved)
    {
#ifdef __CHAR_UNSIGNED__
        return answer.failure < 0 && moved == 0;
#else
        return answer.failure >= 0 || moved == 0;
#endif
    }

    int refill()
    {
        Device::Answer answer{0, -1};
        std::string given;
        if (m_inputSize != 0) {
            m_input.note("read(" + std::to_string(m_inputSize) + ")");
            answer = m_input.answer(m_inputSize);
            given = m_input.bytes(m_inputSize);
            // A failed transfer may have written, too.
            m_get.replace(0, m_get.size(), given, 0, m_get.size());
        }
        const unsigned int moved = std::min(answer.count, m_inputSize);
        if (answer.failure >= 0) m_lastRow = answer.failure;
        if (answer.failure >= 0 || moved == 0) {
            // The end of the stream stays the last error until there is another.
            if (m_lastRow == support::END_OF_STREAM) m_get.clear(), m_next = 0;
            m_isPending = false;
            return END_OF_FILE;
        }
        m_get = given.substr(0, moved);
        m_next = 0;
        return valueOf(m_get[0]);
    }

    Device::Answer write(const std::string& text)
    {
        m_output.note("write(" + text + ")");
        const Device::Answer answer = m_output.answer(static_cast<unsigned int>(text.size()));
        if (answer.failure >= 0) {
            m_isPending = true;
            m_lastRow = answer.failure;
        }
        return answer;
    }

    int writeOne(char c)
    {
        const Device::Answer answer = write(std::string(1, c));
        if (!isRefused(answer, std::min(answer.count, 1u))) return 1;
        m_isPending = false;
        return END_OF_FILE;
    }

    bool drain(std::size_t pending)
    {
        const Device::Answer answer = write(m_put.substr(0, pending));
        const unsigned int moved = std::min(answer.count, static_cast<unsigned int>(pending));
        if (isRefused(answer, moved)) {
            m_isPending = false;
            return false;
        }
        const std::size_t rest = pending - moved;
        m_put.replace(0, rest, m_put.substr(moved, rest));
        m_pending = 0;
        m_room = roomOf(m_put.size());
        if (rest != 0) m_room = std::min(m_room, rest);
        return true;
    }

    Device m_input;
    Device m_output;
    unsigned int m_inputSize;
    std::string m_get;
    std::size_t m_next = 0;
    std::string m_put;
    std::size_t m_pending = 0;
    std::size_t m_room;
    bool m_isPending = false;
    int m_lastRow = -1;
};

/// The buffer and its model, for which each call is made on both.
class Pair
{
public:
    Pair(unsigned int seed, unsigned int inputSize, unsigned int outputSize)
        : m_input(seed), m_output(seed + 1), m_buffer(&m_input, inputSize, &m_output, outputSize),
          m_model(seed, inputSize, outputSize)
    {}

    /// Makes call `kind`, of eight, with `text`.
    void call(unsigned int kind, const std::string& text)
    {
        switch (kind) {
        case 0: EXPECT_EQ(m_model.sgetc(), m_buffer.sgetc()); break;
        case 1: EXPECT_EQ(m_model.sbumpc(), m_buffer.sbumpc()); break;
        case 2: EXPECT_EQ(m_model.snextc(), m_buffer.snextc()); break;
        case 3: EXPECT_EQ(m_model.sungetc(), m_buffer.sungetc()); break;
        case 4: EXPECT_EQ(m_model.sputc(text[0]), m_buffer.sputc(text[0])); break;
        case 5: put(text); break;
        case 6: get(text.size()); break;
        default: EXPECT_EQ(m_model.pubsync(), m_buffer.pubsync()); break;
        }
        EXPECT_EQ(m_model.takeCalls(), m_input.takeCalls() + "/" + m_output.takeCalls());
        EXPECT_EQ(m_model.putArea(), m_buffer.putArea());
        EXPECT_EQ(m_model.getArea(), m_buffer.getArea());
        EXPECT_EQ(m_model.isPending(), std::ErrorStorage::isError(true));
    }

private:
    void put(const std::string& text)
    {
        std::size_t taken = 0;
        while (taken < text.size() && m_model.sputc(text[taken]) != END_OF_FILE)
            ++taken;
        const auto size = static_cast<std::streamsize>(text.size());
        EXPECT_EQ(static_cast<std::streamsize>(taken), m_buffer.sputn(text.data(), size));
    }
    void get(std::size_t size)
    {
        std::string expected;
        while (expected.size() < size) {
            const int c = m_model.sbumpc();
            if (c == END_OF_FILE) break;
            expected += static_cast<char>(c);
        }
        std::vector<char> given(size);
        const auto count = m_buffer.sgetn(given.data(), static_cast<std::streamsize>(size));
        EXPECT_EQ(expected, std::string(given.data(), static_cast<std::size_t>(count)));
    }

    OpenStorage m_storage;
    Input m_input;
    Output m_output;
    OpenBinBuffer m_buffer;
    SlowBuffer m_model;
};

TEST(BinBufferModel, AnswersAlike_AllSizesFrom0To9)
{
    std::mt19937 engine(20240501);
    const auto below = [&](unsigned int limit) {
        return static_cast<unsigned int>(engine()) % limit;
    };
    for (unsigned int round = 0; round < 200 && !HasFailure(); ++round) {
        Pair pair(round, round % 10, round / 10 % 10);
        for (int step = 0; step < 100 && !HasFailure(); ++step) {
            SCOPED_TRACE(testing::Message() << "round " << round << ", step " << step);
            std::string text(1 + below(20), '\0');
            for (char& c : text)
                c = static_cast<char>(below(256));
            pair.call(below(8), text);
        }
    }
}

} // namespace

// SPDX-License-Identifier: Apache-2.0
//
// Thousands of calls at random, the same in each run, of the file buffer and of a slow model of it,
// each with a file of its own with the same answers: both must return the same, ask the same of
// their file, and be in the same state.

#include <common/streams/fstream.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/OpenStorage.h"
#include "support/ScriptedFile.h"

namespace {

using support::OpenStorage;
using support::ScriptedFile;

constexpr int END_OF_FILE = -1;
constexpr int DONE = '0';

/// What a file answers to its next call, the same for the buffer and the model.
struct Answers
{
    std::string bytes;   // of a read
    int count = 0;       // of a read; may be more than asked, or RESET_WINDOWS
    int result = 0;      // of a read
    bool writes = true;  // or fails
    bool seeks = true;   // or fails
    bool flushes = true; // or fails
};

class AnsweringFile : public ScriptedFile
{
public:
    using ScriptedFile::ScriptedFile;

    Answers m_answers;

protected:
    int readBlock(char* data, unsigned int size, int& count) override
    {
        give(m_answers.bytes, m_answers.count, m_answers.result);
        return ScriptedFile::readBlock(data, size, count);
    }
    int writeBlock(const char* data, unsigned int size, unsigned int& written) override
    {
        if (!m_answers.writes) failWrite(EIO);
        return ScriptedFile::writeBlock(data, size, written);
    }
    int seekFile(long long offset, std::ios_base::seekdir dir, std::streampos& result) override
    {
        if (!m_answers.seeks) answerSeek(-1, 0);
        return ScriptedFile::seekFile(offset, dir, result);
    }
    int flushFile() override
    {
        if (!m_answers.flushes) failFlush();
        return ScriptedFile::flushFile();
    }
};

/// The buffer once more: the bytes of it, the ends of the get area within them, and the pending
/// characters in a text of their own. A put area is there or not, and has a number of places.
class SlowFile
{
public:
    SlowFile(bool isIn, bool isOut, unsigned int size)
        : m_isIn(isIn), m_isOut(isOut), m_bytes(size == 0 ? 2048 : size, '\0')
    {}

    Answers m_answers;

    int sgetc() { return m_next < m_end ? valueOf(m_bytes[m_next]) : underflow(); }
    int sbumpc()
    {
        const int c = m_next < m_end ? valueOf(m_bytes[m_next]) : underflow();
        if (c != END_OF_FILE && m_next < m_end) ++m_next;
        return c;
    }
    int snextc() { return sbumpc() == END_OF_FILE ? END_OF_FILE : sgetc(); }
    int sungetc() { return m_next == 0 ? END_OF_FILE : valueOf(m_bytes[--m_next]); }

    int sputc(char c)
    {
        if (m_pending.size() < m_room) {
            m_pending += c;
            storePending();
            return valueOf(c);
        }
        if (!m_isOut || m_isReading) return END_OF_FILE;
        if (m_pending.empty()) return startWriting(c);
        return drain(m_pending + c) ? DONE : END_OF_FILE;
    }
    int pubsync()
    {
        if (!m_pending.empty() && (!m_isOut || m_isReading || !drain(m_pending))) return -1;
        note("flush()");
        return m_answers.flushes ? 0 : -1;
    }
    long long seek(long long offset, const std::string& from)
    {
        if (from == "cur" && m_isReading) offset -= static_cast<long long>(m_end - m_next);
        note("seek(" + std::to_string(offset) + "," + from + ")");
        if (!m_answers.seeks) return -1;
        m_isReading = m_isWriting = false;
        dropPutArea();
        m_next = m_end = 0;
        return 100;
    }

    std::string putArea() const
    {
        return m_hasPutArea ? m_pending + "+" + std::to_string(m_room - m_pending.size()) : "none";
    }
    std::string getArea() const
    {
        return m_bytes.substr(0, m_next) + "|" + m_bytes.substr(m_next, m_end - m_next);
    }
    std::string state() const
    {
        return std::string(m_isReading ? "r" : "") + std::string(m_isWriting ? "w" : "");
    }
    std::string takeCalls()
    {
        std::string calls;
        calls.swap(m_calls);
        return calls;
    }

private:
    static int valueOf(char c) { return static_cast<unsigned char>(c); }

    void note(const std::string& call) { m_calls += (m_calls.empty() ? "" : " ") + call; }

    void dropPutArea()
    {
        m_hasPutArea = false;
        m_room = 0;
        m_pending.clear();
    }
    /// Pending characters share the buffer with what was read.
    void storePending() { m_bytes.replace(0, m_pending.size(), m_pending); }

    int underflow()
    {
        if (!m_isIn || m_isWriting) return END_OF_FILE;
        note("read(" + std::to_string(m_bytes.size()) + ")");
        const std::size_t given = std::min(m_answers.bytes.size(), m_bytes.size());
        m_bytes.replace(0, given, m_answers.bytes, 0, given);
        if (m_answers.count == 0 && m_answers.result == 0) return END_OF_FILE;
        dropPutArea();
        m_next = m_end = 0;
        m_isReading = m_answers.count != 0;
        if (m_answers.count == 0) return END_OF_FILE;
        if (m_answers.count > 0)
            m_end = std::min(static_cast<std::size_t>(m_answers.count), m_bytes.size());
        return valueOf(m_bytes[0]);
    }

    int startWriting(char c)
    {
        if (m_bytes.size() == 1) {
            note("write(" + std::string(1, c) + ")");
            if (!m_answers.writes) return END_OF_FILE;
            m_isWriting = true;
            return DONE;
        }
        m_isWriting = true;
        m_next = m_end = 0;
        m_hasPutArea = true;
        m_room = m_bytes.size() - 1;
        m_pending = c;
        storePending();
        return DONE;
    }

    bool drain(const std::string& text)
    {
        note("write(" + text + ")");
        m_bytes.replace(0, text.size(), text);
        if (!m_answers.writes) return false;
        m_next = m_end = 0;
        m_pending.clear();
        m_room = m_bytes.size() - 1;
        return true;
    }

    bool m_isIn;
    bool m_isOut;
    std::string m_bytes;
    std::size_t m_next = 0;
    std::size_t m_end = 0;
    bool m_hasPutArea = false;
    std::size_t m_room = 0;
    std::string m_pending;
    bool m_isReading = false;
    bool m_isWriting = false;
    std::string m_calls;
};

std::ios_base::openmode modeOf(bool isIn, bool isOut)
{
    return (isIn ? std::ios_base::in : std::ios_base::openmode()) |
           (isOut ? std::ios_base::out : std::ios_base::openmode());
}

/// The buffer and its model, for which each call is made on both.
class Pair
{
public:
    Pair(bool isIn, bool isOut, unsigned int size)
        : m_file(modeOf(isIn, isOut), size), m_model(isIn, isOut, size)
    {
        m_file.createBuffer();
        // What a new buffer holds is returned where nothing was read.
        std::memset(m_file.buffer, 0, m_file.bufferSize);
        support::startChain(3); // or each failed write warns
    }

    /// Makes call `kind`, of ten, with `text` or `offset`.
    void call(unsigned int kind, const std::string& text, int offset, const Answers& answers)
    {
        m_file.m_answers = m_model.m_answers = answers;
        switch (kind) {
        case 0: EXPECT_EQ(m_model.sgetc(), m_file.sgetc()); break;
        case 1: EXPECT_EQ(m_model.sbumpc(), m_file.sbumpc()); break;
        case 2: EXPECT_EQ(m_model.snextc(), m_file.snextc()); break;
        case 3: EXPECT_EQ(m_model.sungetc(), m_file.sungetc()); break;
        case 4: EXPECT_EQ(m_model.sputc(text[0]), m_file.sputc(text[0])); break;
        case 5: put(text); break;
        case 6: get(text.size()); break;
        case 7: EXPECT_EQ(m_model.pubsync(), m_file.pubsync()); break;
        case 8: seek(offset); break;
        default: EXPECT_EQ(m_model.seek(offset, "beg"), m_file.pubseekpos(offset)); break;
        }
        EXPECT_EQ(m_model.takeCalls(), m_file.takeCalls());
        EXPECT_EQ(m_model.putArea(), m_file.putArea());
        EXPECT_EQ(m_model.getArea(), m_file.getArea());
        EXPECT_EQ(m_model.state(), m_file.state());
    }

private:
    void put(const std::string& text)
    {
        std::size_t taken = 0;
        while (taken < text.size() && m_model.sputc(text[taken]) != END_OF_FILE)
            ++taken;
        const auto size = static_cast<std::streamsize>(text.size());
        EXPECT_EQ(static_cast<std::streamsize>(taken), m_file.sputn(text.data(), size));
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
        const auto count = m_file.sgetn(given.data(), static_cast<std::streamsize>(size));
        EXPECT_EQ(expected, std::string(given.data(), static_cast<std::size_t>(count)));
    }
    void seek(int offset)
    {
        const bool isEnd = offset < 0;
        const auto dir = isEnd ? std::ios_base::end : std::ios_base::cur;
        EXPECT_EQ(m_model.seek(offset, isEnd ? "end" : "cur"), m_file.pubseekoff(offset, dir));
    }

    OpenStorage m_storage;
    AnsweringFile m_file;
    SlowFile m_model;
};

class Random
{
public:
    explicit Random(unsigned int seed) : m_engine(seed) {}

    unsigned int below(unsigned int limit) { return static_cast<unsigned int>(m_engine()) % limit; }
    std::string text(unsigned int size)
    {
        std::string text(size, '\0');
        for (char& c : text)
            c = static_cast<char>(below(256));
        return text;
    }
    Answers answers()
    {
        Answers next;
        next.bytes = text(below(12));
        next.count = below(6) == 0 ? -1 : static_cast<int>(next.bytes.size());
        if (below(8) == 0) next.count += 20;
        next.result = below(5) == 0 ? -1 : 0;
        next.writes = below(4) != 0;
        next.seeks = below(4) != 0;
        next.flushes = below(4) != 0;
        return next;
    }

private:
    std::mt19937 m_engine;
};

TEST(FilebufModel, AnswersAlike_AllSizesFrom0To9)
{
    Random random(20240502);
    for (unsigned int round = 0; round < 400 && !HasFailure(); ++round) {
        Pair pair(round / 10 % 4 != 0, round / 10 % 4 != 1, round % 10);
        for (int step = 0; step < 100 && !HasFailure(); ++step) {
            SCOPED_TRACE(testing::Message() << "round " << round << ", step " << step);
            const unsigned int kind = random.below(10);
            const std::string text = random.text(1 + random.below(20));
            const int offset = static_cast<int>(random.below(21)) - 10;
            pair.call(kind, text, offset, random.answers());
        }
    }
}

} // namespace

// SPDX-License-Identifier: Apache-2.0
//
// Thousands of calls at random, the same in each run, of the buffer over a file and of a slow model
// of both, a text and a position. After each call they must have returned the same, raised the same
// and have the same bytes in the file, with none lost and none twice when writes fail on their way.

#include <zelposix/FileBuf.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <utility>

#include <common/error/ErrorStorage.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "support/ChildProcess.h"
#include "support/FileSizeLimit.h"
#include "support/OpenStorage.h"
#include "support/TemporaryFolder.h"

namespace {

using std::ErrorStorage;
using std::ios_base;
using support::OpenStorage;

constexpr int END_OF_FILE = -1;
constexpr int DONE = '0';
constexpr std::size_t NO_LIMIT = 100'000;

constexpr auto IN = ios_base::in;
constexpr auto OUT = ios_base::out;
constexpr auto TRUNC = ios_base::trunc;
constexpr auto APP = ios_base::app;
constexpr auto ATE = ios_base::ate;

constexpr ios_base::openmode MODES[] = {IN,
                                        OUT,
                                        APP,
                                        IN | OUT,
                                        IN | OUT,
                                        IN | APP,
                                        IN | APP,
                                        IN | OUT | TRUNC,
                                        OUT | TRUNC,
                                        IN | OUT | ATE,
                                        IN | OUT | APP | ATE};

int valueOf(char c)
{
    return static_cast<unsigned char>(c);
}

/// The buffer and the file once more. Of the buffer there is what was put and is not written as a
/// whole, and how much of that is out already; reading needs none.
class SlowFile
{
public:
    explicit SlowFile(unsigned int size) : m_size(size) {}

    std::string m_disk;
    std::size_t m_limit = NO_LIMIT;
    bool m_raised = false;

    void open(ios_base::openmode mode)
    {
        m_isIn = (mode & IN) != 0;
        m_isApp = (mode & APP) != 0;
        m_isOut = m_isApp || (mode & OUT) != 0;
        if (m_isOut && (!m_isIn || (mode & TRUNC) != 0) && !m_isApp) m_disk.clear();
        m_position = (mode & ATE) != 0 ? m_disk.size() : 0;
    }
    bool close()
    {
        const bool isWritten = sync();
        forget();
        m_isIn = m_isOut = m_isApp = false;
        return isWritten;
    }
    int sgetc()
    {
        if (!m_isIn || m_isWriting || m_position >= m_disk.size()) return END_OF_FILE;
        m_isReading = true;
        return valueOf(m_disk[m_position]);
    }
    int sbumpc()
    {
        const int c = sgetc();
        if (c != END_OF_FILE) ++m_position;
        return c;
    }
    int sputc(char c)
    {
        if (m_hasArea && m_pending.size() + 1 < m_size) {
            m_pending += c;
            return valueOf(c);
        }
        if (!m_isOut || m_isReading) return END_OF_FILE;
        if (m_pending.empty()) return startWriting(c);
        return drain(m_pending + c) ? DONE : END_OF_FILE;
    }
    bool sync() { return m_pending.empty() || drain(m_pending); }
    long long seek(long long offset, ios_base::seekdir dir)
    {
        if (!sync()) return -1;
        if (dir == ios_base::cur) offset += static_cast<long long>(m_position);
        if (dir == ios_base::end) offset += static_cast<long long>(m_disk.size());
        m_raised = offset < 0;
        if (m_raised) return -1;
        forget();
        m_position = static_cast<std::size_t>(offset);
        return offset;
    }

private:
    int startWriting(char c)
    {
        if (m_size == 1 && transfer(std::string(1, c)) == 0) return END_OF_FILE;
        m_isWriting = true;
        if (m_size == 1) return DONE;
        m_hasArea = true;
        m_pending = c;
        return DONE;
    }
    bool drain(const std::string& text)
    {
        m_out += transfer(text.substr(m_out));
        if (m_out < text.size()) return false;
        m_pending.clear();
        m_out = 0;
        return true;
    }
    /// Writes as far as the limit lets it, and tells how far.
    std::size_t transfer(const std::string& text)
    {
        if (text.empty()) return 0;
        const std::size_t place = m_isApp ? m_disk.size() : m_position;
        const std::size_t count = std::min(text.size(), m_limit - std::min(place, m_limit));
        m_raised = count < text.size();
        if (count == 0) return 0;
        if (m_disk.size() < place + count) m_disk.resize(place + count, '\0');
        m_disk.replace(place, count, text, 0, count);
        m_position = place + count;
        return count;
    }
    void forget()
    {
        m_pending.clear();
        m_out = 0;
        m_hasArea = m_isReading = m_isWriting = false;
    }

    unsigned int m_size;
    bool m_isIn = false;
    bool m_isOut = false;
    bool m_isApp = false;
    bool m_hasArea = false;
    bool m_isReading = false;
    bool m_isWriting = false;
    std::size_t m_position = 0;
    std::string m_pending;
    std::size_t m_out = 0;
};

/// Does the same with a buffer and its model, and tells of each call what came of it.
class Pair
{
public:
    Pair(std::string name, unsigned int seed, unsigned int size)
        : m_name(std::move(name)), m_size(size), m_file(new zel::FileBuf(size)), m_model(size),
          m_engine(seed), m_fd(::open(m_name.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600))
    {
        m_log = "seed " + std::to_string(seed) + ", size " + std::to_string(size) + ":";
        limit(NO_LIMIT);
        reopen();
    }
    ~Pair() { ::close(m_fd); }
    Pair(const Pair&) = delete;
    Pair& operator=(const Pair&) = delete;

    const std::string& log() const { return m_log; }

    /// Returns whether both agree after one more call.
    bool step(bool limits)
    {
        m_errors.clear();
        m_model.m_raised = false;
        const bool isEqual = limits && below(8) == 0 ? changeLimit() : call(below(20));
        m_log += m_model.m_raised ? "!" : "";
        return isEqual && ErrorStorage::isError(true) == m_model.m_raised &&
               content() == m_model.m_disk;
    }

private:
    unsigned int below(unsigned int end) { return static_cast<unsigned int>(m_engine()) % end; }

    bool call(unsigned int kind)
    {
        if (kind < 5) return putOne();
        if (kind < 8) return putMany();
        if (kind < 9) return note("sgetc", m_file->sgetc(), m_model.sgetc());
        if (kind < 11) return note("sbumpc", m_file->sbumpc(), m_model.sbumpc());
        if (kind < 13) return getMany();
        if (kind < 15) return note("sync", m_file->pubsync(), m_model.sync() ? 0 : -1);
        if (kind < 18) return seek();
        if (kind < 19 && below(20) == 0)
            return note("commit", m_file->commit() ? 1 : 0, m_model.sync() ? 1 : 0);
        return kind < 19 ? putMany() : close() && reopen();
    }
    bool note(const std::string& name, long long got, long long expected)
    {
        m_log += " " + name + "=" + std::to_string(got);
        return got == expected;
    }
    char nextCharacter()
    {
        ++m_next;
        return below(9) == 0 ? '\xFF' : static_cast<char>('a' + m_next % 26);
    }
    bool putOne()
    {
        const char c = nextCharacter();
        return note("sputc", m_file->sputc(c), m_model.sputc(c));
    }
    bool putMany()
    {
        std::string text(below(14), ' ');
        for (char& c : text)
            c = nextCharacter();
        const auto size = static_cast<std::streamsize>(text.size());
        std::streamsize done = 0;
        while (done < size && m_model.sputc(text[static_cast<std::size_t>(done)]) != END_OF_FILE)
            ++done;
        return note("sputn" + std::to_string(size), m_file->sputn(text.data(), size), done);
    }
    bool getMany()
    {
        const unsigned int size = below(14);
        std::string expected;
        while (expected.size() < size && m_model.sgetc() != END_OF_FILE)
            expected += static_cast<char>(m_model.sbumpc());
        std::string text(size, '\0');
        const std::streamsize count = m_file->sgetn(text.data(), size);
        text.resize(static_cast<std::size_t>(count));
        return note("sgetn" + std::to_string(size), count,
                    static_cast<long long>(expected.size())) &&
               text == expected;
    }
    bool seek()
    {
        static constexpr ios_base::seekdir DIRECTIONS[] = {ios_base::beg, ios_base::cur,
                                                           ios_base::end};
        const int offset = below(3) == 0 ? 0 : static_cast<int>(below(24)) - 8;
        const unsigned int dir = below(4);
        const std::string name = "seek" + std::to_string(offset) + "/" + std::to_string(dir);
        if (dir == 3)
            return note(name, m_file->pubseekpos(offset), m_model.seek(offset, ios_base::beg));
        return note(name, m_file->pubseekoff(offset, DIRECTIONS[dir]),
                    m_model.seek(offset, DIRECTIONS[dir]));
    }
    bool close()
    {
        const bool isWritten = m_model.close();
        if (below(3) != 0)
            return note("close", m_file->close() != nullptr ? 1 : 0, isWritten ? 1 : 0);
        m_file.reset();
        m_file = std::make_unique<zel::FileBuf>(m_size);
        m_log += " destroyed";
        return true;
    }
    bool reopen()
    {
        const auto mode = MODES[below(std::size(MODES))];
        m_model.open(mode);
        return note("open" + std::to_string(mode),
                    m_file->open(m_name.c_str(), mode) != nullptr ? 1 : 0, 1);
    }
    bool changeLimit()
    {
        limit(below(3) == 0 ? NO_LIMIT : m_model.m_disk.size() + below(7));
        return true;
    }
    void limit(std::size_t size)
    {
        m_model.m_limit = size;
        support::limitFiles(size);
        m_log += " limit" + std::to_string(size);
    }
    std::string content() const
    {
        std::string bytes(4096, '\0');
        const ssize_t count = pread(m_fd, bytes.data(), bytes.size(), 0);
        bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        return bytes;
    }

    OpenStorage m_errors;
    std::string m_name;
    unsigned int m_size;
    std::unique_ptr<zel::FileBuf> m_file;
    SlowFile m_model;
    std::mt19937 m_engine;
    int m_fd;
    std::string m_log;
    unsigned int m_next = 0;
};

/// Holds `count` sequences of each buffer size against the model, in a process of their own: the
/// limits are those of the whole process.
void compare(unsigned int count, bool limits)
{
    const support::TemporaryFolder folder;
    const support::ChildResult child = support::runInChild([&] {
        for (unsigned int seed = 0; seed < 9 * count; ++seed) {
            Pair pair(folder.pathOf("file"), seed, 1 + seed % 9);
            for (int step = 0; step < 60; ++step)
                ASSERT_TRUE(pair.step(limits)) << pair.log();
        }
    });
    EXPECT_EQ("", child.out);
    EXPECT_EQ("", child.err);
    EXPECT_EQ(0, child.exitCode);
}

TEST(FileBufModel, Sequences)
{
    compare(250, false);
}

TEST(FileBufModel, Sequences_WithWritesThatStopOnTheirWay)
{
    compare(250, true);
}

} // namespace

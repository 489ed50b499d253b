// SPDX-License-Identifier: Apache-2.0
//
// A file whose primitives follow a script and note their calls.
//
//     support::ScriptedFile file(std::ios_base::out, 8);
//     file.createBuffer();
//     file.failWrite(ENOSPC);

#ifndef ZELCOMMON_TESTS_SUPPORT_SCRIPTEDFILE_H
#define ZELCOMMON_TESTS_SUPPORT_SCRIPTEDFILE_H

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <deque>
#include <string>

#include <common/streams/fstream.h>

namespace support {

/// Behind the end of the script each call succeeds: a read meets the end of the file, a write takes
/// all, a seek ends at 100.
class ScriptedFile : public std::filebuf_base
{
public:
    explicit ScriptedFile(std::ios_base::openmode openMode, unsigned int size = 0,
                          char* outsideBuffer = nullptr)
        : filebuf_base(openMode, size, outsideBuffer)
    {}

    using filebuf_base::DEFAULT_SIZE;

    using filebuf_base::applyWindows;
    using filebuf_base::buffer;
    using filebuf_base::bufferSize;
    using filebuf_base::createBuffer;
    using filebuf_base::destroyBuffer;
    using filebuf_base::mode;
    using filebuf_base::overflow;
    using filebuf_base::reading;
    using filebuf_base::seekoff;
    using filebuf_base::seekpos;
    using filebuf_base::setg;
    using filebuf_base::sync;
    using filebuf_base::uflow;
    using filebuf_base::underflow;
    using filebuf_base::userBuffer;
    using filebuf_base::writing;

    /// The next read gives `bytes`.
    void give(const std::string& bytes) { give(bytes, static_cast<int>(bytes.size())); }
    /// The next read gives `bytes`, says that they are `count`, and returns `result`.
    void give(const std::string& bytes, int count, int result = 0)
    {
        m_reads.push_back({bytes, count, result});
    }
    /// The next write succeeds, though it says that it wrote `count` bytes.
    void takeWrite(unsigned int count) { m_writes.push_back({0, count, 0}); }
    /// The next write fails with this `errno` and this result.
    void failWrite(int error, int result = -1) { m_writes.push_back({error, 0, result}); }
    /// The next seek returns `result` and tells `position`.
    void answerSeek(int result, long long position) { m_seeks.push_back({result, position}); }
    /// The next flush fails with this result.
    void failFlush(int result = 1) { m_flushResult = result; }

    /// Returns the calls since the last time, as "read(8) write(abc) seek(-3,cur) flush()".
    std::string takeCalls()
    {
        std::string calls;
        calls.swap(m_calls);
        return calls;
    }

    /// The pending characters and the number of free places, as "abc+4", or "none".
    std::string putArea() const
    {
        if (pbase() == nullptr) return "none";
        return std::string(pbase(), pptr()) + "+" + std::to_string(epptr() - pptr());
    }
    /// The characters before and behind the get pointer, as "ab|cd", or "none".
    std::string getArea() const
    {
        if (eback() == nullptr) return "none";
        return std::string(eback(), gptr()) + "|" + std::string(gptr(), egptr());
    }
    /// "r", "w", "rw" or "".
    std::string state() const
    {
        return std::string(reading ? "r" : "") + std::string(writing ? "w" : "");
    }

protected:
    int readBlock(char* data, unsigned int size, int& count) override
    {
        note("read(" + std::to_string(size) + ")");
        if (data != buffer) note("elsewhere");
        const Read step = next(m_reads, Read{"", count, 0});
        std::memcpy(data, step.bytes.data(), std::min<std::size_t>(size, step.bytes.size()));
        count = step.count;
        return step.result;
    }
    int writeBlock(const char* data, unsigned int size, unsigned int& written) override
    {
        note("write(" + std::string(data, size) + ")");
        if (written != 0) note("dirty");
        const Write step = next(m_writes, Write{0, size, 0});
        written = step.count;
        if (step.error != 0) errno = step.error;
        return step.result;
    }
    int seekFile(long long offset, std::ios_base::seekdir dir, std::streampos& result) override
    {
        const char* const from = dir == std::ios_base::beg   ? "beg"
                                 : dir == std::ios_base::cur ? "cur"
                                                             : "end";
        note("seek(" + std::to_string(offset) + "," + from + ")");
        if (result != std::streampos(0)) note("dirty");
        const Seek step = next(m_seeks, Seek{0, 100});
        result = step.position;
        return step.result;
    }
    int flushFile() override
    {
        note("flush()");
        const int result = m_flushResult;
        m_flushResult = 0;
        return result;
    }
    int closeFile() override
    {
        note("close()");
        return 0;
    }

private:
    struct Read
    {
        std::string bytes;
        int count;
        int result;
    };
    struct Write
    {
        int error;
        unsigned int count;
        int result;
    };
    struct Seek
    {
        int result;
        long long position;
    };

    template <typename Step>
    static Step next(std::deque<Step>& script, Step otherwise)
    {
        if (script.empty()) return otherwise;
        Step step = script.front();
        script.pop_front();
        return step;
    }

    void note(const std::string& call) { m_calls += (m_calls.empty() ? "" : " ") + call; }

    std::string m_calls;
    std::deque<Read> m_reads;
    std::deque<Write> m_writes;
    std::deque<Seek> m_seeks;
    int m_flushResult = 0;
};

/// A file with a buffer.
struct BufferedFile : ScriptedFile
{
    BufferedFile(std::ios_base::openmode openMode, unsigned int size) : ScriptedFile(openMode, size)
    {
        createBuffer();
    }
};

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_SCRIPTEDFILE_H

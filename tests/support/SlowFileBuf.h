// SPDX-License-Identifier: Apache-2.0
//
// A slow model of std::filebuf_base, and the pair of a buffer and its model, each with a file of
// its own with the same answers.

#ifndef ZELCOMMON_TESTS_SUPPORT_SLOWFILEBUF_H
#define ZELCOMMON_TESTS_SUPPORT_SLOWFILEBUF_H

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <deque>
#include <limits>
#include <memory>
#include <streambuf>
#include <string>

#include <support/OpenStorage.h>
#include <support/ReportText.h>
#include <support/ScriptedFile.h>
#include <support/StreamBufCalls.h>

namespace support {

/// What a primitive of a file does. All is well by default.
struct FileAnswer
{
    /// Of a read.
    std::string bytes;
    /// That a read or a write tells, whatever is true; may be `RESET_WINDOWS`, and less. The
    /// position that a seek tells.
    int count = 0;
    bool fails = false;
};

/// A file with answers until the next call of its buffer.
class AnsweringFile : public ScriptedFile
{
public:
    using ScriptedFile::ScriptedFile;

    std::deque<FileAnswer> answers;

    static FileAnswer next(std::deque<FileAnswer>& answers)
    {
        if (answers.empty()) return {};
        const FileAnswer answer = answers.front();
        answers.pop_front();
        return answer;
    }

protected:
    int readBlock(char* data, unsigned int size, int& count) override
    {
        const FileAnswer answer = next(answers);
        give(answer.bytes, answer.count, answer.fails ? -1 : 0);
        return ScriptedFile::readBlock(data, size, count);
    }
    int writeBlock(const char* data, unsigned int size, unsigned int& written) override
    {
        const FileAnswer answer = next(answers);
        if (answer.fails)
            failWrite(EIO);
        else
            takeWrite(static_cast<unsigned int>(answer.count));
        return ScriptedFile::writeBlock(data, size, written);
    }
    int seekFile(long long offset, std::ios_base::seekdir dir, std::streampos& result) override
    {
        const FileAnswer answer = next(answers);
        answerSeek(answer.fails ? -1 : 0, answer.count);
        return ScriptedFile::seekFile(offset, dir, result);
    }
    int flushFile() override
    {
        if (next(answers).fails) failFlush();
        return ScriptedFile::flushFile();
    }
};

/// How a file buffer is made.
struct FileBufForm
{
    enum Memory { OWN, OUTSIDE, NONE };

    bool isIn = true;
    bool isOut = true;
    unsigned int size = 0;
    Memory memory = OWN;
    /// Whether an error is pending, of which nothing is ever acknowledged.
    bool hasError = true;

    /// The bytes of the buffer.
    unsigned int capacity() const
    {
        if (memory == NONE) return 0;
        return size == 0 && memory == OWN ? 2048 : size;
    }
    std::ios_base::openmode mode() const
    {
        return (isIn ? std::ios_base::in : std::ios_base::openmode()) |
               (isOut ? std::ios_base::out : std::ios_base::openmode());
    }
};

/// The buffer once more: the bytes of it, the ends of the get area within them, and the pending
/// characters in a text of their own. A put area is there or not, and has a number of places. The
/// areas of the base are empty, so that each character goes through the functions here.
class SlowFileBuf : public std::streambuf
{
public:
    explicit SlowFileBuf(const FileBufForm& form) : m_form(form), m_bytes(form.capacity(), '\0') {}

    std::deque<FileAnswer> answers;

    std::string putArea() const
    {
        return m_hasPutArea ? m_pending + "+" + std::to_string(m_room - m_pending.size()) : "none";
    }
    std::string getArea() const
    {
        if (m_form.memory == FileBufForm::NONE) return "none";
        return m_bytes.substr(0, m_next) + "|" + m_bytes.substr(m_next, m_end - m_next);
    }
    std::string state() const
    {
        return std::string(m_isReading ? "r" : "") + std::string(m_isWriting ? "w" : "");
    }
    std::string takeCalls() { return taken(m_calls); }
    /// What the library has to print, since the last time.
    std::string takeWarnings() { return taken(m_warnings); }

protected:
    int underflow() override { return m_next < m_end ? valueOf(m_bytes[m_next]) : refill(); }
    int uflow() override
    {
        const int c = underflow();
        if (c != END_OF_FILE && m_next < m_end) ++m_next;
        return c;
    }
    int pbackfail(int c) override
    {
        if (m_next == 0) return END_OF_FILE;
        const int last = valueOf(m_bytes[m_next - 1]);
        if (c != END_OF_FILE && c != last) return END_OF_FILE;
        --m_next;
        return last;
    }
    int overflow(int c) override
    {
        const char byte = static_cast<char>(c);
        if (m_pending.size() < m_room) {
            m_pending += byte;
            storePending();
            return valueOf(byte);
        }
        if (!m_form.isOut || m_isReading) return END_OF_FILE;
        if (m_pending.empty()) return startWriting(byte);
        return drain(m_pending + byte) ? DONE : END_OF_FILE;
    }
    int sync() override
    {
        if (!m_pending.empty() && (!m_form.isOut || m_isReading || !drain(m_pending))) return -1;
        note("flush()");
        return next().fails ? -1 : 0;
    }
    pos_type seekoff(off_type offset, std::ios_base::seekdir dir, std::ios_base::openmode) override
    {
        if (dir == std::ios_base::end) return seek(offset, "end");
        const long long unread = m_isReading ? static_cast<long long>(m_end - m_next) : 0;
        if (offset < std::numeric_limits<long long>::min() + unread) return pos_type(-1);
        return seek(offset - unread, "cur");
    }
    pos_type seekpos(pos_type position, std::ios_base::openmode) override
    {
        return seek(off_type(position), "beg");
    }

private:
    static constexpr int END_OF_FILE = -1;
    static constexpr int DONE = '0';

    static int valueOf(char c) { return static_cast<unsigned char>(c); }
    static std::string taken(std::string& from)
    {
        std::string text;
        text.swap(from);
        return text;
    }

    void note(const std::string& call) { m_calls += (m_calls.empty() ? "" : " ") + call; }
    FileAnswer next() { return AnsweringFile::next(answers); }

    void dropPutArea()
    {
        m_hasPutArea = false;
        m_room = 0;
        m_pending.clear();
    }
    /// Pending characters share the buffer with what was read.
    void storePending() { m_bytes.replace(0, m_pending.size(), m_pending); }

    int refill()
    {
        if (!m_form.isIn || m_isWriting || m_bytes.empty()) return END_OF_FILE;
        note("read(" + std::to_string(m_bytes.size()) + ")");
        const FileAnswer answer = next();
        const std::size_t given = std::min(answer.bytes.size(), m_bytes.size());
        m_bytes.replace(0, given, answer.bytes, 0, given);
        if (answer.count == 0 && !answer.fails) return END_OF_FILE;
        dropPutArea();
        m_next = m_end = 0;
        m_isReading = answer.count != 0;
        if (answer.count == 0) return END_OF_FILE;
        if (answer.count < ScriptedFile::RESET_WINDOWS)
            m_warnings += assertionText("include/common/streams/fstream:141, applyWindows()",
                                        "p_offset >= RESET_WINDOWS");
        if (answer.count > 0)
            m_end = std::min(static_cast<std::size_t>(answer.count), m_bytes.size());
        return valueOf(m_bytes[0]);
    }

    /// Writes by itself what there is no room to keep back.
    int startWriting(char c)
    {
        if (m_form.size <= 1 && m_bytes.size() <= 1) {
            if (!write(std::string(1, c))) return END_OF_FILE;
            m_isWriting = true;
            return DONE;
        }
        if (m_bytes.empty()) return END_OF_FILE;
        m_isWriting = true;
        m_next = m_end = 0;
        m_hasPutArea = true;
        m_room = m_bytes.size() - 1;
        m_pending = c;
        storePending();
        return DONE;
    }

    bool write(const std::string& text)
    {
        note("write(" + text + ")");
        if (!next().fails) return true;
        if (!m_form.hasError)
            m_warnings += warningText("src/common/streams/fstream:127, overflow()",
                                      "Couldn't actually write: Input/output error");
        return false;
    }
    bool drain(const std::string& text)
    {
        m_bytes.replace(0, text.size(), text);
        if (!write(text)) return false;
        m_next = m_end = 0;
        m_pending.clear();
        m_room = m_bytes.size() - 1;
        return true;
    }
    pos_type seek(long long offset, const std::string& from)
    {
        note("seek(" + std::to_string(offset) + "," + from + ")");
        const FileAnswer answer = next();
        if (answer.fails) return pos_type(-1);
        m_isReading = m_isWriting = false;
        dropPutArea();
        m_next = m_end = 0;
        return answer.count;
    }

    FileBufForm m_form;
    std::string m_bytes;
    std::size_t m_next = 0;
    std::size_t m_end = 0;
    bool m_hasPutArea = false;
    std::size_t m_room = 0;
    std::string m_pending;
    bool m_isReading = false;
    bool m_isWriting = false;
    std::string m_calls;
    std::string m_warnings;
};

/// The buffer and its model, for which each call is made on both. A buffer from outside lies in
/// memory of exactly its size.
class FileBufPair
{
public:
    explicit FileBufPair(const FileBufForm& form)
        : m_block(new char[form.size]()),
          m_file(form.mode(), form.size,
                 form.memory == FileBufForm::OUTSIDE ? m_block.get() : nullptr),
          m_model(form)
    {
        if (form.hasError) startChain(3);
        if (form.memory != FileBufForm::OWN) return;
        m_file.createBuffer();
        // What a new buffer holds is returned where nothing was read.
        std::memset(m_file.buffer, 0, m_file.bufferSize);
    }

    /// What the file does in the next call.
    void setAnswers(const std::deque<FileAnswer>& answers)
    {
        m_file.answers = m_model.answers = answers;
    }
    /// Makes the call on the buffer. Returns its result, what the file was asked for, and the
    /// buffer's state.
    std::string callBuffer(const BufferCall& call) { return callOn(m_file, call); }
    std::string callModel(const BufferCall& call) { return callOn(m_model, call); }
    /// What the library has to print, since the last time.
    std::string takeWarnings() { return m_model.takeWarnings(); }

private:
    template <typename Buffer>
    static std::string callOn(Buffer& buffer, const BufferCall& call)
    {
        const std::string result = callText(buffer, call) + " / " + buffer.takeCalls();
        return result + " / " + buffer.putArea() + " / " + buffer.getArea() + " / " +
               buffer.state();
    }

    OpenStorage m_storage;
    std::unique_ptr<char[]> m_block;
    AnsweringFile m_file;
    SlowFileBuf m_model;
};

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_SLOWFILEBUF_H

// SPDX-License-Identifier: Apache-2.0
//
// A slow model of std::BinBuffer, and the pair of a buffer and its model, each over a device of its
// own with the same answers.

#ifndef ZELCOMMON_TESTS_SUPPORT_SLOWBINBUFFER_H
#define ZELCOMMON_TESTS_SUPPORT_SLOWBINBUFFER_H

#include <algorithm>
#include <cstring>
#include <deque>
#include <memory>
#include <streambuf>
#include <string>

#include <common/error/ErrorStorage.h>
#include <support/OpenStorage.h>
#include <support/ReportText.h>
#include <support/ScriptedDevice.h>
#include <support/StreamBufCalls.h>
#include <zel/report.h>

namespace support {

/// What a device does in one transfer.
struct DeviceAnswer
{
    /// What a reader gets; then come dots.
    std::string bytes;
    /// May be more than was asked for.
    unsigned int count = 0;
    bool takesAll = false; // or `count`
    bool fails = false;
    /// The row of `StreamError` that is raised, or -1.
    int row = -1;
};

/// The answers of a device until the next call of the buffer. Behind them a reader is at the end of
/// its stream, and a writer's data are taken.
class AnsweringDevice : public CallLog
{
public:
    std::deque<DeviceAnswer> answers;

    /// Returns the next answer; `last` behind all others.
    DeviceAnswer next(const std::string& call, unsigned int size, const DeviceAnswer& last)
    {
        note(call);
        DeviceAnswer answer = last;
        if (!answers.empty()) {
            answer = answers.front();
            answers.pop_front();
        }
        answer.bytes.resize(size, '.');
        if (answer.takesAll) answer.count = size;
        return answer;
    }
    DeviceAnswer nextRead(unsigned int size)
    {
        return next("read(" + std::to_string(size) + ")", size,
                    {"", 0, false, true, END_OF_STREAM});
    }
    DeviceAnswer nextWrite(const std::string& text)
    {
        return next("write(" + text + ")", static_cast<unsigned int>(text.size()),
                    {"", 0, true, false, -1});
    }
};

class AnsweringInput : public std::IBinInputStream, public AnsweringDevice
{
public:
    AnsweringInput() : IBinInputStream(true, 0) {}

protected:
    bool performRead(void* data, unsigned int size, unsigned int& got) override
    {
        const DeviceAnswer answer = nextRead(size);
        std::memcpy(data, answer.bytes.data(), size);
        got = answer.count;
        if (answer.row >= 0) ZEL_RAISE(StreamError, answer.row);
        return answer.fails;
    }
};

class AnsweringOutput : public std::IBinOutputStream, public AnsweringDevice
{
public:
    AnsweringOutput() : IBinOutputStream(true, 0) {}

protected:
    bool performWrite(const void* data, unsigned int size, unsigned int& written) override
    {
        const DeviceAnswer answer = nextWrite(std::string(static_cast<const char*>(data), size));
        written = answer.count;
        if (answer.row >= 0) ZEL_RAISE(StreamError, answer.row);
        return answer.fails;
    }
};

/// How a buffer is made.
struct BinBufferForm
{
    bool hasInput = true;
    unsigned int inputSize = 0;
    bool hasOutput = true;
    unsigned int outputSize = 0;
    bool isOutside = false; // both buffers come from outside
};

/// The buffer once more: a text to read, how far that is read, the bytes of the put buffer, how
/// many of them are pending and how many may be. Errors are a flag and a number. The areas of the
/// base are empty, so that each character goes through the functions here.
class SlowBinBuffer : public std::streambuf
{
public:
    explicit SlowBinBuffer(const BinBufferForm& form)
        : m_form(form), m_put(form.outputSize, '\0'), m_room(roomOf(form.outputSize))
    {}

    AnsweringDevice input;
    AnsweringDevice output;

    std::string putArea() const
    {
        return m_put.substr(0, m_pending) + "+" + std::to_string(m_room - m_pending);
    }
    std::string getArea() const { return m_get.substr(0, m_next) + "|" + m_get.substr(m_next); }
    bool isPending() const { return m_isPending; }
    /// What the library has to print, since the last time.
    std::string takeWarnings()
    {
        std::string warnings;
        warnings.swap(m_warnings);
        return warnings;
    }

protected:
    int underflow() override { return m_next < m_get.size() ? valueOf(m_get[m_next]) : refill(); }
    int uflow() override
    {
        const int c = underflow();
        if (c != END_OF_FILE) ++m_next;
        return c;
    }
    int pbackfail(int c) override
    {
        if (m_next == 0) return END_OF_FILE;
        const int last = valueOf(m_get[m_next - 1]);
        if (c != END_OF_FILE && c != last) return END_OF_FILE;
        --m_next;
        return last;
    }
    int overflow(int c) override
    {
        const char byte = static_cast<char>(c);
        if (m_pending < m_room) {
            m_put[m_pending++] = byte;
            return valueOf(byte);
        }
        if (m_put.empty() || !m_form.hasOutput) return END_OF_FILE;
        if (m_put.size() == 1) return writeOne(byte);
        m_put[m_pending] = byte;
        return drain(m_pending + 1) ? 1 : END_OF_FILE;
    }
    int sync() override { return m_pending > 0 && !drain(m_pending) ? -1 : 0; }

private:
    static constexpr int END_OF_FILE = -1;

    static int valueOf(char c) { return static_cast<unsigned char>(c); }
    static std::size_t roomOf(std::size_t size) { return size == 0 ? 0 : size - 1; }

    /// A failed transfer is none, unless char is unsigned.
    static bool isRefused(const DeviceAnswer& answer, unsigned int moved)
    {
#ifdef __CHAR_UNSIGNED__
        return !answer.fails && moved == 0;
#else
        return answer.fails || moved == 0;
#endif
    }

    /// What the binary stream makes of the answer. Warns of a failure while there was no error.
    void record(const DeviceAnswer& answer, const std::string& location, const std::string& words)
    {
        if (answer.row >= 0) {
            m_isPending = true;
            m_lastRow = answer.row;
        }
        if (answer.fails && m_lastRow < 0)
            m_warnings +=
                warningText("src/common/" + location,
                            "stream implementation indicated " + words + " raise a StreamError!");
    }

    int refill()
    {
        if (!m_form.hasInput) return END_OF_FILE;
        DeviceAnswer answer;
        if (m_form.inputSize != 0) {
            answer = input.nextRead(m_form.inputSize);
            record(answer, "IBinInputStream:124, read()", "failure but didn't");
            // A failed transfer may have written, too.
            m_get.replace(0, m_get.size(), answer.bytes, 0, m_get.size());
        }
        const unsigned int moved = std::min(answer.count, m_form.inputSize);
        if (answer.fails || moved == 0) {
            // The end of the stream stays the last error until there is another.
            if (m_lastRow == END_OF_STREAM) m_get.clear(), m_next = 0;
            m_isPending = false;
            return END_OF_FILE;
        }
        m_get = answer.bytes.substr(0, moved);
        m_next = 0;
        return valueOf(m_get[0]);
    }

    DeviceAnswer write(const std::string& text)
    {
        const DeviceAnswer answer = output.nextWrite(text);
        record(answer, "IBinOutputStream:118, write()", "failurebut didn't");
        return answer;
    }

    int writeOne(char c)
    {
        const DeviceAnswer answer = write(std::string(1, c));
        if (!isRefused(answer, std::min(answer.count, 1U))) return 1;
        m_isPending = false;
        return END_OF_FILE;
    }

    bool drain(std::size_t pending)
    {
        if (!m_form.hasOutput) return false;
        const DeviceAnswer answer = write(m_put.substr(0, pending));
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

    BinBufferForm m_form;
    std::string m_get;
    std::size_t m_next = 0;
    std::string m_put;
    std::size_t m_pending = 0;
    std::size_t m_room;
    bool m_isPending = false;
    int m_lastRow = -1;
    std::string m_warnings;
};

/// The buffer and its model, for which each call is made on both. Buffers from outside lie in
/// memory of exactly their size.
class BinBufferPair
{
public:
    explicit BinBufferPair(const BinBufferForm& form)
        : m_inputBlock(new char[form.inputSize]), m_outputBlock(new char[form.outputSize]),
          m_buffer(form.hasInput ? &m_input : nullptr, form.inputSize,
                   form.hasOutput ? &m_output : nullptr, form.outputSize,
                   form.isOutside ? m_inputBlock.get() : nullptr,
                   form.isOutside ? m_outputBlock.get() : nullptr),
          m_model(form)
    {}

    /// What the devices do in the next call.
    void setAnswers(const std::deque<DeviceAnswer>& input, const std::deque<DeviceAnswer>& output)
    {
        m_input.answers = m_model.input.answers = input;
        m_output.answers = m_model.output.answers = output;
    }
    /// Makes the call on the buffer. Returns its result, what the devices were asked for, and the
    /// buffer's state.
    std::string callBuffer(const BufferCall& call)
    {
        const std::string result =
            callText(m_buffer, call) + " / " + m_input.takeCalls() + " / " + m_output.takeCalls();
        return result + " / " + m_buffer.putArea() + " / " + m_buffer.getArea() + " / " +
               (std::ErrorStorage::isError(true) ? "error" : "");
    }
    std::string callModel(const BufferCall& call)
    {
        const std::string result = callText(m_model, call) + " / " + m_model.input.takeCalls() +
                                   " / " + m_model.output.takeCalls();
        return result + " / " + m_model.putArea() + " / " + m_model.getArea() + " / " +
               (m_model.isPending() ? "error" : "");
    }
    /// What the library has to print, since the last time.
    std::string takeWarnings() { return m_model.takeWarnings(); }

private:
    OpenStorage m_storage;
    AnsweringInput m_input;
    AnsweringOutput m_output;
    std::unique_ptr<char[]> m_inputBlock;
    std::unique_ptr<char[]> m_outputBlock;
    OpenBinBuffer m_buffer;
    SlowBinBuffer m_model;
};

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_SLOWBINBUFFER_H

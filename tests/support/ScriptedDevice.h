// SPDX-License-Identifier: Apache-2.0
//
// Binary streams whose transfers follow a script, and a stream buffer over them whose areas tests
// can see.
//
//     support::DeviceOutput output;
//     output.take(3);
//     support::OpenBinBuffer buffer(nullptr, 0, &output, 8);

#ifndef ZELCOMMON_TESTS_SUPPORT_SCRIPTEDDEVICE_H
#define ZELCOMMON_TESTS_SUPPORT_SCRIPTEDDEVICE_H

#include <algorithm>
#include <cstring>
#include <deque>
#include <string>

#include <common/BinBuffer.h>
#include <zel/report.h>

namespace support {

/// The row of `StreamError` that stands for the end of the stream.
constexpr int END_OF_STREAM = 2;

/// What the devices were asked for, as "read(8) write(abc)".
class CallLog
{
public:
    void note(const std::string& call) { m_calls += (m_calls.empty() ? "" : " ") + call; }

    /// Returns the calls since the last time.
    std::string takeCalls()
    {
        std::string calls;
        calls.swap(m_calls);
        return calls;
    }

private:
    std::string m_calls;
};

/// Gives what the script says, and behind its end nothing, without a failure.
class DeviceInput : public std::IBinInputStream, public CallLog
{
public:
    explicit DeviceInput(unsigned int ownSize = 0) : IBinInputStream(true, ownSize) {}

    /// The next transfer gives `bytes`.
    void give(const std::string& bytes)
    {
        m_script.push_back({bytes, static_cast<unsigned int>(bytes.size()), false, 0});
    }
    /// The next transfer gives `bytes`, and says that they are `count`.
    void give(const std::string& bytes, unsigned int count)
    {
        m_script.push_back({bytes, count, false, 0});
    }
    /// The next transfer fails with row `id` of `StreamError`.
    void fail(int id) { m_script.push_back({"", 0, true, id}); }

protected:
    bool performRead(void* data, unsigned int size, unsigned int& got) override
    {
        note("read(" + std::to_string(size) + ")");
        if (m_script.empty()) return false;
        const Step step = m_script.front();
        m_script.pop_front();
        std::memcpy(data, step.bytes.data(), std::min<std::size_t>(size, step.bytes.size()));
        got = step.count;
        if (step.fails) ZEL_RAISE(StreamError, step.id);
        return step.fails;
    }

private:
    struct Step
    {
        std::string bytes;
        unsigned int count;
        bool fails;
        int id;
    };
    std::deque<Step> m_script;
};

/// Takes as many bytes as the script says, and behind its end all.
class DeviceOutput : public std::IBinOutputStream, public CallLog
{
public:
    explicit DeviceOutput(unsigned int ownSize = 0) : IBinOutputStream(true, ownSize) {}

    /// The next transfer says that it took `count` bytes.
    void take(unsigned int count) { m_script.push_back({count, false, 0}); }
    /// The next transfer fails with row `id` of `StreamError`, and says that it took `count` bytes.
    void fail(int id, unsigned int count = 0) { m_script.push_back({count, true, id}); }
    /// All that was taken so far.
    const std::string& taken() const { return m_taken; }

protected:
    bool performWrite(const void* data, unsigned int size, unsigned int& written) override
    {
        const std::string bytes(static_cast<const char*>(data), size);
        note("write(" + bytes + ")");
        Step step{size, false, 0};
        if (!m_script.empty()) {
            step = m_script.front();
            m_script.pop_front();
        }
        written = step.count;
        m_taken += bytes.substr(0, step.count);
        if (step.fails) ZEL_RAISE(StreamError, step.id);
        return step.fails;
    }
    bool performFlush() override
    {
        note("flush()");
        return false;
    }

private:
    struct Step
    {
        unsigned int count;
        bool fails;
        int id;
    };
    std::deque<Step> m_script;
    std::string m_taken;
};

class OpenBinBuffer : public std::BinBuffer
{
public:
    using BinBuffer::BinBuffer;
    using BinBuffer::overflow;
    using BinBuffer::sync;
    using BinBuffer::uflow;
    using BinBuffer::underflow;

    /// The pending characters and the number of free places, as "abc+4".
    std::string putArea() const
    {
        return std::string(pbase(), pptr()) + "+" + std::to_string(epptr() - pptr());
    }
    /// The characters before and behind the get pointer, as "ab|cd".
    std::string getArea() const
    {
        return std::string(eback(), gptr()) + "|" + std::string(gptr(), egptr());
    }
};

} // namespace support

#endif // ZELCOMMON_TESTS_SUPPORT_SCRIPTEDDEVICE_H
